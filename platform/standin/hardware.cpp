#include "hardware.h"

#include <deque>
#include <map>
#include <set>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "call.h"
#include "onuQosOMApi.h"
#include "registry.h"
#include "standin/hardware.h"
#include "state.h"

namespace standin {
namespace {

using TContInfo = onuQosOMApi::onuQosOMApiTContProfileInfo;
using FlowInfo = onuQosOMApi::onuQosOMApiFlowProfileInfo;
using FlowRule = onuQosOMApi::onuQosOMApiFlowProfileRule;
using FlowAction = onuQosOMApi::onuQosOMApiFlowProfileAction;
/// Interface, name, virtual port.
using BindingKey = std::tuple<unsigned int, std::string, unsigned int>;

template <typename Record>
using Profiles = std::map<std::string, Record, std::less<>>;

/// Everything that was pushed. Its operations do the pushing; whoever calls them holds its mutex.
struct Mirror {
    Profiles<TContProfile> tContProfiles;
    Profiles<FlowProfile> flowProfiles;
    std::map<BindingKey, Binding> bindings;
    std::unordered_map<unsigned int, const Binding*> bindingsByFlow;
    std::set<unsigned int> onus;
    std::deque<OnuEvent> onuEvents;
    bool debug = false;
    std::uint64_t tContProfilesCreated = 0;
    std::uint64_t flowProfilesCreated = 0;
    unsigned int flowsCreated = 0;
    Dba dba;

    void bind(Binding binding, std::optional<unsigned int> port) {
        const BindingKey key{binding.interface, binding.name, binding.virtualPort};
        unbind(key);
        CommittedRates rates;
        if (const auto profile = tContProfiles.find(binding.tcontProfile); profile != tContProfiles.end()) {
            rates = {profile->second.fixedRate, profile->second.assuredRate};
        }
        dba.bind(binding.interface, binding.tcontId, port, rates);
        binding.flowId = ++flowsCreated;
        const Binding& stored = bindings[key] = std::move(binding);
        bindingsByFlow[stored.flowId] = &stored;
    }

    void unbind(const BindingKey& key) {
        const auto found = bindings.find(key);
        if (found == bindings.end()) {
            return;
        }
        dba.unbind(found->second.interface, found->second.tcontId);
        bindingsByFlow.erase(found->second.flowId);
        bindings.erase(found);
    }

    void clearConfig() {
        tContProfiles.clear();
        flowProfiles.clear();
        bindings.clear();
        bindingsByFlow.clear();
        dba = {};
    }

