#pragma once

#include <cstdint>

namespace rules {

/// What a rule answers; the numbers are those of the module's results.
enum class Result : std::int32_t {
    ok = 0,
    error = 1,
    notFound = 5,
    outOfRange = 7,
    guarAbovePeak = 8,
    rateError = 9,
    duplicateTContId = 12,
    duplicateVirtualPortId = 13,
    wrongIntf = 14,
    duplicateOnuFlowProfile = 16,
    omApiRefused = 18
};

}  // namespace rules
