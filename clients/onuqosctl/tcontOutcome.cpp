#include "clients/onuqosctl/tcontOutcome.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace onuqosctl {
namespace {

using rules::TContRateKind;

constexpr std::uint32_t kNewType = tContType5;

}  // namespace

std::uint32_t demandedType(const std::vector<TContAssignment>& together, const TContProfile* stored) {
    std::uint32_t type = stored != nullptr ? stored->type : kNewType;
    for (const TContAssignment& assignment : together) {
        if (assignment.attribute->bit == rpcTContProfileParmsTContType) {
            // Where a setter reads 0 as the default type, create-and-set wants it by its number.
            type = assignment.value == 0 ? kNewType : assignment.value;
        }
    }
    return type;
}

rules::TContRequest requestOf(const std::vector<TContAssignment>& together, const TContProfile* stored) {
    rules::TContRequest request;
    const std::uint32_t type = demandedType(together, stored);
    request.type = typeOf(type);
    if (stored != nullptr && stored->type == type) {
        request.kept = stored->rates;
    }
    for (const TContAssignment& assignment : together) {
        if (assignment.attribute->isRate()) {
            request.mask |= assignment.attribute->bit;
            request.asked.*assignment.attribute->rate = assignment.value;
        }
    }
    return request;
}

Outcome outcomeOf(const rules::TContRequest& request, bool existed, const ClassLimits& limits) {
    Outcome outcome;
    outcome.type = static_cast<std::uint32_t>(request.type);
    outcome.request = request;
    outcome.start = request.kept ? *request.kept : rules::tContDefaultRates(request.type);
    outcome.verdict = rules::tContRequestVerdict(rules::tContRateRules(request.type), request, limits,
                                                 [&](std::uint32_t rate, onuTContProfileRateType type) {
                                                     return rules::tContRateRounded(limits, type, rate);
                                                 });
    if (outcome.verdict) {
        outcome.step =
            rules::tContRefusedStep(existed, request, outcome.start, outcome.verdict.rates, limits);
    }
    return outcome;
}

TContRates ratesAsked(const Outcome& outcome, const ClassLimits& limits) {
    TContRates rates = outcome.start;
    for (const TContRateKind& kind : rules::kTContRateKinds) {
        if (outcome.request.asksFor(kind)) {
            rates.*kind.value = outcome.request.asked.*kind.value;
        }
    }
    return roundedUp(rates, limits);
}

rules::TContRequest with(rules::TContRequest request, const TContRateKind& kind, std::uint32_t value) {
    request.mask |= kind.parm;
    request.asked.*kind.value = value;
    return request;
}

std::vector<const TContRateKind*> candidates(const rules::TContRequest& request) {
    constexpr std::array kOrder{&rules::kTContMaximum, &rules::kTContAssured, &rules::kTContFixed};
    std::vector<const TContRateKind*> kinds;
    std::ranges::copy_if(kOrder, std::back_inserter(kinds), [&](const TContRateKind* kind) {
        return rules::tContRateRules(request.type).*kind->configurable;
    });
    std::stable_partition(kinds.begin(), kinds.end(),
                          [&](const TContRateKind* kind) { return request.asksFor(*kind); });
    return kinds;
}

rules::TContRequest mended(const Outcome& outcome, const ClassLimits& limits) {
    rules::TContRequest request = outcome.request;
    TContRates rates = ratesAsked(outcome, limits);
    const std::uint32_t maximum = rates.maximum;
    rates.maximum = limits.rateMax;
    for (const TContRateKind* kind : {&rules::kTContFixed, &rules::kTContAssured}) {
        if (!(rules::tContRateRules(request.type).*kind->configurable)) {
            continue;
        }
        const auto nearest = rules::nearestLegal(rules::tContRateRange(*kind, request.type, rates, limits),
                                                 limits, kind->type, rates.*kind->value);
        rates.*kind->value = nearest.above.value_or(nearest.below.value_or(0));
        request = with(request, *kind, rates.*kind->value);
    }
    const auto room = rules::tContRateRange(rules::kTContMaximum, request.type, rates, limits);
    const auto nearest = rules::nearestLegal(room, limits, tContRateMaximum, maximum);
    return with(request, rules::kTContMaximum, nearest.above.value_or(nearest.below.value_or(maximum)));
}

}  // namespace onuqosctl
