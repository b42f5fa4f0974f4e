#include "oltmgrd/configuration/snapshot.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <tuple>
#include <unordered_map>

#include "BLLManager.h"
#include "onuqos/rules/uniTypes.h"

namespace oltmgrd {
namespace {

/// Where each profile stands in the document, by its name and by the serial that survives renaming.
class Places {
public:
    void add(const std::string& name, std::size_t place) { byName_[name] = place; }
    void add(std::uint64_t serial, std::size_t place) { bySerial_[serial] = place; }

    /// A binding made while the hardware layer did not know the profile is taken at its word.
    std::size_t find(std::uint64_t serial, const std::string& name) const {
        if (serial == 0) {
            const auto found = byName_.find(name);
            return found == byName_.end() ? kDeleted : found->second;
        }
        const auto found = bySerial_.find(serial);
        return found == bySerial_.end() ? kDeleted : found->second;
    }

private:
    std::unordered_map<std::string, std::size_t> byName_;
    std::unordered_map<std::uint64_t, std::size_t> bySerial_;
};

template <typename Profile>
std::unordered_map<std::string, const Profile*> byName(const std::vector<Profile>& profiles) {
    std::unordered_map<std::string, const Profile*> map;
    for (const Profile& profile : profiles) {
        map[profile.name] = &profile;
    }
    return map;
}

SavedTContProfile saved(const tContProfileInfo& info, const standin::TContProfile* pushed) {
    SavedTContProfile profile;
    profile.name = info.name;
    profile.shape = {.tContId = info.tContId,
                     .tContType = info.tContType,
                     .fixedRate = info.fixedRate,
                     .assuredRate = info.assuredRate,
                     .maximumRate = info.maximumRate};
    profile.dbaAllocType = info.dbaAllocType;
    profile.dbaWeight = info.dbaWeight;
    profile.dbaPriority = info.dbaPriority;
    profile.allocTypePushed = pushed != nullptr && pushed->dbaAllocType == info.dbaAllocType;
    // Setting the allocation type pushes the weight as well.
    profile.weightPushed = profile.allocTypePushed ? info.dbaWeight != SavedTContProfile().dbaWeight
                                                   : pushed != nullptr && pushed->dbaWeight == info.dbaWeight;
    return profile;
}

SavedFlowProfile saved(const onuQos::onuFlowProfileInfo& info, const standin::FlowProfile* pushed) {
    SavedFlowProfile profile;
    profile.name = info.name;
    profile.cPcp = info.rule.cPcp;
    profile.cVlan = info.rule.cVlan;
    profile.guarRateUs = info.action.guarRateUs;
    profile.peakRateUs = info.action.peakRateUs;
    profile.flowPriorityUs = info.action.flowPriorityUs;
    profile.flowPriorityDs = info.action.flowPriorityDs;
    profile.cPcpPushed = pushed == nullptr || pushed->cPcp == info.rule.cPcp;
    profile.cVlanPushed = pushed == nullptr || pushed->cVlan == info.rule.cVlan;
    return profile;
}

/// Fills `profiles` from a table, and `places` with where each went.
template <typename Table, typename Pushed, typename Profile>
void saveProfiles(const Table& table, const std::vector<Pushed>& pushed, std::vector<Profile>& profiles,
                  Places& places) {
    const auto pushedByName = byName(pushed);
    for (const auto& [name, info] : table) {
        const auto found = pushedByName.find(name);
        const Pushed* profile = found == pushedByName.end() ? nullptr : found->second;
        places.add(name, profiles.size());
        if (profile != nullptr) {
            places.add(profile->serial, profiles.size());
        }
        profiles.push_back(saved(info, profile));
    }
}

/// Notes where a profile's set of applied interfaces differs from the interfaces of its bindings.
void saveApplied(SavedProfile& profile, const std::set<std::uint32_t>& applied,
                 const std::set<std::uint32_t>& bound) {
    std::ranges::set_difference(applied, bound, std::back_inserter(profile.appliedAlso));
    std::ranges::set_difference(bound, applied, std::back_inserter(profile.appliedNot));
}

/// What the hardware layer was told of the bindings.
class PushedBindings {
public:
    explicit PushedBindings(const std::vector<standin::Binding>& bindings) {
        for (const standin::Binding& binding : bindings) {
            if (const auto type = rules::termPointTypeOf(binding.uniType)) {
                pushed_[{binding.interface, binding.flowProfile, binding.tcontProfile, binding.virtualPort}] =
                    {.point = {.type = *type, .id = static_cast<std::int16_t>(binding.termPointId)},
                     .tcontId = binding.tcontId};
            }
        }
    }

