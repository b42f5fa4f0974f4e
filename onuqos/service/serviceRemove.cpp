#include "onuqos/rules/bindingRules.h"
#include "onuqos/service/bindingAccount.h"
#include "onuqos/support/onu.h"

namespace {

constexpr const char* kOperation = "onuQosServiceRemove";

/// The platform's answer to the removal of a binding that it counts as removed all the same.
constexpr int kOMApiGone = 5;

}  // namespace

onuQos::onuQosRes onuQos::onuQosServiceRemove(unsigned int onuIntf, const std::string& serviceName) {
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    if (!onuQosIsIntfConfigurable(onuIntf)) {
        logError(kOperation, "ONUQOS ERROR - onuQosIsIntfConfigurable() failed for intf: ", onuIntf,
                 ", profile: ", serviceName);
        return onuQosResWrongIntf;
    }
    ServiceBindings& bindings = onuQosServiceIntfMap.at(onuIntf);
    const auto found = bindings.find(serviceName);
    if (found == bindings.end()) {
        return onuQosResOk;
    }
    const onuQosServiceIntfInfo binding = found->second;
    const rules::BindingVerdict needs = rules::checkRemoval(bindings, serviceName);

    if (needs.platform && onuQosBindingWithdraw(onuIntf, serviceName, binding) != onuQosResOk) {
        return onuQosResError;
    }

    bindings.erase(found);
    boundProfiles_.remove(binding);
    if (needs.accounting) {
        const AccountOutcome account =
            bindingAccount(*this, kOperation, onuIntf, binding.tContProfileName,
                           {.add = false, .onuToo = bindings.empty(), .stateToo = true});
        if (!account.done()) {
            return onuQosResError;
        }
    }
    // A profile may have been deleted or renamed since it was bound.
    if (const auto profile = onuFlowProfileMap.find(binding.onuFlowProfileName);
        profile != onuFlowProfileMap.end()) {
        profile->second.appliedIntfSet.erase(onuIntf);
    }
    if (const auto profile = tContProfileMap.find(binding.tContProfileName);
        profile != tContProfileMap.end()) {
        profile->second.appliedIntfs.erase(onuIntf);
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosBindingWithdraw(unsigned int onuIntf, const std::string& serviceName,
                                                const onuQosServiceIntfInfo& binding) {
    const auto handle = onuHandleOf(kOperation, onuIntf, serviceName);
    if (!handle) {
        return onuQosResError;
    }
    std::string bindingName;
    onuQosOMApiServiceNameGen(binding.onuFlowProfileName, binding.tContProfileName, bindingName);
    const int answer = OMApi.onuQosServiceRemove(*handle, onuIntf, bindingName, binding.virtualPortId);
    if (answer != 0) {
        logError(kOperation, "ONUQOS ERROR - OMApi.onuQosServiceRemove() failed for intf: ", onuIntf,
                 ", profile: ", bindingName);
    }
    return answer == 0 || answer == kOMApiGone ? onuQosResOk : onuQosResError;
}
