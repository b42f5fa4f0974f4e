#pragma once

#include <cstdint>
#include <limits>
#include <string>

namespace common {

/// The numbers that parseUnsigned takes.
struct Bounds {
    std::uint32_t least = 0;
    std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();
    const char* told = nullptr;  // the bounds in the message, where more is taken than makes sense
};

/// A decimal number of 32 bits, without sign. Throws UsageError that names `what` and the bounds.
std::uint32_t parseUnsigned(const std::string& text, const std::string& what, Bounds bounds = {});

/// A signed decimal number of 64 bits. Throws UsageError that names `what`.
std::int64_t parseInteger(const std::string& text, const std::string& what);

/// A rate in kbit/s: plain, or with a decimal unit (512k, 100M, 2.5G). Throws UsageError when it is no rate,
/// no whole number of kbit/s or does not fit 32 bits.
std::uint32_t parseRate(const std::string& text);

/// A duration in seconds, fractions allowed, above 0 and at most a day. Throws UsageError that names `what`.
double parseSeconds(const std::string& text, const std::string& what);

/// What help texts say about RATE arguments.
extern const char* const kRateHelp;

}  // namespace common
