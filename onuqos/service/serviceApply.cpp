#include "onuqos/service/bindingAccount.h"
#include "onuqos/service/serviceCheck.h"
#include "onuqos/support/log.h"

namespace {

using rules::Result;
using rules::ServiceReason;

constexpr const char* kOperation = "onuQosServiceApply";

/// The platform's answer to a binding that it refuses for a reason of its own.
constexpr int kOMApiRefused = 5;

}  // namespace

onuQos::onuQosRes onuQos::onuQosServiceApply(unsigned int onuIntf, const std::string& serviceName,
                                             const std::string& onuFlowProfileName,
                                             const std::string& tContProfileName, unsigned int virtualPortId,
                                             servprofile::onuTermPointType termPointType, short termPointId) {
    return onuQosServiceApply(onuIntf, serviceName, onuFlowProfileName, tContProfileName, virtualPortId,
                              termPointType, termPointId, nullptr);
}

onuQos::onuQosRes onuQos::onuQosServiceApply(unsigned int onuIntf, const std::string& serviceName,
                                             const std::string& onuFlowProfileName,
                                             const std::string& tContProfileName, unsigned int virtualPortId,
                                             servprofile::onuTermPointType termPointType, short termPointId,
                                             rules::ServiceVerdict* explained) {
    rules::ServiceVerdict own;
    rules::ServiceVerdict& verdict = explained == nullptr ? own : *explained;
    verdict = {};
    const WriteLock lock(kOperation);
    if (!lock) {
        verdict.result = Result::error;
        verdict.reason = ServiceReason::lock;
        return onuQosResError;
    }
    const ServiceRequest request{.operation = kOperation,
                                 .onuIntf = onuIntf,
                                 .serviceName = serviceName,
                                 .binding = {.onuFlowProfileName = onuFlowProfileName,
                                             .tContProfileName = tContProfileName,
                                             .virtualPortId = virtualPortId},
                                 .termPointType = termPointType,
                                 .termPointId = termPointId};
    const CheckedService checked = onuQosServiceDecide(request, verdict);
    if (!checked.accepted) {
        if (explained != nullptr && !verdict) {
            onuQosServiceExplain(request, verdict);
        }
        return resultOf(verdict.result);
    }

    if (checked.needs.platform && !onuQosBindingPush(request, checked, verdict)) {
        return resultOf(verdict.result);
    }

    onuQosServiceIntfMap.at(onuIntf).emplace(serviceName, request.binding);
    boundProfiles_.add(request.binding);
    verdict.stands.binding = true;
    if (checked.needs.accounting) {
        onuQosBindingAccount(request, verdict);
    }
    if (verdict) {
        onuFlowProfileMap.at(onuFlowProfileName).appliedIntfSet.insert(onuIntf);
        tContProfileMap.at(tContProfileName).appliedIntfs.insert(onuIntf);
    }
    return resultOf(verdict.result);
}

bool onuQos::onuQosBindingPush(const ServiceRequest& request, const CheckedService& checked,
                               rules::ServiceVerdict& verdict) {
    const auto& [flowName, tContName, virtualPort] = request.binding;
    std::string bindingName;
    onuQosOMApiServiceNameGen(flowName, tContName, bindingName);
    const int answer = OMApi.onuQosServiceApply(checked.handle, request.onuIntf, bindingName, flowName,
                                                tContName, virtualPort, verdict.tContId, checked.uniType,
                                                static_cast<unsigned int>(int{request.termPointId}));
    if (answer == 0) {
        return true;
    }
    logError(kOperation, "ONUQOS ERROR - OMApi.onuQosServiceApply() failed for intf: ", request.onuIntf,
             ", profile: ", bindingName);
    verdict.result = answer == kOMApiRefused ? Result::omApiRefused : Result::error;
    verdict.reason = ServiceReason::platformFailed;
    verdict.failed = {.name = "onuQosServiceApply", .answer = answer};
    return false;
}

void onuQos::onuQosBindingAccount(const ServiceRequest& request, rules::ServiceVerdict& verdict) {
    const AccountOutcome account =
        bindingAccount(*this, kOperation, request.onuIntf, request.binding.tContProfileName,
                       {.add = true,
                        .onuToo = onuQosServiceIntfMap.at(request.onuIntf).size() == 1,
                        .stateToo = !configurationApplying()});
    verdict.stands.tCont = account.tCont;
    verdict.stands.onu = account.onu;
    if (!account.done()) {
        verdict.result = Result::error;
        verdict.reason = account.complete ? ServiceReason::stateUpdate : ServiceReason::accounting;
        verdict.failed = account.failed;
    }
}
