#include "onuqos/service/serviceCheck.h"

#include "onuqos/rules/uniTypes.h"
#include "onuqos/support/onu.h"

namespace {

using rules::Result;
using rules::ServiceReason;

ServiceReason reasonOf(Result duplicate) {
    switch (duplicate) {
        case Result::duplicateVirtualPortId:
            return ServiceReason::duplicateVirtualPort;
        case Result::duplicateOnuFlowProfile:
            return ServiceReason::duplicateFlowProfile;
        default:
            return ServiceReason::duplicateTContId;
    }
}

ServiceReason reasonOf(const std::optional<rules::AdmissionVerdict>& refused) {
    if (!refused) {
        return ServiceReason::admissionUnknown;
    }
    return refused->limits.binding == rules::Limit::fixed ? ServiceReason::admissionFixed
                                                          : ServiceReason::admissionTotal;
}

void logDuplicate(const ServiceRequest& request, Result result) {
    const auto& [flow, tCont, virtualPort] = request.binding;
    if (result == Result::duplicateTContId) {
        logError(request.operation,
                 "ONUQOS ERROR - onuQosResDuplicateTContId failed for intf: ", request.onuIntf,
                 ", profile: ", request.serviceName);
    } else {
        logError(request.operation, "ONUQOS ERROR - applyOMApiService failed for intf: ", request.onuIntf,
                 ", profile: ", request.serviceName, ", ONU Flow profile: ", flow,
                 ", T-CONT profile: ", tCont, ", virtualPortId: ", virtualPort);
    }
}

}  // namespace

CheckedService onuQos::onuQosServiceDecide(const ServiceRequest& request,
                                           rules::ServiceVerdict& verdict) const {
    const auto& [flowName, tContName, virtualPort] = request.binding;
    const auto refused = [&verdict](Result result, ServiceReason reason) {
        verdict.result = result;
        verdict.reason = reason;
        return CheckedService{};
    };
    const auto tell = [&request](const char* text) {
        logError(request.operation, text, request.onuIntf, ", profile: ", request.serviceName);
    };
    verdict.interface = onuQosIntfState(request.onuIntf, &verdict.failed);
    if (!verdict.interface.configurable()) {
        tell("ONUQOS ERROR - onuQosIsIntfConfigurable() failed for intf: ");
        return refused(Result::wrongIntf, ServiceReason::wrongInterface);
    }
    const ServiceBindings& bindings = onuQosServiceIntfMap.at(request.onuIntf);
    if (const auto bound = bindings.find(request.serviceName); bound != bindings.end()) {
        verdict.alreadyBound = bound->second;
        verdict.differs = bound->second != request.binding;
        return {};
    }
    if (!onuFlowProfileMap.contains(flowName)) {
        tell("ONUQOS ERROR - onuFlowProfileMap.find() failed for intf: ");
        return refused(Result::notFound, ServiceReason::flowProfileNotFound);
    }
    const auto tCont = tContProfileMap.find(tContName);
    if (tCont == tContProfileMap.end()) {
        tell("ONUQOS ERROR - tContProfileMap.find() failed for intf: ");
        return refused(Result::notFound, ServiceReason::tContProfileNotFound);
    }
    verdict.tContId = tCont->second.tContId;
    verdict.tContType = tCont->second.tContType;
    const auto tContIdOf = [this](const std::string& name) {
        const auto found = tContProfileMap.find(name);
        return found == tContProfileMap.end() ? std::nullopt : std::optional(found->second.tContId);
    };
    CheckedService checked{.needs = rules::checkBinding(bindings, request.binding, tContIdOf)};
    if (const Result duplicate = checked.needs.result; duplicate != Result::ok) {
        logDuplicate(request, duplicate);
        verdict.otherService = *checked.needs.other;
        verdict.other = bindings.at(verdict.otherService);
        return refused(duplicate, reasonOf(duplicate));
    }
    if (checked.needs.accounting && !configurationApplying()) {
        const rules::RatePair rate{.fixed = tCont->second.fixedRate, .assured = tCont->second.assuredRate};
        verdict.admission = onuQosActualAdmission(request.onuIntf, rate, &verdict.failed);
        if (!verdict.admission || !*verdict.admission) {
            tell("ONUQOS ERROR - onuQosActualCacOnServiceApply() failed for intf: ");
            return refused(Result::rateError, reasonOf(verdict.admission));
        }
    }
    if (checked.needs.platform) {
        const auto uniType = rules::uniTypeOf(request.termPointType);
        if (!uniType) {
            tell("ONUQOS ERROR - termPointType failed for intf: ");
            return refused(Result::error, ServiceReason::termPointType);
        }
        const auto handle =
            onuHandleOf(request.operation, request.onuIntf, request.serviceName, &verdict.failed);
        if (!handle) {
            return refused(Result::error, ServiceReason::platformFailed);
        }
        checked.uniType = onuQosOMApi::onuQosOMApiUniType{*uniType};
        checked.handle = *handle;
    }
    checked.accepted = true;
    return checked;
}

void onuQos::onuQosServiceExplain(const ServiceRequest& request, rules::ServiceVerdict& verdict) const {
    if (verdict.reason == ServiceReason::wrongInterface && !verdict.interface.type) {
        verdict.interface.type = interfaceTypeOf(request.onuIntf);
    }
    if (verdict.reason == ServiceReason::duplicateTContId) {
        std::set<std::uint32_t> used;
        for (const auto& [name, binding] : onuQosServiceIntfMap.at(request.onuIntf)) {
            if (const auto tCont = tContProfileMap.find(binding.tContProfileName);
                tCont != tContProfileMap.end()) {
                used.insert(tCont->second.tContId);
            }
        }
        for (std::uint32_t id = kTContIdDefault; id <= kTContIdMax; ++id) {
            if (!used.contains(id)) {
                verdict.freeTContIds.push_back(id);
            }
        }
    }
    if (!verdict.admission || (*verdict.admission && !verdict)) {
        return;  // the port is not what stands against it
    }
    verdict.classLimits = rules::limitsOf(TCONT_RATE_GRANULARITY);
    const std::uint32_t port = verdict.admission->port;
    rules::PortFigures figures{.held = onuQosOltCacMap.at(port), .totalLimit = OLT_TOTAL_RATE_MAX};
    if (onuQosServiceIntfMap.at(request.onuIntf).empty()) {
        // Every ONU that is configured has its own overhead in the sums.
        const bool first = figures.held.fixedAlloc == 0 && figures.held.assuredAlloc == 0;
        figures.onu = first ? rules::OnuOnPort::first : rules::OnuOnPort::further;
    }
    oltPortBw technology{};
    if (onuQosPonLinkDistanceGet(port, figures.minDistance, figures.maxDistance) == onuQosResOk &&
        getOltPortBwIntf(port, technology) == onuQosResOk) {
        figures.fixedLimit = rules::maxFixedRate(technology, figures.minDistance, figures.maxDistance);
        verdict.port = figures;
    }
}

onuQos::onuQosRes onuQos::onuQosServiceCheck(unsigned int onuIntf, const std::string& serviceName,
                                             const std::string& onuFlowProfileName,
                                             const std::string& tContProfileName, unsigned int virtualPortId,
                                             servprofile::onuTermPointType termPointType, short termPointId,
                                             rules::ServiceVerdict& verdict) const {
    constexpr const char* kOperation = "onuQosServiceCheck";
    verdict = {};
    const ReadLock lock(kOperation);
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
    onuQosServiceDecide(request, verdict);
    onuQosServiceExplain(request, verdict);
    return resultOf(verdict.result);
}
