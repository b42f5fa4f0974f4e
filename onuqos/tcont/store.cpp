#include "onuqos/entity/onuQos.h"
#include "onuqos/profiles/profileStore.h"
#include "onuqos/support/log.h"

namespace {

constexpr StoreOperation kCreate{
    .name = "tContProfileCreate",
    .refused = "ONUQOS ERROR - OMApi.onuTContProfileCreate() failed for profile: "};
constexpr StoreOperation kDelete{
    .name = "tContProfileDelete",
    .refused = "ONUQOS ERROR - OMApi.onuTContProfileDelete() failed for profile: "};
constexpr StoreOperation kRename{.name = "tContProfileRename"};

}  // namespace

onuQos::onuQosRes onuQos::tContProfileCreate(const std::string& name) {
    using Om = onuQosOMApi::onuQosOMApiTContProfileInfo;
    return profileStore::create<Om>(
        kCreate, tContProfileMap, name, [this](tContProfileInfo& info) { tContProfileDefaultSet(info); },
        [this](const tContProfileInfo& profile, Om& om) { return tContProfileToOMApi(profile, om); },
        [this](const Om& om) { return OMApi.onuTContProfileCreate(om); });
}

onuQos::onuQosRes onuQos::tContProfileDelete(const std::string& name) {
    return profileStore::remove(
        kDelete, tContProfileMap, name,
        [this](const std::string& profile) { return tContProfileIsPartOfService(profile); },
        [this](const std::string& profile) { return OMApi.onuTContProfileDelete(profile); });
}

onuQos::onuQosRes onuQos::tContProfileRename(const std::string& oldName, const std::string& newName) {
    return profileStore::rename(
        kRename, tContProfileMap, oldName, newName,
        [this](const std::string& profile) { return tContProfileIsPartOfService(profile); },
        [this](const std::string& from, const std::string& to) {
            return OMApi.tContProfileRename(from, to);
        });
}

onuQos::onuQosRes onuQos::tContProfileGet(const std::string& name, tContProfileInfo& info) const {
    return profileStore::get("tContProfileGet", tContProfileMap, name, info);
}

onuQos::onuQosRes onuQos::tContProfileExist(const std::string& name) {
    return profileStore::exist("tContProfileExist", tContProfileMap, name);
}

bool onuQos::tContProfileExists(const std::string& name) const {
    return profileStore::exists("tContProfileExists", tContProfileMap, name);
}

onuQos::onuQosRes onuQos::tContProfileFirstGet(tContProfileInfo& info) const {
    return profileStore::firstGet("tContProfileFirstGet", tContProfileMap, info);
}

onuQos::onuQosRes onuQos::tContProfileNextGet(const std::string& name, tContProfileInfo& info) const {
    return profileStore::nextGet("tContProfileNextGet", tContProfileMap, name, info);
}

bool onuQos::tContProfileIsApplied(const std::string& name) const {
    const ReadLock lock("tContProfileIsApplied");
    return lock && tContProfileMap.contains(name) && boundProfiles_.tContProfileBound(name);
}

bool onuQos::tContProfileIsPartOfService(const std::string& name) const {
    return profileStore::isPartOfService("tContProfileIsPartOfService", tContProfileMap, name,
                                         &servprofile::serviceProfile_t::tContProfile);
}

bool onuQos::profileIsAppliedTCont(const std::string& name) const {
    return profileStore::hasAppliedIntfs("profileIsAppliedTCont", tContProfileMap, name,
                                         &tContProfileInfo::appliedIntfs);
}

bool onuQos::profileAppliedIntfGetTCont(const std::string& name, std::set<std::uint32_t>& intfs) const {
    return profileStore::appliedIntfsGet("profileAppliedIntfGetTCont", tContProfileMap, name,
                                         &tContProfileInfo::appliedIntfs, intfs);
}

onuQos::onuQosRes onuQos::tContProfileToOMApi(const tContProfileInfo& info,
                                              onuQosOMApi::onuQosOMApiTContProfileInfo& om) const {
    const ReadLock lock("tContProfileToOMApi");
    if (!lock) {
        return onuQosResError;
    }
    om.name = info.name;
    om.tContId = info.tContId;
    if (info.tContType < tContType1 || info.tContType > tContType5) {
        return onuQosResError;
    }
    om.tContType = info.tContType;
    om.fixedRate = info.fixedRate;
    om.assuredRate = info.assuredRate;
    om.maximumRate = info.maximumRate;
    return onuQosResOk;  // the platform learns the SR-DBA values through their setters only
}