    void note(const OnuEvent& event) {
        onuEvents.push_back(event);
        if (onuEvents.size() > hardware::kOnuEventsKept) {
            onuEvents.pop_front();
        }
    }
};

/// Passes a push through the gate and, unless a fault hits it, lets `apply` change the mirror.
template <typename Apply, typename... Arguments>
int push(Apply apply, Operation operation, const Arguments&... arguments) {
    if (const auto fault = call(operation, arguments...)) {
        return *fault;
    }
    state<Mirror>().with(apply);
    return 0;
}

/// Lets `apply` change the profile of this name, if there is one.
template <typename Record, typename Apply>
void change(Profiles<Record>& profiles, const std::string& name, Apply apply) {
    if (const auto found = profiles.find(name); found != profiles.end()) {
        apply(found->second);
    }
}

template <typename Record>
void rename(Profiles<Record>& profiles, const std::string& oldName, const std::string& newName) {
    auto node = profiles.extract(oldName);
    if (node.empty()) {
        return;
    }
    profiles.erase(newName);
    node.key() = newName;
    node.mapped().name = newName;
    profiles.insert(std::move(node));
}

template <typename Map>
auto valuesOf(const Map& map) {
    std::vector<typename Map::mapped_type> values;
    values.reserve(map.size());
    for (const auto& [key, value] : map) {
        values.push_back(value);
    }
    return values;
}

template <typename Record>
std::optional<Record> found(const Profiles<Record>& profiles, std::string_view name) {
    const auto profile = profiles.find(name);
    return profile == profiles.end() ? std::nullopt : std::optional(profile->second);
}

Handle handleOf(const zqOMApiInterface_s& handle) {
    return {handle.slot, handle.port, handle.onu};
}

struct TContField {
    onuQosOMApi::onuQosOMApiTContParm parm;
    void (*take)(TContProfile& profile, const TContInfo& info);
};

void takeId(TContProfile& profile, const TContInfo& info) {
    profile.tContId = info.tContId;
}

void takeType(TContProfile& profile, const TContInfo& info) {
    profile.tContType = info.tContType;
}

void takeRates(TContProfile& profile, const TContInfo& info) {
    profile.fixedRate = info.fixedRate;
    profile.assuredRate = info.assuredRate;
    profile.maximumRate = info.maximumRate;
}

void takeAllocType(TContProfile& profile, const TContInfo& info) {
    profile.dbaAllocType = info.dbaAllocType;
}

void takeWeight(TContProfile& profile, const TContInfo& info) {
    profile.dbaWeight = info.dbaWeight;
}

void takePriority(TContProfile& profile, const TContInfo& info) {
    profile.dbaPriority = info.dbaPriority;
}

/// Which fields each selector takes.
constexpr TContField kTContFields[] = {
    {onuQosOMApi::onuQosOMApiTContParmId, takeId},
    {onuQosOMApi::onuQosOMApiTContParmRates, takeRates},
    {onuQosOMApi::onuQosOMApiTContParmWeight, takeWeight},
    {onuQosOMApi::onuQosOMApiTContParmPriority, takePriority},
    {onuQosOMApi::onuQosOMApiTContParmAllocType, takeAllocType},
    {onuQosOMApi::onuQosOMApiTContParmAllocType, takeWeight},
    {onuQosOMApi::onuQosOMApiTContParmAllocType, takePriority},
    {onuQosOMApi::onuQosOMApiTContParmType, takeId},
    {onuQosOMApi::onuQosOMApiTContParmType, takeType},
    {onuQosOMApi::onuQosOMApiTContParmType, takeRates},
};

struct FlowActionField {
    onuQosOMApi::onuQosOMApiFlowProfileActionType type;
    std::uint32_t FlowProfile::*field;
    std::uint32_t FlowAction::*pushed;
};

constexpr FlowActionField kFlowActionFields[] = {
    {onuQosOMApi::onuQosOMApiFlowProfileActionGuarRateUs, &FlowProfile::guarRateUs, &FlowAction::guarRateUs},
    {onuQosOMApi::onuQosOMApiFlowProfileActionPeakRateUs, &FlowProfile::peakRateUs, &FlowAction::peakRateUs},
    {onuQosOMApi::onuQosOMApiFlowProfileActionFlowPriorityUs, &FlowProfile::flowPriorityUs,
     &FlowAction::flowPriorityUs},
    {onuQosOMApi::onuQosOMApiFlowProfileActionFlowPriorityDs, &FlowProfile::flowPriorityDs,
     &FlowAction::flowPriorityDs},
};

TContProfile mirrored(const TContInfo& info, std::uint64_t serial) {
    TContProfile profile{.name = info.name, .serial = serial};
    for (const auto take : {takeId, takeType, takeRates, takeAllocType, takeWeight, takePriority}) {
        take(profile, info);
    }
    return profile;
}

FlowProfile mirrored(const FlowInfo& info, std::uint64_t serial) {
    FlowProfile profile{
        .name = info.name, .cPcp = info.rule.cPcp, .cVlan = info.rule.cVlan, .serial = serial};
    for (const FlowActionField& row : kFlowActionFields) {
        profile.*row.field = info.action.*row.pushed;
    }
    return profile;
}

template <typename... Values>
void line(std::ostringstream& out, const Values&... values) {
    (out << ... << values) << '\n';
}

void dump(std::ostringstream& out, const Hardware& hardware) {
    line(out, "T-CONT profiles: ", hardware.tContProfiles.size());
    for (const TContProfile& p : hardware.tContProfiles) {
        line(out, "  ", p.name, ": id ", p.tContId, ", type ", p.tContType, ", fixed ", p.fixedRate,
             ", assured ", p.assuredRate, ", maximum ", p.maximumRate, ", allocation ", p.dbaAllocType,
             ", weight ", p.dbaWeight, ", priority ", p.dbaPriority);
    }
    line(out, "Flow profiles: ", hardware.flowProfiles.size());
    for (const FlowProfile& p : hardware.flowProfiles) {
        line(out, "  ", p.name, ": PCP ", static_cast<std::int32_t>(p.cPcp), ", VLANs ",
             argumentText(p.cVlan), ", guaranteed ", p.guarRateUs, ", peak ", p.peakRateUs, ", priority up ",
             p.flowPriorityUs, ", down ", p.flowPriorityDs);
    }
    line(out, "Bindings: ", hardware.bindings.size());
    for (const Binding& b : hardware.bindings) {
        line(out, "  flow ", b.flowId, ": interface ", b.interface, ", ", b.name, ", virtual port ",
             b.virtualPort, ", T-CONT id ", b.tcontId, ", UNI type ", b.uniType, ", termination point ",
             b.termPointId);
    }
    line(out, "ONUs: ", hardware.onus.size());
    line(out, "  ", argumentText(hardware.onus));
    line(out, "Debug output: ", hardware.debug ? "on" : "off");
}

}  // namespace

CommittedRates committedRates(unsigned int ponInterface) {
    return state<Mirror>().with([=](const Mirror& mirror) { return mirror.dba.committed(ponInterface); });
}

std::optional<TContProfile> hardware::tContProfile(std::string_view name) {
    return state<Mirror>().with([=](const Mirror& mirror) { return found(mirror.tContProfiles, name); });
}

std::optional<FlowProfile> hardware::flowProfile(std::string_view name) {
    return state<Mirror>().with([=](const Mirror& mirror) { return found(mirror.flowProfiles, name); });
}

Hardware hardware::snapshot() {
    return state<Mirror>().with([](const Mirror& mirror) {
        return Hardware{.tContProfiles = valuesOf(mirror.tContProfiles),
                        .flowProfiles = valuesOf(mirror.flowProfiles),
                        .bindings = valuesOf(mirror.bindings),
                        .onus = {mirror.onus.begin(), mirror.onus.end()},
                        .onuEvents = {mirror.onuEvents.begin(), mirror.onuEvents.end()},
                        .debug = mirror.debug};
    });
}

}  // namespace standin

