#include "clients/onuqosctl/tcontRules.h"

#include <algorithm>
#include <deque>
#include <map>
#include <utility>
#include <vector>

namespace onuqosctl {
namespace {

using rules::kTContRateMargin;
using rules::RateReason;

struct Rate {
    const char* name;
    const char* option;
    const rules::TContRateKind& kind;
};

constexpr Rate kRates[] = {{"fixed", "--fixed", rules::kTContFixed},
                           {"assured", "--assured", rules::kTContAssured},
                           {"maximum", "--maximum", rules::kTContMaximum}};

constexpr const char* kCarries[] = {"type 1 carries a fixed rate only, which is the maximum too",
                                    "type 2 carries an assured rate only, which is the maximum too",
                                    "type 3 carries an assured and a maximum rate",
                                    "type 4 carries a maximum rate only",
                                    "type 5 carries a fixed, an assured and a maximum rate"};

onuTContProfileType typeOf(std::uint32_t type) {
    return onuTContProfileType{static_cast<std::int32_t>(type)};
}

/// Which rule between the rates of a type they break; empty for none.
std::string brokenRule(std::uint32_t type, const TContRates& rates) {
    switch (rules::tContRatesReason(typeOf(type), rates)) {
        case RateReason::type3Maximum:
            return "type 3 needs a maximum rate of at least the assured rate + 256 kbit/s";
        case RateReason::type5Guarantee:
            return "type 5 needs fixed + assured rate to be 0 or at least 256 kbit/s";
        case RateReason::type5Maximum:
            return "type 5 needs a maximum rate of at least fixed + assured rate + 256 kbit/s";
        default:
            return "";
    }
}

/// Which bound of its own a rate is outside of; empty for none.
std::string brokenBound(const Rate& rate, std::uint32_t type, std::uint32_t value,
                        const ClassLimits& limits) {
    const std::uint32_t least = rules::tContRateRules(typeOf(type)).*rate.kind.least;
    const auto sentence = [&](const std::string& bound) {
        return std::string("the ") + rate.name + " rate must be at " + bound + " kbit/s for type " +
               std::to_string(type);
    };
    switch (rules::tContRateBound(least, value, limits)) {
        case RateReason::belowLeast:
            return sentence("least " + std::to_string(least));
        case RateReason::aboveMost:
            return sentence("most " + std::to_string(limits.rateMax)) + ", as onuqosctl ranges shows";
        default:
            return "";
    }
}

}  // namespace

TContRates roundedUp(const TContRates& rates, const ClassLimits& limits) {
    TContRates rounded;
    for (const rules::TContRateKind& kind : rules::kTContRateKinds) {
        rounded.*kind.value = rules::tContRateRounded(limits, kind.type, rates.*kind.value);
    }
    return rounded;
}

TContRates typeDefaults(std::uint32_t type) {
    return rules::tContDefaultRates(typeOf(type));
}

std::string explainBounds(std::uint32_t type, const TContRates& rates, const ClassLimits& limits) {
    for (const Rate& rate : kRates) {
        const bool carried = rules::tContRateRules(typeOf(type)).*rate.kind.configurable;
        const std::string fault = carried ? brokenBound(rate, type, rates.*rate.kind.value, limits) : "";
        if (!fault.empty()) {
            return fault;
        }
    }
    return "";
}

std::string explainRates(std::uint32_t type, const TContRates& rates, const ClassLimits& limits) {
    const std::string bound = explainBounds(type, rates, limits);
    if (!bound.empty()) {
        return bound;
    }
    const TContRates rounded = roundedUp(rates, limits);
    const std::string fault = brokenRule(type, rounded);
    if (fault.empty() || rounded == rates) {
        return fault;
    }
    return "rounded to " + std::to_string(rounded.fixed) + "/" + std::to_string(rounded.assured) + "/" +
           std::to_string(rounded.maximum) + ", " + fault;
}

std::string explainType(std::uint32_t type) {
    return rules::tContTypeExists(typeOf(type)) ? kCarries[type - tContType1] : "";
}

std::string singleSteps(const TContRates& stored, const TContRates& wanted) {
    // Breadth first. With room for twice the least sum under the maximum, any valid rates lead to a fixed
    // rate of 256 alone and from there to any others, through rates of 256 and 0 on the way.
    const std::uint32_t room = std::max({stored.maximum, wanted.maximum, 3 * kTContRateMargin});
    const std::pair<const Rate&, std::vector<std::uint32_t>> moves[] = {
        {kRates[2], {wanted.maximum, room}},
        {kRates[0], {wanted.fixed, kTContRateMargin, 0}},
        {kRates[1], {wanted.assured, kTContRateMargin, 0}}};
    std::map<TContRates, std::string> reached = {{stored, ""}};
    std::deque<TContRates> open = {stored};
    while (!open.empty() && !reached.contains(wanted)) {
        const TContRates from = open.front();
        open.pop_front();
        for (const auto& [rate, values] : moves) {
            for (const std::uint32_t value : values) {
                TContRates to = from;
                to.*rate.kind.value = value;
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
