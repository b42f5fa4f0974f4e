#include <algorithm>

#include "clients/onuqosctl/tcontExplain.h"
#include "clients/onuqosctl/tcontOutcome.h"
#include "common/name.h"

namespace onuqosctl {
namespace {

using rules::RateReason;
using rules::TContRateKind;

std::string ratesText(const TContRates& rates) {
    return std::to_string(rates.fixed) + "/" + std::to_string(rates.assured) + "/" +
           std::to_string(rates.maximum);
}

/// The command with the rates of another request.
std::string commandWith(const TContDemand& demand, const rules::TContRequest& request) {
    std::string text = "onuqosctl tcont " + demand.verb + " " + common::argumentForName(demand.name);
    const auto add = [&text](const char* option, std::uint32_t value) {
        text += std::string(" ") + option + " " + std::to_string(value);
    };
    for (const TContAssignment& assignment : demand.together) {
        if (!assignment.attribute->isRate()) {
            add(assignment.attribute->option, assignment.value);
        }
    }
    for (const TContRateKind& kind : rules::kTContRateKinds) {
        if (request.asksFor(kind)) {
            add(wordOf(kind).option, request.asked.*kind.value);
        }
    }
    for (const TContAssignment& assignment : demand.afterwards) {
        add(assignment.attribute->option, assignment.value);
    }
    return text;
}

/// Tells what `kind` may be while the rest of the request stays. Values that the whole request would not pass
/// with are left out.
void tellRange(Explanation& why, const Outcome& outcome, const TContRateKind& kind, bool existed,
               const ClassLimits& limits) {
    const TContRates rates = ratesAsked(outcome, limits);
    const std::uint32_t asked =
        outcome.request.asksFor(kind) ? outcome.request.asked.*kind.value : rates.*kind.value;
    const auto accepts = [&](std::uint32_t value) {
        return outcomeOf(with(outcome.request, kind, value), existed, limits).accepted();
    };
    const rules::RateRange range = rules::tContRateRange(kind, outcome.request.type, rates, limits);
    const rules::NearestRates nearest = rules::nearestLegal(range, limits, kind.type, asked);
    why.value = wordOf(kind).name;
    why.asked = asked;
    why.step = rules::tContRateStep(limits, kind.type, asked);
    // Where the rates are right together but not at each step of the writing, the next values are looked at
    // too: the margin is what the steps can lack.
    const auto search = [&](std::optional<std::uint32_t> from,
                            int direction) -> std::optional<std::uint32_t> {
        for (std::uint32_t away = 0; from && away <= rules::kTContRateMargin; away += limits.rateStep) {
            const std::int64_t value = std::int64_t{*from} + direction * std::int64_t{away};
            if (value >= 0 && value <= limits.rateMax && accepts(static_cast<std::uint32_t>(value))) {
                return static_cast<std::uint32_t>(value);
            }
        }
        return std::nullopt;
    };
    why.below = search(nearest.below, -1);
    why.above = search(nearest.above, 1);
    if (const auto bounds = rules::storedBounds(range, limits, kind.type)) {
        why.least = search(bounds->first, 1);
        why.most = search(bounds->second, -1);
    }
    const bool zero = range.zero && accepts(0);
    const TContRates plain = outcome.request.asked;
    const bool rounds = !outcome.verdict.kind && roundedUp(plain, limits) != plain;
    why.hint = "asked " + std::to_string(asked) + (rounds ? ", all rounded up to " + ratesText(rates) : "") +
               ": beside the others of the request, ";
    why.hint = (why.least || zero) ? why.hint + rangeText(why, zero) : "";
}

/// The commands that lead to rates which the module keeps refusing in one request: it writes them one by one,
/// in an order of its own, and each step has to keep the rules.
std::string singleStepsCommand(const TContDemand& demand, const Outcome& outcome, const TContProfile* now) {
    const std::string word = common::argumentForName(demand.name);
    TContRates from = typeDefaults(outcome.type);
    std::string command = "onuqosctl tcont set " + word;
    if (now == nullptr) {
        command = "onuqosctl tcont create " + word + " && " + command;
    } else if (now->type == outcome.type) {
        from = now->rates;
    } else {
        command += " --type " + std::to_string(outcome.type);
    }
    for (const TContAssignment& assignment : demand.together) {
        if (assignment.attribute->bit == rpcTContProfileParmsTContId) {
            command += " --id " + std::to_string(assignment.value);
        }
    }
    command += " " + singleSteps(from, outcome.verdict.rates);
    for (const TContAssignment& assignment : demand.afterwards) {
        command += std::string(" ") + assignment.attribute->option + " " + std::to_string(assignment.value);
    }
    return command;
}

Explanation explainStep(const TContDemand& demand, const Outcome& outcome, const TContProfile* now) {
    Explanation why;
    why.reason = "stepOrder";
    why.value = wordOf(*outcome.step->kind).name;
    why.asked = outcome.verdict.rates.*outcome.step->kind->value;
    why.hint =
        "the rates are valid together, but the module sets one after the other, and not all of its steps "
        "are; "
        "these are";
    why.command = singleStepsCommand(demand, outcome, now);
    return why;
}

/// Where several rates are wrong: tells the bounds of the one that is outside its own, and a request near
/// this one that is right.
void tellMended(Explanation& why, const TContDemand& demand, const Outcome& outcome, bool existed,
                const TContProfile* now, const ClassLimits& limits) {
    if (const TContRateKind* kind = outcome.verdict.kind) {
        const std::uint32_t least = rules::tContRateRules(outcome.request.type).*kind->least;
        const rules::RateRange own{.least = least, .most = limits.rateMax, .zero = least == 0};
        const rules::NearestRates nearest = rules::nearestLegal(own, limits, kind->type, *why.asked);
        why.least = least;
        why.most = limits.rateMax;
        why.below = nearest.below;
        why.above = nearest.above;
        why.hint = "asked " + std::to_string(*why.asked) + ": by itself, " + rangeText(why, own.zero) +
                   "; other rates of the request are wrong too";
    } else {
        why.hint = "asked " + ratesText(ratesAsked(outcome, limits)) +
                   " (fixed/assured/maximum, rounded up): no other "
                   "value of one rate alone is accepted";
    }
    const rules::TContRequest request = mended(outcome, limits);
    const Outcome other = outcomeOf(request, existed, limits);
    if (other.verdict) {
        why.hint += ", near it is " + ratesText(other.verdict.rates);
        why.command =
            other.accepted() ? commandWith(demand, request) : singleStepsCommand(demand, other, now);
    }
}

Explanation explainOutcome(const TContDemand& demand, const Outcome& outcome, bool existed,
                           const TContProfile* now, const ClassLimits& limits) {
    const RateReason reason = outcome.step ? outcome.step->verdict.reason : outcome.verdict.reason;
    const bool stepBound = outcome.step && reason == RateReason::belowLeast;
    if (outcome.step && !stepBound) {
        return explainStep(demand, outcome, now);
    }
    Explanation why;
    const TContRateKind* kind = stepBound ? outcome.step->kind : outcome.verdict.kind;
    if (kind != nullptr && reason == RateReason::notCarried) {
        why.value = wordOf(*kind).name;
        why.asked = outcome.request.asked.*kind->value;
    } else if (kind != nullptr) {
        tellRange(why, outcome, *kind, existed, limits);
    } else {
        for (const TContRateKind* candidate : candidates(outcome.request)) {
            kind = candidate;
            tellRange(why, outcome, *candidate, existed, limits);
            if (proposal(why)) {
                break;
            }
        }
    }
    why.reason = reasonName(reason);
    why.text = kind == nullptr ? "" : ruleText(reason, *kind, outcome.type, limits);
    if (const auto value = proposal(why)) {
        why.command = commandWith(demand, with(outcome.request, *kind, *value));
    } else if (kind != nullptr && reason != RateReason::notCarried) {
        tellMended(why, demand, outcome, existed, now, limits);
    }
    return why;
}

}  // namespace

Explanation explainRequest(std::int32_t result, const TContDemand& demand, const TContProfile* before,
                           const TContProfile* now, const ClassLimits& limits) {
    if (result == rpcTContProfileResError || result == rpcTContProfileResOutOfRange) {
        const auto outside = std::ranges::find_if_not(demand.together, &TContAssignment::isInDomain);
        if (outside != demand.together.end()) {
            return explainDomain("", *outside);
        }
    }
    if (result != rpcTContProfileResOutOfRange && result != rpcTContProfileResRateError) {
        return {};
    }
    // The profile is as the request found it, but for the steps that it carried out itself.
    const Outcome then = outcomeOf(requestOf(demand.together, before), before != nullptr, limits);
    const TContRates left = then.step ? then.step->before : before != nullptr ? before->rates : TContRates{};
    const bool untouched =
        now == nullptr ? before == nullptr : (before != nullptr || then.step) && now->rates == left;
    if (untouched && tcontCode(then.result()) == result) {
        return explainOutcome(demand, then, before != nullptr, now, limits);
    }
    const Outcome afterwards = outcomeOf(requestOf(demand.together, now), now != nullptr, limits);
    return tcontCode(afterwards.result()) == result
               ? explainOutcome(demand, afterwards, now != nullptr, now, limits)
               : tablesChanged(afterwards.accepted(), std::nullopt);
}

}  // namespace onuqosctl
