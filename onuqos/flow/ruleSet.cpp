#include "onuqos/flow/fields.h"
#include "onuqos/profiles/profileStore.h"

/// What a change of a rule comes to: an answer, or a rule that is pushed and then stored.
struct FlowRuleStep {
    onuQos::onuQosRes answer = onuQos::onuQosResOk;
    bool push = false;
    onuQos::onuFlowProfileRule
        rule;  ///< of which the platform takes, and the profile stores, what `field` names
    onuQosOMApi::onuQosOMApiFlowProfileRuleType field{};
    const char* notConverted = nullptr;
    const char* refused = nullptr;
};

namespace {

using Info = onuQos::onuFlowProfileInfo;
using Rule = onuQos::onuFlowProfileRule;

constexpr StoreOperation kRuleSet{
    .name = "onuFlowProfileRuleSet",
    .emptyName = "ONUQOS ERROR - profileName.empty() failed for profile: ",
    .notFound = "ONUQOS ERROR - onuFlowProfileMap.find() failed for profile: ",
    .applied = "ONUQOS ERROR - onuFlowProfileIsApplied() failed for profile: ",
    .notConverted = "ONUQOS ERROR - onuFlowProfileRuleToOMApi() failed for profile: ",
    .refused = "ONUQOS ERROR - OMApi.onuFlowProfileRuleSet() failed for profile: "};

constexpr const char* kPcpWrong = "ONUQOS ERROR - rule.cPcp() failed for profile: ";

FlowRuleStep answer(onuQos::onuQosRes res) {
    return {.answer = res, .push = false, .rule = {}};
}

FlowRuleStep refuse(const Info& profile, const char* text, onuQos::onuQosRes res) {
    logError(kRuleSet.name, text, profile.name);
    return answer(res);
}

FlowRuleStep takePcp(const Info& profile, Rule& rule, onuQos::onuFlowProfileOperation operation) {
    const bool adds = operation == onuQos::onuFlowProfileOperationAdd;
    const bool sets = operation == onuQos::onuFlowProfileOperationSet;
    const bool clears =
        operation == onuQos::onuFlowProfileOperationDelete || (sets && rule.cPcp == rules::kPcpNone);
    if (!adds && !sets && !clears) {
        return answer(onuQos::onuQosResOk);
    }
    const std::uint32_t wanted = clears ? rules::kPcpNone : rule.cPcp;
    if (wanted == profile.rule.cPcp) {
        return answer(onuQos::onuQosResOk);
    }
    if (!clears && wanted > rules::kPriorityMax) {
        return refuse(profile, kPcpWrong, onuQos::onuQosResOutOfRange);
    }
    rule.cPcp = wanted;
    return {.push = true,
            .rule = rule,
            .field = onuQosOMApi::onuQosOMApiFlowProfileRuleCPcp,
            .notConverted = clears ? kRuleSet.notConverted : nullptr,
            .refused = kRuleSet.refused};
}

FlowRuleStep takeVlans(const Info& profile, Rule& rule, bool adds) {
    if (adds && rule.cVlan.empty()) {
        return answer(onuQos::onuQosResOk);
    }
    std::ranges::sort(rule.cVlan);
    if (!rules::vlansValid(rule.cVlan)) {
        return refuse(profile, "ONUQOS ERROR - rule.cVlan() failed for profile: ", onuQos::onuQosResError);
    }
    return {.push = true,
            .rule = {.cPcp = profile.rule.cPcp,
                     .cVlan = adds ? rules::vlansAdded(rule.cVlan, profile.rule.cVlan) : rule.cVlan},
            .field = onuQosOMApi::onuQosOMApiFlowProfileRuleCVlan,
            .notConverted = kRuleSet.notConverted,
            .refused = kRuleSet.refused};
}

FlowRuleStep removeVlans(const Info& profile, const Rule& rule) {
    if (rule.cVlan.empty() || profile.rule.cVlan.empty()) {
        return answer(onuQos::onuQosResOk);
    }
    return {.push = true,
            .rule = {.cPcp = profile.rule.cPcp, .cVlan = rules::vlansRemoved(rule.cVlan, profile.rule.cVlan)},
            .field = onuQosOMApi::onuQosOMApiFlowProfileRuleCVlan,
            .notConverted = kRuleSet.notConverted,
            .refused = "ONUQOS ERROR - onuFlowProfileRuleSet() failed for profile: "};
}

/// Without a push: the platform learns nothing.
FlowRuleStep store(Info& profile, const Rule& rule) {
    if (rule.cPcp != profile.rule.cPcp && !rules::pcpValid(rule.cPcp)) {
        return refuse(profile, kPcpWrong, onuQos::onuQosResOutOfRange);
    }
    profile.rule = rule;
    return answer(onuQos::onuQosResOk);
}

FlowRuleStep stepOf(Info& profile, Rule& rule, onuQos::onuFlowProfileRuleType type,
                    onuQos::onuFlowProfileOperation operation) {
    const bool adds = operation == onuQos::onuFlowProfileOperationAdd;
    switch (type) {
        case onuQos::onuFlowProfileRuleTypeCPcp:
            return takePcp(profile, rule, operation);
        case onuQos::onuFlowProfileRuleTypeCVlan:
            return adds || operation == onuQos::onuFlowProfileOperationSet ? takeVlans(profile, rule, adds)
                                                                           : removeVlans(profile, rule);
        case onuQos::onuFlowProfileRuleTypeAll:
            return store(profile, rule);
        default:
            return answer(onuQos::onuQosResError);
    }
}

}  // namespace

onuQos::onuQosRes onuQos::onuFlowProfileRuleSet(const std::string& name, onuFlowProfileRule& rule,
                                                onuFlowProfileRuleType type,
                                                onuFlowProfileOperation operation) {
    return profileStore::change(
        kRuleSet, onuFlowProfileMap, name,
        [this](const std::string& profile) { return onuFlowProfileIsApplied(profile); },
        [&](onuFlowProfileInfo& profile) {
            if (const onuQosRes res = onuFlowProfileRuleCheck(name, rule, type, operation);
                res != onuQosResOk) {
                logError(kRuleSet.name,
                         "ONUQOS ERROR - onuFlowProfileRuleCheck() failed for profile: ", name);
                return res;
            }
            FlowRuleStep step = stepOf(profile, rule, type, operation);
            return step.push ? onuFlowProfileRulePush(profile, std::move(step)) : step.answer;
        });
}

onuQos::onuQosRes onuQos::onuFlowProfileRulePush(onuFlowProfileInfo& profile, FlowRuleStep step) {
    onuQosOMApi::onuQosOMApiFlowProfileRule om{};
    if (onuFlowProfileRuleToOMApi(step.rule, om) != onuQosResOk) {
        return profileStore::refuse(kRuleSet.name, step.notConverted, profile.name, onuQosResError);
    }

    if (OMApi.onuFlowProfileRuleSet(profile.name, om, step.field) != 0) {
        return profileStore::refuse(kRuleSet.name, step.refused, profile.name, onuQosResError);
    }

    if (step.field == onuQosOMApi::onuQosOMApiFlowProfileRuleCPcp) {
        profile.rule.cPcp = step.rule.cPcp;
    } else {
        profile.rule = std::move(step.rule);
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileRuleCheck(const std::string&, const onuFlowProfileRule&,
                                                  onuFlowProfileRuleType, onuFlowProfileOperation) {
    return onuQosResOk;
}
