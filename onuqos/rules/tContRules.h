#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <utility>

#include "onuqos/rules/classLimits.h"
#include "onuqos/rules/result.h"
#include "onuqos/rules/tContTypes.h"

/// What is true of T-CONT types and their rates. Rates in kbit/s.
namespace rules {

/// The least distance between the maximum rate and what is guaranteed, and the least guaranteed sum of a
/// type 5 profile that guarantees anything; the same in both bandwidth classes.
inline constexpr std::uint32_t kTContRateMargin = 256;

/// Stands for the type's default where a rate is set.
inline constexpr std::uint32_t kTContRateDefault = 0xFFFFFFFF;

// clang-format off
inline constexpr std::array<std::pair<onuTContProfileType, onuTContProfileRates>, 5> kTContRateRules{{
    // type       configurable: fixed, assured, maximum   default (kbit/s): fixed, assured, maximum
    {tContType1, {true,  false, false, 256, 0,   256}},
    {tContType2, {false, true,  false, 0,   256, 256}},
    {tContType3, {false, true,  true,  0,   256, 512}},
    {tContType4, {false, false, true,  0,   0,   256}},
    {tContType5, {true,  true,  true,  0,   0,   256}},
}};

inline constexpr std::array<std::pair<onuTContProfileType, onuTContProfileSrdba>, 5> kTContSrdbaRules{{
    // type       configurable: alloc type, weight, priority   default: alloc type, weight, priority
    {tContType1, {false, true, true, tContDbaMode0, 1, 0}},
    {tContType2, {true,  true, true, tContDbaMode2, 1, 0}},
    {tContType3, {true,  true, true, tContDbaMode2, 1, 0}},
    {tContType4, {true,  true, true, tContDbaMode2, 1, 0}},
    {tContType5, {true,  true, true, tContDbaMode2, 1, 0}},
}};
// clang-format on

constexpr bool tContTypeExists(onuTContProfileType type) {
    return type >= tContType1 && type <= tContType5;
}

/// The rate rules of a type; zeros for a type that does not exist.
constexpr onuTContProfileRates tContRateRules(onuTContProfileType type) {
    return tContTypeExists(type) ? kTContRateRules[static_cast<std::size_t>(type - tContType1)].second
                                 : onuTContProfileRates{};
}

/// The three rates of a T-CONT profile.
struct TContRates {
    std::uint32_t fixed = 0;
    std::uint32_t assured = 0;
    std::uint32_t maximum = 0;

