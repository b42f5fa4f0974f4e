#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "clients/onuqosctl/tcontAttributes.h"
#include "clients/onuqosctl/tcontProfile.h"
#include "onuqos/rules/tContRequest.h"

namespace onuqosctl {

/// What the rules say to a request.
struct Outcome {
    std::uint32_t type = 0;
    TContRates start;  // what its rates are written over
    rules::TContRequest request;
    rules::TContRequestVerdict verdict;    // before anything is written
    std::optional<rules::TContStep> step;  // where the writing ends

    [[nodiscard]] rules::Result result() const { return step ? step->verdict.result() : verdict.result(); }
    [[nodiscard]] bool accepted() const { return verdict && !step; }
};

/// The type that a request asks for; what is stored, or the default, unless it does.
std::uint32_t demandedType(const std::vector<TContAssignment>& together, const TContProfile* stored);

rules::TContRequest requestOf(const std::vector<TContAssignment>& together, const TContProfile* stored);

/// `existed`: there was such a profile before the request.
Outcome outcomeOf(const rules::TContRequest& request, bool existed, const ClassLimits& limits);

/// The rates as they would become, whether or not the rules let them.
TContRates ratesAsked(const Outcome& outcome, const ClassLimits& limits);

/// The request with another value for one rate.
rules::TContRequest with(rules::TContRequest request, const rules::TContRateKind& kind, std::uint32_t value);

/// The rates that can mend a request, those first that it names.
std::vector<const rules::TContRateKind*> candidates(const rules::TContRequest& request);

/// A request near one in which no single rate can be mended: what is guaranteed becomes legal under the
/// largest maximum, and the maximum then makes room for it. May be refused still.
rules::TContRequest mended(const Outcome& outcome, const ClassLimits& limits);

}  // namespace onuqosctl
