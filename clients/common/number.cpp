#include "number.h"

#include <charconv>
#include <limits>

#include "errors.h"
#include "text.h"

namespace clients {
namespace {

constexpr std::size_t kFractionDigitsMax = 9;
constexpr double kSecondsMax = 86400;

template <typename Number>
Number parseWhole(const std::string& text, const std::string& what, const char* expected) {
    Number value{};
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc{} || stopped != end) {
        throw UsageError(what + ": " + inQuotes(text) + " is not " + expected);
    }
    return value;
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

std::uint32_t parseUnsigned(const std::string& text, const std::string& what) {
    return parseWhole<std::uint32_t>(text, what, "a number from 0 to 4294967295");
}

std::int64_t parseInteger(const std::string& text, const std::string& what) {
    return parseWhole<std::int64_t>(text, what, "a whole number");
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
    const auto [stopped, error] = std::from_chars(whole.data(), whole.data() + whole.size(), units);
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
    if (error != std::errc{} || units > kMax || units * scale + parts / kFractionUnit > kMax) {
        throw UsageError(shown + " is too large: a rate is at most 4294967295 kbit/s");
    }
    return static_cast<std::uint32_t>(units * scale + parts / kFractionUnit);
}

double parseSeconds(const std::string& text, const std::string& what) {
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    if (text.empty() || error != std::errc{} || stopped != end || !(value > 0) || value > kSecondsMax) {
        throw UsageError(what + ": " + inQuotes(text) +
                         " is not a number of seconds above 0 and up to 86400");
    }
    return value;
}

}  // namespace clients
