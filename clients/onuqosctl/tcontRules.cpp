#include "clients/onuqosctl/tcontRules.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

namespace onuqosctl {
namespace {

// The least sum of fixed and assured rate of type 5, and what types 3 and 5 must leave above the guaranteed
// rates.
constexpr std::uint32_t kLeast = 256;

// Fixed rates above this have a step of their own.
constexpr std::uint32_t kFineFixedRates = 25600;

struct Rate {
    const char* name;
    const char* option;
    std::uint32_t TContRates::*value;
};
constexpr Rate kFixed{"fixed", "--fixed", &TContRates::fixed};
constexpr Rate kAssured{"assured", "--assured", &TContRates::assured};
constexpr Rate kMaximum{"maximum", "--maximum", &TContRates::maximum};

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

std::uint32_t roundUp(std::uint32_t rate, std::uint32_t step) {
    const std::uint64_t steps = (std::uint64_t{rate} + step - 1) / step;
    return static_cast<std::uint32_t>(steps * step);
}

std::uint64_t sum(const TContRates& rates) {
    return std::uint64_t{rates.fixed} + rates.assured;
}

/// Which rule between the rates of a type they break; empty for none.
std::string brokenRule(std::uint32_t type, const TContRates& rates) {
    if (type == 3 && rates.maximum < std::uint64_t{rates.assured} + kLeast) {
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

/// Which bound of its own a rate is outside of; empty for none.
std::string brokenBound(const Rate& rate, const TypeRule& rule, const TContRates& rates,
                        const PortClass& portClass) {
    const std::uint32_t value = rates.*rate.value;
    const std::uint32_t least = rule.defaults.*rate.value;
    if (value >= least && value <= portClass.largestRate) {
        return "";
    }
    return std::string("the ") + rate.name + " rate must be at " +
           (value < least ? "least " + std::to_string(least)
                          : "most " + std::to_string(portClass.largestRate)) +
           " kbit/s for type " + std::to_string(rule.type) +
           (value < least ? "" : ", as onuqosctl ranges shows");
}

}  // namespace

TContRates roundedUp(const TContRates& rates, const PortClass& portClass) {
    return {roundUp(rates.fixed, rates.fixed > kFineFixedRates ? portClass.fixedRateStep : portClass.step),
            roundUp(rates.assured, portClass.step), roundUp(rates.maximum, portClass.step)};
}

TContRates typeDefaults(std::uint32_t type) {
    const TypeRule* rule = ruleOf(type);
    return rule != nullptr ? rule->defaults : TContRates{0, 0, 0};
}

std::string explainBounds(std::uint32_t type, const TContRates& rates, const PortClass& portClass) {
    const TypeRule* rule = ruleOf(type);
    if (rule == nullptr) {
        return "";
    }
    for (const auto& [rate, configurable] :
         {std::pair(kFixed, rule->fixed), {kAssured, rule->assured}, {kMaximum, rule->maximum}}) {
        const std::string fault = configurable ? brokenBound(rate, *rule, rates, portClass) : "";
        if (!fault.empty()) {
            return fault;
        }
    }
    return "";
}

std::string explainRates(std::uint32_t type, const TContRates& rates, const PortClass& portClass) {
    const std::string bound = explainBounds(type, rates, portClass);
    if (!bound.empty()) {
        return bound;
    }
    const TContRates rounded = roundedUp(rates, portClass);
    const std::string fault = brokenRule(type, rounded);
    if (fault.empty() || rounded == rates) {
        return fault;
    }
    return "rounded to " + std::to_string(rounded.fixed) + "/" + std::to_string(rounded.assured) + "/" +
           std::to_string(rounded.maximum) + ", " + fault;
}

std::string explainType(std::uint32_t type) {
    const TypeRule* rule = ruleOf(type);
    return rule != nullptr ? rule->carries : "";
}

std::string singleSteps(const TContRates& stored, const TContRates& wanted) {
    // Breadth first. With room for twice the least sum under the maximum, any valid rates lead to a fixed
    // rate of 256 alone and from there to any others, through rates of 256 and 0 on the way.
    const std::uint32_t room = std::max({stored.maximum, wanted.maximum, 3 * kLeast});
    const std::pair<Rate, std::vector<std::uint32_t>> moves[] = {{kMaximum, {wanted.maximum, room}},
                                                                 {kFixed, {wanted.fixed, kLeast, 0}},
                                                                 {kAssured, {wanted.assured, kLeast, 0}}};
    std::map<TContRates, std::string> reached = {{stored, ""}};
    std::deque<TContRates> open = {stored};
    while (!open.empty() && !reached.contains(wanted)) {
        const TContRates from = open.front();
        open.pop_front();
        for (const auto& [rate, values] : moves) {
            for (const std::uint32_t value : values) {
                TContRates to = from;
                to.*rate.value = value;
                const std::string options = reached.at(from) + (from == stored ? "" : " ") + rate.option +
                                            " " + std::to_string(value);
                if (brokenRule(5, to).empty() && reached.emplace(to, options).second) {
                    open.push_back(to);
                }
            }
        }
    }
    return reached[wanted];
}

}  // namespace onuqosctl
