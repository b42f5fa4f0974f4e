#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "onuqos/rules/admission.h"
#include "onuqos/rules/ledger.h"
#include "onuqos/rules/tContRules.h"

/// The largest rates that still fit: functions of their inputs alone. Rates in kbit/s.
///
/// What a rate costs falls where its overhead changes band: fixed 448 costs 2240, and 512 costs 1664. So the
/// bands are tried from the top; within one, cost rises with the rate.
namespace rules {

/// The largest legal value within `range` that `fits(value)` accepts, among multiples of the class's step
/// and, where the range has it, 0; nothing where none fits. Within a band of overheads `fits` accepts nothing
/// above a value that it refuses.
template <typename Fits>
constexpr std::optional<std::uint32_t> largestRate(onuTContProfileRateType type, const RateRange& range,
                                                   const ClassLimits& limits, Fits fits) {
    const std::span<const Band> bands = type == tContRateFixed ? std::span<const Band>(kFixedPercent)
                                                               : std::span<const Band>(kAssuredPercent);
    for (std::uint32_t last = range.most; last >= range.least && last != 0;) {
        const bool coarse = type == tContRateFixed && last > kFineFixedRateMax;
        const std::uint32_t first =
            std::max({range.least, bandOf(bands, last).from, coarse ? kFineFixedRateMax + 1 : 0});
        const std::uint32_t step = tContRateStep(limits, type, last);
        std::uint32_t low = (first + step - 1) / step;
        std::uint32_t high = last / step;
        if (low <= high && fits(low * step)) {
            while (low < high) {
                const std::uint32_t middle = high - (high - low) / 2;
                if (fits(middle * step)) {
                    low = middle;
                } else {
                    high = middle - 1;
                }
            }
            return low * step;
        }
        if (first == 0) {
            break;
        }
        last = first - 1;
    }
    return range.zero && fits(0) ? std::optional(0U) : std::nullopt;
}

/// The largest rates of a T-CONT of `type` that `fits(RatePair)` accepts; zeros where none do. Types 1 to 3
/// carry one of the two. Type 5 keeps its fixed rate as asked, which is the firmer promise, and gets the
/// largest assured rate beside it; where the fixed rate alone is too much, the largest fixed rate beside the
/// assured one as asked; where that is too much too, the largest fixed rate alone. The maximum rate costs
/// nothing and follows as far as the class allows.
template <typename Fits>
constexpr RatePair largestRates(onuTContProfileType type, RatePair asked, const ClassLimits& limits,
                                Fits fits) {
    const onuTContProfileRates carried = tContRateRules(type);
    const auto beside = [&](const TContRateKind& kind, std::uint32_t RatePair::*rate,
                            RatePair kept) -> std::optional<RatePair> {
        if (!(carried.*kind.configurable)) {
            return std::nullopt;
        }
        kept.*rate = 0;
        const RateRange range = tContRateRange(
            kind, type, {.fixed = kept.fixed, .assured = kept.assured, .maximum = limits.rateMax}, limits);
        const auto with = [&](std::uint32_t value) {
            kept.*rate = value;
            return kept;
        };
        const auto found =
            largestRate(kind.type, range, limits, [&](std::uint32_t value) { return fits(with(value)); });
        return found ? std::optional(with(*found)) : std::nullopt;
    };
    if (const auto rates = beside(kTContAssured, &RatePair::assured, asked)) {
        return *rates;
    }
    if (const auto rates = beside(kTContFixed, &RatePair::fixed, asked)) {
        return *rates;
    }
    return beside(kTContFixed, &RatePair::fixed, {}).value_or(RatePair{});
}

/// Whether a port of which the platform reports this much free, for fixed rates and for fixed and assured
/// rates together, admits a T-CONT.
constexpr bool admits(RatePair available, RatePair rate) {
    return static_cast<bool>(actualAdmission(0, rate, available));
}

/// Whether a port keeps its limits, and so raises no alarm, once a T-CONT is bound on it.
constexpr bool keepsLimits(const onuQosOltCacInfo& held, OnuOnPort onu, RatePair rate,
                           std::uint32_t fixedLimit, std::uint32_t totalLimit) {
    return static_cast<bool>(portVerdict(heldWith(held, onu, rate), fixedLimit, totalLimit));
}

}  // namespace rules