using standin::Mirror;
using standin::Operation;
using standin::push;

zqOMTable::zqOMTable() = default;
zqOMTable::~zqOMTable() = default;

onuQosOMApi::onuQosOMApi() = default;
onuQosOMApi::~onuQosOMApi() = default;

int onuQosOMApi::onuTContProfileCreate(const onuQosOMApiTContProfileInfo& profile) {
    return push(
        [&](Mirror& mirror) {
            mirror.tContProfiles.insert_or_assign(profile.name,
                                                  standin::mirrored(profile, ++mirror.tContProfilesCreated));
        },
        Operation::onuTContProfileCreate, profile);
}

int onuQosOMApi::onuTContProfileDelete(const std::string& name) {
    return push([&](Mirror& mirror) { mirror.tContProfiles.erase(name); }, Operation::onuTContProfileDelete,
                name);
}

int onuQosOMApi::tContProfileRename(const std::string& oldName, const std::string& newName) {
    return push([&](Mirror& mirror) { standin::rename(mirror.tContProfiles, oldName, newName); },
                Operation::tContProfileRename, oldName, newName);
}

int onuQosOMApi::onuTContProfileParmsSet(const std::string& name, const onuQosOMApiTContProfileInfo& profile,
                                         onuQosOMApiTContParm parm) {
    const auto take = [&](standin::TContProfile& stored) {
        for (const auto& row : standin::kTContFields) {
            if (row.parm == parm) {
                row.take(stored, profile);
            }
        }
    };
    return push([&](Mirror& mirror) { standin::change(mirror.tContProfiles, name, take); },
                Operation::onuTContProfileParmsSet, name, profile, parm);
}

int onuQosOMApi::onuFlowProfileCreate(const onuQosOMApiFlowProfileInfo& profile) {
    return push(
        [&](Mirror& mirror) {
            mirror.flowProfiles.insert_or_assign(profile.name,
                                                 standin::mirrored(profile, ++mirror.flowProfilesCreated));
        },
        Operation::onuFlowProfileCreate, profile);
}

int onuQosOMApi::onuFlowProfileDelete(const std::string& name) {
    return push([&](Mirror& mirror) { mirror.flowProfiles.erase(name); }, Operation::onuFlowProfileDelete,
                name);
}

int onuQosOMApi::flowProfileRename(const std::string& oldName, const std::string& newName) {
    return push([&](Mirror& mirror) { standin::rename(mirror.flowProfiles, oldName, newName); },
                Operation::flowProfileRename, oldName, newName);
}