    /// Notes what was pushed where it differs. Equal bindings are pushed once, so only the first of them
    /// asks.
    void take(SavedBinding& binding) {
        const auto node = pushed_.extract(
            {binding.interface, binding.flowProfile, binding.tcontProfile, binding.virtualPort});
        if (node.empty()) {
            return;
        }
        const Pushed& pushed = node.mapped();
        if (pushed.point != binding.termPoint) {
            binding.pushedTermPoint = pushed.point;
        }
        if (pushed.tcontId != binding.shape.tContId) {
            binding.pushedTContId = pushed.tcontId;
        }
    }

private:
    struct Pushed {
        TermPoint point;
        std::uint32_t tcontId;
    };

    std::map<std::tuple<std::uint32_t, std::string, std::string, std::uint32_t>, Pushed> pushed_;
};

}  // namespace

bool captureConfiguration(const onuQosClassInterface& module, ServiceSide& services, const Host& host,
                          ConfigurationState& state) {
    const auto held = services.hold();
    const BLLManager::sharedLock_t lock;
    if (!lock.obtained() ||
        call<&onuQosClassInterface::onuQosTablesGet>(module, state.tables) != onuQos::onuQosResOk) {
        return false;
    }
    state.hardware = standin::hardware::snapshot();
    state.serviceProfiles = host.serviceProfiles();
    state.services = services.listAgreedWith(state.tables);
    return true;
}

ConfigurationDocument documentOf(const ConfigurationState& state) {
    ConfigurationDocument document;
    Places tconts;
    Places flows;
    saveProfiles(state.tables.tContProfileMap, state.hardware.tContProfiles, document.tcontProfiles, tconts);
    saveProfiles(state.tables.onuFlowProfileMap, state.hardware.flowProfiles, document.flowProfiles, flows);
    document.serviceProfiles = state.serviceProfiles;

    std::vector<std::set<std::uint32_t>> tcontInterfaces(document.tcontProfiles.size());
    std::vector<std::set<std::uint32_t>> flowInterfaces(document.flowProfiles.size());
    PushedBindings pushed(state.hardware.bindings);
    document.bindings.reserve(state.services.size());
    for (const AppliedService& service : state.services) {
        SavedBinding binding{.interface = service.interface,
                             .service = service.service,
                             .flowProfile = service.flowProfile,
                             .tcontProfile = service.tcontProfile,
                             .virtualPort = service.virtualPort,
                             .termPoint = service.termPoint,
                             .flow = flows.find(service.flowSerial, service.flowProfile),
                             .tcont = tconts.find(service.tcontSerial, service.tcontProfile),
                             .shape = service.shape};
        pushed.take(binding);
        if (binding.tcont != kDeleted) {
            tcontInterfaces[binding.tcont].insert(binding.interface);
        }
        if (binding.flow != kDeleted) {
            flowInterfaces[binding.flow].insert(binding.interface);
        }
        document.bindings.push_back(std::move(binding));
    }
    for (std::size_t i = 0; i < document.tcontProfiles.size(); ++i) {
        SavedProfile& profile = document.tcontProfiles[i];
        saveApplied(profile, state.tables.tContProfileMap.at(profile.name).appliedIntfs, tcontInterfaces[i]);
    }
    for (std::size_t i = 0; i < document.flowProfiles.size(); ++i) {
        SavedProfile& profile = document.flowProfiles[i];
        saveApplied(profile, state.tables.onuFlowProfileMap.at(profile.name).appliedIntfSet,
                    flowInterfaces[i]);
    }
    for (const auto& [interface, info] : state.tables.onuQosOltCacMap) {
        document.ports.push_back({interface, info.fixedAlloc, info.assuredAlloc});
    }
    return document;
}

}  // namespace oltmgrd
