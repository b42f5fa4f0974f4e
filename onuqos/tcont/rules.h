#pragma once

#include <array>
#include <cstdint>
#include <utility>

#include "tcont/tContTypes.h"

/// The least distance between the maximum rate and what is guaranteed, and the least guaranteed sum of a
/// type 5 profile that guarantees anything, kbit/s; the same in both bandwidth classes.
constexpr std::uint32_t kTContRateMargin = 256;

// clang-format off
constexpr std::array<std::pair<onuTContProfileType, onuTContProfileRates>, 5> kTContRateRules{{
    // type       configurable: fixed, assured, maximum   default (kbit/s): fixed, assured, maximum
    {tContType1, {true,  false, false, 256, 0,   256}},
    {tContType2, {false, true,  false, 0,   256, 256}},
    {tContType3, {false, true,  true,  0,   256, 512}},
    {tContType4, {false, false, true,  0,   0,   256}},
    {tContType5, {true,  true,  true,  0,   0,   256}},
}};

constexpr std::array<std::pair<onuTContProfileType, onuTContProfileSrdba>, 5> kTContSrdbaRules{{
    // type       configurable: alloc type, weight, priority   default: alloc type, weight, priority
    {tContType1, {false, true, true, tContDbaMode0, 1, 0}},
    {tContType2, {true,  true, true, tContDbaMode2, 1, 0}},
    {tContType3, {true,  true, true, tContDbaMode2, 1, 0}},
    {tContType4, {true,  true, true, tContDbaMode2, 1, 0}},
    {tContType5, {true,  true, true, tContDbaMode2, 1, 0}},
}};
// clang-format on

/// The step to which a rate is rounded up, kbit/s.
constexpr std::uint32_t tContRateStep(bool highRate, onuTContProfileRateType type, std::uint32_t rate) {
    if (!highRate) {
        return 64;
    }
    return type == tContRateFixed && rate > 25600 ? 1024 : 128;
}

/// The least multiple of `step` that is not below `rate`, modulo 2^32.
constexpr std::uint32_t roundUp(std::uint32_t rate, std::uint32_t step) {
    return (rate - 1 + step) / step * step;
}

/// Whether the rates of a type 3 profile agree.
constexpr bool tContType3RatesAgree(std::uint32_t assured, std::uint32_t maximum) {
    return maximum >= assured + kTContRateMargin;
}

/// Whether a type 5 profile may guarantee this much: nothing, or at least the margin.
constexpr bool tContType5GuaranteeValid(std::uint32_t fixed, std::uint32_t assured) {
    const std::uint32_t sum = fixed + assured;
    return sum == 0 || sum >= kTContRateMargin;
}

/// Whether the maximum rate of a type 5 profile lies far enough above what it guarantees.
constexpr bool tContType5MaximumAgrees(std::uint32_t fixed, std::uint32_t assured, std::uint32_t maximum) {
    return maximum >= fixed + assured + kTContRateMargin;
}

/// Whether the rates of a profile keep the rules of its type.
inline bool tContRatesAgree(const tContProfileInfo& info) {
    switch (info.tContType) {
        case tContType3:
            return tContType3RatesAgree(info.assuredRate, info.maximumRate);
        case tContType5:
            return tContType5GuaranteeValid(info.fixedRate, info.assuredRate) &&
                   tContType5MaximumAgrees(info.fixedRate, info.assuredRate, info.maximumRate);
        default:
            return true;  // type 4 has no rule; types 1 and 2 derive the maximum
    }
}
