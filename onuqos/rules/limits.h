#pragma once

#include <cstdint>

#include "onuqos/rules/cacTypes.h"

/// The limits of a PON port and what is missing where they are exceeded: functions of their inputs alone.
/// Rates in kbit/s.
namespace rules {

/// The largest sum of fixed rates that a port can carry over its fibre distances. The larger the difference
/// between the nearest and the farthest ONU, the less. Where the difference takes more than there is, no
/// result is defined: it is 0 here, so that such a port counts as over-committed rather than as boundless.
constexpr std::uint32_t maxFixedRate(oltPortBw bandwidthClass, std::uint32_t minDistance,
                                     std::uint32_t maxDistance) {
    struct Row {
        std::uint32_t slope;     ///< per unit of distance
        std::uint32_t nearBase;  ///< up to the far distance
        std::uint32_t farBase;
    };
    constexpr Row kGpon{.slope = 11000, .nearBase = 578024, .farBase = 633024};
    constexpr Row k10G{.slope = 90000, .nearBase = 4227072, .farBase = 4727072};
    constexpr std::uint32_t kNearMax = 54;

    const Row& row = bandwidthClass == oltPortBw10G ? k10G : kGpon;
    const std::uint32_t base = maxDistance > kNearMax ? row.farBase : row.nearBase;
    const std::uint64_t loss = std::uint64_t{maxDistance - minDistance} * row.slope;
    return loss > base ? 0 : static_cast<std::uint32_t>(base - loss);
}

static_assert(maxFixedRate(oltPortBw10G, 0, 20) == 2427072 && maxFixedRate(oltPortBw10G, 40, 60) == 2927072);
static_assert(maxFixedRate(oltPortBwGpon, 54, 54) == 578024 && maxFixedRate(oltPortBwGpon, 55, 55) == 633024);
static_assert(maxFixedRate(oltPortBwGpon, 0, 52) == 6024 && maxFixedRate(oltPortBwGpon, 0, 53) == 0);

/// Which limit a demand exceeds.
enum class Limit { none, fixed, total };

/// Whether a demand keeps the limits, and what it lacks of each.
struct LimitVerdict {
    Limit binding = Limit::none;  ///< the first limit that is exceeded
    std::uint64_t missingFixed = 0;
    std::uint64_t missingTotal = 0;

    constexpr explicit operator bool() const { return binding == Limit::none; }
};

/// `fixed`, and fixed and assured rates together, against their limits; equality keeps them.
constexpr LimitVerdict limitVerdict(std::uint64_t fixed, std::uint64_t total, std::uint64_t fixedLimit,
                                    std::uint64_t totalLimit) {
    LimitVerdict verdict{.binding = Limit::none,
                         .missingFixed = fixed > fixedLimit ? fixed - fixedLimit : 0,
                         .missingTotal = total > totalLimit ? total - totalLimit : 0};
    if (verdict.missingFixed != 0) {
        verdict.binding = Limit::fixed;
    } else if (verdict.missingTotal != 0) {
        verdict.binding = Limit::total;
    }
    return verdict;
}

/// Whether what a port holds keeps its limits.
constexpr LimitVerdict portVerdict(const onuQosOltCacInfo& port, std::uint32_t fixedLimit,
                                   std::uint32_t totalLimit) {
    return limitVerdict(port.fixedAlloc, std::uint64_t{port.fixedAlloc} + port.assuredAlloc, fixedLimit,
                        totalLimit);
}

/// What is left of `limit`; 0 when `used` reaches it.
constexpr std::uint32_t remaining(std::uint32_t limit, std::uint64_t used) {
    return used < limit ? static_cast<std::uint32_t>(limit - used) : 0;
}

}  // namespace rules
