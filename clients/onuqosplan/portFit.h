#pragma once

#include <unordered_map>
#include <vector>

#include "clients/onuqosplan/tariff.h"

namespace onuqosplan {

/// On which ONUs further T-CONTs are counted: those without a service, or those with one.
enum class On { idle, busy };

/// How many ONUs of each port can take a T-CONT of the tariff. A busy ONU can unless it has one of it
/// already, or no T-CONT id for it.
std::unordered_map<std::uint32_t, std::uint32_t> candidates(const Olt& olt, const Tariff& tariff, On on);

/// The same count with the farthest ONU elsewhere.
struct FitAtDistance {
    std::uint32_t maxDistance = 0;
    std::uint32_t fixedMax = 0;
    std::uint32_t count = 0;
};

/// How many more of a tariff a port bears, by both yardsticks.
struct PortFit {
    const Port* port = nullptr;
    rules::RatePair rate;
    On on = On::idle;
    rules::Fit alarm;
    rules::Fit admission;
    std::vector<FitAtDistance> distances;

    /// Without alarm and without refusal.
    std::uint32_t both() const { return std::min(alarm.count, admission.count); }
};

/// `most` ONUs can take one. `distances` are those that are asked for; where there are none and the distance
/// stands in the way, it is the farthest at which more fit.
PortFit fitOn(const Port& port, const Tariff& tariff, On on, std::uint32_t most,
              const std::vector<std::uint32_t>& distances);

/// "fixed", "total", or "onus" where nothing but the number of ONUs stops.
const char* stopName(const rules::Fit& fit);

/// What stops, with its numbers.
std::string stopText(const PortFit& fit, rules::Yardstick yardstick);

Json portFitJson(const PortFit& fit);

}  // namespace onuqosplan
