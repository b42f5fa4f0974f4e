#include "rules/overhead.h"

#include "entity/onuQos.h"
#include "support/interfaceType.h"
#include "support/log.h"
#include "support/platformObject.h"

onuQos::onuQosRes onuQos::onuParentGet(At at, unsigned int onuIntf, std::uint32_t& parent) {
    Interfaces::Interface interface {};
    if (platformObject<Interfaces>().interfaceParentGet(onuIntf, interface) != 0) {
        logError(at, "ONUQOS ERROR - interfaceParentGet() failed for ONU intf: ", onuIntf);
        return onuQosResError;
    }
    parent = interface.intf;
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuPortGet(At at, unsigned int onuIntf, std::uint32_t& port) const {
    if (onuParentGet(at, onuIntf, port) != onuQosResOk) {
        return onuQosResError;
    }
    if (!onuQosOltCacMap.contains(port)) {
        logError(at, "ONUQOS ERROR - onuQosOltCacMap.find() failed for OLT intf: ", port);
        return onuQosResError;
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuTypeCheck(unsigned int onuIntf) {
    const auto type = interfaceTypeOf(onuIntf);
    if (!type) {
        return onuQosResError;
    }
    return *type == Interfaces::interfaceTypeOnu ? onuQosResOk : onuQosResWrongIntf;
}

onuQos::onuQosRes onuQos::onuQosRatesOverheadGet(unsigned int onuIntf, unsigned int fixedRate,
                                                 unsigned int assuredRate, unsigned int& fixedOverhead,
                                                 unsigned int& assuredOverhead) {
    constexpr const char* kOperation = "onuQosRatesOverheadGet";
    const ReadLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    if (const onuQosRes res = onuTypeCheck(onuIntf); res != onuQosResOk) {
        return res;
    }
    std::uint32_t port = 0;
    if (onuPortGet(kOperation, onuIntf, port) != onuQosResOk) {
        return onuQosResError;
    }
    const rules::Overhead overhead = rules::tContOverhead(fixedRate, assuredRate);
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
    if (const onuQosRes res = onuTypeCheck(onuIntf); res != onuQosResOk) {
        return res;
    }
    std::uint32_t port = 0;
    if (onuPortGet(kOperation, onuIntf, port) != onuQosResOk) {
        return onuQosResError;
    }
    bool first = true;
    for (auto other = onuQosOnuCacMap.cbegin(); first && other != onuQosOnuCacMap.cend(); ++other) {
        const auto& [intf, onu] = *other;
        std::uint32_t parent = 0;
        if (intf == onuIntf) {
            continue;
        }
        if (onuParentGet(kOperation, intf, parent) != onuQosResOk) {
            return onuQosResError;
        }
        first = parent != port || !onu.configured;
    }
    const onuQosOltCacInfo& sums = onuQosOltCacMap.at(port);
    const rules::Overhead overhead = rules::onuOverhead(first, sums.fixedAlloc, sums.assuredAlloc);
    fixedOverhead = overhead.fixed;
    assuredOverhead = overhead.assured;
    return onuQosResOk;
}
