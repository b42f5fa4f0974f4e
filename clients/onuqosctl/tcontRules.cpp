#include "tcontRules.h"

#include <algorithm>
#include <iterator>

namespace onuqosctl {
namespace {

// The least sum of fixed and assured rate of type 5, and what types 3 and 5 must leave above the guaranteed
// rates.
constexpr std::uint64_t kLeast = 256;

struct TypeRule {
    std::uint32_t type;
    bool fixed, assured, maximum;  // may be set
    TContRates defaults;
    const char* carries;
};

constexpr TypeRule kTypeRules[] = {
    {1, true, false, false, {256, 0, 256}, "type 1 carries a fixed rate only, which is the maximum too"},
    {2, false, true, false, {0, 256, 256}, "type 2 carries an assured rate only, which is the maximum too"},
    {3, false, true, true, {0, 256, 512}, "type 3 carries an assured and a maximum rate"},
    {4, false, false, true, {0, 0, 256}, "type 4 carries a maximum rate only"},
    {5, true, true, true, {0, 0, 256}, "type 5 carries a fixed, an assured and a maximum rate"},
};

const TypeRule* ruleOf(std::uint32_t type) {
    const auto* rule = std::find_if(std::begin(kTypeRules), std::end(kTypeRules),
                                    [type](const TypeRule& candidate) { return candidate.type == type; });
    return rule == std::end(kTypeRules) ? nullptr : rule;
}

std::string explainLeast(const char* rate, bool configurable, std::uint32_t value, std::uint32_t least) {
    return configurable && value < least
               ? std::string("the ") + rate + " rate must be at least " + std::to_string(least) + " kbit/s"
               : "";
}

std::uint64_t sum(const TContRates& rates) {
    return std::uint64_t{rates.fixed} + rates.assured;
}

// The largest value a rate can be rounded up to, whatever the port class.
std::uint32_t roundedUp(std::uint32_t rate) {
    const std::uint32_t step = rate > 25600 ? 1024 : 128;
    return (rate + step - 1) / step * step;
}

}  // namespace

TContRates typeDefaults(std::uint32_t type) {
    const TypeRule* rule = ruleOf(type);
    return rule != nullptr ? rule->defaults : TContRates{0, 0, 0};
}

std::string explainRates(std::uint32_t type, const TContRates& rates) {
    const TypeRule* rule = ruleOf(type);
    if (rule == nullptr) {
        return "";
    }
    const std::string ofType = " for type " + std::to_string(type);
    for (const std::string& fault :
         {explainLeast("fixed", rule->fixed, rates.fixed, rule->defaults.fixed),
          explainLeast("assured", rule->assured, rates.assured, rule->defaults.assured),
          explainLeast("maximum", rule->maximum, rates.maximum, rule->defaults.maximum)}) {
        if (!fault.empty()) {
            return fault + ofType;
        }
    }
    if (type == 3 && rates.maximum < rates.assured + kLeast) {
        return "type 3 needs a maximum rate of at least the assured rate + 256 kbit/s";
    }
    if (type == 5 && sum(rates) != 0 && sum(rates) < kLeast) {
        return "type 5 needs fixed + assured rate to be 0 or at least 256 kbit/s";
    }
    if (type == 5 && rates.maximum < sum(rates) + kLeast) {
        return "type 5 needs a maximum rate of at least fixed + assured rate + 256 kbit/s";
    }
    return "";
}

std::string explainType(std::uint32_t type) {
    const TypeRule* rule = ruleOf(type);
    return rule != nullptr ? rule->carries : "";
}

bool needsSingleSteps(std::uint32_t type, const TContRates& rates) {
    return type == 5 && rates.assured > 0 && rates.assured < kLeast && explainRates(type, rates).empty();
}

std::string singleSteps(const TContRates& stored, const TContRates& wanted) {
    const auto least = static_cast<std::uint32_t>(kLeast);
    // While the assured rate changes, the fixed rate alone has to be valid.
    const std::uint32_t stepping = std::max(roundedUp(wanted.fixed), least);
    const std::uint64_t room = std::max<std::uint64_t>(
        {wanted.maximum, sum(stored) + least, std::uint64_t{stepping} + stored.assured + least,
         std::uint64_t{stepping} + roundedUp(wanted.assured) + least});
    const bool lower = stepping > wanted.fixed && wanted.fixed < least;

    std::string options = "--maximum " + std::to_string(room) + " --fixed " +
                          std::to_string(lower ? stepping : wanted.fixed) + " --assured " +
                          std::to_string(wanted.assured);
    if (lower) {
        options += " --fixed " + std::to_string(wanted.fixed);
    }
    if (room != wanted.maximum) {
        options += " --maximum " + std::to_string(wanted.maximum);
    }
    return options;
}

}  // namespace onuqosctl
