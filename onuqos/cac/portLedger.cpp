#include "onuqos/rules/portLedger.h"

#include "onuqos/cac/ports.h"
#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/classLimits.h"
#include "onuqos/rules/limits.h"
#include "onuqos/support/log.h"

onuQos::onuQosRes onuQos::onuQosPortLedgerGet(unsigned int oltIntf, onuQosPortLedger& ledger) const {
    constexpr const char* kOperation = "onuQosPortLedgerGet";
    const ReadLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    rules::Result result{};
    const auto port = ponPortOf(kOperation, onuQosOltCacMap, oltIntf, result);
    if (result != rules::Result::ok) {
        return resultOf(result);
    }
    ledger = {.sums = port->second,
              .bandwidthClass = &rules::limitsOf(TCONT_RATE_GRANULARITY) == &rules::kTenGLimits
                                    ? oltPortBw10G
                                    : oltPortBwGpon,
              .limitTotal = OLT_TOTAL_RATE_MAX,
              .line = {},
              .configuredOnus = 0};
    if (const auto onus = configuredOnus_.find(oltIntf); onus != configuredOnus_.end()) {
        ledger.configuredOnus = onus->second;
    }
    onuQosPortLine line;
    if (onuQosPonLinkDistanceGet(oltIntf, line.minDistance, line.maxDistance) == onuQosResOk &&
        getOltPortBwIntf(oltIntf, line.technology) == onuQosResOk) {
        line.limitFixed = rules::maxFixedRate(line.technology, line.minDistance, line.maxDistance);
        ledger.line = line;
    }
    return onuQosResOk;
}
