#pragma once

#include <arpa/inet.h>

#include <cstdint>
#include <initializer_list>
#include <string>

/// Bytes as they travel: XDR (RFC 4506) and the records of a stream (RFC 5531, section 11).
namespace wire {

inline std::string items(std::initializer_list<std::uint32_t> values) {
    std::string bytes;
    for (const std::uint32_t value : values) {
        const std::uint32_t big = htonl(value);
        bytes.append(reinterpret_cast<const char*>(&big), sizeof big);
    }
    return bytes;
}

inline std::string fragment(const std::string& bytes) {
    return items({static_cast<std::uint32_t>(bytes.size())}) + bytes;
}

inline std::string record(const std::string& bytes) {
    return items({0x80000000 | static_cast<std::uint32_t>(bytes.size())}) + bytes;
}

inline std::string text(const std::string& bytes) {
    return fragment(bytes) + std::string((4 - bytes.size() % 4) % 4, '\0');
}

/// A call without credentials.
inline std::string call(std::uint32_t id, std::uint32_t program, std::uint32_t version,
                        std::uint32_t procedure, const std::string& arguments = {}) {
    return items({id, 0, 2, program, version, procedure, 0, 0, 0, 0}) + arguments;
}

}  // namespace wire
