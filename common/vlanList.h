#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace common {

/// VLAN ids in ascending order, each once.
using VlanList = std::vector<std::uint16_t>;

constexpr std::uint16_t kVlanMax = 4095;
constexpr std::size_t kVlanBitmapBytes = 512;

/// Reads ids and ranges, for instance "10,100-199"; an empty text is an empty list. 0 and 4095 pass: whether
/// they can be matched is the module's to say. Throws UsageError.
VlanList parseVlans(const std::string& text);

/// The list as ids and ranges, in the order it has; "" for an empty one.
std::string formatVlans(const VlanList& vlans);

/// VLAN v is bit (7 - v mod 8) of byte v div 8.
void vlansToBitmap(const VlanList& vlans, std::span<char, kVlanBitmapBytes> bitmap);
VlanList vlansFromBitmap(std::span<const char, kVlanBitmapBytes> bitmap);

}  // namespace common
