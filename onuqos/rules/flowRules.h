#pragma once

#include <bitset>
#include <cstdint>
#include <vector>

/// What is true of the fields of ONU flow profiles. Rates in kbit/s.
namespace rules {

/// No customer PCP in a rule.
inline constexpr std::uint32_t kPcpNone = 0xFFFFFFFF;

/// The highest priority code point (IEEE 802.1Q), and the highest flow priority.
inline constexpr std::uint32_t kPriorityMax = 7;

/// The highest VLAN id that traffic can carry (IEEE 802.1Q); 0 and 4095 are reserved.
inline constexpr std::uint16_t kVlanMax = 4094;

/// The step and the least value of flow rates.
inline constexpr std::uint32_t kFlowRateStep = 64;
inline constexpr std::uint32_t kFlowRateMin = 128;

/// The least multiple of the step that is not below `rate`, modulo 2^32.
constexpr std::uint32_t flowRateRounded(std::uint32_t rate) {
    return (rate + kFlowRateStep - 1) & ~(kFlowRateStep - 1);
}

static_assert(flowRateRounded(0) == 0 && flowRateRounded(65) == 128 && flowRateRounded(0xFFFFFFFF) == 0);

constexpr bool pcpValid(std::uint32_t pcp) {
    return pcp == kPcpNone || pcp <= kPriorityMax;
}

/// Whether a sorted list holds ids from 1 to 4094 only; an empty one does.
inline bool vlansValid(const std::vector<std::uint16_t>& sorted) {
    return sorted.empty() || (sorted.front() != 0 && sorted.back() <= kVlanMax);
}

/// VLAN ids as a set; any 16-bit number may be asked for.
using VlanSet = std::bitset<0x10000>;

inline VlanSet vlanSet(const std::vector<std::uint16_t>& vlans) {
    VlanSet set;
    for (const std::uint16_t vlan : vlans) {
        set.set(vlan);
    }
    return set;
}

/// `added`, followed by the ids of `stored` that it lacks in their order.
inline std::vector<std::uint16_t> vlansAdded(const std::vector<std::uint16_t>& added,
                                             const std::vector<std::uint16_t>& stored) {
    VlanSet present = vlanSet(added);
    std::vector<std::uint16_t> result = added;
    for (const std::uint16_t vlan : stored) {
        if (!present.test(vlan)) {
            present.set(vlan);
            result.push_back(vlan);
        }
    }
    return result;
}

/// `stored` without any id of `removed`.
inline std::vector<std::uint16_t> vlansRemoved(const std::vector<std::uint16_t>& removed,
                                               const std::vector<std::uint16_t>& stored) {
    const VlanSet unwanted = vlanSet(removed);
    std::vector<std::uint16_t> result = stored;
    std::erase_if(result, [&unwanted](std::uint16_t vlan) { return unwanted.test(vlan); });
    return result;
}

}  // namespace rules
