#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "onuqos/rules/admission.h"
#include "onuqos/rules/ledger.h"
#include "onuqos/rules/tContRules.h"

/// How many more T-CONTs fit on a PON port, at what distance, and what rates cost: functions of their inputs
/// alone. Rates in kbit/s.
namespace rules {

/// What the future of a PON port depends on.
struct PortState {
    oltPortBw technology = oltPortBwGpon;  ///< of the port; what a distance takes depends on it
    std::uint32_t totalMax = 0;            ///< of the class of the OLT
    std::uint32_t minDistance = 0;
    std::uint32_t maxDistance = 0;
    onuQosOltCacInfo held;
    bool configured = false;  ///< whether an ONU of the port has a service
    RatePair free;            ///< what the platform has, for fixed rates, and for fixed and assured together

    constexpr std::uint32_t fixedMax() const { return maxFixedRate(technology, minDistance, maxDistance); }

    /// By the yardstick of the alarm.
    constexpr LimitVerdict limits() const { return portVerdict(held, fixedMax(), totalMax); }
};

/// The port once a T-CONT of these rates, new there, is bound on an ONU, which has no service yet where
/// `newOnu`. Of the platform's free figure it takes its rates without the overhead: what the stand-in's
/// bandwidth allocation does, and an assumption about every other.
constexpr PortState withTCont(PortState port, RatePair rate, bool newOnu) {
    const OnuOnPort further = port.configured ? OnuOnPort::further : OnuOnPort::first;
    port.held = heldWith(port.held, newOnu ? further : OnuOnPort::configured, rate);
    port.configured = true;
    port.free.fixed = remaining(port.free.fixed, rate.fixed);
    port.free.assured = remaining(port.free.assured, std::uint64_t{rate.fixed} + rate.assured);
    return port;
}

/// The two yardsticks. The alarm does not look at what the platform has free, and admission does not look at
/// the distance.
enum class Yardstick { alarm, admission };

/// Whether a port bears one more T-CONT.
constexpr LimitVerdict fits(Yardstick yardstick, const PortState& port, RatePair rate, bool newOnu) {
    return yardstick == Yardstick::alarm ? withTCont(port, rate, newOnu).limits()
                                         : actualAdmission(0, rate, port.free).limits;
}

/// How many more fit, and why not one more.
struct Fit {
    std::uint32_t count = 0;
    LimitVerdict stop;  ///< holds where all that were asked for fit
    PortState port;     ///< with those that fit
};

/// Binds T-CONTs of these rates one after the other, `most` at the most. No division would do: what an ONU
/// takes on top depends on what the port holds by then.
constexpr Fit fitCount(Yardstick yardstick, const PortState& port, RatePair rate, std::uint32_t most,
                       bool newOnus) {
    Fit fit{.count = 0, .stop = {}, .port = port};
    while (fit.count < most && (fit.stop = fits(yardstick, fit.port, rate, newOnus))) {
        fit.port = withTCont(fit.port, rate, newOnus);
        ++fit.count;
    }
    return fit;
}

/// The longest logical reach of a PON, kilometres.
inline constexpr std::uint32_t kReachMax = 60;

/// Distances from `first` to `last`, kilometres.
struct DistanceSpan {
    std::uint32_t first = 0;
    std::uint32_t last = 0;

    bool operator==(const DistanceSpan&) const = default;
};

/// The distances of the farthest ONU, up to `reach`, at which the port keeps its limits; ascending. There may
/// be a gap: past 54 km a port carries more again.
inline std::vector<DistanceSpan> distanceSpans(PortState port, std::uint32_t reach = kReachMax) {
    std::vector<DistanceSpan> spans;
    for (std::uint32_t distance = port.minDistance; distance <= reach; ++distance) {
        port.maxDistance = distance;
        if (!port.limits()) {
            continue;
        }
        if (spans.empty() || spans.back().last + 1 != distance) {
            spans.push_back({.first = distance, .last = distance});
        }
        spans.back().last = distance;
    }
    return spans;
}

/// A rate with its overhead.
struct RateCost {
    std::uint32_t rate = 0;
    std::uint32_t cost = 0;

    bool operator==(const RateCost&) const = default;
};

/// What the rates of a band cost: in it, cost rises with the rate.
struct CostBand {
    std::uint32_t percent = 0;
    RateCost first;
    RateCost last;
    /// Rates of the band from this one on cost more than the first of the next band; that one where none do.
    RateCost dearFrom;

    constexpr bool isDear() const { return dearFrom.rate <= last.rate; }
};

/// What the fixed or the assured rates that a class can hold cost, band by band.
inline std::vector<CostBand> costCurve(onuTContProfileRateType type, const ClassLimits& limits) {
    const std::span<const Band> bands = type == tContRateFixed ? std::span<const Band>(kFixedPercent)
                                                               : std::span<const Band>(kAssuredPercent);
    const auto costOf = [bands](std::uint32_t rate) {
        return RateCost{.rate = rate, .cost = rate + rateOverhead(bands, rate)};
    };
    const auto down = [&](std::uint32_t rate) { return rate - rate % tContRateStep(limits, type, rate); };
    std::vector<CostBand> curve;
    for (std::size_t at = 0; at < bands.size(); ++at) {
        const bool isLast = at + 1 == bands.size();
        const std::uint32_t first = std::max(tContRateRounded(limits, type, bands[at].from), limits.rateStep);
        const std::uint32_t last = down(isLast ? limits.rateMax : bands[at + 1].from - 1);
        CostBand band{
            .percent = bands[at].value, .first = costOf(first), .last = costOf(last), .dearFrom = {}};
        if (!isLast) {
            const RateCost next = costOf(tContRateRounded(limits, type, bands[at + 1].from));
            band.dearFrom = next;
            for (std::uint32_t rate = last; rate >= first && costOf(rate).cost > next.cost;
                 rate = down(rate - 1)) {
                band.dearFrom = costOf(rate);
            }
        } else {
            band.dearFrom = {.rate = last + 1, .cost = 0};
        }
        curve.push_back(band);
    }
    return curve;
}

}  // namespace rules
