#include "onuqos/entity/onuQos.h"
#include "onuqos/support/log.h"

namespace {

// The platform's records are written by member name: their order and what else they hold are the platform's.

void ruleSet(onuQosOMApi::onuQosOMApiFlowProfileRule& om, const onuQos::onuFlowProfileRule& rule) {
    om.cPcp = rule.cPcp;
    om.cVlan = rule.cVlan;
}

void actionSet(onuQosOMApi::onuQosOMApiFlowProfileAction& om, const onuQos::onuFlowProfileAction& action) {
    om.guarRateUs = action.guarRateUs;
    om.peakRateUs = action.peakRateUs;
    om.flowPriorityUs = action.flowPriorityUs;
    om.flowPriorityDs = action.flowPriorityDs;
}

}  // namespace

onuQos::onuQosRes onuQos::onuFlowProfileToOMApi(const onuFlowProfileInfo& info,
                                                onuQosOMApi::onuQosOMApiFlowProfileInfo& om) const {
    const ReadLock lock("onuFlowProfileToOMApi");
    if (!lock) {
        return onuQosResError;
    }
    om.name = info.name;
    ruleSet(om.rule, info.rule);
    actionSet(om.action, info.action);
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileRuleToOMApi(const onuFlowProfileRule& rule,
                                                    onuQosOMApi::onuQosOMApiFlowProfileRule& om) const {
    const ReadLock lock("onuFlowProfileRuleToOMApi");
    if (!lock) {
        return onuQosResError;
    }
    ruleSet(om, rule);
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileActionToOMApi(const onuFlowProfileAction& action,
                                                      onuQosOMApi::onuQosOMApiFlowProfileAction& om) const {
    const ReadLock lock("onuFlowProfileActionToOMApi");
    if (!lock) {
        return onuQosResError;
    }
    actionSet(om, action);
    return onuQosResOk;
}
