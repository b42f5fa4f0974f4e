#include "clients/onuqosplan/portFit.h"

#include <algorithm>
#include <bit>

namespace onuqosplan {
namespace {

struct BusyOnu {
    bool hasTariff = false;
    std::uint32_t tContIds = 0;  // a bit each
};

bool takes(const BusyOnu& onu, const Tariff& tariff) {
    const bool idIsFree = tariff.tContId ? (onu.tContIds >> *tariff.tContId & 1U) == 0
                                         : std::popcount(onu.tContIds) < static_cast<int>(kTContIdMax);
    return !onu.hasTariff && idIsFree;
}

std::unordered_map<std::uint32_t, BusyOnu> busyOnus(const Olt& olt, const Tariff& tariff) {
    std::unordered_map<std::uint32_t, BusyOnu> onus;
    for (const oltmgrd::SavedBinding& binding : olt.configuration.bindings) {
        BusyOnu& onu = onus[binding.interface];
        onu.hasTariff = onu.hasTariff || (tariff.place && binding.tcont.place == *tariff.place);
        onu.tContIds |= 1U << boundValues(olt.configuration, binding).tContId;
    }
    return onus;
}

rules::Fit fitAt(const Port& port, std::uint32_t distance, rules::RatePair rate, std::uint32_t most, On on) {
    rules::PortState state = port.state;
    state.maxDistance = distance;
    return rules::fitCount(rules::Yardstick::alarm, state, rate, most, on == On::idle);
}

}  // namespace

std::unordered_map<std::uint32_t, std::uint32_t> candidates(const Olt& olt, const Tariff& tariff, On on) {
    std::unordered_map<std::uint32_t, std::uint32_t> counts;
    if (on == On::idle) {
        for (const Port& port : olt.ports) {
            counts[port.interface] = port.idleOnus;
        }
        return counts;
    }
    const auto busy = busyOnus(olt, tariff);
    for (const Port& port : olt.ports) {
        counts[port.interface] = static_cast<std::uint32_t>(std::ranges::count_if(port.onus, [&](auto onu) {
            const auto found = busy.find(onu);
            return found != busy.end() && takes(found->second, tariff);
        }));
    }
    return counts;
}

PortFit fitOn(const Port& port, const Tariff& tariff, On on, std::uint32_t most,
              const std::vector<std::uint32_t>& distances) {
    const rules::RatePair rate = tariff.guaranteed();
    const bool newOnus = on == On::idle;
    PortFit fit{.port = &port,
                .rate = rate,
                .on = on,
                .alarm = rules::fitCount(rules::Yardstick::alarm, port.state, rate, most, newOnus),
                .admission = rules::fitCount(rules::Yardstick::admission, port.state, rate, most, newOnus),
                .distances = {}};
    const auto add = [&](std::uint32_t distance, const rules::Fit& there) {
        fit.distances.push_back(
            {.maxDistance = distance, .fixedMax = there.port.fixedMax(), .count = there.count});
    };
    for (const std::uint32_t distance : distances) {
        add(distance, fitAt(port, distance, rate, most, on));
    }
    if (distances.empty() && fit.alarm.stop.binding == rules::Limit::fixed) {
        for (std::uint32_t distance = port.state.maxDistance; distance > port.state.minDistance;) {
            const rules::Fit there = fitAt(port, --distance, rate, most, on);
            if (there.count > fit.alarm.count) {
                add(distance, there);
                break;
            }
        }
    }
    return fit;
}

const char* stopName(const rules::Fit& fit) {
    switch (fit.stop.binding) {
        case rules::Limit::fixed:
            return "fixed";
        case rules::Limit::total:
            return "total";
        default:
            return "onus";
    }
}

std::string stopText(const PortFit& fit, rules::Yardstick yardstick) {
    const bool byAlarm = yardstick == rules::Yardstick::alarm;
    const rules::Fit& counted = byAlarm ? fit.alarm : fit.admission;
    const rules::PortState& port = counted.port;
    const rules::PortState more = rules::withTCont(port, fit.rate, fit.on == On::idle);
    const auto total = [](const onuQosOltCacInfo& sums) {
        return std::uint64_t{sums.fixedAlloc} + sums.assuredAlloc;
    };
    const auto sums = [](const char* what, std::uint64_t used, std::uint64_t limit) {
        return what + std::to_string(used) + " of " + std::to_string(limit);
    };
    const rules::RatePair cost = costOf(fit.rate);
    switch (counted.stop.binding) {
        case rules::Limit::fixed:
            return byAlarm ? sums("fixed ", port.held.fixedAlloc, port.fixedMax()) +
                                 "; one more: " + std::to_string(more.held.fixedAlloc)
                           : "fixed: " + std::to_string(port.free.fixed) + " free, one more needs " +
                                 std::to_string(cost.fixed);
        case rules::Limit::total:
            return byAlarm ? sums("total ", total(port.held), port.totalMax) +
                                 "; one more: " + std::to_string(total(more.held))
                           : "total: " + std::to_string(port.free.assured) + " free, one more needs " +
                                 std::to_string(std::uint64_t{cost.fixed} + cost.assured);
        default:
            break;
    }
    const std::string left =
        fit.on == On::idle ? "no ONU left without a service" : "no further ONU can take it";
    if (byAlarm) {
        return left + sums(" (fixed ", port.held.fixedAlloc, port.fixedMax()) +
               sums(", total ", total(port.held), port.totalMax) + " then)";
    }
    return left + " (free " + std::to_string(port.free.fixed) +
           (port.free.fixed == port.free.assured
                ? ""
                : " fixed, " + std::to_string(port.free.assured) + " in all") +
           " then)";
}

Json portFitJson(const PortFit& fit) {
    Json distances = Json::array();
    for (const FitAtDistance& at : fit.distances) {
        distances.push_back(
            {{"maxDistance", at.maxDistance}, {"fit", at.count}, {"limitFixed", at.fixedMax}});
    }
    const rules::PortState& now = fit.port->state;
    return {
        {"port", fit.port->interface},
        {"fit", {{"alarm", fit.alarm.count}, {"admission", fit.admission.count}, {"distance", distances}}},
        {"stops", {{"alarm", stopName(fit.alarm)}, {"admission", stopName(fit.admission)}}},
        {"now",
         {{"fixed", now.held.fixedAlloc},
          {"assured", now.held.assuredAlloc},
          {"limitFixed", now.fixedMax()},
          {"limitTotal", now.totalMax},
          {"free", {{"fixed", now.free.fixed}, {"total", now.free.assured}}}}}};
}

}  // namespace onuqosplan
