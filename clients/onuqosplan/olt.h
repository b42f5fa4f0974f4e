#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "oltmgrd/configuration/document.h"
#include "onuqos/rules/classLimits.h"
#include "onuqos/rules/fit.h"

namespace onuqosplan {

using Json = oltmgrd::Json;

/// Rates that a platform allocates, kbit/s.
struct Promised {
    std::uint64_t fixed = 0;
    std::uint64_t assured = 0;
};

/// A PON port as planning sees it. Rates in kbit/s.
struct Port {
    std::uint32_t interface = 0;
    int technology = 0;  ///< as platforms number it
    rules::PortState state;
    std::uint64_t capacityFixed = 0;  ///< of the platform, for fixed rates
    std::uint64_t capacityTotal = 0;  ///< for fixed and assured rates together
    Promised promised;                ///< of that
    std::vector<std::uint32_t> onus;  ///< ascending
    std::uint32_t idleOnus = 0;       ///< how many have no service

    /// Makes the platform's free figure what is left of its capacity.
    void setFree();
};

/// An OLT at one moment, from its files or from the process that runs it.
struct Olt {
    bool tenG = false;        ///< its class
    std::vector<Port> ports;  ///< those whose limits are known, ascending
    oltmgrd::ConfigurationDocument configuration;
    /// What the platform's free figure is taken to be; empty where the platform told it.
    std::string assumedFree;
    std::vector<std::string> notes;  ///< what its reader should know; a line each

    const rules::ClassLimits& limits() const { return rules::classLimits(tenG); }
};

/// Orders the ports and their ONUs, and counts the ONUs without a service.
void complete(Olt& olt);

/// The port with this interface index. Throws common::UsageError where there is none, or where its limits are
/// not known.
Port& portOf(Olt& olt, std::uint32_t interface);

/// What a binding's T-CONT holds.
oltmgrd::TContValues boundValues(const oltmgrd::ConfigurationDocument& document,
                                 const oltmgrd::SavedBinding& binding);

inline rules::RatePair ratesOf(const oltmgrd::TContValues& values) {
    return {.fixed = values.fixedRate, .assured = values.assuredRate};
}

/// "gpon", "10g", or the number of another.
std::string technologyName(int technology);

}  // namespace onuqosplan
