#include "oltmgrd/platform/standin/hardware.h"

#include "common/name.h"
#include "standin/calls.h"
#include "standin/hardware.h"
#include "standin/operations.h"

namespace oltmgrd {
namespace {

using common::nameToJson;

Json toJson(const standin::TContProfile& profile) {
    return {{"name", nameToJson(profile.name)},     {"tContId", profile.tContId},
            {"tContType", profile.tContType},       {"fixedRate", profile.fixedRate},
            {"assuredRate", profile.assuredRate},   {"maximumRate", profile.maximumRate},
            {"dbaAllocType", profile.dbaAllocType}, {"dbaWeight", profile.dbaWeight},
            {"dbaPriority", profile.dbaPriority}};
}

Json toJson(const standin::FlowProfile& profile) {
    return {{"name", nameToJson(profile.name)},
            {"cPcp", static_cast<std::int32_t>(profile.cPcp)},
            {"cVlan", profile.cVlan},
            {"guarRateUs", profile.guarRateUs},
            {"peakRateUs", profile.peakRateUs},
            {"flowPriorityUs", profile.flowPriorityUs},
            {"flowPriorityDs", profile.flowPriorityDs}};
}

Json toJson(const standin::Binding& binding) {
    return {{"interface", binding.interface},
            {"name", nameToJson(binding.name)},
            {"flowProfile", nameToJson(binding.flowProfile)},
            {"tcontProfile", nameToJson(binding.tcontProfile)},
            {"virtualPort", binding.virtualPort},
            {"tcontId", binding.tcontId},
            {"uniType", binding.uniType},
            {"termPointId", binding.termPointId},
            {"flowId", binding.flowId}};
}

Json toJson(const standin::OnuEvent& event) {
    const bool isState = event.kind == standin::OnuEvent::Kind::state;
    return {{"event", isState ? "state" : "ready"},
            {"interface", event.interface},
            {"slot", event.handle.slot},
            {"port", event.handle.port},
            {"onu", event.handle.onu},
            {isState ? "up" : "ready", event.flag}};
}

template <typename Entries>
Json toJsonArray(const Entries& entries) {
    Json array = Json::array();
    for (const auto& entry : entries) {
        array.push_back(toJson(entry));
    }
    return array;
}

Json callsJson() {
    Json calls = Json::object();
    const auto counts = standin::calls::counts();
    for (std::size_t i = 0; i < counts.size(); ++i) {
        calls[std::string(standin::kOperationNames[i])] = counts[i];
    }
    return calls;
}

}  // namespace

HardwareView standinHardware() {
    const standin::Hardware hardware = standin::hardware::snapshot();
    HardwareView view;
    for (const standin::TContProfile& profile : hardware.tContProfiles) {
        view.tcontProfiles.push_back({.name = profile.name,
                                      .tContId = profile.tContId,
                                      .tContType = profile.tContType,
                                      .fixedRate = profile.fixedRate,
                                      .assuredRate = profile.assuredRate,
                                      .maximumRate = profile.maximumRate,
                                      .dbaAllocType = profile.dbaAllocType,
                                      .dbaWeight = profile.dbaWeight,
                                      .dbaPriority = profile.dbaPriority});
    }
    for (const standin::FlowProfile& profile : hardware.flowProfiles) {
        view.flowProfiles.push_back({.name = profile.name,
                                     .cPcp = profile.cPcp,
                                     .cVlan = profile.cVlan,
                                     .guarRateUs = profile.guarRateUs,
                                     .peakRateUs = profile.peakRateUs,
                                     .flowPriorityUs = profile.flowPriorityUs,
                                     .flowPriorityDs = profile.flowPriorityDs});
    }
    for (const standin::Binding& binding : hardware.bindings) {
        view.bindings.push_back({.interface = binding.interface,
                                 .name = binding.name,
                                 .flowProfile = binding.flowProfile,
                                 .tcontProfile = binding.tcontProfile,
                                 .virtualPort = binding.virtualPort,
                                 .tcontId = binding.tcontId,
                                 .uniType = binding.uniType,
                                 .termPointId = binding.termPointId,
                                 .flowId = binding.flowId});
    }
    return view;
}

Json standinHardwareJson() {
    const standin::Hardware hardware = standin::hardware::snapshot();
    return {{"tcontProfiles", toJsonArray(hardware.tContProfiles)},
            {"flowProfiles", toJsonArray(hardware.flowProfiles)},
            {"bindings", toJsonArray(hardware.bindings)},
            {"onus", hardware.onus},
            {"onuEvents", toJsonArray(hardware.onuEvents)},
            {"debug", hardware.debug},
            {"calls", callsJson()}};
}

}  // namespace oltmgrd
