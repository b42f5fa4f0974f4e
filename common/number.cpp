#include "common/number.h"

#include <charconv>
#include <limits>

#include "common/errors.h"
#include "common/text.h"

namespace common {
namespace {

constexpr std::size_t kFractionDigitsMax = 9;
constexpr double kSecondsMax = 86400;

/// Reads all of `text`; `format` as std::from_chars takes it.
template <typename Number, typename... Format>
bool read(const std::string& text, Number& value, Format... format) {
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value, format...);
    return error == std::errc{} && stopped == end;
}

[[noreturn]] void refuse(const std::string& text, const std::string& what, const std::string& expected) {
    throw UsageError(what + ": " + inQuotes(text) + " is not " + expected);
}

std::uint64_t kbitPer(char unit) {
    switch (unit) {
        case 'k':
        case 'K':
            return 1;
        case 'm':
        case 'M':
            return 1'000;
        case 'g':
        case 'G':
            return 1'000'000;
        default:
            return 0;
    }
}

bool allDigits(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

const char* const kRateHelp = "A RATE is in kbit/s or has a decimal unit: 512k, 100M, 2.5G.";

std::uint32_t parseUnsigned(const std::string& text, const std::string& what, Bounds bounds) {
    std::uint32_t value = 0;
    if (!read(text, value) || value < bounds.least || value > bounds.largest) {
        refuse(text, what,
               "a number from " + (bounds.told != nullptr ? bounds.told
                                                          : std::to_string(bounds.least) + " to " +
                                                                std::to_string(bounds.largest)));
    }
    return value;
}

std::int64_t parseInteger(const std::string& text, const std::string& what) {
    std::int64_t value = 0;
    if (!read(text, value)) {
        refuse(text, what, "a whole number");
    }
    return value;
}

std::uint32_t parseRate(const std::string& text) {
    const std::string shown = inQuotes(text);
    std::string digits = text;
    std::uint64_t scale = 1;
    if (!digits.empty() && kbitPer(digits.back()) != 0) {
        scale = kbitPer(digits.back());
        digits.pop_back();
    }
    const std::size_t point = digits.find('.');
    const std::string whole = digits.substr(0, point);
    std::string fraction = point == std::string::npos ? "0" : digits.substr(point + 1);
    if (!allDigits(whole) || !allDigits(fraction)) {
        throw UsageError(shown + " is not a rate: give kbit/s or a unit, as in 512k, 100M, 2.5G");
    }
    fraction.erase(fraction.find_last_not_of('0') + 1);
    if (fraction.size() > kFractionDigitsMax) {
        throw UsageError(shown + " is not a whole number of kbit/s");
    }
    fraction.resize(kFractionDigitsMax, '0');
    constexpr std::uint64_t kFractionUnit = 1'000'000'000;
    const std::uint64_t parts = std::stoull(fraction) * scale;
    if (parts % kFractionUnit != 0) {
        throw UsageError(shown + " is not a whole number of kbit/s");
    }
    std::uint64_t units = 0;
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
    if (!read(whole, units) || units > kMax || units * scale + parts / kFractionUnit > kMax) {
        throw UsageError(shown + " is too large: a rate is at most 4294967295 kbit/s");
    }
    return static_cast<std::uint32_t>(units * scale + parts / kFractionUnit);
}

double parseSeconds(const std::string& text, const std::string& what) {
    double value = 0;
    if (!read(text, value, std::chars_format::fixed) || !(value > 0) || value > kSecondsMax) {
        refuse(text, what, "a number of seconds above 0 and up to 86400");
    }
    return value;
}

}  // namespace common
