#include "onuqos/flow/fields.h"
#include "onuqos/profiles/profileStore.h"

namespace {

constexpr StoreOperation kActionSet{
    .name = "onuFlowProfileActionSet",
    .emptyName = "ONUQOS ERROR - profileName.empty() failed for profile: ",
    .notFound = "ONUQOS ERROR - onuFlowProfileMap.find() failed for profile: ",
    .applied = "ONUQOS ERROR - onuFlowProfileIsApplied() failed for profile: "};

constexpr const char* kOperation = kActionSet.name;

}  // namespace

onuQos::onuQosRes onuQos::onuFlowProfileActionSet(const std::string& name, onuFlowProfileAction& action,
                                                  onuFlowProfileActionType type,
                                                  onuFlowProfileOperation operation) {
    return profileStore::change(
        kActionSet, onuFlowProfileMap, name,
        [this](const std::string& profile) { return onuFlowProfileIsApplied(profile); },
        [&](onuFlowProfileInfo& profile) {
            onuQosRes res = onuFlowProfileActionCheck(name, action, type, operation);
            if (res != onuQosResOk) {
                logError(kOperation, "ONUQOS ERROR - onuFlowProfileActionCheck() failed for profile: ", name);
            }
            for (const FlowActionField& field : kFlowActionFields) {
                if (res == onuQosResOk && (type == field.type || type == onuFlowProfileActionTypeAll)) {
                    res = onuFlowProfileActionFieldSet(profile, action, field, operation);
                }
            }
            return res;
        });
}

onuQos::onuQosRes onuQos::onuFlowProfileActionFieldSet(onuFlowProfileInfo& profile,
                                                       onuFlowProfileAction& action,
                                                       const FlowActionField& field,
                                                       onuFlowProfileOperation operation) {
    const bool sets = operation == onuFlowProfileOperationAdd || operation == onuFlowProfileOperationSet;
    std::uint32_t& wanted = action.*field.value;
    if (rules::isFlowRate(field.field)) {
        wanted = onuQosRoundRateOnuFlow(wanted);
    }
    if (!sets) {
        wanted = *field.byDefault;
    }
    if (wanted == profile.action.*field.value) {
        return onuQosResOk;
    }
    const rules::FlowVerdict verdict = flowVerdict(field, wanted, &profile.action);
    const bool crosses = verdict.reason == rules::FlowReason::guaranteedAbovePeak;
    if (sets && !verdict && !(crosses && configurationApplying())) {
        return resultOf(verdict.result());
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
