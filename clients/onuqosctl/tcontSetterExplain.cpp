#include "clients/onuqosctl/tcontExplain.h"

#include <algorithm>

#include "common/name.h"

namespace onuqosctl {
namespace {

using rules::RateReason;

std::string setCommand(const std::string& name, const std::string& options) {
    return "onuqosctl tcont set " + common::argumentForName(name) + options;
}

std::string option(const char* name, std::uint32_t value) {
    return std::string(" ") + name + " " + std::to_string(value);
}

rules::RateVerdict verdictOf(const rules::TContRateKind& kind, onuTContProfileType type,
                             const TContRates& stored, std::uint32_t asked, const ClassLimits& limits) {
    return rules::tContRateVerdict(
        rules::tContRateRules(type), kind, type, stored, asked, limits,
        [&](std::uint32_t rate) { return rules::tContRateRounded(limits, kind.type, rate); });
}

/// The other rates that decide, for instance ", stored assured 256, maximum 512".
std::string storedText(const rules::TContRateKind& kind, onuTContProfileType type, const TContRates& stored) {
    std::string text;
    for (const rules::TContRateKind& other : rules::kTContRateKinds) {
        const bool decides = type == tContType3 || type == tContType5;
        if (decides && other.type != kind.type && rules::tContRateRules(type).*other.configurable) {
            text += (text.empty() ? ", stored " : ", ") + std::string(wordOf(other).name) + " " +
                    std::to_string(stored.*other.value);
        }
    }
    return text;
}

/// A maximum rate to set first, and the value that may be set then.
struct Lift {
    std::uint32_t maximum, value;
};

std::optional<Lift> liftFor(const rules::TContRateKind& kind, onuTContProfileType type,
                            const TContRates& stored, std::uint32_t asked, const ClassLimits& limits) {
    if (kind.type == tContRateMaximum || asked > limits.rateMax) {
        return std::nullopt;
    }
    const rules::RateRange range = rules::tContRateRange(kind, type, stored, limits);
    Lift lift{0, rules::tContRateRounded(limits, kind.type, std::max(asked, range.least))};
    TContRates wanted = stored;
    wanted.*kind.value = lift.value;
    lift.maximum = rules::tContRateRounded(
        limits, tContRateMaximum, rules::tContRateRange(rules::kTContMaximum, type, wanted, limits).least);
    const auto raised = verdictOf(rules::kTContMaximum, type, stored, lift.maximum, limits);
    const bool helps =
        lift.maximum > stored.maximum && raised && verdictOf(kind, type, raised.rates, lift.value, limits);
    return helps ? std::optional(lift) : std::nullopt;
}

Explanation explainRate(std::int32_t result, const std::string& name, const TContAssignment& assignment,
                        const TContProfile& stored, const ClassLimits& limits) {
    const RateWord& word = wordOf(assignment.attribute->rate);
    const onuTContProfileType type = typeOf(stored.type);
    const std::uint32_t asked =
        assignment.asksForDefaultRate() ? rules::tContRateRules(type).*word.kind.least : assignment.value;
    const rules::RateVerdict verdict = verdictOf(word.kind, type, stored.rates, asked, limits);
    if (tcontCode(verdict.result()) != result) {
        return tablesChanged(bool(verdict), asked);
    }
    Explanation why;
    why.reason = reasonName(verdict.reason);
    why.value = word.name;
    why.asked = asked;
    why.text = ruleText(verdict.reason, word.kind, stored.type, limits);
    if (verdict.reason == RateReason::notCarried) {
        return why;
    }
    const rules::RateRange range = rules::tContRateRange(word.kind, type, stored.rates, limits);
    if (const auto bounds = rules::storedBounds(range, limits, word.kind.type)) {
        why.least = bounds->first;
        why.most = bounds->second;
    }
    why.step = verdict.step;
    why.below = verdict.nearestBelow;
    why.above = verdict.nearestAbove;
    const std::uint32_t rounded = rules::tContRateRounded(limits, word.kind.type, asked);
    const bool isBound = verdict.reason == RateReason::belowLeast || verdict.reason == RateReason::aboveMost;
    why.hint = "asked " + std::to_string(asked) +
               (isBound || rounded == asked ? "" : ", rounded up to " + std::to_string(rounded)) +
               storedText(word.kind, type, stored.rates) + ": " + rangeText(why, range.zero);
    if (const auto lift = liftFor(word.kind, type, stored.rates, asked, limits)) {
        const std::string maximum = option("--maximum", lift->maximum);
        why.hint += "; for " + std::to_string(lift->value) + " set" + maximum + " first";
        why.command = setCommand(name, maximum + option(word.option, lift->value));
    } else if (const auto nearest = proposal(why)) {
        why.command = setCommand(name, option(word.option, *nearest));
    }
    return why;
}

}  // namespace

std::int32_t tcontCode(rules::Result result) {
    switch (result) {
        case rules::Result::ok:
            return rpcTContProfileResOk;
        case rules::Result::outOfRange:
            return rpcTContProfileResOutOfRange;
        case rules::Result::rateError:
            return rpcTContProfileResRateError;
        default:
            return rpcTContProfileResError;
    }
}

Explanation explainDomain(const std::string& name, const TContAssignment& assignment) {
    const TContAttribute& attribute = *assignment.attribute;
    Explanation why;
    why.reason = "outOfDomain";
    why.value = attribute.option + 2;
    why.asked = assignment.value;
    why.least = attribute.least;
    why.most = attribute.largest;
    why.step = 1;
    (assignment.value < attribute.least ? why.above : why.below) =
        assignment.value < attribute.least ? attribute.least : attribute.largest;
    why.text = attribute.domain;
    why.hint = "asked " + std::to_string(assignment.value) + ": " + rangeText(why, false);
    if (!name.empty()) {
        why.command = setCommand(name, option(attribute.option, *proposal(why)));
    }
    return why;
}

Explanation explainSetter(std::int32_t result, const std::string& name, const TContAssignment& assignment,
                          const TContProfile& stored, const ClassLimits& limits) {
    if (!assignment.isInDomain()) {
        return explainDomain(name, assignment);
    }
    if (result == rpcTContProfileResError) {
        return {};
    }
    if (assignment.attribute->isRate()) {
        return explainRate(result, name, assignment, stored, limits);
    }
    if (!rules::tContTypeExists(typeOf(stored.type))) {
        return {};
    }
    const bool isAllocType = std::string(assignment.attribute->option) == "--alloc-type";
    if (!isAllocType || rules::kTContSrdbaRules.at(stored.type - tContType1).second.allocTypeConfigurable) {
        return tablesChanged(true, assignment.value);
    }
    Explanation why;
    why.reason = reasonName(RateReason::notCarried);
    why.value = assignment.attribute->option + 2;
    why.asked = assignment.value;
    why.text = "type " + std::to_string(stored.type) + " does not let it be chosen";
    return why;
}

}  // namespace onuqosctl
