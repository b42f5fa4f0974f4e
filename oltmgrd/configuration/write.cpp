#include "common/name.h"
#include "oltmgrd/configuration/document.h"
#include "oltmgrd/platform/serviceProfile.h"

namespace oltmgrd {
namespace {

using common::nameToJson;

void addValues(Json& json, const TContValues& values) {
    json["tContId"] = values.tContId;
    json["tContType"] = values.tContType;
    json["fixedRate"] = values.fixedRate;
    json["assuredRate"] = values.assuredRate;
    json["maximumRate"] = values.maximumRate;
    json["dbaAllocType"] = values.dbaAllocType;
    json["dbaWeight"] = values.dbaWeight;
    json["dbaPriority"] = values.dbaPriority;
}

void addValues(Json& json, const FlowValues& values) {
    json["cPcp"] = static_cast<std::int32_t>(values.cPcp);
    json["cVlan"] = values.cVlan;
    json["guarRateUs"] = values.guarRateUs;
    json["peakRateUs"] = values.peakRateUs;
    json["flowPriorityUs"] = values.flowPriorityUs;
    json["flowPriorityDs"] = values.flowPriorityDs;
}

template <typename Values>
Json profileJson(const SavedProfile<Values>& profile) {
    Json json{{"name", nameToJson(profile.name)}};
    addValues(json, profile.values);
    if (!profile.appliedOtherwise.empty()) {
        json["appliedOtherwise"] = profile.appliedOtherwise;
    }
    return json;
}

void addTermPoint(Json& json, const TermPoint& point) {
    json["termPointType"] = point.type;
    json["termPointId"] = point.id;
}

/// `family` begins the names of the members.
template <typename Values>
void addBound(Json& json, const std::string& family, const SavedBound<Values>& bound,
              const std::vector<SavedProfile<Values>>& profiles) {
    json[family + "Profile"] = nameToJson(bound.name);
    if (bound.place == kDeleted) {
        json[family + "ProfileNow"] = nullptr;
    } else if (profiles[bound.place].name != bound.name) {
        json[family + "ProfileNow"] = nameToJson(profiles[bound.place].name);
    }
    if (bound.atBinding) {
        addValues(json[family + "AtBinding"], *bound.atBinding);
    }
}

Json bindingJson(const SavedBinding& binding, const ConfigurationDocument& document) {
    Json json{{"interface", binding.interface}, {"service", nameToJson(binding.service)}};
    addBound(json, "flow", binding.flow, document.flowProfiles);
    addBound(json, "tcont", binding.tcont, document.tcontProfiles);
    json["virtualPort"] = binding.virtualPort;
    addTermPoint(json, binding.termPoint);
    if (binding.pushedTermPoint) {
        addTermPoint(json["pushedTermPoint"], *binding.pushedTermPoint);
    }
    return json;
}

Json portJson(const SavedPort& port) {
    Json json{
        {"interface", port.interface}, {"fixedAlloc", port.fixedAlloc}, {"assuredAlloc", port.assuredAlloc}};
    if (port.alarm) {
        json["alarm"] = *port.alarm;
    }
    return json;
}

/// Calls `take(member, entries, toJson)` for each member of a configuration, in order.
template <typename Take>
void forEachMember(const ConfigurationDocument& document, Take take) {
    take("tcontProfiles", document.tcontProfiles, profileJson<TContValues>);
    take("flowProfiles", document.flowProfiles, profileJson<FlowValues>);
    take("serviceProfiles", document.serviceProfiles, serviceProfileToJson);
    take("bindings", document.bindings,
         [&](const SavedBinding& binding) { return bindingJson(binding, document); });
    take("ports", document.ports, portJson);
}

}  // namespace

Json configurationJson(const ConfigurationDocument& document) {
    Json json{{"version", kConfigurationVersion}};
    forEachMember(document, [&](const char* member, const auto& entries, auto toJsonOf) {
        Json& array = json[member] = Json::array();
        for (const auto& entry : entries) {
            array.push_back(toJsonOf(entry));
        }
    });
    return json;
}

std::string configurationText(const ConfigurationDocument& document) {
    std::string text = "{\"version\": " + std::to_string(kConfigurationVersion);
    forEachMember(document, [&](const char* member, const auto& entries, auto toJsonOf) {
        text += ",\n\"" + std::string(member) + "\": [";
        const char* separator = "\n  ";
        for (const auto& entry : entries) {
            text += separator;
            text += jsonLine(toJsonOf(entry));
            separator = ",\n  ";
        }
        text += entries.empty() ? "]" : "\n]";
    });
    text += "\n}\n";
    return text;
}

}  // namespace oltmgrd
