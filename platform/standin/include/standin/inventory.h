#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Interfaces.h"

namespace standin {

/// Speeds of which a port is capable, Mbit/s.
struct PhyCapability {
    int upstream = 0;
    int downstream = 0;
};

/// A PON port, interface type 3.
struct PonPort {
    unsigned int interface = 0;
    unsigned int olt = 0;  ///< OLT port number, counted from 1; 0 stands for the interface index
    unsigned int slot = 0;
    unsigned int port = 0;
    int technology = Interfaces::ponTechGpon;  ///< handed on as it stands
    std::uint32_t minDistance = 0;             ///< kilometres
    std::uint32_t maxDistance = 20;            ///< kilometres
    /// What dynamic bandwidth allocation can give, bytes per second: to fixed rates, and to fixed and assured
    /// rates together. Unless given 1239808000 for technology 2 and 155080000 for every other.
    std::optional<std::uint32_t> capacityFixed = std::nullopt;
    std::optional<std::uint32_t> capacityTotal = std::nullopt;
    bool linkUp = true;
    /// Unless given, the line rates of technology 2 (9953280 both ways) or of GPON (1244160 up, 2488320
    /// down).
    std::optional<dslSpeed_t> speed = std::nullopt;
    /// Unless given, `speed` in Mbit/s, rounded down.
    std::optional<PhyCapability> phyCapability = std::nullopt;
};

/// An ONU, interface type 4. Its PON port need not be listed; its parent look-up fails then.
struct Onu {
    unsigned int interface = 0;
    unsigned int parent = 0;
    unsigned int slot = 0;
    unsigned int port = 0;
};

/// An interface of another type.
struct OtherInterface {
    unsigned int interface = 0;
    int type = 0;
    unsigned int slot = 0;
    unsigned int port = 0;
};

/// A service profile. Each text has at most 64 bytes, none of them NUL; an empty one names nothing.
struct ServiceProfile {
    std::string name;
    std::string tContProfile;
    std::string flowProfile;

    friend bool operator==(const ServiceProfile&, const ServiceProfile&) = default;
};

/// What the platform consists of. Interfaces that are not listed do not exist.
struct Inventory {
    std::vector<PonPort> ports;
    std::vector<Onu> onus;
    std::vector<OtherInterface> others;
    std::map<int, bool> features;  ///< feature number to whether the platform has it; the others it has not
    std::vector<ServiceProfile> serviceProfiles;
};

/// Replaces the platform's interfaces, features and service profiles. What was set on the interfaces that
/// were there before (distances, links, overrides) goes with them; what the hardware layer holds stays. The
/// interface list is in ascending order of index.
///
/// Throws `Error` when an interface index or an OLT port number is used twice, and for service profiles that
/// `serviceProfiles::add` would refuse.
[[gnu::visibility("default")]] void configure(const Inventory& inventory);

}  // namespace standin
