#include "oltmgrd/services/serviceSide.h"

#include <algorithm>

#include "BLLManager.h"
#include "oltmgrd/services/valuesOf.h"

namespace oltmgrd {
namespace {

using Interface = onuQosClassInterface;

bool isSameBinding(const AppliedService& service, const onuQosServiceIntfInfo& info) {
    return service.flowProfile == info.onuFlowProfileName && service.tcontProfile == info.tContProfileName &&
           service.virtualPort == info.virtualPortId;
}

const onuQosServiceIntfInfo* bindingOf(const onuQosTables& tables, std::uint32_t interface,
                                       const std::string& service) {
    const auto onu = tables.onuQosServiceIntfMap.find(interface);
    if (onu == tables.onuQosServiceIntfMap.end()) {
        return nullptr;
    }
    const auto binding = onu->second.find(service);
    return binding == onu->second.end() ? nullptr : &binding->second;
}

/// `values`, in the record that `seen` has of them.
template <typename Values>
std::shared_ptr<const Values> shared(std::map<std::string, std::shared_ptr<const Values>>& seen,
                                     const std::string& name, Values values) {
    if (seen.size() > kProfileCountMax) {
        seen.clear();  // of names that are not used any more
    }
    auto& last = seen[name];
    if (last == nullptr || *last != values) {
        last = std::make_shared<const Values>(std::move(values));
    }
    return last;
}

/// Of a service whose profiles have been found out.
std::optional<FlowAboveMaximum> aboveMaximum(const AppliedService& service) {
    if (service.flow.values == nullptr || service.tcont.values == nullptr) {
        return std::nullopt;
    }
    const FlowAboveMaximum rates{.guaranteed = service.flow.values->guarRateUs,
                                 .peak = service.flow.values->peakRateUs,
                                 .maximum = service.tcont.values->maximumRate};
    return std::max(rates.guaranteed, rates.peak) > rates.maximum ? std::optional(rates) : std::nullopt;
}

Result lockRefused(ServiceOutcome* outcome) {
    if (outcome != nullptr) {
        outcome->verdict.result = rules::Result::error;
        outcome->verdict.reason = rules::ServiceReason::lock;
    }
    return onuQos::onuQosResError;
}

}  // namespace

Result ServiceSide::apply(AppliedService service, ServiceOutcome* outcome) {
    const auto held = hold();
    // Keeps the profiles from being renamed before it is seen which they are.
    const BLLManager::exclusiveLock_t lock;
    if (!lock.obtained()) {
        return lockRefused(outcome);
    }
    const Key key{service.interface, service.service};
    const Result result = call<&Interface::onuQosServiceApplyExplained>(
        module_, service.interface, service.service, service.flowProfile, service.tcontProfile,
        service.virtualPort, static_cast<servprofile::onuTermPointType>(service.termPoint.type),
        service.termPoint.id, outcome == nullptr ? nullptr : &outcome->verdict);
    if (outcome != nullptr) {
        compare(service, *outcome);
    }
    // A step that fails after the hardware layer has accepted leaves the binding in place. Every other
    // refusal comes before that.
    if (result == onuQos::onuQosResError || inDoubt_) {
        attempted_.insert_or_assign(key, std::move(service));
        reconcile();
    } else if (result == onuQos::onuQosResOk && !isRemembered(key)) {
        findOut(service);
        if (outcome != nullptr) {
            outcome->aboveMaximum = aboveMaximum(service);
        }
        remember(std::move(service));
    }
    return result;
}

Result ServiceSide::check(AppliedService service, ServiceOutcome& outcome) {
    const auto held = hold();
    // Keeps the profiles as they are checked until they are looked at.
    const BLLManager::sharedLock_t lock;
    if (!lock.obtained()) {
        return lockRefused(&outcome);
    }
    const Result result = call<&Interface::onuQosServiceCheck>(
        module_, service.interface, service.service, service.flowProfile, service.tcontProfile,
        service.virtualPort, static_cast<servprofile::onuTermPointType>(service.termPoint.type),
        service.termPoint.id, outcome.verdict);
    compare(service, outcome);
    if (result == onuQos::onuQosResOk && !outcome.verdict.alreadyBound) {
        findOut(service);
        outcome.aboveMaximum = aboveMaximum(service);
    }
    return result;
}

/// Holds a service that is bound already against the one that was asked for.
void ServiceSide::compare(const AppliedService& asked, ServiceOutcome& outcome) const {
    if (!outcome.verdict.alreadyBound) {
        return;
    }
    outcome.differs = outcome.verdict.differs;
    const std::lock_guard guard(services_);
    if (const auto found = orders_.find({asked.interface, asked.service}); found != orders_.end()) {
        outcome.boundTermPoint = byOrder_.at(found->second).termPoint;
        outcome.differs = outcome.differs || outcome.boundTermPoint != asked.termPoint;
    }
}

Result ServiceSide::remove(std::uint32_t interface, const std::string& service) {
    const auto held = hold();
    const Result result = call<&Interface::onuQosServiceRemove>(module_, interface, service);
    if (result != onuQos::onuQosResOk || inDoubt_) {
        reconcile();
    } else {
        forget({interface, service});
    }
    return result;
}

std::vector<std::string> ServiceSide::defaultSettings() {
    const auto held = hold();
    auto failed = host_.applyDefaultSettings();
    reconcile();
    return failed;
}

Result ServiceSide::flowService(std::uint32_t interface, std::uint32_t flowId, std::string& service) const {
    return call<&Interface::flowIdToServiceName>(module_, interface, flowId, service);
}

std::vector<AppliedService> ServiceSide::list() const {
    const std::lock_guard guard(services_);
    std::vector<AppliedService> services;
    services.reserve(byOrder_.size());
    for (const auto& [order, service] : byOrder_) {
        services.push_back(service);
    }
    return services;
}

std::map<std::uint32_t, std::size_t> ServiceSide::counts() const {
    const std::lock_guard guard(services_);
    std::map<std::uint32_t, std::size_t> counts;
    for (const auto& [key, order] : orders_) {
        ++counts[key.first];
    }
    return counts;
}

std::vector<AppliedService> ServiceSide::listAgreedWith(const onuQosTables& tables) {
    reconcileWith(tables);
    return list();
}

/// Sees what `service` has been bound to.
void ServiceSide::findOut(AppliedService& service) {
    if (const AppliedService* equal = equalTo(service)) {
        service.flow = equal->flow;
        service.tcont = equal->tcont;
        service.pushedTermPoint = equal->pushedTermPoint;
        return;
    }
    service.flow.serial = host_.flowProfileSerial(service.flowProfile);
    service.tcont.serial = host_.tcontProfileSerial(service.tcontProfile);
    service.pushedTermPoint = service.termPoint;
    onuQos::onuFlowProfileInfo flow;
    tContProfileInfo tcont;
    if (call<&Interface::onuQosProfilesGet>(module_, service.flowProfile, service.tcontProfile, flow,
                                            tcont) == onuQos::onuQosResOk) {
        service.flow.values = shared(flows_, service.flowProfile, valuesOf(flow));
        service.tcont.values = shared(tconts_, service.tcontProfile, valuesOf(tcont));
    }
}

/// Only operations change what is remembered, and one is under way.
const AppliedService* ServiceSide::equalTo(const AppliedService& service) const {
    const std::lock_guard guard(services_);
    for (auto row = orders_.lower_bound({service.interface, {}});
         row != orders_.end() && row->first.first == service.interface; ++row) {
        const AppliedService& other = byOrder_.at(row->second);
        if (other.virtualPort == service.virtualPort && other.flowProfile == service.flowProfile &&
            other.tcontProfile == service.tcontProfile) {
            return &other;
        }
    }
    return nullptr;
}

bool ServiceSide::isRemembered(const Key& key) const {
    const std::lock_guard guard(services_);
    return orders_.contains(key);
}

void ServiceSide::remember(AppliedService service) {
    const std::lock_guard guard(services_);
    if (service.order == 0) {
        service.order = lastOrder_ + 1;
    }
    lastOrder_ = std::max(lastOrder_, service.order);
    orders_[{service.interface, service.service}] = service.order;
    byOrder_.emplace(service.order, std::move(service));
}

void ServiceSide::forget(const Key& key) {
    const std::lock_guard guard(services_);
    if (const auto found = orders_.find(key); found != orders_.end()) {
        byOrder_.erase(found->second);
        orders_.erase(found);
    }
}

void ServiceSide::reconcile() {
    onuQosTables tables;
    inDoubt_ = call<&Interface::onuQosTablesGet>(module_, tables) != onuQos::onuQosResOk;
    if (!inDoubt_) {
        reconcileWith(tables);
    }
}

void ServiceSide::reconcileWith(const onuQosTables& tables) {
    inDoubt_ = false;
    for (const AppliedService& service : list()) {
        const onuQosServiceIntfInfo* binding = bindingOf(tables, service.interface, service.service);
        if (binding == nullptr || !isSameBinding(service, *binding)) {
            forget({service.interface, service.service});
        }
    }
    for (const auto& [interface, bindings] : tables.onuQosServiceIntfMap) {
        for (const auto& [name, binding] : bindings) {
            if (isRemembered({interface, name})) {
                continue;
            }
            AppliedService service{.interface = interface,
                                   .service = name,
                                   .flowProfile = binding.onuFlowProfileName,
                                   .tcontProfile = binding.tContProfileName,
                                   .virtualPort = binding.virtualPortId};
            if (const auto attempted = attempted_.find({interface, name}); attempted != attempted_.end()) {
                service.termPoint = attempted->second.termPoint;
                service.order = attempted->second.order;
            }
            findOut(service);
            remember(std::move(service));
        }
    }
    attempted_.clear();
}

}  // namespace oltmgrd