int onuQosOMApi::onuFlowProfileRuleSet(const std::string& name, const onuQosOMApiFlowProfileRule& rule,
                                       onuQosOMApiFlowProfileRuleType type) {
    const auto take = [&](standin::FlowProfile& stored) {
        if (type == onuQosOMApiFlowProfileRuleCPcp) {
            stored.cPcp = rule.cPcp;
        } else if (type == onuQosOMApiFlowProfileRuleCVlan) {
            stored.cVlan = rule.cVlan;
        }
    };
    return push([&](Mirror& mirror) { standin::change(mirror.flowProfiles, name, take); },
                Operation::onuFlowProfileRuleSet, name, rule, type);
}

int onuQosOMApi::onuFlowProfileActionSet(const std::string& name, const onuQosOMApiFlowProfileAction& action,
                                         onuQosOMApiFlowProfileActionType type) {
    const auto take = [&](standin::FlowProfile& stored) {
        for (const auto& row : standin::kFlowActionFields) {
            if (row.type == type) {
                stored.*row.field = action.*row.pushed;
            }
        }
    };
    return push([&](Mirror& mirror) { standin::change(mirror.flowProfiles, name, take); },
                Operation::onuFlowProfileActionSet, name, action, type);
}

int onuQosOMApi::onuQosServiceApply(zqOMApiInterface_s handle, unsigned int intf,
                                    const std::string& bindingName, const std::string& onuFlowProfileName,
                                    const std::string& tContProfileName, unsigned int virtualPortId,
                                    unsigned int tContId, onuQosOMApiUniType uniType,
                                    unsigned int termPointId) {
    const auto port = standin::ponInterfaceOf(intf);
    return push(
        [&](Mirror& mirror) {
            mirror.bind({.interface = intf,
                         .name = bindingName,
                         .virtualPort = virtualPortId,
                         .handle = standin::handleOf(handle),
                         .flowProfile = onuFlowProfileName,
                         .tcontProfile = tContProfileName,
                         .tcontId = tContId,
                         .uniType = uniType,
                         .termPointId = termPointId},
                        port);
        },
        Operation::onuQosServiceApply, handle, intf, bindingName, onuFlowProfileName, tContProfileName,
        virtualPortId, tContId, uniType, termPointId);
}

int onuQosOMApi::onuQosServiceRemove(zqOMApiInterface_s handle, unsigned int intf,
                                     const std::string& bindingName, unsigned int virtualPortId) {
    return push(
        [&](Mirror& mirror) {
            mirror.unbind({intf, bindingName, virtualPortId});
        },
        Operation::onuQosServiceRemove, handle, intf, bindingName, virtualPortId);
}

int onuQosOMApi::flowIdToServiceName(unsigned int intf, unsigned int flowId, std::string& bindingName) const {
    if (const auto fault = standin::call(Operation::flowIdToServiceName, intf, flowId)) {
        return *fault;
    }
    return standin::state<Mirror>().with([&](const Mirror& mirror) {
        const auto found = mirror.bindingsByFlow.find(flowId);
        if (found == mirror.bindingsByFlow.end() || found->second->interface != intf) {
            return 1;
        }
        bindingName = found->second->name;
        return 0;
    });
}

int onuQosOMApi::addOnuIntf(unsigned int intf) {
    return push([intf](Mirror& mirror) { mirror.onus.insert(intf); }, Operation::addOnuIntf, intf);
}

void onuQosOMApi::onuStateHandler(zqOMApiInterface_s handle, unsigned int intf, bool up) {
    const standin::OnuEvent event{standin::OnuEvent::Kind::state, standin::handleOf(handle), intf, up};
    push([&event](Mirror& mirror) { mirror.note(event); }, Operation::onuStateHandler, handle, intf, up);
}

void onuQosOMApi::onuReadyHandler(zqOMApiInterface_s handle, unsigned int intf, bool ready) {
    const standin::OnuEvent event{standin::OnuEvent::Kind::ready, standin::handleOf(handle), intf, ready};
    push([&event](Mirror& mirror) { mirror.note(event); }, Operation::onuReadyHandler, handle, intf, ready);
}

int onuQosOMApi::onuQosClearConfig() {
    return push([](Mirror& mirror) { mirror.clearConfig(); }, Operation::onuQosClearConfig);
}

void onuQosOMApi::onuQosOMApiDump(std::ostringstream* out) {
    if (!standin::call(Operation::onuQosOMApiDump)) {
        standin::dump(*out, standin::hardware::snapshot());
    }
}

void onuQosOMApi::onuQosOMApiDebug(bool on) const {
    push([on](Mirror& mirror) { mirror.debug = on; }, Operation::onuQosOMApiDebug, on);
}
