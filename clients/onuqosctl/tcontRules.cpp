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

constexpr RateWord kRates[] = {{"fixed", "--fixed", rules::kTContFixed},
                               {"assured", "--assured", rules::kTContAssured},
                               {"maximum", "--maximum", rules::kTContMaximum}};

constexpr const char* kCarries[] = {"type 1 carries a fixed rate only, which is the maximum too",
                                    "type 2 carries an assured rate only, which is the maximum too",
                                    "type 3 carries an assured and a maximum rate",
                                    "type 4 carries a maximum rate only",
                                    "type 5 carries a fixed, an assured and a maximum rate"};

}  // namespace

const RateWord& wordOf(const rules::TContRateKind& kind) {
    return kRates[kind.type];
}

const RateWord& wordOf(std::uint32_t TContRates::*rate) {
    return *std::ranges::find_if(kRates, [rate](const RateWord& word) { return word.kind.value == rate; });
}

onuTContProfileType typeOf(std::uint32_t type) {
    return onuTContProfileType{static_cast<std::int32_t>(type)};
}

const char* reasonName(RateReason reason) {
    switch (reason) {
        case RateReason::none:
            break;
        case RateReason::notCarried:
            return "notCarried";
        case RateReason::belowLeast:
            return "belowLeast";
        case RateReason::aboveMost:
            return "aboveMost";
        case RateReason::type3Maximum:
            return "type3Maximum";
        case RateReason::type5Guarantee:
            return "type5Guarantee";
        case RateReason::type5Maximum:
            return "type5Maximum";
        case RateReason::noSuchType:
            return "noSuchType";
    }
    return "";
}

std::string ruleText(RateReason reason, const rules::TContRateKind& kind, std::uint32_t type,
                     const ClassLimits& limits) {
    const std::string margin = std::to_string(kTContRateMargin) + " kbit/s";
    const auto bound = [&](const char* side, std::uint32_t rate) {
        return std::string("the ") + wordOf(kind).name + " rate must be at " + side + " " +
               std::to_string(rate) + " kbit/s for type " + std::to_string(type);
    };
    switch (reason) {
        case RateReason::notCarried:
            return explainType(type);
        case RateReason::belowLeast:
            return bound("least", rules::tContRateRules(typeOf(type)).*kind.least);
        case RateReason::aboveMost:
            return bound("most", limits.rateMax) + ", as onuqosctl ranges shows";
        case RateReason::type3Maximum:
            return "type 3 needs a maximum rate of at least the assured rate + " + margin;
        case RateReason::type5Guarantee:
            return "type 5 needs fixed + assured rate to be 0 or at least " + margin;
        case RateReason::type5Maximum:
            return "type 5 needs a maximum rate of at least fixed + assured rate + " + margin;
        default:
            return "";
    }
}

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

std::string explainType(std::uint32_t type) {
    return rules::tContTypeExists(typeOf(type)) ? kCarries[type - tContType1] : "";
}

std::string singleSteps(const TContRates& stored, const TContRates& wanted) {
    // Breadth first. With room for twice the least sum under the maximum, any valid rates lead to a fixed
    // rate of 256 alone and from there to any others, through rates of 256 and 0 on the way.
    const std::uint32_t room = std::max({stored.maximum, wanted.maximum, 3 * kTContRateMargin});
    const std::pair<const RateWord&, std::vector<std::uint32_t>> moves[] = {
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
                if (rules::tContRatesReason(tContType5, to) == RateReason::none &&
                    reached.emplace(to, options).second) {
                    open.push_back(to);
                }
            }
        }
    }
    return reached[wanted];
}

}  // namespace onuqosctl
