#include "onuqos/flow/fields.h"
#include "onuqos/profiles/profileStore.h"

namespace {

constexpr StoreOperation kCreate{
    .name = "onuFlowProfileCreate",
    .badName = "ONUQOS ERROR - profileName.length() failed for profile: ",
    .exists = "ONUQOS ERROR - onuFlowProfileMap.find() failed for profile: ",
    .tableFull = "ONUQOS ERROR - onuFlowProfileMap.size() failed for profile: ",
    .notConverted = "ONUQOS ERROR - onuFlowProfileToOMApi() failed for profile: ",
    .refused = "ONUQOS ERROR - OMApi.onuFlowProfileCreate() failed for profile: "};

constexpr StoreOperation kDelete{
    .name = "onuFlowProfileDelete",
    .emptyName = "ONUQOS ERROR - profileName.empty() failed for profile: ",
    .notFound = "ONUQOS ERROR - onuFlowProfileMap.find() failed for profile: ",
    .partOfService = "ONUQOS ERROR - onuFlowProfileIsPartOfService() failed for profile: ",
    .refused = "ONUQOS ERROR - OMApi.onuFlowProfileDelete() failed for profile: "};

constexpr StoreOperation kRename{
    .name = "onuFlowProfileRename",
    .exists = "ONUQOS ERROR - onuFlowProfileMap.find() failed for profile: ",
    .notFound = "ONUQOS ERROR - onuFlowProfileMap.find() failed for profile: ",
    .partOfService = "ONUQOS ERROR - onuFlowProfileIsPartOfService() failed for profile: ",
    .refused = "ONUQOS ERROR - OMApi.flowProfileRename() failed for profile: "};

}  // namespace

onuQos::onuQosRes onuQos::onuFlowProfileCreate(const std::string& name) {
    using Om = onuQosOMApi::onuQosOMApiFlowProfileInfo;
    return profileStore::create<Om>(
        kCreate, onuFlowProfileMap, name,
        [this](onuFlowProfileInfo& info) {
            onuFlowProfileRuleDefaultSet(info.rule);
            onuFlowProfileActionDefaultSet(info.action);
        },
        [this](const onuFlowProfileInfo& profile, Om& om) { return onuFlowProfileToOMApi(profile, om); },
        [this](const Om& om) { return OMApi.onuFlowProfileCreate(om); });
}

onuQos::onuQosRes onuQos::onuFlowProfileDelete(const std::string& name) {
    return profileStore::remove(
        kDelete, onuFlowProfileMap, name,
        [this](const std::string& profile) { return onuFlowProfileIsPartOfService(profile); },
        [this](const std::string& profile) { return OMApi.onuFlowProfileDelete(profile); });
}

onuQos::onuQosRes onuQos::onuFlowProfileRename(const std::string& oldName, const std::string& newName) {
    return profileStore::rename(
        kRename, onuFlowProfileMap, oldName, newName,
        [this](const std::string& profile) { return onuFlowProfileIsPartOfService(profile); },
        [this](const std::string& from, const std::string& to) { return OMApi.flowProfileRename(from, to); });
}

onuQos::onuQosRes onuQos::onuFlowProfileCopy(const std::string& srcName, const std::string& dstName) {
    constexpr const char* kOperation = "onuFlowProfileCopy";
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    const auto source = onuFlowProfileMap.find(srcName);
    if (source == onuFlowProfileMap.end()) {
        logError(kOperation, "ONUQOS ERROR - onuFlowProfileMap.find() failed for profile: ", srcName);
        return onuQosResNotFound;
    }
    if (onuFlowProfileMap.contains(dstName)) {
        logError(kOperation, "ONUQOS ERROR - onuFlowProfileMap() failed for profile: ", dstName);
        return onuQosResExists;
    }
    onuFlowProfileRule rule = source->second.rule;
    onuFlowProfileAction action = source->second.action;

    if (const onuQosRes res = onuFlowProfileCreate(dstName); res != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuFlowProfileCreate() failed for profile: ", dstName);
        return res;
    }
    if (const onuQosRes res =
            onuFlowProfileRuleSet(dstName, rule, onuFlowProfileRuleTypeAll, onuFlowProfileOperationAdd);
        res != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuFlowProfileRuleSet() failed for profile: ", dstName);
        return res;
    }
    if (const onuQosRes res =
            onuFlowProfileActionSet(dstName, action, onuFlowProfileActionTypeAll, onuFlowProfileOperationAdd);
        res != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuFlowProfileActionSet() failed for profile: ", dstName);
        return res;
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileGet(const std::string& name, onuFlowProfileInfo& info) const {
    return profileStore::get("onuFlowProfileGet", onuFlowProfileMap, name, info);
}

onuQos::onuQosRes onuQos::onuFlowProfileFirstGet(onuFlowProfileInfo& info) const {
    return profileStore::firstGet("onuFlowProfileFirstGet", onuFlowProfileMap, info);
}

onuQos::onuQosRes onuQos::onuFlowProfileNextGet(const std::string& name, onuFlowProfileInfo& info) const {
    return profileStore::nextGet("onuFlowProfileNextGet", onuFlowProfileMap, name, info);
}

onuQos::onuQosRes onuQos::onuFlowProfileExist(const std::string& name) {
    return profileStore::exist("onuFlowProfileExist", onuFlowProfileMap, name);
}

bool onuQos::onuFlowProfileExists(const std::string& name) const {
    return profileStore::exists("onuFlowProfileExists", onuFlowProfileMap, name);
}

bool onuQos::onuFlowProfileIsApplied(const std::string& name) const {
    const ReadLock lock("onuFlowProfileIsApplied");
    return lock && onuFlowProfileMap.contains(name) && boundProfiles_.onuFlowProfileBound(name);
}

bool onuQos::onuFlowProfileIsPartOfService(const std::string& name) const {
    return profileStore::isPartOfService("onuFlowProfileIsPartOfService", onuFlowProfileMap, name,
                                         &servprofile::serviceProfile_t::onuFlowProfile);
}

bool onuQos::profileIsAppliedOnuFlow(const std::string& name) const {
    return profileStore::hasAppliedIntfs("profileIsAppliedOnuFlow", onuFlowProfileMap, name,
                                         &onuFlowProfileInfo::appliedIntfSet);
}

bool onuQos::profileAppliedIntfGetOnuFlow(const std::string& name, std::set<std::uint32_t>& intfs) const {
    return profileStore::appliedIntfsGet("profileAppliedIntfGetOnuFlow", onuFlowProfileMap, name,
                                         &onuFlowProfileInfo::appliedIntfSet, intfs);
}

void onuQos::onuFlowProfileRuleDefaultSet(onuFlowProfileRule& rule) const {
    rule = {.cPcp = rules::kPcpNone, .cVlan = {}};
}

void onuQos::onuFlowProfileActionDefaultSet(onuFlowProfileAction& action) const {
    for (const FlowActionField& field : kFlowActionFields) {
        action.*field.value = *field.byDefault;
    }
}

onuQos::onuQosRes onuQos::onuFlowProfileActionDefaultGet(onuFlowProfileAction& action) const {
    onuFlowProfileActionDefaultSet(action);
    return onuQosResOk;
}

std::uint32_t onuQos::onuQosRoundRateOnuFlow(std::uint32_t rate) const {
    return rules::flowRateRounded(rate);
}
