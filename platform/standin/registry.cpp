#include "registry.h"

#include <algorithm>
#include <array>
#include <string>

#include "featureMap.h"
#include "serviceProfiles.h"
#include "standin/error.h"

namespace standin {
namespace {

/// What a port of a technology has unless the inventory says otherwise.
struct TechnologyDefaults {
    int technology;
    std::uint32_t capacity;  // bytes per second
    dslSpeed_t speed;        // kbit/s
};

constexpr std::array<TechnologyDefaults, 2> kTechnologies{{
    {Interfaces::ponTechGpon, 155'080'000, {1'244'160, 2'488'320}},
    {Interfaces::ponTech10G, 1'239'808'000, {9'953'280, 9'953'280}},
}};

const TechnologyDefaults& defaultsOf(int technology) {
    const auto found = std::ranges::find(kTechnologies, technology, &TechnologyDefaults::technology);
    return found != kTechnologies.end() ? *found : kTechnologies.front();
}

PonPort withDefaults(PonPort port) {
    const TechnologyDefaults& defaults = defaultsOf(port.technology);
    port.olt = port.olt != 0 ? port.olt : port.interface;
    port.capacityFixed = port.capacityFixed.value_or(defaults.capacity);
    port.capacityTotal = port.capacityTotal.value_or(defaults.capacity);
    port.speed = port.speed.value_or(defaults.speed);
    port.phyCapability = port.phyCapability.value_or(
        PhyCapability{.upstream = static_cast<int>(port.speed->upstream / 1000),
                      .downstream = static_cast<int>(port.speed->downstream / 1000)});
    return port;
}

}  // namespace

Registry::Registry(const Inventory& inventory) {
    for (const PonPort& given : inventory.ports) {
        const PonPort port = withDefaults(given);
        add(port.interface, {.type = Interfaces::interfaceTypeOltPon,
                             .slot = port.slot,
                             .port = port.port,
                             .up = port.linkUp,
                             .pon = port});
        if (!ponPortsByIndex_.emplace(port.olt - 1, port.interface).second) {
            throw Error("OLT port number " + std::to_string(port.olt) + " is used by more than one PON port");
        }
    }
    for (const Onu& onu : inventory.onus) {
        add(onu.interface,
            {.type = Interfaces::interfaceTypeOnu, .slot = onu.slot, .port = onu.port, .parent = onu.parent});
    }
    for (const OtherInterface& other : inventory.others) {
        add(other.interface, {.type = other.type, .slot = other.slot, .port = other.port});
    }
    std::ranges::sort(list_, {}, &Interfaces::Interface::intf);
}

void Registry::add(unsigned int interface, const InterfaceRecord& record) {
    if (!records_.emplace(interface, record).second) {
        throw Error("interface index " + std::to_string(interface) + " is used more than once");
    }
    list_.push_back({interface, static_cast<Interfaces::interfaceType>(record.type)});
}

const InterfaceRecord* Registry::find(unsigned int interface) const {
    const auto found = records_.find(interface);
    return found != records_.end() ? &found->second : nullptr;
}

InterfaceRecord* Registry::find(unsigned int interface) {
    const auto found = records_.find(interface);
    return found != records_.end() ? &found->second : nullptr;
}

const InterfaceRecord* Registry::ponPortOf(const InterfaceRecord& record) const {
    const InterfaceRecord* port = record.type == Interfaces::interfaceTypeOnu ? find(record.parent) : &record;
    return port != nullptr && port->pon ? port : nullptr;
}

std::optional<unsigned int> Registry::ponPortByIndex(unsigned int index) const {
    const auto found = ponPortsByIndex_.find(index);
    if (found == ponPortsByIndex_.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::optional<unsigned int> ponInterfaceOf(unsigned int interface) {
    return state<Registry>().with([interface](const Registry& registry) -> std::optional<unsigned int> {
        const InterfaceRecord* record = registry.find(interface);
        const InterfaceRecord* port = record != nullptr ? registry.ponPortOf(*record) : nullptr;
        if (port == nullptr) {
            return std::nullopt;
        }
        return port->pon->interface;
    });
}

void configure(const Inventory& inventory) {
    Registry registry(inventory);
    ServiceProfileList serviceProfiles(inventory.serviceProfiles);
    state<Registry>().assign(std::move(registry));
    state<ServiceProfileList>().assign(std::move(serviceProfiles));
    state<FeatureMap>().assign({inventory.features});
}

}  // namespace standin
