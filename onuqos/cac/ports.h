#pragma once

#include <map>

#include "onuqos/rules/cacTypes.h"
#include "onuqos/rules/overhead.h"
#include "onuqos/rules/result.h"
#include "onuqos/support/onu.h"

/// The record of the port that serves an ONU; the end of the table, with a line, when the platform does not
/// tell the port or it has no record.
template <typename PortTable>
auto onuPortOf(At at, PortTable& ports, unsigned int onuIntf, rules::FailedStep* failed = nullptr) {
    const auto parent = onuParentOf(at, onuIntf, failed);
    if (!parent) {
        return ports.end();
    }
    const auto port = ports.find(*parent);
    if (port == ports.end()) {
        noteFailure(failed, "onuQosOltCacMap");
        logError(at, "ONUQOS ERROR - onuQosOltCacMap.find() failed for OLT intf: ", *parent);
    }
    return port;
}

/// The record of a PON port, with the result ok; the end of the table, with what is to be answered, for an
/// interface that is none or has no record, of which a line is written.
template <typename PortTable>
auto ponPortOf(At at, PortTable& ports, unsigned int oltIntf, rules::Result& result) {
    const auto type = interfaceTypeOf(oltIntf);
    if (type != Interfaces::interfaceTypeOltPon) {
        result = type ? rules::Result::wrongIntf : rules::Result::error;
        return ports.end();
    }
    const auto port = ports.find(oltIntf);
    result = port == ports.end() ? rules::Result::error : rules::Result::ok;
    if (port == ports.end()) {
        logError(at, "ONUQOS ERROR - onuQosOltCacMap.find() failed for OLT intf: ", oltIntf);
    }
    return port;
}

/// The work of `onuQos::onuQosRatesOverheadGet` and `onuQos::onuQosOltActualAvailRatesGet`, which tell
/// `failed` of the step that failed.
rules::Result ratesOverhead(const std::map<std::uint32_t, onuQosOltCacInfo>& ports, unsigned int onuIntf,
                            rules::RatePair rate, rules::RatePair& overhead, rules::FailedStep* failed);
rules::Result actualAvailable(unsigned int oltIntf, rules::RatePair& available, rules::FailedStep* failed);
