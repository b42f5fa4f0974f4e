#include "oltmgrd/services/serviceSide.h"

#include "standin/hardware.h"

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

}  // namespace

Result ServiceSide::apply(AppliedService service) {
    const auto held = hold();
    const Key key{service.interface, service.service};
    const Result result = call<&Interface::onuQosServiceApply>(
        module_, service.interface, service.service, service.flowProfile, service.tcontProfile,
        service.virtualPort, static_cast<servprofile::onuTermPointType>(service.termPoint.type),
        service.termPoint.id);
    // A step that fails after the hardware layer has accepted leaves the binding in place.
    if (result != onuQos::onuQosResOk || inDoubt_) {
        attempted_.insert_or_assign(key, std::move(service));
        reconcile();
    } else if (!isRemembered(key)) {
        identifyProfiles(service);
        remember(std::move(service));
    }
    return result;
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

std::vector<AppliedService> ServiceSide::listAgreedWith(const onuQosTables& tables) {
    reconcileWith(tables);
    return list();
}

void ServiceSide::adopt(std::vector<AppliedService> services) {
    for (AppliedService& service : services) {
        remember(std::move(service));
    }
}

/// While a service is bound its T-CONT profile cannot be changed under the bound name, so what stands there
/// now is what was bound, unless it was renamed in this very moment.
void ServiceSide::identifyProfiles(AppliedService& service) const {
    if (const auto profile = standin::hardware::tContProfile(service.tcontProfile)) {
        service.tcontSerial = profile->serial;
        service.shape = {.tContId = profile->tContId,
                         .tContType = profile->tContType,
                         .fixedRate = profile->fixedRate,
                         .assuredRate = profile->assuredRate,
                         .maximumRate = profile->maximumRate};
    }
    if (const auto profile = standin::hardware::flowProfile(service.flowProfile)) {
        service.flowSerial = profile->serial;
    }
}

bool ServiceSide::isRemembered(const Key& key) const {
    const std::lock_guard guard(services_);
    return orders_.contains(key);
}

void ServiceSide::remember(AppliedService service) {
    const std::lock_guard guard(services_);
    orders_[{service.interface, service.service}] = ++lastOrder_;
    byOrder_.emplace(lastOrder_, std::move(service));
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
            }
            identifyProfiles(service);
            remember(std::move(service));
        }
    }
    attempted_.clear();
}

}  // namespace oltmgrd
