#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/bindingRules.h"
#include "onuqos/rules/uniTypes.h"
#include "onuqos/service/bindingAccount.h"
#include "onuqos/support/onu.h"

namespace {

constexpr const char* kOperation = "onuQosServiceApply";

/// The platform's answer to a binding that it refuses for a reason of its own.
constexpr int kOMApiRefused = 5;

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
    const auto tContIdOf = [this](const std::string& name) {
        const auto found = tContProfileMap.find(name);
        return found == tContProfileMap.end() ? std::nullopt : std::optional(found->second.tContId);
    };
    const rules::BindingVerdict needs = rules::checkBinding(bindings, wanted, tContIdOf);
    if (needs.result == rules::Result::duplicateTContId) {
        logError(kOperation, "ONUQOS ERROR - onuQosResDuplicateTContId failed for intf: ", onuIntf,
                 ", profile: ", serviceName);
    } else if (needs.result != rules::Result::ok) {
        logError(kOperation, "ONUQOS ERROR - applyOMApiService failed for intf: ", onuIntf,
                 ", profile: ", serviceName, ", ONU Flow profile: ", onuFlowProfileName,
                 ", T-CONT profile: ", tContProfileName, ", virtualPortId: ", virtualPortId);
    }
    if (needs.result != rules::Result::ok) {
        return resultOf(needs.result);
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
        const onuQosRes res = bindingAccount(
            *this, kOperation, onuIntf, tContProfileName,
            {.add = true, .onuToo = bindings.size() == 1, .stateToo = !configurationApplying()});
        if (res != onuQosResOk) {
            return res;
        }
    }
    onuFlowProfile->second.appliedIntfSet.insert(onuIntf);
    tContProfile->second.appliedIntfs.insert(onuIntf);
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosBindingPush(unsigned int onuIntf, const std::string& serviceName,
                                            const onuQosServiceIntfInfo& binding, std::uint32_t tContId,
                                            servprofile::onuTermPointType termPointType, short termPointId) {
    const auto uniType = rules::uniTypeOf(termPointType);
    if (!uniType) {
        logError(kOperation, "ONUQOS ERROR - termPointType failed for intf: ", onuIntf,
                 ", profile: ", serviceName);
        return onuQosResError;
    }
    const auto handle = onuHandleOf(kOperation, onuIntf, serviceName);
    if (!handle) {
        return onuQosResError;
    }
    std::string bindingName;
    onuQosOMApiServiceNameGen(binding.onuFlowProfileName, binding.tContProfileName, bindingName);
    const int answer = OMApi.onuQosServiceApply(*handle, onuIntf, bindingName, binding.onuFlowProfileName,
                                                binding.tContProfileName, binding.virtualPortId, tContId,
                                                onuQosOMApi::onuQosOMApiUniType{*uniType},
                                                static_cast<unsigned int>(int{termPointId}));
    if (answer != 0) {
        logError(kOperation, "ONUQOS ERROR - OMApi.onuQosServiceApply() failed for intf: ", onuIntf,
                 ", profile: ", bindingName);
        return answer == kOMApiRefused ? onuQosResOMApiRefused : onuQosResError;
    }
    return onuQosResOk;
}
