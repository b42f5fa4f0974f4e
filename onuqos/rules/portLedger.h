#pragma once

#include <cstdint>
#include <optional>

#include "onuqos/rules/cacTypes.h"

/// The line of a PON port, which its largest sum of fixed rates depends on.
struct onuQosPortLine {
    oltPortBw technology = oltPortBwGpon;
    std::uint32_t minDistance = 0;  ///< of the nearest ONU, kilometres
    std::uint32_t maxDistance = 0;  ///< of the farthest
    std::uint32_t limitFixed = 0;   ///< what the sum of fixed rates may reach before the alarm, kbit/s

    bool operator==(const onuQosPortLine&) const = default;
};

/// What a PON port holds and what limits it, at one moment.
struct onuQosPortLedger {
    onuQosOltCacInfo sums;
    oltPortBw bandwidthClass = oltPortBwGpon;  ///< of the OLT, not of the port
    std::uint32_t limitTotal = 0;              ///< of fixed and assured rates together, kbit/s; by the class
    std::optional<onuQosPortLine> line;        ///< nothing when the platform does not tell it
    std::uint32_t configuredOnus = 0;          ///< ONUs whose overhead is part of the sums

    bool operator==(const onuQosPortLedger&) const = default;
};
