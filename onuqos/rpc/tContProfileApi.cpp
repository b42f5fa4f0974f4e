#include "onuqos/rpc/api.h"
#include "onuqos/rpc/conversions.h"

namespace {

onuQos& module() {
    return singleton<onuQos>::instance();
}

std::uint32_t codeOf(onuQos::onuQosRes res) {
    rpcTContProfileRes code = rpcTContProfileResError;
    module().tContProfileResTypeSet(res, code);
    return code;
}

std::uint32_t written(bool hasWireForm) {
    return hasWireForm ? rpcTContProfileResOk : rpcTContProfileResError;
}

/// The answer to a read: name and rates on success, the rest as it is.
std::uint32_t answer(onuQos::onuQosRes res, const tContProfileInfo& profile, rpcTContProfileInfo& record) {
    if (res != onuQos::onuQosResOk) {
        return codeOf(res);
    }
    wire::nameSet(record.name, profile.name);
    return written(wire::tContRatesSet(record, profile));
}

}  // namespace

std::uint32_t tContProfileCreate(const char* name) {
    return codeOf(module().tContProfileCreate(wire::text(name)));
}

std::uint32_t tContProfileDelete(const char* name) {
    return codeOf(module().tContProfileDelete(wire::text(name)));
}

std::uint32_t tContProfileRename(const char* oldName, const char* newName) {
    return codeOf(module().tContProfileRename(wire::text(oldName), wire::text(newName)));
}

std::uint32_t tContProfileCopy(const char* srcName, const char* dstName) {
    return codeOf(module().tContProfileCopy(wire::text(srcName), wire::text(dstName)));
}

std::uint32_t tContProfileGet(const char* name, rpcTContProfileInfo* info) {
    tContProfileInfo profile;
    const auto res = module().tContProfileGet(wire::text(name), profile);
    const std::uint32_t answered = answer(res, profile, *info);
    return answered == rpcTContProfileResOk ? written(wire::tContSrdbaSet(*info, profile)) : answered;
}

std::uint32_t tContProfileIsApplied(const char* name, bool_t* attached) {
    *attached = module().profileIsAppliedTCont(wire::text(name)) ? TRUE : FALSE;
    return rpcTContProfileResOk;
}

std::uint32_t tContProfileDefaultGet(rpcTContProfileInfo* info) {
    tContProfileInfo defaults;
    if (const auto res = module().tContProfileDefaultGet(defaults); res != onuQos::onuQosResOk) {
        return codeOf(res);
    }
    return written(wire::tContRatesSet(*info, defaults) && wire::tContSrdbaSet(*info, defaults));
}

std::uint32_t tContProfileFirstGet(rpcTContProfileInfo* info) {
    tContProfileInfo profile;
    const auto res = module().tContProfileFirstGet(profile);
    return answer(res, profile, *info);
}

std::uint32_t tContProfileNextGet(const char* name, rpcTContProfileInfo* info) {
    tContProfileInfo profile;
    const auto res = module().tContProfileNextGet(wire::text(name), profile);
    return answer(res, profile, *info);
}

std::uint32_t tContProfileIdSet(const char* name, std::uint32_t tContId) {
    return codeOf(module().tContProfileIdSet(wire::text(name), tContId));
}

std::uint32_t tContProfileTypeSet(const char* name, rpcTContProfileType tContType) {
    if (static_cast<std::uint32_t>(tContType) > tContType5) {
        return rpcTContProfileResError;
    }
    return codeOf(
        module().tContProfileTypeSet(wire::text(name), static_cast<onuTContProfileType>(tContType)));
}

std::uint32_t tContProfileFixedRateSet(const char* name, std::uint32_t rate) {
    return codeOf(module().tContProfileFixedRateSet(wire::text(name), rate));
}

std::uint32_t tContProfileAssuredRateSet(const char* name, std::uint32_t rate) {
    return codeOf(module().tContProfileAssuredRateSet(wire::text(name), rate));
}

std::uint32_t tContProfileMaximumRateSet(const char* name, std::uint32_t rate) {
    return codeOf(module().tContProfileMaximumRateSet(wire::text(name), rate));
}

std::uint32_t tContProfileDefaultTypeGet(rpcTContProfileType tContType, rpcTContProfileInfo* info) {
    tContProfileInfo defaults;
    const auto type = static_cast<onuTContProfileType>(tContType);
    if (const auto res = module().tContProfileDefaultTypeGet(type, defaults); res != onuQos::onuQosResOk) {
        return codeOf(res);
    }
    return written(wire::tContRatesSet(*info, defaults));
}

std::uint32_t tContProfileCreateAndSet(const char* name, const rpcTContProfileInfo* info,
                                       rpcTContProfileParmsMask mask) {
    return codeOf(module().tContProfileCreateAndSet(wire::text(name), wire::tContProfileOf(*info), mask));
}

std::uint32_t tContProfileAllocTypeSet(const char* name, rpcTContProfileAllocType dbaAllocType) {
    onuTContProfileDbaCtrlMode mode{};
    if (!wire::allocTypeOf(dbaAllocType, mode)) {
        return rpcTContProfileResError;
    }
    return codeOf(module().tContProfileAllocTypeSet(wire::text(name), mode));
}

std::uint32_t tContProfileSrdbaWeightSet(const char* name, std::uint32_t weight) {
    return codeOf(module().tContProfileSrdbaWeightSet(wire::text(name), weight));
}

std::uint32_t tContProfileSrdbaPrioritySet(const char* name, std::uint32_t priority) {
    return codeOf(module().tContProfileSrdbaPrioritySet(wire::text(name), priority));
}

std::uint32_t tContProfileConsApplyStateGet(bool_t* applying) {
    bool state = false;
    const std::uint32_t code = codeOf(module().tContProfileConsApplyStateGet(&state));
    *applying = state ? TRUE : FALSE;
    return code;
}

std::uint32_t onuQosCacOltGet(std::uint32_t intf, rpcCacOltInfo* info) {
    bool violation = false;
    const auto res = module().onuQosCacOltGet(intf, info->estAvailFixedRate, info->estAvailAssuredRate,
                                              info->actAvailFixedRate, info->actAvailAssuredRate, violation);
    if (res == onuQos::onuQosResOk) {
        info->cacViolation = violation ? TRUE : FALSE;
    }
    return codeOf(res);
}

std::uint32_t onuQosPortRangesGet(rpcOnuQosRangesData* data) {
    onuQosRanges_t ranges{};
    module().getOnuQosPortRanges(ranges);
    *data = {.guarRateUsMin = ranges.guarRateUsMin,
             .guarRateUsMax = ranges.guarRateUsMax,
             .peakRateUsMin = ranges.peakRateUsMin,
             .peakRateUsMax = ranges.peakRateUsMax,
             .fixedRateMin = ranges.fixedRateMin,
             .fixedRateMax = ranges.fixedRateMax,
             .assuredRateMin = ranges.assuredRateMin,
             .assuredRateMax = ranges.assuredRateMax,
             .maximumRateMin = ranges.maximumRateMin,
             .maximumRateMax = ranges.maximumRateMax,
             .onuFlowRateGranularity = ranges.onuFlowRateGranularity,
             .tContRateGranularity = ranges.tContRateGranularity};
    return rpcTContProfileResOk;
}
