#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "onuqos/rules/tContRules.h"

/// What is true of type and rates of a T-CONT profile that are asked for in one request (create-and-set).
namespace rules {

/// What a request asks for; rates in kbit/s.
struct TContRequest {
    onuTContProfileType type{};
    TContRates asked;
    std::uint32_t mask = 0;          ///< `tContProfileParm`: the rates that are asked for
    std::optional<TContRates> kept;  ///< the stored rates of a profile that has this type already

    constexpr bool asksFor(const TContRateKind& kind) const { return (mask & kind.parm) != 0; }
};

/// Whether the rates of a request are right together, before any of them is written.
struct TContRequestVerdict {
    RateReason reason = RateReason::none;
    const TContRateKind* kind = nullptr;  ///< the rate that is out of its bounds or not carried
    TContRates rates;                     ///< all three as they become, where there is no such rate

    constexpr explicit operator bool() const { return reason == RateReason::none; }

    constexpr Result result() const {
        if (kind != nullptr) {
            return Result::outOfRange;
        }
        switch (reason) {
            case RateReason::none:
                return Result::ok;
            case RateReason::noSuchType:
                return Result::error;
            default:
                return Result::rateError;
        }
    }
};

/// `row` holds the rules of the type. `round(rate, rate type)` is called once for each rate that is asked
/// for, in the order of `kTContRateKinds`, until one is refused. 0 passes here for every rate that the type
/// carries.
template <typename Round>
constexpr TContRequestVerdict tContRequestVerdict(const onuTContProfileRates& row,
                                                  const TContRequest& request, const ClassLimits& limits,
                                                  Round round) {
    TContRequestVerdict verdict;
    for (const TContRateKind& kind : kTContRateKinds) {
        const std::uint32_t least = row.*kind.least;
        if (!request.asksFor(kind)) {
            verdict.rates.*kind.value = request.kept ? *request.kept.*kind.value : least;
            continue;
        }
        const std::uint32_t asked = request.asked.*kind.value;
        verdict.reason = asked == 0 ? RateReason::none : tContRateBound(least, asked, limits);
        if (verdict && !(row.*kind.configurable) && asked != least) {
            verdict.reason = RateReason::notCarried;
        }
        if (!verdict) {
            verdict.kind = &kind;
            return verdict;
        }
        verdict.rates.*kind.value = round(asked, kind.type);
    }
    if (request.type == tContType1 || request.type == tContType2) {
        verdict.rates.maximum = request.type == tContType1 ? verdict.rates.fixed : verdict.rates.assured;
    }
    verdict.reason = tContRatesReason(request.type, verdict.rates);
    return verdict;
}

/// The orders in which rates are written. They suit a rise or a fall of the whole, not every exchange between
/// fixed and assured: each step has to keep the rules of the type.
inline constexpr std::array kMaximumAssuredFixed{&kTContMaximum, &kTContAssured, &kTContFixed};
inline constexpr std::array kMaximumAssured{&kTContMaximum, &kTContAssured};
inline constexpr std::array kAssuredMaximum{&kTContAssured, &kTContMaximum};
inline constexpr std::array kFixedAssuredMaximum{&kTContFixed, &kTContAssured, &kTContMaximum};
inline constexpr std::array kMaximumFixedAssured{&kTContMaximum, &kTContFixed, &kTContAssured};

using TContWriteOrder = std::span<const TContRateKind* const>;

/// Which order suits a profile of `type` that holds `stored` and is to hold `wanted`; `existed`: before the
/// request. A lower maximum comes last, a higher one first.
constexpr TContWriteOrder tContWriteOrder(bool existed, onuTContProfileType type, const TContRates& stored,
                                          const TContRates& wanted) {
    if (existed && type == tContType3) {
        return stored.assured + kTContRateMargin <= wanted.maximum ? TContWriteOrder(kMaximumAssured)
                                                                   : kAssuredMaximum;
    }
    if (existed && type == tContType5) {
        return wanted.maximum < stored.fixed + stored.assured + kTContRateMargin
                   ? TContWriteOrder(kFixedAssuredMaximum)
                   : kMaximumFixedAssured;
    }
    return kMaximumAssuredFixed;
}

/// One rate of a request being written.
struct TContStep {
    const TContRateKind* kind;
    TContRates before;  ///< what the profile holds then
    RateVerdict verdict;
};

/// The step at which writing `wanted` over `stored` ends; nothing when all are taken. `wanted` are the rates
/// of a verdict that let `request` pass, `stored` those of a profile that has the type already.
inline std::optional<TContStep> tContRefusedStep(bool existed, const TContRequest& request, TContRates stored,
                                                 const TContRates& wanted, const ClassLimits& limits) {
    const onuTContProfileRates row = tContRateRules(request.type);
    for (const TContRateKind* kind : tContWriteOrder(existed, request.type, stored, wanted)) {
        if (!request.asksFor(*kind) || !(row.*kind->configurable)) {
            continue;
        }
        const RateVerdict verdict =
            tContRateVerdict(row, *kind, request.type, stored, wanted.*kind->value, limits,
                             [&](std::uint32_t rate) { return tContRateRounded(limits, kind->type, rate); });
        if (!verdict) {
            return TContStep{kind, stored, verdict};
        }
        stored = verdict.rates;
    }
    return std::nullopt;
}

}  // namespace rules
