#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace fuzz {

/// A call of the RPC program as it stands in an input of the dispatcher's fuzzer: its procedure number (four
/// bytes, big-endian), the length of its argument (two bytes, big-endian, of which the top bit says whether
/// the argument lies on an odd address) and the argument.
struct Call {
    std::uint32_t procedure = 0;
    bool odd = false;
    std::string_view argument;
};

inline constexpr std::size_t kCallHeader = 6;
inline constexpr std::uint32_t kOddBit = 0x8000;

/// Takes the first call off `input`, which has at least `kCallHeader` bytes. An argument that is longer than
/// what is left ends with the input.
inline Call takeCall(std::string_view& input) {
    const auto number = [&input](std::size_t at, std::size_t bytes) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i) {
            value = value << 8U | static_cast<unsigned char>(input[at + i]);
        }
        return value;
    };
    const std::uint32_t length = number(4, 2);
    Call call{.procedure = number(0, 4), .odd = (length & kOddBit) != 0};
    input.remove_prefix(kCallHeader);
    call.argument = input.substr(0, length & (kOddBit - 1));
    input.remove_prefix(call.argument.size());
    return call;
}

inline std::string callBytes(const Call& call) {
    const auto length = static_cast<std::uint32_t>(call.argument.size()) | (call.odd ? kOddBit : 0);
    std::string bytes;
    for (const std::uint32_t shift : {24U, 16U, 8U, 0U}) {
        bytes += static_cast<char>(call.procedure >> shift);
    }
    bytes += static_cast<char>(length >> 8U);
    bytes += static_cast<char>(length);
    return bytes.append(call.argument);
}

}  // namespace fuzz
