#include "oltmgrd/configuration/snapshot.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <unordered_map>

#include "BLLManager.h"
#include "oltmgrd/services/valuesOf.h"

namespace oltmgrd {
namespace {

/// The profiles of a family as they are saved.
template <typename Values>
class Profiles {
public:
    using Serial = std::uint64_t (Host::*)(const std::string&) const;

    template <typename Table>
    Profiles(const Table& table, const Host& host, Serial serialOf) {
        for (const auto& [name, info] : table) {
            byName_[name] = profiles_.size();
            bySerial_[(host.*serialOf)(name)] = profiles_.size();
            profiles_.push_back({.name = name, .values = valuesOf(info)});
        }
        interfaces_.resize(profiles_.size());
    }

    SavedBound<Values> bound(const std::string& name, const BoundTo<Values>& to, std::uint32_t interface) {
        SavedBound<Values> bound{.name = name, .place = placeOf(name, to.serial)};
        const bool isThere = bound.place != kDeleted;
        if (isThere) {
            interfaces_[bound.place].insert(interface);
        }
        if (to.values != nullptr && !(isThere && *to.values == profiles_[bound.place].values)) {
            bound.atBinding = *to.values;
        }
        return bound;
    }

    template <typename Table, typename Applied>
    std::vector<SavedProfile<Values>> take(const Table& table, Applied applied) {
        for (std::size_t place = 0; place < profiles_.size(); ++place) {
            std::ranges::set_symmetric_difference(table.at(profiles_[place].name).*applied,
                                                  interfaces_[place],
                                                  std::back_inserter(profiles_[place].appliedOtherwise));
        }
        return std::move(profiles_);
    }

private:
    /// One that the platform did not know when it was bound is taken by its name.
    std::size_t placeOf(const std::string& name, std::uint64_t serial) const {
        if (serial == 0) {
            const auto found = byName_.find(name);
            return found == byName_.end() ? kDeleted : found->second;
        }
        const auto found = bySerial_.find(serial);
        return found == bySerial_.end() ? kDeleted : found->second;
    }

    std::unordered_map<std::string, std::size_t> byName_;
    std::unordered_map<std::uint64_t, std::size_t> bySerial_;
    std::vector<SavedProfile<Values>> profiles_;
    std::vector<std::set<std::uint32_t>> interfaces_;  // where each is bound
};

}  // namespace

std::optional<ConfigurationDocument> captureConfiguration(const onuQosClassInterface& module,
                                                          ServiceSide& services, const Host& host) {
    const auto held = services.hold();
    const BLLManager::sharedLock_t lock;
    onuQosTables tables;
    if (!lock.obtained() ||
        call<&onuQosClassInterface::onuQosTablesGet>(module, tables) != onuQos::onuQosResOk) {
        return std::nullopt;
    }
    ConfigurationDocument document;
    Profiles<FlowValues> flows(tables.onuFlowProfileMap, host, &Host::flowProfileSerial);
    Profiles<TContValues> tconts(tables.tContProfileMap, host, &Host::tcontProfileSerial);
    for (const AppliedService& service : services.listAgreedWith(tables)) {
        SavedBinding binding{.interface = service.interface,
                             .service = service.service,
                             .flow = flows.bound(service.flowProfile, service.flow, service.interface),
                             .tcont = tconts.bound(service.tcontProfile, service.tcont, service.interface),
                             .virtualPort = service.virtualPort,
                             .termPoint = service.termPoint};
        if (service.pushedTermPoint != service.termPoint) {
            binding.pushedTermPoint = service.pushedTermPoint;
        }
        document.bindings.push_back(std::move(binding));
    }
    document.flowProfiles = flows.take(tables.onuFlowProfileMap, &onuQos::onuFlowProfileInfo::appliedIntfSet);
    document.tcontProfiles = tconts.take(tables.tContProfileMap, &tContProfileInfo::appliedIntfs);
    document.serviceProfiles = host.serviceProfiles();
    for (const auto& [interface, info] : tables.onuQosOltCacMap) {
        document.ports.push_back({.interface = interface,
                                  .fixedAlloc = info.fixedAlloc,
                                  .assuredAlloc = info.assuredAlloc,
                                  .alarm = tables.onuQosOltCacAlarmMap.at(interface)});
    }
    return document;
}

}  // namespace oltmgrd
