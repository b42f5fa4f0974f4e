#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/platform/serviceProfile.h"

namespace oltmgrd {

/// PON technologies, as platforms number them.
inline constexpr int kTechnologyGpon = 1;
inline constexpr int kTechnology10G = 2;

/// What dynamic bandwidth allocation can give on a port of a technology unless the inventory tells, bytes per
/// second.
constexpr std::uint32_t capacityOf(int technology) {
    return technology == kTechnology10G ? 1239808000 : 155080000;
}

struct InventoryPort {
    std::uint32_t interface = 0;
    std::uint32_t olt = 0;  ///< OLT port number, from 1
    std::uint32_t slot = 0;
    std::uint32_t port = 0;
    int technology = kTechnologyGpon;                           ///< handed on as it stands
    std::uint32_t minDistance = 0;                              ///< kilometres
    std::uint32_t maxDistance = 20;                             ///< kilometres
    std::uint32_t capacityFixed = capacityOf(kTechnologyGpon);  ///< for fixed rates, bytes per second
    std::uint32_t capacityTotal = capacityOf(kTechnologyGpon);  ///< for fixed and assured rates together
};

struct InventoryOnu {
    std::uint32_t interface = 0;
    std::uint32_t parent = 0;  ///< one of the ports
    std::uint32_t slot = 0;
    std::uint32_t port = 0;
};

/// What an OLT consists of.
struct Inventory {
    std::map<int, bool> features;  ///< the others it has not
    std::vector<InventoryPort> ports;
    std::vector<InventoryOnu> onus;
    std::vector<ServiceProfile> serviceProfiles;
};

struct InventoryFile {
    Inventory inventory;
    std::vector<std::string> warnings;  ///< one line each, with the JSON pointer of what it is about
};

/// Reads the OLT's interfaces, features and service profiles from a parsed inventory. Throws `JsonError`.
InventoryFile readInventory(const Json& document);

/// Reads an inventory file. Throws `StartError` that names file, JSON pointer and reason.
InventoryFile loadInventory(const std::string& path);

}  // namespace oltmgrd
