#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <span>

/// The bandwidth that T-CONTs and ONUs take on top of their rates, kbit/s: functions of rates and sums alone,
/// the same in both bandwidth classes.
namespace rules {

/// A fixed and an assured rate, or what they take on top.
struct RatePair {
    std::uint32_t fixed = 0;
    std::uint32_t assured = 0;

    bool operator==(const RatePair&) const = default;
};

/// From `from` kbit/s on, up to the next band, `value` holds.
struct Band {
    std::uint32_t from;
    std::uint32_t value;
};

// clang-format off
/// Overhead of a fixed rate, per cent.
inline constexpr Band kFixedPercent[] = {
    {0, 400}, {512, 225}, {1024, 138}, {2048, 94},
    {4032, 51},  // 4032, not 4096: the break lies there
    {8000, 29}, {16000, 19}, {32000, 13}, {64000, 10}, {128000, 9}, {256000, 8}};

/// Overhead of an assured rate, per cent.
inline constexpr Band kAssuredPercent[] = {
    {0, 50}, {2048, 44}, {4032, 26}, {8000, 16}, {16000, 12}, {32000, 10}, {64000, 8}, {512000, 7}};

/// Overhead of a further ONU on a port that holds this much, kbit/s.
inline constexpr Band kOnuFixed[] = {{0, 256}, {512, 512}, {1024, 960}, {2048, 1920}};
inline constexpr Band kOnuAssured[] = {{0, 960}, {512, 1216}, {1024, 1664}, {2048, 2432}};
// clang-format on

/// Overhead of the first ONU that is configured on a port, kbit/s.
inline constexpr RatePair kFirstOnu{.fixed = 1920, .assured = 11520};

/// The band that holds `rate`.
constexpr const Band& bandOf(std::span<const Band> bands, std::uint32_t rate) {
    const auto above =
        std::upper_bound(bands.begin(), bands.end(), rate,
                         [](std::uint32_t value, const Band& band) { return value < band.from; });
    return *std::prev(above);
}

constexpr std::uint32_t bandValue(std::span<const Band> bands, std::uint32_t rate) {
    return bandOf(bands, rate).value;
}

static_assert(bandValue(kFixedPercent, 511) == 400 && bandValue(kFixedPercent, 512) == 225);
static_assert(bandValue(kFixedPercent, 4031) == 94 && bandValue(kFixedPercent, 4032) == 51);
static_assert(bandValue(kFixedPercent, 255999) == 9 && bandValue(kFixedPercent, 256000) == 8);
static_assert(bandValue(kAssuredPercent, 2047) == 50 && bandValue(kAssuredPercent, 2048) == 44);
static_assert(bandValue(kAssuredPercent, 511999) == 8 && bandValue(kAssuredPercent, 512000) == 7);

/// A share of a rate, truncated and then rounded up to a multiple of 64; in 32-bit arithmetic.
constexpr std::uint32_t rateOverhead(std::span<const Band> percents, std::uint32_t rate) {
    const std::uint32_t share = rate * bandValue(percents, rate) / 100;
    return (share + 63) & ~std::uint32_t{63};
}

/// The overhead of a T-CONT with these rates.
constexpr RatePair tContOverhead(std::uint32_t fixedRate, std::uint32_t assuredRate) {
    return {.fixed = rateOverhead(kFixedPercent, fixedRate),
            .assured = rateOverhead(kAssuredPercent, assuredRate)};
}

/// The overhead of an ONU on a port with these sums.
constexpr RatePair onuOverhead(bool firstOnPort, std::uint32_t fixedAlloc, std::uint32_t assuredAlloc) {
    if (firstOnPort) {
        return kFirstOnu;
    }
    return {.fixed = bandValue(kOnuFixed, fixedAlloc), .assured = bandValue(kOnuAssured, assuredAlloc)};
}

}  // namespace rules
