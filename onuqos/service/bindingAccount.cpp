#include "onuqos/service/bindingAccount.h"

#include "onuqos/support/onu.h"

onuQos::onuQosRes bindingAccount(onuQos& module, const char* operation, unsigned int onuIntf,
                                 const std::string& tContProfileName, const AccountChange& change) {
    if (module.onuQosCalcAllocRatesOnTContChange(onuIntf, tContProfileName, change.add) !=
        onuQos::onuQosResOk) {
        logError(operation, "ONUQOS ERROR - onuQosCalcAllocRatesOnTContChange() failed for intf: ", onuIntf);
        return onuQos::onuQosResError;
    }
    if (change.onuToo && module.onuQosCalcAllocRatesOnOnuChange(onuIntf, change.add) != onuQos::onuQosResOk) {
        logError(operation,
                 "ONUQOS ERROR - onuQosCalcAllocRatesOnOnuChange() failed for ONU intf: ", onuIntf);
        return onuQos::onuQosResError;
    }
    const auto port = onuParentOf(operation, onuIntf);
    if (!port) {
        return onuQos::onuQosResError;
    }
    if (change.stateToo && module.onuQosOltCacStateUpdate(*port) != onuQos::onuQosResOk) {
        logError(operation, "ONUQOS ERROR - onuQosOltCacStateUpdate() failed for OLT intf: ", *port);
        return onuQos::onuQosResError;
    }
    return onuQos::onuQosResOk;
}
