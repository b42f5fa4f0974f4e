#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace common {

/// VLAN ids in ascending order, each once.
using VlanList = std::vector<std::uint16_t>;

/// The largest number that a VLAN id, which has 12 bits, can be.
constexpr std::uint16_t kVlanIdMax = 4095;

/// Reads ids and ranges, for instance "10,100-199"; an empty text is an empty list. 0 and 4095 pass: whether
/// they can be matched is the module's to say. Throws UsageError.
VlanList parseVlans(const std::string& text);

/// The list as ids and ranges, in the order it has; "" for an empty one.
std::string formatVlans(const VlanList& vlans);

}  // namespace common
