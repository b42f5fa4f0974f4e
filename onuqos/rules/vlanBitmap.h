#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace rules {

/// Customer VLANs as they travel: VLAN v is bit (7 - v mod 8) of byte v div 8.
inline constexpr std::size_t kVlanBitmapBytes = 512;

/// The ids of a bitmap in ascending order.
inline std::vector<std::uint16_t> vlansFromBitmap(std::span<const char, kVlanBitmapBytes> bitmap) {
    std::vector<std::uint16_t> vlans;
    std::uint64_t bits = 0;
    for (std::size_t byte = 0; byte < bitmap.size(); byte += sizeof bits) {
        std::memcpy(&bits, bitmap.data() + byte, sizeof bits);
        if constexpr (std::endian::native == std::endian::little) {
            bits = __builtin_bswap64(bits);
        }
        while (bits != 0) {
            const auto bit = static_cast<unsigned int>(std::countl_zero(bits));
            vlans.push_back(static_cast<std::uint16_t>(8 * byte + bit));
            bits ^= std::uint64_t{1} << (63 - bit);
        }
    }
    return vlans;
}

/// False at an id above 4095, which fits into no bitmap; the ids before it are set by then.
inline bool vlansToBitmap(const std::vector<std::uint16_t>& vlans, std::span<char, kVlanBitmapBytes> bitmap) {
    std::ranges::fill(bitmap, '\0');
    for (const std::uint16_t vlan : vlans) {
        if (vlan / 8U >= bitmap.size()) {
            return false;
        }
        char& byte = bitmap[vlan / 8U];
        byte = static_cast<char>(static_cast<unsigned char>(byte) | (0x80U >> vlan % 8U));
    }
    return true;
}

}  // namespace rules
