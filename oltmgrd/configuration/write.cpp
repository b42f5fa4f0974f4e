#include "common/name.h"
#include "oltmgrd/configuration/document.h"
#include "oltmgrd/platform/serviceProfile.h"

namespace oltmgrd {
namespace {

using common::nameToJson;

/// Adds `member` unless its value is the one that reading gives it anyway.
template <typename Value>
void addUnless(Json& json, const char* member, const Value& value, const Value& fallback) {
    if (value != fallback) {
        json[member] = value;
    }
}

void addCommon(Json& json, const SavedProfile& profile) {
    if (!profile.appliedAlso.empty()) {
        json["appliedAlso"] = profile.appliedAlso;
    }
    if (!profile.appliedNot.empty()) {
        json["appliedNot"] = profile.appliedNot;
    }
}

void addShape(Json& json, const TContShape& shape) {
    json["tContId"] = shape.tContId;
    json["tContType"] = shape.tContType;
    json["fixedRate"] = shape.fixedRate;
    json["assuredRate"] = shape.assuredRate;
    json["maximumRate"] = shape.maximumRate;
}

void addTermPoint(Json& json, const TermPoint& point) {
    json["termPointType"] = point.type;
    json["termPointId"] = point.id;
}

template <typename Profile>
void addProfileNow(Json& json, const char* member, const std::string& name, std::size_t place,
                   const std::vector<Profile>& profiles) {
    if (place == kDeleted) {
        json[member] = nullptr;
    } else if (profiles[place].name != name) {
        json[member] = nameToJson(profiles[place].name);
    }
}

Json portJson(const SavedPort& port) {
    return {
        {"interface", port.interface}, {"fixedAlloc", port.fixedAlloc}, {"assuredAlloc", port.assuredAlloc}};
}

template <typename Entries, typename ToJson>
void addEntries(std::string& text, const char* member, const Entries& entries, ToJson toJsonOf) {
    text += ",\n\"" + std::string(member) + "\": [";
    const char* separator = "\n  ";
    for (const auto& entry : entries) {
        text += separator;
        text += jsonLine(toJsonOf(entry));
        separator = ",\n  ";
    }
    text += entries.empty() ? "]" : "\n]";
}

}  // namespace

Json entryJson(const SavedTContProfile& profile) {
    Json json{{"name", nameToJson(profile.name)}};
    addShape(json, profile.shape);
    json["dbaAllocType"] = profile.dbaAllocType;
    json["dbaWeight"] = profile.dbaWeight;
    json["dbaPriority"] = profile.dbaPriority;
    const SavedTContProfile fresh;
    addUnless(json, "allocTypePushed", profile.allocTypePushed, profile.dbaAllocType != fresh.dbaAllocType);
    addUnless(json, "weightPushed", profile.weightPushed, profile.dbaWeight != fresh.dbaWeight);
    addCommon(json, profile);
    return json;
}

Json entryJson(const SavedFlowProfile& profile) {
    Json json{{"name", nameToJson(profile.name)},
              {"cPcp", static_cast<std::int32_t>(profile.cPcp)},
              {"cVlan", profile.cVlan},
              {"guarRateUs", profile.guarRateUs},
              {"peakRateUs", profile.peakRateUs},
              {"flowPriorityUs", profile.flowPriorityUs},
              {"flowPriorityDs", profile.flowPriorityDs}};
    addUnless(json, "cPcpPushed", profile.cPcpPushed, true);
    addUnless(json, "cVlanPushed", profile.cVlanPushed, true);
    addCommon(json, profile);
    return json;
}

Json entryJson(const SavedBinding& binding, const ConfigurationDocument& document) {
    Json json{{"interface", binding.interface},
              {"service", nameToJson(binding.service)},
              {"flowProfile", nameToJson(binding.flowProfile)},
              {"tcontProfile", nameToJson(binding.tcontProfile)},
              {"virtualPort", binding.virtualPort}};
    addTermPoint(json, binding.termPoint);
    addProfileNow(json, "flowProfileNow", binding.flowProfile, binding.flow, document.flowProfiles);
    addProfileNow(json, "tcontProfileNow", binding.tcontProfile, binding.tcont, document.tcontProfiles);
    const TContShape now =
        binding.tcont == kDeleted ? TContShape() : document.tcontProfiles[binding.tcont].shape;
    if (binding.shape != now) {
        addShape(json["tcontAtBinding"], binding.shape);
    }
    if (binding.pushedTermPoint) {
        addTermPoint(json["pushedTermPoint"], *binding.pushedTermPoint);
    }
    if (binding.pushedTContId) {
        json["pushedTContId"] = *binding.pushedTContId;
    }
    return json;
}

std::string configurationText(const ConfigurationDocument& document) {
    const auto plain = [](const auto& entry) { return entryJson(entry); };
    std::string text = "{\"version\": 1";
    addEntries(text, "tcontProfiles", document.tcontProfiles, plain);
    addEntries(text, "flowProfiles", document.flowProfiles, plain);
    addEntries(text, "serviceProfiles", document.serviceProfiles, serviceProfileToJson);
    addEntries(text, "bindings", document.bindings,
               [&](const SavedBinding& binding) { return entryJson(binding, document); });
    addEntries(text, "ports", document.ports, portJson);
    text += "\n}\n";
    return text;
}

}  // namespace oltmgrd
