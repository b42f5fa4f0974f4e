#pragma once

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <optional>
#include <vector>

#include "onuqos/rules/classLimits.h"
#include "onuqos/rules/result.h"

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

/// The four values of an action, in the order in which they are set.
enum class FlowField : std::uint8_t { guaranteedRate, peakRate, priorityUp, priorityDown };

constexpr bool isFlowRate(FlowField field) {
    return field == FlowField::guaranteedRate || field == FlowField::peakRate;
}

/// Why a value of a profile is wrong.
enum class FlowReason : std::uint8_t { none, belowLeast, aboveMost, guaranteedAbovePeak };

/// Whether one value of an action may be set, with the numbers that decide.
struct FlowVerdict {
    FlowReason reason = FlowReason::none;
    std::uint32_t least = 0;
    std::uint32_t most = 0;
    std::uint32_t step = 0;
    std::optional<std::uint32_t> nearestBelow;  ///< of a value that is refused
    std::optional<std::uint32_t> nearestAbove;

    constexpr explicit operator bool() const { return reason == FlowReason::none; }

    constexpr Result result() const {
        switch (reason) {
            case FlowReason::none:
                return Result::ok;
            case FlowReason::guaranteedAbovePeak:
                return Result::guarAbovePeak;
            default:
                return Result::outOfRange;
        }
    }
};

/// `value` is compared as it stands: a setter rounds rates before. `other` is the peak rate for the
/// guaranteed one and the other way round; nothing where they are not compared.
constexpr FlowVerdict flowVerdict(FlowField field, std::uint32_t value, std::optional<std::uint32_t> other,
                                  const ClassLimits& limits) {
    const bool isRate = isFlowRate(field);
    FlowVerdict verdict;
    verdict.least = isRate ? kFlowRateMin : 0;
    verdict.most = isRate ? limits.rateMax : kPriorityMax;
    verdict.step = isRate ? kFlowRateStep : 1;
    if (value < verdict.least) {
        verdict.reason = FlowReason::belowLeast;
    } else if (value > verdict.most) {
        verdict.reason = FlowReason::aboveMost;
    } else if (isRate && other && (field == FlowField::guaranteedRate ? value > *other : value < *other)) {
        verdict.reason = FlowReason::guaranteedAbovePeak;
    }
    if (isRate && other) {
        std::uint32_t& bound = field == FlowField::guaranteedRate ? verdict.most : verdict.least;
        bound = std::clamp(*other, verdict.least, verdict.most);
    }
    if (!verdict && value > verdict.most) {
        verdict.nearestBelow = verdict.most;
    } else if (!verdict) {
        verdict.nearestAbove = verdict.least;
    }
    return verdict;
}

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
