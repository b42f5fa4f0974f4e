#include "entity/log.h"
#include "entity/onuQos.h"

namespace {

onuQosOMApi::onuQosOMApiFlowProfileRule ruleOf(const onuQos::onuFlowProfileRule& rule) {
    return {.cPcp = rule.cPcp, .cVlan = rule.cVlan};
}

onuQosOMApi::onuQosOMApiFlowProfileAction actionOf(const onuQos::onuFlowProfileAction& action) {
    return {.guarRateUs = action.guarRateUs,
            .peakRateUs = action.peakRateUs,
            .flowPriorityUs = action.flowPriorityUs,
            .flowPriorityDs = action.flowPriorityDs};
}

}  // namespace

onuQos::onuQosRes onuQos::onuFlowProfileToOMApi(const onuFlowProfileInfo& info,
                                                onuQosOMApi::onuQosOMApiFlowProfileInfo& om) const {
    const ReadLock lock("onuFlowProfileToOMApi");
    if (!lock) {
        return onuQosResError;
    }
    om = {.name = info.name, .rule = ruleOf(info.rule), .action = actionOf(info.action)};
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileRuleToOMApi(const onuFlowProfileRule& rule,
                                                    onuQosOMApi::onuQosOMApiFlowProfileRule& om) const {
    const ReadLock lock("onuFlowProfileRuleToOMApi");
    if (!lock) {
        return onuQosResError;
    }
    om = ruleOf(rule);
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileActionToOMApi(const onuFlowProfileAction& action,
                                                      onuQosOMApi::onuQosOMApiFlowProfileAction& om) const {
    const ReadLock lock("onuFlowProfileActionToOMApi");
    if (!lock) {
        return onuQosResError;
    }
    om = actionOf(action);
    return onuQosResOk;
}