    auto operator<=>(const TContRates&) const = default;
};

/// What tells the three rates apart.
struct TContRateKind {
    onuTContProfileRateType type;
    tContProfileParm parm;
    bool onuTContProfileRates::*configurable;
    std::uint32_t onuTContProfileRates::*least;  ///< the default and least non-zero value
    std::uint32_t TContRates::*value;
    std::uint32_t tContProfileInfo::*stored;
    std::optional<onuTContProfileType> leadsIn;  ///< the type whose maximum is this rate and whose other is 0
};

/// In the order in which create-and-set looks at them.
inline constexpr std::array<TContRateKind, 3> kTContRateKinds{{
    {.type = tContRateFixed,
     .parm = tContParmFixedRate,
     .configurable = &onuTContProfileRates::fixedRateConfigurable,
     .least = &onuTContProfileRates::fixedRateDefault,
     .value = &TContRates::fixed,
     .stored = &tContProfileInfo::fixedRate,
     .leadsIn = tContType1},
    {.type = tContRateAssured,
     .parm = tContParmAssuredRate,
     .configurable = &onuTContProfileRates::assuredRateConfigurable,
     .least = &onuTContProfileRates::assuredRateDefault,
     .value = &TContRates::assured,
     .stored = &tContProfileInfo::assuredRate,
     .leadsIn = tContType2},
    {.type = tContRateMaximum,
     .parm = tContParmMaximumRate,
     .configurable = &onuTContProfileRates::maximumRateConfigurable,
     .least = &onuTContProfileRates::maximumRateDefault,
     .value = &TContRates::maximum,
     .stored = &tContProfileInfo::maximumRate,
     .leadsIn = std::nullopt},
}};

inline constexpr const TContRateKind& kTContFixed = kTContRateKinds[0];
inline constexpr const TContRateKind& kTContAssured = kTContRateKinds[1];
inline constexpr const TContRateKind& kTContMaximum = kTContRateKinds[2];

inline TContRates ratesOf(const tContProfileInfo& profile) {
    return {.fixed = profile.fixedRate, .assured = profile.assuredRate, .maximum = profile.maximumRate};
}

inline TContRates tContDefaultRates(onuTContProfileType type) {
    const onuTContProfileRates row = tContRateRules(type);
    return {
        .fixed = row.fixedRateDefault, .assured = row.assuredRateDefault, .maximum = row.maximumRateDefault};
}

/// The step to which a rate is rounded up.
constexpr std::uint32_t tContRateStep(const ClassLimits& limits, onuTContProfileRateType type,
                                      std::uint32_t rate) {
    return type == tContRateFixed && rate > kFineFixedRateMax ? limits.coarseFixedRateStep : limits.rateStep;
}

/// The least multiple of `step` that is not below `rate`, modulo 2^32.
constexpr std::uint32_t roundUp(std::uint32_t rate, std::uint32_t step) {
    return (rate - 1 + step) / step * step;
}

static_assert(roundUp(0, 64) == 0 && roundUp(64, 64) == 64 && roundUp(65, 64) == 128);

constexpr std::uint32_t tContRateRounded(const ClassLimits& limits, onuTContProfileRateType type,
                                         std::uint32_t rate) {
    return roundUp(rate, tContRateStep(limits, type, rate));
}

/// Why a rate, or the rates of a profile together, are wrong.
enum class RateReason : std::uint8_t {
    none,
    notCarried,  ///< the type has no such rate
    belowLeast,  ///< or 0 where the type's default is not 0
    aboveMost,
    type3Maximum,    ///< below assured + margin
    type5Guarantee,  ///< fixed + assured above 0 and below the margin
    type5Maximum,    ///< below fixed + assured + margin
    noSuchType
};

/// Whether a rate lies between the least of its type and the most of the class.
constexpr RateReason tContRateBound(std::uint32_t least, std::uint32_t rate, const ClassLimits& limits) {
    if (rate < least) {
        return RateReason::belowLeast;
    }
    return rate > limits.rateMax ? RateReason::aboveMost : RateReason::none;
}

/// Whether rates keep the rules of a type among each other. Sums are 32 bits wide, as the records are.
constexpr RateReason tContRatesReason(onuTContProfileType type, const TContRates& rates) {
    const std::uint32_t guaranteed = rates.fixed + rates.assured;
    switch (type) {
        case tContType1:
        case tContType2:
        case tContType4:
            return RateReason::none;  // type 4 has no rule; types 1 and 2 derive the maximum
        case tContType3:
            return rates.maximum >= rates.assured + kTContRateMargin ? RateReason::none
                                                                     : RateReason::type3Maximum;
        case tContType5:
            if (guaranteed != 0 && guaranteed < kTContRateMargin) {
                return RateReason::type5Guarantee;
            }
            return rates.maximum >= guaranteed + kTContRateMargin ? RateReason::none
                                                                  : RateReason::type5Maximum;
        default:
            return RateReason::noSuchType;
    }
}

static_assert(tContRatesReason(tContType3, {0, 256, 512}) == RateReason::none &&
              tContRatesReason(tContType3, {0, 256, 511}) == RateReason::type3Maximum);
static_assert(tContRatesReason(tContType5, {0, 0, 256}) == RateReason::none &&
              tContRatesReason(tContType5, {100, 155, 999}) == RateReason::type5Guarantee &&
              tContRatesReason(tContType5, {100, 156, 512}) == RateReason::none &&
              tContRatesReason(tContType5, {256, 0, 511}) == RateReason::type5Maximum);

/// The values that one rate may take while the others stay; with `zero`, 0 too.
struct RateRange {
    std::uint32_t least = 0;
    std::uint32_t most = 0;
    bool zero = false;
};

/// `rates` are valid for the type, and the type carries the rate.
constexpr RateRange tContRateRange(const TContRateKind& kind, onuTContProfileType type,
                                   const TContRates& rates, const ClassLimits& limits) {
    const auto below = [](std::uint32_t limit, std::uint32_t used) {
        return limit > used ? limit - used : 0;
    };
    RateRange range{.least = tContRateRules(type).*kind.least, .most = limits.rateMax, .zero = false};
    if (kind.type == tContRateMaximum) {
        if (type == tContType3 || type == tContType5) {
            range.least = std::max(range.least, rates.fixed + rates.assured + kTContRateMargin);
        }
    } else if (type == tContType3) {
        range.most = below(rates.maximum, kTContRateMargin);
    } else if (type == tContType5) {
        const std::uint32_t other = kind.type == tContRateFixed ? rates.assured : rates.fixed;
        range.least = below(kTContRateMargin, other);
        range.most = below(rates.maximum, kTContRateMargin + other);
        range.zero = other == 0 || other >= kTContRateMargin;
    }
    return range;
}

/// The legal values next to `asked`; nothing on a side without one.
struct NearestRates {
    std::optional<std::uint32_t> below;
    std::optional<std::uint32_t> above;
};

constexpr NearestRates nearestLegal(const RateRange& range, const ClassLimits& limits,
                                    onuTContProfileRateType type, std::uint32_t asked) {
    const auto down = [&](std::uint32_t rate) { return rate - rate % tContRateStep(limits, type, rate); };
    const std::uint32_t least = tContRateRounded(limits, type, range.least);
    const std::uint32_t most = down(range.most);
    NearestRates nearest;
    if (least <= most && asked >= least) {
        nearest.below = std::min(down(asked), most);
    } else if (range.zero) {
        nearest.below = 0;
    }
    if (range.zero && asked == 0) {
        nearest.above = 0;
    } else if (least <= most && asked <= most) {
        nearest.above = std::max(tContRateRounded(limits, type, asked), least);
    }
    return nearest;
}

/// The least and the most of a range that can be stored, 0 left aside; nothing where there is none.
constexpr std::optional<std::pair<std::uint32_t, std::uint32_t>> storedBounds(const RateRange& range,
                                                                              const ClassLimits& limits,
                                                                              onuTContProfileRateType type) {
    const std::uint32_t least = tContRateRounded(limits, type, range.least);
    const std::uint32_t most = range.most - range.most % tContRateStep(limits, type, range.most);
    return least <= most ? std::optional(std::pair(least, most)) : std::nullopt;
}

/// Whether one rate of a profile may be set while the others stay or follow it, with the numbers that decide.
struct RateVerdict {
    RateReason reason = RateReason::none;
    TContRates rates;  ///< all three as they become
    std::uint32_t least = 0;
    std::uint32_t most = 0;
    std::uint32_t step = 0;
    std::optional<std::uint32_t> nearestBelow;  ///< of a rate that is refused
    std::optional<std::uint32_t> nearestAbove;

