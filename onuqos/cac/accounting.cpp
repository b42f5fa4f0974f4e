#include "entity/onuQos.h"
#include "support/log.h"

onuQos::onuQosRes onuQos::onuAccountGet(At at, unsigned int onuIntf, onuQosOnuCacInfo*& onu,
                                        onuQosOltCacInfo*& port) {
    if (const onuQosRes res = onuTypeCheck(onuIntf); res != onuQosResOk) {
        return res;
    }
    const auto found = onuQosOnuCacMap.find(onuIntf);
    if (found == onuQosOnuCacMap.end()) {
        logError(at, "ONUQOS ERROR - onuQosOnuCacMap.find() failed for ONU intf: ", onuIntf);
        return onuQosResError;
    }
    std::uint32_t oltIntf = 0;
    if (onuPortGet(at, onuIntf, oltIntf) != onuQosResOk) {
        return onuQosResError;
    }
    onu = &found->second;
    port = &onuQosOltCacMap.at(oltIntf);
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosCalcAllocRatesOnTContChange(unsigned int onuIntf,
                                                            const std::string& tContProfileName, bool add) {
    constexpr const char* kOperation = "onuQosCalcAllocRatesOnTContChange";
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    onuQosOnuCacInfo* onu = nullptr;
    onuQosOltCacInfo* port = nullptr;
    if (const onuQosRes res = onuAccountGet(kOperation, onuIntf, onu, port); res != onuQosResOk) {
        return res;
    }
    const auto profile = tContProfileMap.find(tContProfileName);
    if (profile == tContProfileMap.end()) {
        logError(kOperation, "ONUQOS ERROR - tContProfileMap.find() failed for profile: ", tContProfileName);
        return onuQosResNotFound;
    }
    const std::uint32_t fixedRate = profile->second.fixedRate;
    const std::uint32_t assuredRate = profile->second.assuredRate;
    const auto accounted = onu->onuQosTContIntfCacInfoMap.find(tContProfileName);
    if ((accounted != onu->onuQosTContIntfCacInfoMap.end()) == add) {
        logError(kOperation,
                 "ONUQOS ERROR - onuQosTContIntfCacInfoMap.find() failed for ONU intf: ", onuIntf);
        return onuQosResError;
    }

    if (add) {
        onuQosTContIntfCacInfo overhead;
        if (onuQosRatesOverheadGet(onuIntf, fixedRate, assuredRate, overhead.fixedOverhead,
                                   overhead.assuredOverhead) != onuQosResOk) {
            logError(kOperation, "ONUQOS ERROR - onuQosRatesOverheadGet() failed for ONU intf: ", onuIntf);
            return onuQosResError;
        }
        port->fixedAlloc += fixedRate + overhead.fixedOverhead;
        port->assuredAlloc += assuredRate + overhead.assuredOverhead;
        onu->onuQosTContIntfCacInfoMap.emplace(tContProfileName, overhead);
    } else {
        port->fixedAlloc -= fixedRate + accounted->second.fixedOverhead;
        port->assuredAlloc -= assuredRate + accounted->second.assuredOverhead;
        onu->onuQosTContIntfCacInfoMap.erase(accounted);
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosCalcAllocRatesOnOnuChange(unsigned int onuIntf, bool add) {
    constexpr const char* kOperation = "onuQosCalcAllocRatesOnOnuChange";
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    onuQosOnuCacInfo* onu = nullptr;
    onuQosOltCacInfo* port = nullptr;
    if (const onuQosRes res = onuAccountGet(kOperation, onuIntf, onu, port); res != onuQosResOk) {
        return res;
    }
    if (onu->configured == add) {
        logError(kOperation,
                 "ONUQOS ERROR - onuQosOnuCacMap[intf].configured() failed for ONU intf: ", onuIntf);
        return onuQosResError;
    }

    if (add) {
        unsigned int fixedOverhead = 0;
        unsigned int assuredOverhead = 0;
        if (onuQosOnuOverheadGet(onuIntf, fixedOverhead, assuredOverhead) != onuQosResOk) {
            logError(kOperation, "ONUQOS ERROR - onuQosOnuOverheadGet() failed for ONU intf: ", onuIntf);
            return onuQosResError;
        }
        port->fixedAlloc += fixedOverhead;
        port->assuredAlloc += assuredOverhead;
        onu->fixedOverhead = fixedOverhead;
        onu->assuredOverhead = assuredOverhead;
    } else {
        port->fixedAlloc -= onu->fixedOverhead;
        port->assuredAlloc -= onu->assuredOverhead;
        onu->fixedOverhead = onu->assuredOverhead = 0;
    }
    onu->configured = add;
    return onuQosResOk;
}
