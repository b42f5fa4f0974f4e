#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// What travels, written down byte by byte (XDR, RFC 4506).
namespace bytes {

using Bytes = std::string;

inline Bytes number(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

template <typename... Numbers>
Bytes numbers(Numbers... values) {
    return (number(static_cast<std::uint32_t>(values)) + ...);
}

inline Bytes text(const std::string& value) {
    return number(static_cast<std::uint32_t>(value.size())) + value + Bytes((4 - value.size() % 4) % 4, '\0');
}

/// A fixed array of char: an item of four bytes an element, sign-extended, and zeros behind the value.
inline Bytes chars(std::string value, std::size_t size) {
    value.resize(size, '\0');
    Bytes items;
    for (const char element : value) {
        items += number(static_cast<std::uint32_t>(static_cast<signed char>(element)));
    }
    return items;
}

inline Bytes name(const std::string& value) {
    return chars(value, 65);
}

/// T-CONT id, type, fixed, assured and maximum rate, allocation type, weight, priority.
inline Bytes tCont(const std::string& profile, const std::array<std::uint32_t, 8>& fields) {
    Bytes record = name(profile);
    for (const std::uint32_t field : fields) {
        record += number(field);
    }
    return record;
}

struct Rule {
    std::int32_t pcp = 0;
    std::vector<unsigned int> vlans = {};
    std::int32_t direction = 0, type = 0, operation = 0;
};

inline Bytes rule(const Rule& value) {
    std::string bitmap(512, '\0');
    for (const unsigned int vlan : value.vlans) {
        bitmap[vlan / 8] = static_cast<char>(bitmap[vlan / 8] | 1 << (7 - vlan % 8));
    }
    return number(static_cast<std::uint32_t>(value.pcp)) + chars(bitmap, 512) +
           numbers(value.direction, value.type, value.operation);
}

}  // namespace bytes
