#include <algorithm>
#include <optional>

#include "clients/onuqosplan/replay.h"
#include "clients/onuqosplan/source.h"
#include "common/errors.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/platform/inventory.h"

namespace onuqosplan {
namespace {

constexpr std::uint32_t kBytesPerKilobit = 125;

template <typename Load>
auto loaded(Load load, const std::string& path) {
    try {
        return load(path);
    } catch (const oltmgrd::StartError& error) {
        throw common::UsageError(error.what());
    }
}

/// The port's own record, with the distances that the module reads for it; nothing where it cannot read any
/// or knows no limits for the technology, which `notes` are told.
std::optional<Port> portWithLimits(const oltmgrd::Inventory& inventory, const oltmgrd::InventoryPort& listed,
                                   bool tenG, std::vector<std::string>& notes) {
    // Distances are looked up by the interface index, not by the OLT port number.
    const auto distances = std::ranges::find(inventory.ports, listed.interface, &oltmgrd::InventoryPort::olt);
    const bool isKnown =
        listed.technology == oltmgrd::kTechnologyGpon || listed.technology == oltmgrd::kTechnology10G;
    if (!isKnown || distances == inventory.ports.end()) {
        notes.push_back("port " + std::to_string(listed.interface) + " is left out: " +
                        (isKnown
                             ? "its distances cannot be read"
                             : "there are no limits for technology " + std::to_string(listed.technology)));
        return std::nullopt;
    }
    Port port;
    port.interface = listed.interface;
    port.technology = listed.technology;
    port.state.technology = listed.technology == oltmgrd::kTechnology10G ? oltPortBw10G : oltPortBwGpon;
    port.state.totalMax = rules::classLimits(tenG).totalMax;
    port.state.minDistance = distances->minDistance;
    port.state.maxDistance = distances->maxDistance;
    port.capacityFixed = listed.capacityFixed / kBytesPerKilobit;
    port.capacityTotal = listed.capacityTotal / kBytesPerKilobit;
    return port;
}

/// A start would not be able to restore such.
void noteStrayBindings(Olt& olt, const Parents& parents) {
    const auto stray = std::ranges::count_if(olt.configuration.bindings, [&](const auto& binding) {
        return !parents.contains(binding.interface);
    });
    if (stray != 0) {
        olt.notes.push_back(
            std::to_string(stray) +
            " bindings of the configuration are on ONUs that the inventory lacks: passed over");
    }
}

std::string sumsText(std::uint32_t fixed, std::uint32_t assured) {
    return std::to_string(fixed) + "/" + std::to_string(assured);
}

}  // namespace

Olt offlineOlt(const std::string& inventoryPath, const std::string& configurationPath) {
    const oltmgrd::Inventory inventory = loaded(oltmgrd::loadInventory, inventoryPath).inventory;
    Olt olt;
    if (!configurationPath.empty()) {
        olt.configuration = loaded(oltmgrd::loadConfiguration, configurationPath);
    }
    const auto has = [&](int feature) {
        const auto found = inventory.features.find(feature);
        return found != inventory.features.end() && found->second;
    };
    olt.tenG = has(13) || has(15);
    olt.assumedFree = kCapacityLessRates;

    Parents parents;
    std::map<std::uint32_t, std::vector<std::uint32_t>> onus;
    for (const oltmgrd::InventoryOnu& onu : inventory.onus) {
        parents[onu.interface] = onu.parent;
        onus[onu.parent].push_back(onu.interface);
    }
    noteStrayBindings(olt, parents);
    std::map<std::uint32_t, Committed> committed = replay(olt.configuration, parents);
    for (const oltmgrd::InventoryPort& listed : inventory.ports) {
        std::optional<Port> port = portWithLimits(inventory, listed, olt.tenG, olt.notes);
        if (!port) {
            continue;
        }
        const Committed& bound = committed[port->interface];
        port->onus = std::move(onus[port->interface]);
        port->state.held = bound.sums;
        port->state.configured = bound.configured;
        port->promised = bound.promised;
        port->setFree();
        const auto saved =
            std::ranges::find(olt.configuration.ports, port->interface, &oltmgrd::SavedPort::interface);
        if (saved != olt.configuration.ports.end()) {
            port->state.held.fixedAlloc = saved->fixedAlloc;
            port->state.held.assuredAlloc = saved->assuredAlloc;
            if (port->state.held != bound.sums) {
                olt.notes.push_back("port " + std::to_string(port->interface) + ": sums " +
                                    sumsText(saved->fixedAlloc, saved->assuredAlloc) +
                                    " as saved; a restart applies the bindings anew and commits " +
                                    sumsText(bound.sums.fixedAlloc, bound.sums.assuredAlloc));
            }
        }
        olt.ports.push_back(*std::move(port));
    }
    complete(olt);
    return olt;
}

}  // namespace onuqosplan
