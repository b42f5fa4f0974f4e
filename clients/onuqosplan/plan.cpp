#include "clients/onuqosplan/plan.h"

#include <algorithm>

#include "clients/onuqosplan/replay.h"
#include "common/errors.h"
#include "common/text.h"
#include "oltmgrd/platform/inventory.h"

namespace onuqosplan {
namespace {

using common::UsageError;

constexpr std::array kYardsticks{rules::Yardstick::alarm, rules::Yardstick::admission};
constexpr std::uint32_t kBytesPerKilobit = 125;

/// Runs `read`; what it throws names the place in the file.
template <typename Read>
auto at(const std::string& pointer, Read read) {
    try {
        return read();
    } catch (const UsageError& error) {
        throw UsageError("plan: " + common::printable(pointer) + ": " + error.what());
    }
}

std::vector<Port*> portsOf(Olt& olt, const std::optional<std::uint32_t>& interface) {
    if (interface) {
        return {&portOf(olt, *interface)};
    }
    std::vector<Port*> ports;
    for (Port& port : olt.ports) {
        ports.push_back(&port);
    }
    return ports;
}

/// A platform whose capacity is the usual one of a technology gets that of the other one.
void setTechnology(Port& port, int technology) {
    const auto usual = [](int of) { return std::uint64_t{oltmgrd::capacityOf(of) / kBytesPerKilobit}; };
    for (std::uint64_t* capacity : {&port.capacityFixed, &port.capacityTotal}) {
        if (*capacity == usual(port.technology)) {
            *capacity = usual(technology);
        }
    }
    port.technology = technology;
    port.state.technology = technology == oltmgrd::kTechnology10G ? oltPortBw10G : oltPortBwGpon;
    port.setFree();
}

void change(Olt& olt, const PortChange& change) {
    for (Port* port : portsOf(olt, change.port)) {
        rules::PortState& state = port->state;
        state.minDistance = change.minDistance.value_or(state.minDistance);
        state.maxDistance = change.maxDistance.value_or(state.maxDistance);
        if (state.minDistance > state.maxDistance) {
            throw UsageError("port " + std::to_string(port->interface) + ": minDistance " +
                             std::to_string(state.minDistance) + " is above maxDistance " +
                             std::to_string(state.maxDistance));
        }
        port->idleOnus = change.onus.value_or(port->idleOnus);
        if (change.technology) {
            setTechnology(*port, *change.technology);
        }
    }
}

void change(Olt& olt, const ProfileChange& change) {
    const Tariff tariff = profileTariff(olt, change.name);
    const rules::TContRates rates = ratesAsked(tariff.type, tariff.rates, change.rates, olt.limits());
    Parents parents;
    for (const Port& port : olt.ports) {
        for (const std::uint32_t onu : port.onus) {
            parents[onu] = port.interface;
        }
    }
    auto before = replay(olt.configuration, parents);
    oltmgrd::TContValues& values = olt.configuration.tcontProfiles[*tariff.place].values;
    values.fixedRate = rates.fixed;
    values.assuredRate = rates.assured;
    values.maximumRate = rates.maximum;
    auto after = replay(olt.configuration, parents);
    for (Port& port : olt.ports) {
        const Committed& now = after[port.interface];
        if (now.sums == before[port.interface].sums) {
            continue;
        }
        port.state.held = now.sums;
        port.promised = now.promised;
        port.setFree();
        olt.notes.push_back("port " + std::to_string(port.interface) +
                            ": its bindings were applied anew, in order, with the supposed rates of " +
                            common::inQuotes(change.name));
    }
}

Tariff tariffOf(const Olt& olt, const PlanTariff& planned) {
    if (const auto* name = std::get_if<std::string>(&planned.profile)) {
        return profileTariff(olt, *name);
    }
    const auto& values = std::get<InlineProfile>(planned.profile);
    return {
        .name = planned.name,
        .type = values.type,
        .rates = ratesAsked(values.type, rules::tContDefaultRates(values.type), values.rates, olt.limits())};
}

}  // namespace

void suppose(Olt& olt, const PlanFile& plan) {
    for (const PlanWhatIf& whatIf : plan.whatIf) {
        at(whatIf.pointer,
           [&] { std::visit([&](const auto& wanted) { change(olt, wanted); }, whatIf.change); });
    }
}

bool PortPlan::fits() const {
    return std::ranges::all_of(by, [this](const Placed& placed) { return placed.subscribers == wanted; }) &&
           at(rules::Yardstick::alarm).port.limits();
}

std::vector<PortPlan> placed(Olt& olt, const PlanFile& plan) {
    std::vector<rules::RatePair> rates;
    for (const PlanTariff& tariff : plan.tariffs) {
        rates.push_back(at(tariff.pointer, [&] { return tariffOf(olt, tariff).guaranteed(); }));
    }
    for (const PlanDemand& demand : plan.demand) {
        at(demand.pointer, [&] { portsOf(olt, demand.port); });
    }
    std::vector<PortPlan> plans;
    for (const Port& port : olt.ports) {
        PortPlan planned{.port = &port};
        for (const rules::Yardstick yardstick : kYardsticks) {
            planned.by[static_cast<std::size_t>(yardstick)].port = port.state;
        }
        for (std::size_t line = 0; line < plan.demand.size(); ++line) {
            const PlanDemand& demand = plan.demand[line];
            if (demand.port && *demand.port != port.interface) {
                continue;
            }
            planned.wanted += demand.subscribers;
            PlacedDemand& there = planned.demand.emplace_back(PlacedDemand{.demand = line});
            for (std::size_t by = 0; by < kYardsticks.size(); ++by) {
                Placed& placed = planned.by[by];
                const auto left = static_cast<std::uint32_t>(port.idleOnus - placed.subscribers);
                const rules::Fit fit = rules::fitCount(kYardsticks[by], placed.port, rates[demand.tariff],
                                                       std::min(left, demand.subscribers), true);
                placed.port = fit.port;
                placed.subscribers += fit.count;
                there.placed[by] = fit.count;
                if (fit.count < demand.subscribers && !placed.first) {
                    placed.first = Refused{.demand = line, .limit = fit.stop.binding};
                }
            }
        }
        if (!planned.demand.empty() || !port.state.limits()) {
            plans.push_back(std::move(planned));
        }
    }
    return plans;
}

}  // namespace onuqosplan
