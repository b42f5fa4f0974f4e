#include "Diagnostics.h"
#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/limits.h"
#include "onuqos/support/interfaceType.h"
#include "onuqos/support/log.h"
#include "onuqos/support/platformObject.h"

namespace {

/// The over-commitment alarm and its object in the platform's alarm catalogue.
constexpr unsigned int kAlarmCode = 1600570;

Diagnostics::objIds_t alarmObject() {
    return Diagnostics::objIds_t("", 1, 3, 11);
}

}  // namespace

onuQos::onuQosRes onuQos::onuQosOltCacStateUpdate(unsigned int oltIntf) {
    constexpr const char* kOperation = "onuQosOltCacStateUpdate";
    const WriteLock lock(kOperation);
    if (!lock || interfaceTypeOf(oltIntf) != Interfaces::interfaceTypeOltPon) {
        return onuQosResError;
    }
    const auto port = onuQosOltCacMap.find(oltIntf);
    if (port == onuQosOltCacMap.end()) {
        logError(kOperation, "ONUQOS ERROR - onuQosOltCacMap.find() failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    unsigned int maxFixedRate = 0;
    if (onuQosGetOltMaxFixedRate(oltIntf, maxFixedRate) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosOltCacStateUpdate failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    const bool violation = !rules::portVerdict(port->second, maxFixedRate, OLT_TOTAL_RATE_MAX);
    port->second.cacViolation = violation;
    if (onuQosOltCacAlarm(oltIntf, violation) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosOltCacAlarm() failed for OLT intf: ", oltIntf,
                 "reportAlarm: ", violation ? "True" : "False");
        return onuQosResError;
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosOltCacAlarm(unsigned int oltIntf, bool raise) {
    constexpr const char* kOperation = "onuQosOltCacAlarm";
    const WriteLock lock(kOperation);
    if (!lock || interfaceTypeOf(oltIntf) != Interfaces::interfaceTypeOltPon) {
        return onuQosResError;
    }
    const auto alarm = onuQosOltCacAlarmMap.find(oltIntf);
    if (alarm == onuQosOltCacAlarmMap.end()) {
        logError(kOperation, "ONUQOS ERROR - onuQosOltCacAlarmMap.find() failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    Interfaces::slot_port_s slotPort{};
    if (platformObject<Interfaces>().interfaceSlotPortIntfGet(oltIntf, slotPort) != 0) {
        logError(kOperation, "ONUQOS ERROR - interfaceSlotPortIntfGet() failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    if (alarm->second == raise) {
        return onuQosResOk;
    }

    if (!Diagnostics::reportAlarm(raise ? Diagnostics::Report : Diagnostics::Retreat, kAlarmCode, oltIntf,
                                  Diagnostics::boardObjDefault, alarmObject())) {
        logError(kOperation, "reportAlarm ", raise ? "Report" : "Retreat",
                 " failed for errorCode: ", kAlarmCode, ", intf: ", oltIntf);
        return onuQosResError;
    }

    alarm->second = raise;
    return onuQosResOk;
}

void onuQos::onuQosOltPortDistanceChangedEventHandler(unsigned int oltIntf) {
    if (onuQosOltCacStateUpdate(oltIntf) != onuQosResOk) {
        logError(
            "onuQosOltPortDistanceChangedEventHandler",
            "ONUQOS::onuQosOltPortDistanceChangedEventHandler - onuQosOltCacStateUpdate() failed for intf: ",
            oltIntf);
    }
}
