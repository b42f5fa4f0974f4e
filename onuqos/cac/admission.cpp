#include <algorithm>

#include "entity/onuQos.h"
#include "rules/limits.h"
#include "support/interfaceType.h"
#include "support/log.h"

bool onuQos::onuQosEstCacOnServiceApply(unsigned int onuIntf, unsigned int fixedRate,
                                        unsigned int assuredRate) {
    constexpr const char* kOperation = "onuQosEstCacOnServiceApply";
    const ReadLock lock(kOperation);
    std::uint32_t port = 0;
    if (!lock || onuTypeCheck(onuIntf) != onuQosResOk ||
        onuPortGet(kOperation, onuIntf, port) != onuQosResOk) {
        return false;
    }
    unsigned int fixedOverhead = 0;
    unsigned int assuredOverhead = 0;
    if (onuQosRatesOverheadGet(onuIntf, fixedRate, assuredRate, fixedOverhead, assuredOverhead) !=
        onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosRatesOverheadGet() failed for intf: ", onuIntf);
        return false;
    }
    if (!rules::estimatedVerdict(onuQosOltCacMap.at(port), fixedRate + fixedOverhead,
                                 assuredRate + assuredOverhead, OLT_FIXED_RATE_MAX, OLT_TOTAL_RATE_MAX)) {
        logError(kOperation, "ONUQOS ERROR - estimated CAC check() failed for intf: ", onuIntf);
        return false;
    }
    return true;
}

bool onuQos::onuQosActualCacOnServiceApply(unsigned int onuIntf, unsigned int fixedRate,
                                           unsigned int assuredRate) {
    constexpr const char* kOperation = "onuQosActualCacOnServiceApply";
    const ReadLock lock(kOperation);
    std::uint32_t port = 0;
    if (!lock || onuTypeCheck(onuIntf) != onuQosResOk ||
        onuPortGet(kOperation, onuIntf, port) != onuQosResOk) {
        return false;
    }
    unsigned int fixedOverhead = 0;
    unsigned int assuredOverhead = 0;
    if (onuQosRatesOverheadGet(onuIntf, fixedRate, assuredRate, fixedOverhead, assuredOverhead) !=
        onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosRatesOverheadGet() failed for intf: ", onuIntf);
        return false;
    }
    unsigned int availFixedRate = 0;
    unsigned int availAssuredRate = 0;
    if (onuQosOltActualAvailRatesGet(port, availFixedRate, availAssuredRate) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosOltActualAvailRatesGet() failed for OLT intf: ", port);
        return false;
    }
    if (!rules::actualVerdict(fixedRate + fixedOverhead, assuredRate + assuredOverhead, availFixedRate,
                              availAssuredRate)) {
        logError(kOperation, "ONUQOS ERROR - actual CAC check() failed for intf: ", onuIntf);
        return false;
    }
    return true;
}

onuQos::onuQosRes onuQos::onuQosFlowCacOnServiceApply(unsigned int onuIntf, const std::string& firstName,
                                                      const std::string& secondName) {
    constexpr const char* kOperation = "onuQosFlowCacOnServiceApply";
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    if (!onuFlowProfileMap.contains(secondName)) {
        logError(kOperation, "ONUQOS ERROR - onuFlowProfileMap.find() failed for intf: ", onuIntf);
        return onuQosResNotFound;
    }
    if (!tContProfileMap.contains(secondName)) {
        logError(kOperation, "ONUQOS ERROR - tContProfileMap.find() failed for intf: ", onuIntf);
        return onuQosResNotFound;
    }
    for (const auto& [serviceName, binding] : onuQosServiceIntfMap[onuIntf]) {
        if (binding.onuFlowProfileName == firstName) {
            return onuQosResExists;
        }
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosOltEstAvailRatesGet(unsigned int oltIntf, unsigned int& availFixedRate,
                                                    unsigned int& availAssuredRate) const {
    constexpr const char* kOperation = "onuQosOltEstAvailRatesGet";
    const ReadLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    const auto type = interfaceTypeOf(oltIntf);
    if (!type) {
        return onuQosResError;
    }
    if (*type != Interfaces::interfaceTypeOltPon) {
        return onuQosResWrongIntf;
    }
    const auto port = onuQosOltCacMap.find(oltIntf);
    if (port == onuQosOltCacMap.end()) {
        logError(kOperation, "ONUQOS ERROR - onuQosOltCacMap.find() failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    unsigned int maxFixedRate = 0;
    if (onuQosGetOltMaxFixedRate(oltIntf, maxFixedRate) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosGetOltMaxFixedRate failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    const auto& [fixedAlloc, assuredAlloc, cacViolation] = port->second;
    availFixedRate = rules::remaining(maxFixedRate, fixedAlloc);
    availAssuredRate = rules::remaining(OLT_TOTAL_RATE_MAX, std::uint64_t{fixedAlloc} + assuredAlloc);
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosCacOltGet(unsigned int oltIntf, unsigned int& estAvailFixedRate,
                                          unsigned int& estAvailAssuredRate, unsigned int& actAvailFixedRate,
                                          unsigned int& actAvailAssuredRate, bool& cacViolation) {
    constexpr const char* kOperation = "onuQosCacOltGet";
    constexpr unsigned int kUnknown = 0xFFFFFFFF;
    const ReadLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    unsigned int estFixed = 0;
    unsigned int estAssured = 0;
    if (onuQosOltEstAvailRatesGet(oltIntf, estFixed, estAssured) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosOltEstAvailRatesGet failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    estFixed = std::min(estFixed, estAssured);
    unsigned int actFixed = kUnknown;
    unsigned int actAssured = kUnknown;
    onuQosOltActualAvailRatesGet(oltIntf, actFixed, actAssured);

    estAvailFixedRate = std::min(estFixed, actFixed);
    estAvailAssuredRate = std::min(estAssured, actAssured);
    actAvailFixedRate = actFixed;
    actAvailAssuredRate = actAssured;
    cacViolation = onuQosOltCacMap.at(oltIntf).cacViolation;
    return onuQosResOk;
}
