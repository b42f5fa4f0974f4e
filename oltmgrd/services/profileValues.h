#pragma once

#include <compare>
#include <cstdint>
#include <vector>

namespace oltmgrd {

/// What a T-CONT profile holds beside its name. Rates in kbit/s. The defaults are those of a new profile.
struct TContValues {
    std::uint32_t tContId = 1;
    std::uint32_t tContType = 5;
    std::uint32_t fixedRate = 0;
    std::uint32_t assuredRate = 0;
    std::uint32_t maximumRate = 256;
    std::uint32_t dbaAllocType = 2;
    std::uint32_t dbaWeight = 1;
    std::uint32_t dbaPriority = 0;

    friend auto operator<=>(const TContValues&, const TContValues&) = default;
};

inline constexpr std::uint32_t kNoPcp = 0xFFFFFFFF;

/// What a flow profile holds beside its name. Rates in kbit/s; at 0 they are not known, and those of a new
/// profile are meant.
struct FlowValues {
    std::uint32_t cPcp = kNoPcp;
    std::vector<std::uint16_t> cVlan{};
    std::uint32_t guarRateUs = 0;
    std::uint32_t peakRateUs = 0;
    std::uint32_t flowPriorityUs = 0;
    std::uint32_t flowPriorityDs = 0;

    friend auto operator<=>(const FlowValues&, const FlowValues&) = default;
};

}  // namespace oltmgrd
