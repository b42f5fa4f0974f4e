#include "onuqos/rules/overhead.h"

#include "onuqos/cac/ports.h"
#include "onuqos/entity/onuQos.h"

onuQos::onuQosRes onuQos::onuQosRatesOverheadGet(unsigned int onuIntf, unsigned int fixedRate,
                                                 unsigned int assuredRate, unsigned int& fixedOverhead,
                                                 unsigned int& assuredOverhead) {
    constexpr const char* kOperation = "onuQosRatesOverheadGet";
    const ReadLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    if (const auto type = onuTypeCheck(onuIntf); type != rules::Result::ok) {
        return resultOf(type);
    }
    const auto port = onuPortOf(kOperation, onuQosOltCacMap, onuIntf);
    if (port == onuQosOltCacMap.end()) {
        return onuQosResError;
    }
    const rules::RatePair overhead = rules::tContOverhead(fixedRate, assuredRate);
    fixedOverhead = overhead.fixed;
    assuredOverhead = overhead.assured;
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosOnuOverheadGet(unsigned int onuIntf, unsigned int& fixedOverhead,
                                               unsigned int& assuredOverhead) {
    constexpr const char* kOperation = "onuQosOnuOverheadGet";
    const ReadLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    if (const auto type = onuTypeCheck(onuIntf); type != rules::Result::ok) {
        return resultOf(type);
    }
    const auto port = onuPortOf(kOperation, onuQosOltCacMap, onuIntf);
    if (port == onuQosOltCacMap.end()) {
        return onuQosResError;
    }
    bool first = true;
    for (auto other = onuQosOnuCacMap.cbegin(); first && other != onuQosOnuCacMap.cend(); ++other) {
        const auto& [intf, onu] = *other;
        if (intf == onuIntf) {
            continue;
        }
        const auto parent = onuParentOf(kOperation, intf);
        if (!parent) {
            return onuQosResError;
        }
        first = *parent != port->first || !onu.configured;
    }
    const onuQosOltCacInfo& sums = port->second;
    const rules::RatePair overhead = rules::onuOverhead(first, sums.fixedAlloc, sums.assuredAlloc);
    fixedOverhead = overhead.fixed;
    assuredOverhead = overhead.assured;
    return onuQosResOk;
}
