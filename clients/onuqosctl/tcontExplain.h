#pragma once

#include <optional>
#include <string>
#include <vector>

#include "clients/onuqosctl/explanation.h"
#include "clients/onuqosctl/tcontAttributes.h"
#include "clients/onuqosctl/tcontProfile.h"

namespace onuqosctl {

/// The result code of the T-CONT procedures for what a rule answers.
std::int32_t tcontCode(rules::Result result);

/// A value that no profile may have, whatever it holds.
Explanation explainDomain(const std::string& name, const TContAssignment& assignment);

/// Why setting one value of profile `name` was refused with `result`: RateError, or OutOfRange, or Error for
/// a value outside its domain. `stored` is the profile as it is now. Tells nothing where no rule of this
/// client decides.
Explanation explainSetter(std::int32_t result, const std::string& name, const TContAssignment& assignment,
                          const TContProfile& stored, const ClassLimits& limits);

/// One create-and-set request.
struct TContDemand {
    std::string name;
    std::string verb;                         ///< of the command that asks, for instance "set --together"
    std::vector<TContAssignment> together;    ///< what the request carries, defaults as numbers
    std::vector<TContAssignment> afterwards;  ///< what the command sets after it
};

/// Why such a request was refused with `result`. `before` is the profile before the request, `now` after it;
/// what it wrote until it was refused has stayed unless it made the profile.
Explanation explainRequest(std::int32_t result, const TContDemand& demand, const TContProfile* before,
                           const TContProfile* now, const ClassLimits& limits);

}  // namespace onuqosctl
