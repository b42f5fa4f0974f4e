#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "clients/onuqosplan/tariff.h"

namespace onuqosplan {

/// What an OLT of a fleet bears of a tariff, over its ports.
struct FleetOlt {
    std::string name;   ///< of its folder
    std::string fault;  ///< why nothing is known of it; empty where all is
    std::uint32_t ports = 0;
    std::uint32_t portsOver = 0;  ///< over their limits now
    std::uint64_t idleOnus = 0;
    std::uint64_t alarm = 0;      ///< how many more before the alarm
    std::uint64_t admission = 0;  ///< before admission refuses
    std::uint64_t both = 0;
};

/// Reads every folder of `directory`, each with inventory.json and configuration.json, on all cores, one OLT
/// a core at a time; in the order of their names. `tariffOf` is asked for each, on several threads;
/// `progress` is told how many of how many are done, on one at a time. Throws common::UsageError where there
/// is no folder.
std::vector<FleetOlt> readFleet(const std::string& directory,
                                const std::function<Tariff(const Olt&)>& tariffOf,
                                const std::function<void(std::size_t done, std::size_t all)>& progress);

}  // namespace onuqosplan
