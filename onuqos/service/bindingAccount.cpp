#include "onuqos/service/bindingAccount.h"

#include "onuqos/support/onu.h"

AccountOutcome bindingAccount(onuQos& module, const char* operation, unsigned int onuIntf,
                              const std::string& tContProfileName, const AccountChange& change) {
    AccountOutcome outcome;
    const auto failed = [&outcome](const char* step, onuQos::onuQosRes answer) {
        if (answer != onuQos::onuQosResOk) {
            outcome.failed = {.name = step, .answer = answer};
        }
        return answer != onuQos::onuQosResOk;
    };
    if (failed("onuQosCalcAllocRatesOnTContChange",
               module.onuQosCalcAllocRatesOnTContChange(onuIntf, tContProfileName, change.add))) {
        logError(operation, "ONUQOS ERROR - onuQosCalcAllocRatesOnTContChange() failed for intf: ", onuIntf);
        return outcome;
    }
    outcome.tCont = true;
    if (change.onuToo) {
        if (failed("onuQosCalcAllocRatesOnOnuChange",
                   module.onuQosCalcAllocRatesOnOnuChange(onuIntf, change.add))) {
            logError(operation,
                     "ONUQOS ERROR - onuQosCalcAllocRatesOnOnuChange() failed for ONU intf: ", onuIntf);
            return outcome;
        }
        outcome.onu = true;
    }
    outcome.complete = true;
    const auto port = onuParentOf(operation, onuIntf, &outcome.failed);
    if (port && change.stateToo && failed("onuQosOltCacStateUpdate", module.onuQosOltCacStateUpdate(*port))) {
        logError(operation, "ONUQOS ERROR - onuQosOltCacStateUpdate() failed for OLT intf: ", *port);
    }
    return outcome;
}