    constexpr explicit operator bool() const { return reason == RateReason::none; }

    constexpr Result result() const {
        switch (reason) {
            case RateReason::none:
                return Result::ok;
            case RateReason::notCarried:
                return Result::outOfRange;
            default:
                return Result::rateError;
        }
    }
};

/// `row` holds the rules of `type`. `kTContRateDefault` asks for the default. `round(rate)` is called once at
/// the most, for a rate other than 0 that lies within its bounds.
template <typename Round>
constexpr RateVerdict tContRateVerdict(const onuTContProfileRates& row, const TContRateKind& kind,
                                       onuTContProfileType type, const TContRates& stored,
                                       std::uint32_t asked, const ClassLimits& limits, Round round) {
    RateVerdict verdict;
    verdict.rates = stored;
    if (!(row.*kind.configurable)) {
        verdict.reason = RateReason::notCarried;
        return verdict;
    }
    const std::uint32_t least = row.*kind.least;
    std::uint32_t value = least;
    if (asked != kTContRateDefault) {
        verdict.reason = tContRateBound(least, asked, limits);  // 0 passes only where the default is 0
        value = verdict && asked != 0 ? round(asked) : asked;
    }
    if (verdict && value != stored.*kind.value) {
        if (type == kind.leadsIn) {
            verdict.rates = {.fixed = 0, .assured = 0, .maximum = value};
        }
        verdict.rates.*kind.value = value;
        verdict.reason = tContRatesReason(type, verdict.rates);
    }
    const RateRange range = tContRateRange(kind, type, stored, limits);
    verdict.least = range.least;
    verdict.most = range.most;
    verdict.step = tContRateStep(limits, kind.type, asked);
    if (!verdict) {
        const NearestRates nearest = nearestLegal(range, limits, kind.type, asked);
        verdict.nearestBelow = nearest.below;
        verdict.nearestAbove = nearest.above;
        verdict.rates = stored;
    }
    return verdict;
}

}  // namespace rules
