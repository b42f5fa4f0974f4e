#include "onuqos/entity/onuQos.h"
#include "onuqos/support/interfaceType.h"
#include "onuqos/support/log.h"
#include "onuqos/support/platformObject.h"

namespace {

/// The hardware layer's handle of an ONU; the default one when the registry has none, which is logged.
zqOMApiInterface_s handleOf(At at, unsigned int intf) {
    zqOMApiInterface_s handle{};
    if (platformObject<Interfaces>().interfaceGetOMApiInterfaceById(intf, handle) != 0) {
        logError(at, "ONUQOS ERROR - interfaceGetOMApiInterfaceById() failed for intf: ", intf);
        return zqOMApiInterface_s{};
    }
    return handle;
}

}  // namespace

onuQos::onuQosRes onuQos::onuQosOnuIntfInit(unsigned int intf) {
    constexpr const char* kOperation = "onuQosOnuIntfInit";
    const WriteLock lock(kOperation);
    if (!lock || interfaceTypeOf(intf) != Interfaces::interfaceTypeOnu) {
        return onuQosResError;
    }
    if (onuQosServiceIntfMap.contains(intf)) {
        logError(kOperation, "ONUQOS ERROR - onuQosServiceIntfMap.find() failed for intf: ", intf);
        return onuQosResError;
    }
    if (onuQosOnuCacMap.contains(intf)) {
        logError(kOperation, "ONUQOS ERROR - onuQosOnuCacMap.find() failed for intf: ", intf);
        return onuQosResError;
    }

    if (OMApi.addOnuIntf(intf) != 0) {
        logError(kOperation, "ONUQOS ERROR - OMApi.addOnuIntf() failed for intf: ", intf);
        return onuQosResError;
    }

    onuQosServiceIntfMap[intf];
    onuQosOnuCacMap[intf];
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosOltIntfInit(unsigned int intf) {
    constexpr const char* kOperation = "onuQosOltIntfInit";
    const WriteLock lock(kOperation);
    if (!lock || interfaceTypeOf(intf) != Interfaces::interfaceTypeOltPon) {
        return onuQosResError;
    }
    if (onuQosOltCacMap.contains(intf)) {
        logError(kOperation, "ONUQOS ERROR - onuQosOltCacMap.find() failed for intf: ", intf);
        return onuQosResError;
    }
    // Only whether the rates can be had counts: they change with every binding and are asked when needed.
    unsigned int availFixedRate = 0;
    unsigned int availAssuredRate = 0;
    if (onuQosOltActualAvailRatesGet(intf, availFixedRate, availAssuredRate) != onuQosResOk) {
        logError(kOperation,
                 "onuQosOltIntfInit::ONUQOS ERROR - onuQosOltActualAvailRatesGet failed for intf: ", intf);
        return onuQosResError;
    }
    onuQosOltCacMap[intf];
    onuQosOltCacAlarmMap[intf] = false;
    return onuQosResOk;
}

static_assert(rules::InterfaceState::kOnu == Interfaces::interfaceTypeOnu);

bool onuQos::onuQosIsIntfConfigurable(unsigned int intf) const {
    return onuQosIntfState(intf, nullptr).configurable();
}

rules::InterfaceState onuQos::onuQosIntfState(unsigned int intf, rules::FailedStep* failed) const {
    const ReadLock lock("onuQosIsIntfConfigurable");
    if (!lock) {
        noteFailure(failed, "sharedLock");
        return {};
    }
    if (!onuQosServiceIntfMap.contains(intf)) {
        return {};
    }
    return {.hasRecords = true, .type = interfaceTypeOf(intf)};
}

void onuQos::interfaceStateChange(int intf, Interfaces::interfaceEvent_t event) {
    constexpr const char* kOperation = "interfaceStateChange";
    const auto index = static_cast<unsigned int>(intf);
    const auto type = interfaceTypeOf(index);
    if (!type) {
        logError(kOperation, "ONUQOS ERROR - interfaceGetTypeById() failed for intf: ", index);
        return;
    }
    if (*type != Interfaces::interfaceTypeOnu ||
        (event != Interfaces::interfaceEventDown && event != Interfaces::interfaceEventUp)) {
        return;
    }
    OMApi.onuStateHandler(handleOf(kOperation, index), index, event == Interfaces::interfaceEventUp);
}

void onuQos::onuConfigEventHandler(unsigned int intf, bool ready, bool) {
    constexpr const char* kOperation = "onuConfigEventHandler";
    logLine(LogImpl::logLevelTrace, "onuQos::onuConfigEventHandler(", intf, ",", ready ? "True" : "False",
            ")\n");
    const auto type = interfaceTypeOf(intf);
    if (!type) {
        logError(kOperation, "ONUQOS ERROR - interfaceGetTypeById() failed for intf: ", intf);
        return;
    }
    if (*type == Interfaces::interfaceTypeOnu) {
        OMApi.onuReadyHandler(handleOf(kOperation, intf), intf, ready);
    }
}
