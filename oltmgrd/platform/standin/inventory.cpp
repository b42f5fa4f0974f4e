#include "oltmgrd/platform/standin/inventory.h"

namespace oltmgrd {

static_assert(kTechnologyGpon == Interfaces::ponTechGpon && kTechnology10G == Interfaces::ponTech10G);

standin::Inventory standinOf(const Inventory& inventory) {
    standin::Inventory platform;
    platform.features = inventory.features;
    for (const InventoryPort& port : inventory.ports) {
        platform.ports.push_back({.interface = port.interface,
                                  .olt = port.olt,
                                  .slot = port.slot,
                                  .port = port.port,
                                  .technology = port.technology,
                                  .minDistance = port.minDistance,
                                  .maxDistance = port.maxDistance,
                                  .capacityFixed = port.capacityFixed,
                                  .capacityTotal = port.capacityTotal});
    }
    for (const InventoryOnu& onu : inventory.onus) {
        platform.onus.push_back(
            {.interface = onu.interface, .parent = onu.parent, .slot = onu.slot, .port = onu.port});
    }
    for (const ServiceProfile& profile : inventory.serviceProfiles) {
        platform.serviceProfiles.push_back(
            {.name = profile.name, .tContProfile = profile.tcontProfile, .flowProfile = profile.flowProfile});
    }
    return platform;
}

}  // namespace oltmgrd
