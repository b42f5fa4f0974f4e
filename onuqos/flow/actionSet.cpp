#include "flow/fields.h"
#include "support/log.h"

namespace {

constexpr const char* kOperation = "onuFlowProfileActionSet";

}  // namespace

onuQos::onuQosRes onuQos::onuFlowProfileActionSet(const std::string& name, onuFlowProfileAction& action,
                                                  onuFlowProfileActionType type,
                                                  onuFlowProfileOperation operation) {
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    onuFlowProfileInfo* profile = nullptr;
    if (const onuQosRes res = onuFlowProfileForChange(kOperation, name, profile); res != onuQosResOk) {
        return res;
    }
    if (const onuQosRes res = onuFlowProfileActionCheck(name, action, type, operation); res != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuFlowProfileActionCheck() failed for profile: ", name);
        return res;
    }
    for (const FlowActionField& field : kFlowActionFields) {
        if (type != field.type && type != onuFlowProfileActionTypeAll) {
            continue;
        }
        const onuQosRes res = onuFlowProfileActionFieldSet(*profile, action, field, operation);
        if (res != onuQosResOk) {
            return res;
        }
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileActionFieldSet(onuFlowProfileInfo& profile,
                                                       onuFlowProfileAction& action,
                                                       const FlowActionField& field,
                                                       onuFlowProfileOperation operation) {
    const bool sets = operation == onuFlowProfileOperationAdd || operation == onuFlowProfileOperationSet;
    std::uint32_t& wanted = action.*field.value;
    if (field.isRate) {
        wanted = onuQosRoundRateOnuFlow(wanted);
    }
    if (!sets) {
        wanted = *field.byDefault;
    }
    if (wanted == profile.action.*field.value) {
        return onuQosResOk;
    }
    if (sets && !inDomain(field, wanted)) {
        return onuQosResOutOfRange;
    }
    if (sets && field.crosses != nullptr && field.crosses(profile.action, wanted) &&
        !configurationApplying()) {
        return onuQosResGuarAbovePeak;
    }
    onuQosOMApi::onuQosOMApiFlowProfileAction om{};
    if (onuFlowProfileActionToOMApi(action, om) != onuQosResOk) {
        if (!sets) {
            logError(kOperation,
                     "ONUQOS ERROR - onuFlowProfileActionToOMApi() failed for profile: ", profile.name);
        }
        return onuQosResError;
    }

    if (OMApi.onuFlowProfileActionSet(profile.name, om, field.omType) != 0) {
        logError(kOperation,
                 "ONUQOS ERROR - OMApi.onuFlowProfileActionSet() failed for profile: ", profile.name);
        return onuQosResError;
    }

    profile.action.*field.value = wanted;
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileActionCheck(const std::string&, const onuFlowProfileAction&,
                                                    onuFlowProfileActionType, onuFlowProfileOperation) {
    return onuQosResOk;
}
