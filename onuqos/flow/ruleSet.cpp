#include "flow/fields.h"
#include "support/log.h"

namespace {

constexpr const char* kOperation = "onuFlowProfileRuleSet";
constexpr const char* kNotConverted = "ONUQOS ERROR - onuFlowProfileRuleToOMApi() failed for profile: ";
constexpr const char* kRefused = "ONUQOS ERROR - OMApi.onuFlowProfileRuleSet() failed for profile: ";

}  // namespace

onuQos::onuQosRes onuQos::onuFlowProfileRuleSet(const std::string& name, onuFlowProfileRule& rule,
                                                onuFlowProfileRuleType type,
                                                onuFlowProfileOperation operation) {
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    onuFlowProfileInfo* profile = nullptr;
    if (const onuQosRes res = onuFlowProfileForChange(kOperation, name, profile); res != onuQosResOk) {
        return res;
    }
    if (const onuQosRes res = onuFlowProfileRuleCheck(name, rule, type, operation); res != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuFlowProfileRuleCheck() failed for profile: ", name);
        return res;
    }
    switch (type) {
        case onuFlowProfileRuleTypeCPcp:
            return onuFlowProfilePcpSet(*profile, rule, operation);
        case onuFlowProfileRuleTypeCVlan:
            return operation == onuFlowProfileOperationAdd || operation == onuFlowProfileOperationSet
                       ? onuFlowProfileVlansSet(*profile, rule, operation)
                       : onuFlowProfileVlansDelete(*profile, rule);
        case onuFlowProfileRuleTypeAll:
            return onuFlowProfileRuleStore(*profile, rule);
        default:
            return onuQosResError;
    }
}

onuQos::onuQosRes onuQos::onuFlowProfileForChange(const char* operation, const std::string& name,
                                                  onuFlowProfileInfo*& profile) {
    if (name.empty()) {
        logError(operation, "ONUQOS ERROR - profileName.empty() failed for profile: ", name);
        return onuQosResError;
    }
    const auto found = onuFlowProfileMap.find(name);
    if (found == onuFlowProfileMap.end()) {
        logError(operation, "ONUQOS ERROR - onuFlowProfileMap.find() failed for profile: ", name);
        return onuQosResNotFound;
    }
    if (onuFlowProfileIsApplied(name)) {
        logError(operation, "ONUQOS ERROR - onuFlowProfileIsApplied() failed for profile: ", name);
        return onuQosResApplied;
    }
    profile = &found->second;
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileRulePush(const std::string& name, const onuFlowProfileRule& rule,
                                                 onuQosOMApi::onuQosOMApiFlowProfileRuleType type,
                                                 const char* notConverted, const char* refused) {
    onuQosOMApi::onuQosOMApiFlowProfileRule om{};
    if (onuFlowProfileRuleToOMApi(rule, om) != onuQosResOk) {
        if (notConverted != nullptr) {
            logError(kOperation, notConverted, name);
        }
        return onuQosResError;
    }
    if (OMApi.onuFlowProfileRuleSet(name, om, type) != 0) {
        logError(kOperation, refused, name);
        return onuQosResError;
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfilePcpSet(onuFlowProfileInfo& profile, onuFlowProfileRule& rule,
                                               onuFlowProfileOperation operation) {
    const bool sets = operation == onuFlowProfileOperationAdd ||
                      (operation == onuFlowProfileOperationSet && rule.cPcp != rules::kPcpNone);
    const bool clears = operation == onuFlowProfileOperationDelete ||
                        (operation == onuFlowProfileOperationSet && rule.cPcp == rules::kPcpNone);
    if (!sets && !clears) {
        return onuQosResOk;
    }
    const std::uint32_t wanted = clears ? rules::kPcpNone : rule.cPcp;
    if (wanted == profile.rule.cPcp) {
        return onuQosResOk;
    }
    if (sets && wanted > rules::kPriorityMax) {
        logError(kOperation, "ONUQOS ERROR - rule.cPcp() failed for profile: ", profile.name);
        return onuQosResOutOfRange;
    }
    rule.cPcp = wanted;

    const onuQosRes res =
        onuFlowProfileRulePush(profile.name, rule, onuQosOMApi::onuQosOMApiFlowProfileRuleCPcp,
                               clears ? kNotConverted : nullptr, kRefused);
    if (res == onuQosResOk) {
        profile.rule.cPcp = wanted;
    }
    return res;
}

onuQos::onuQosRes onuQos::onuFlowProfileVlansSet(onuFlowProfileInfo& profile, onuFlowProfileRule& rule,
                                                 onuFlowProfileOperation operation) {
    const bool adds = operation == onuFlowProfileOperationAdd;
    if (adds && rule.cVlan.empty()) {
        return onuQosResOk;
    }
    std::ranges::sort(rule.cVlan);
    if (!rules::vlansValid(rule.cVlan)) {
        logError(kOperation, "ONUQOS ERROR - rule.cVlan() failed for profile: ", profile.name);
        return onuQosResError;
    }
    onuFlowProfileRule wanted{.cPcp = profile.rule.cPcp,
                              .cVlan = adds ? rules::vlansAdded(rule.cVlan, profile.rule.cVlan) : rule.cVlan};

    const onuQosRes res = onuFlowProfileRulePush(
        profile.name, wanted, onuQosOMApi::onuQosOMApiFlowProfileRuleCVlan, kNotConverted, kRefused);
    if (res == onuQosResOk) {
        profile.rule = std::move(wanted);
    }
    return res;
}

onuQos::onuQosRes onuQos::onuFlowProfileVlansDelete(onuFlowProfileInfo& profile,
                                                    const onuFlowProfileRule& rule) {
    if (rule.cVlan.empty() || profile.rule.cVlan.empty()) {
        return onuQosResOk;
    }
    onuFlowProfileRule wanted{.cPcp = profile.rule.cPcp,
                              .cVlan = rules::vlansRemoved(rule.cVlan, profile.rule.cVlan)};

    const onuQosRes res =
        onuFlowProfileRulePush(profile.name, wanted, onuQosOMApi::onuQosOMApiFlowProfileRuleCVlan,
                               kNotConverted, "ONUQOS ERROR - onuFlowProfileRuleSet() failed for profile: ");
    if (res == onuQosResOk) {
        profile.rule = std::move(wanted);
    }
    return res;
}

onuQos::onuQosRes onuQos::onuFlowProfileRuleStore(onuFlowProfileInfo& profile,
                                                  const onuFlowProfileRule& rule) {
    if (rule.cPcp != profile.rule.cPcp && !rules::pcpValid(rule.cPcp)) {
        logError(kOperation, "ONUQOS ERROR - rule.cPcp() failed for profile: ", profile.name);
        return onuQosResOutOfRange;
    }
    profile.rule = rule;
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileRuleCheck(const std::string&, const onuFlowProfileRule&,
                                                  onuFlowProfileRuleType, onuFlowProfileOperation) {
    return onuQosResOk;
}
