#pragma once

#include <map>

#include "onuqos/rules/cacTypes.h"
#include "onuqos/support/onu.h"

/// The record of the port that serves an ONU; the end of the table, with a line, when the platform does not
/// tell the port or it has no record.
template <typename PortTable>
auto onuPortOf(At at, PortTable& ports, unsigned int onuIntf) {
    const auto parent = onuParentOf(at, onuIntf);
    if (!parent) {
        return ports.end();
    }
    const auto port = ports.find(*parent);
    if (port == ports.end()) {
        logError(at, "ONUQOS ERROR - onuQosOltCacMap.find() failed for OLT intf: ", *parent);
    }
    return port;
}
