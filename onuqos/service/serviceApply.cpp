#include <array>

#include "entity/onuQos.h"
#include "support/log.h"
#include "support/platformObject.h"

namespace {

constexpr const char* kOperation = "onuQosServiceApply";

/// The platform's answer to a binding that it refuses for a reason of its own.
constexpr int kOMApiRefused = 5;

/// By termination point type, from 0.
constexpr std::array kUniTypes{onuQosOMApi::onuQosOMApiUniType7, onuQosOMApi::onuQosOMApiUniType6,
                               onuQosOMApi::onuQosOMApiUniType1};

}  // namespace

onuQos::onuQosRes onuQos::onuQosServiceApply(unsigned int onuIntf, const std::string& serviceName,
                                             const std::string& onuFlowProfileName,
                                             const std::string& tContProfileName, unsigned int virtualPortId,
                                             servprofile::onuTermPointType termPointType, short termPointId) {
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    if (!onuQosIsIntfConfigurable(onuIntf)) {
        logError(kOperation, "ONUQOS ERROR - onuQosIsIntfConfigurable() failed for intf: ", onuIntf,
                 ", profile: ", serviceName);
        return onuQosResWrongIntf;
    }
    ServiceBindings& bindings = onuQosServiceIntfMap[onuIntf];
    if (bindings.contains(serviceName)) {
        return onuQosResOk;
    }
    const auto onuFlowProfile = onuFlowProfileMap.find(onuFlowProfileName);
    if (onuFlowProfile == onuFlowProfileMap.end()) {
        logError(kOperation, "ONUQOS ERROR - onuFlowProfileMap.find() failed for intf: ", onuIntf,
                 ", profile: ", serviceName);
        return onuQosResNotFound;
    }
    const auto tContProfile = tContProfileMap.find(tContProfileName);
    if (tContProfile == tContProfileMap.end()) {
        logError(kOperation, "ONUQOS ERROR - tContProfileMap.find() failed for intf: ", onuIntf,
                 ", profile: ", serviceName);
        return onuQosResNotFound;
    }
    const onuQosServiceIntfInfo wanted{.onuFlowProfileName = onuFlowProfileName,
                                       .tContProfileName = tContProfileName,
                                       .virtualPortId = virtualPortId};
    BindingNeeds needs;
    if (const onuQosRes res = onuQosBindingCheck(onuIntf, serviceName, wanted, needs); res != onuQosResOk) {
        return res;
    }
    if (needs.accounting && !configurationApplying() &&
        !onuQosActualCacOnServiceApply(onuIntf, tContProfile->second.fixedRate,
                                       tContProfile->second.assuredRate)) {
        logError(kOperation, "ONUQOS ERROR - onuQosActualCacOnServiceApply() failed for intf: ", onuIntf,
                 ", profile: ", serviceName);
        return onuQosResRateError;
    }

    if (needs.platform) {
        const onuQosRes res = onuQosBindingPush(onuIntf, serviceName, wanted, tContProfile->second.tContId,
                                                termPointType, termPointId);
        if (res != onuQosResOk) {
            return res;
        }
    }

    bindings.emplace(serviceName, wanted);
    boundProfiles_.add(wanted);
    if (needs.accounting) {
        const onuQosRes res = onuQosBindingAccount(
            kOperation, onuIntf, tContProfileName,
            {.add = true, .onuToo = bindings.size() == 1, .stateToo = !configurationApplying()});
        if (res != onuQosResOk) {
            return res;
        }
    }
    onuFlowProfile->second.appliedIntfSet.insert(onuIntf);
    tContProfile->second.appliedIntfs.insert(onuIntf);
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosBindingCheck(unsigned int onuIntf, const std::string& serviceName,
                                             const onuQosServiceIntfInfo& wanted, BindingNeeds& needs) const {
    const std::uint32_t tContId = tContProfileMap.at(wanted.tContProfileName).tContId;
    const auto refused = [&](onuQosRes res) {
        logError(kOperation, "ONUQOS ERROR - applyOMApiService failed for intf: ", onuIntf,
                 ", profile: ", serviceName, ", ONU Flow profile: ", wanted.onuFlowProfileName,
                 ", T-CONT profile: ", wanted.tContProfileName, ", virtualPortId: ", wanted.virtualPortId);
        return res;
    };
    for (const auto& [otherName, other] : onuQosServiceIntfMap.at(onuIntf)) {
        if (other.virtualPortId == wanted.virtualPortId) {
            if (other != wanted) {
                return refused(onuQosResDuplicateVirtualPortId);
            }
            needs.platform = false;
        }
        if (other.onuFlowProfileName == wanted.onuFlowProfileName &&
            other.virtualPortId != wanted.virtualPortId) {
            return refused(onuQosResDuplicateOnuFlowProfile);
        }
        if (other.tContProfileName == wanted.tContProfileName) {
            needs.accounting = false;
            continue;
        }
        const auto otherTCont = tContProfileMap.find(other.tContProfileName);
        if (otherTCont != tContProfileMap.end() && otherTCont->second.tContId == tContId) {
            logError(kOperation, "ONUQOS ERROR - onuQosResDuplicateTContId failed for intf: ", onuIntf,
                     ", profile: ", serviceName);
            return onuQosResDuplicateTContId;
        }
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosBindingPush(unsigned int onuIntf, const std::string& serviceName,
                                            const onuQosServiceIntfInfo& binding, std::uint32_t tContId,
                                            servprofile::onuTermPointType termPointType, short termPointId) {
    const auto uniType = static_cast<std::size_t>(termPointType);
    if (uniType >= kUniTypes.size()) {
        logError(kOperation, "ONUQOS ERROR - termPointType failed for intf: ", onuIntf,
                 ", profile: ", serviceName);
        return onuQosResError;
    }
    zqOMApiInterface_s handle{};
    if (const onuQosRes res = onuHandleGet(kOperation, onuIntf, serviceName, handle); res != onuQosResOk) {
        return res;
    }
    std::string bindingName;
    onuQosOMApiServiceNameGen(binding.onuFlowProfileName, binding.tContProfileName, bindingName);
    const int answer = OMApi.onuQosServiceApply(
        handle, onuIntf, bindingName, binding.onuFlowProfileName, binding.tContProfileName,
        binding.virtualPortId, tContId, kUniTypes[uniType], static_cast<unsigned int>(int{termPointId}));
    if (answer != 0) {
        logError(kOperation, "ONUQOS ERROR - OMApi.onuQosServiceApply() failed for intf: ", onuIntf,
                 ", profile: ", bindingName);
        return answer == kOMApiRefused ? onuQosResOMApiRefused : onuQosResError;
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuHandleGet(At at, unsigned int onuIntf, const std::string& serviceName,
                                       zqOMApiInterface_s& handle) {
    if (platformObject<Interfaces>().interfaceGetOMApiInterfaceById(onuIntf, handle) != 0) {
        logError(at, "ONUQOS ERROR - interfaceGetOMApiInterfaceById() failed for intf: ", onuIntf,
                 ", profile: ", serviceName);
        return onuQosResError;
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosBindingAccount(const char* operation, unsigned int onuIntf,
                                               const std::string& tContProfileName,
                                               const AccountChange& change) {
    if (onuQosCalcAllocRatesOnTContChange(onuIntf, tContProfileName, change.add) != onuQosResOk) {
        logError(operation, "ONUQOS ERROR - onuQosCalcAllocRatesOnTContChange() failed for intf: ", onuIntf);
        return onuQosResError;
    }
    if (change.onuToo && onuQosCalcAllocRatesOnOnuChange(onuIntf, change.add) != onuQosResOk) {
        logError(operation,
                 "ONUQOS ERROR - onuQosCalcAllocRatesOnOnuChange() failed for ONU intf: ", onuIntf);
        return onuQosResError;
    }
    std::uint32_t port = 0;
    if (onuParentGet(operation, onuIntf, port) != onuQosResOk) {
        return onuQosResError;
    }
    if (change.stateToo && onuQosOltCacStateUpdate(port) != onuQosResOk) {
        logError(operation, "ONUQOS ERROR - onuQosOltCacStateUpdate() failed for OLT intf: ", port);
        return onuQosResError;
    }
    return onuQosResOk;
}
