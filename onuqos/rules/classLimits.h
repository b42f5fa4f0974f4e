#pragma once

#include <cstdint>

namespace rules {

/// Rates that depend on the bandwidth class of the OLT, kbit/s.
struct ClassLimits {
    std::uint32_t tContRateGranularity;  ///< only reported, and what tells the class
    std::uint32_t tContRateMin;          ///< only reported
    std::uint32_t rateMax;               ///< of a T-CONT and of a flow: the upstream line rate
    std::uint32_t totalMax;              ///< of fixed and assured rates on a port, and of fixed rates alone
    std::uint32_t rateStep;              ///< to which T-CONT rates are rounded up
    std::uint32_t coarseFixedRateStep;   ///< the same for fixed rates above `kFineFixedRateMax`
};

inline constexpr std::uint32_t kFineFixedRateMax = 25600;

// clang-format off
/// 1244160 is the GPON upstream line rate (ITU-T G.984.2) and 9953280 the XGS-PON line rate (ITU-T G.9807.1).
inline constexpr ClassLimits kGponLimits{64,   256,  1244160, 1240640, 64,  64};
inline constexpr ClassLimits kTenGLimits{1024, 1024, 9953280, 9918464, 128, 1024};
// clang-format on

constexpr const ClassLimits& classLimits(bool tenG) {
    return tenG ? kTenGLimits : kGponLimits;
}

/// The limits of the class that reports this granularity.
constexpr const ClassLimits& limitsOf(std::uint32_t tContRateGranularity) {
    return classLimits(tContRateGranularity == kTenGLimits.tContRateGranularity);
}

}  // namespace rules
