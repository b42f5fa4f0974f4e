#include "oltmgrd/observe/tables.h"

#include "common/name.h"

namespace oltmgrd {
namespace {

using common::nameToJson;

Json toJson(const onuQos::onuFlowProfileInfo& profile) {
    return {{"name", nameToJson(profile.name)},
            {"cPcp", static_cast<std::int32_t>(profile.rule.cPcp)},
            {"cVlan", profile.rule.cVlan},
            {"guarRateUs", profile.action.guarRateUs},
            {"peakRateUs", profile.action.peakRateUs},
            {"flowPriorityUs", profile.action.flowPriorityUs},
            {"flowPriorityDs", profile.action.flowPriorityDs},
            {"appliedOnus", profile.appliedIntfSet.size()}};
}

Json toJson(const tContProfileInfo& profile) {
    return {{"name", nameToJson(profile.name)},
            {"tContId", profile.tContId},
            {"tContType", static_cast<int>(profile.tContType)},
            {"fixedRate", profile.fixedRate},
            {"assuredRate", profile.assuredRate},
            {"maximumRate", profile.maximumRate},
            {"dbaAllocType", static_cast<int>(profile.dbaAllocType)},
            {"dbaWeight", profile.dbaWeight},
            {"dbaPriority", profile.dbaPriority},
            {"appliedOnus", profile.appliedIntfs.size()}};
}

template <typename Profiles, typename Applied>
Json profilesJson(const Profiles& profiles, Applied applied, bool busy) {
    Json array = Json::array();
    for (const auto& [name, profile] : profiles) {
        if (!busy || !(profile.*applied).empty()) {
            array.push_back(toJson(profile));
        }
    }
    return array;
}

bool isWanted(const TableFilter& filter, std::uint32_t onu) {
    return !filter.onu || *filter.onu == onu;
}

}  // namespace

Json accountJson(const onuQosTables& tables, const onuQosOnuCacInfo& onu) {
    Json tconts = Json::array();
    for (const auto& [name, overhead] : onu.onuQosTContIntfCacInfoMap) {
        const auto profile = tables.tContProfileMap.find(name);
        tconts.push_back(
            {{"name", nameToJson(name)},
             {"tContId", profile == tables.tContProfileMap.end() ? Json() : Json(profile->second.tContId)},
             {"fixedOverhead", overhead.fixedOverhead},
             {"assuredOverhead", overhead.assuredOverhead}});
    }
    return {{"configured", onu.configured},
            {"fixedOverhead", onu.fixedOverhead},
            {"assuredOverhead", onu.assuredOverhead},
            {"tconts", std::move(tconts)}};
}

Json tablesJson(const onuQosTables& tables, const TableFilter& filter) {
    Json bindings = Json::array();
    for (const auto& [onu, services] : tables.onuQosServiceIntfMap) {
        for (const auto& [service, binding] : services) {
            if (isWanted(filter, onu)) {
                bindings.push_back({{"interface", onu},
                                    {"service", nameToJson(service)},
                                    {"flowProfile", nameToJson(binding.onuFlowProfileName)},
                                    {"tcontProfile", nameToJson(binding.tContProfileName)},
                                    {"virtualPort", binding.virtualPortId}});
            }
        }
    }
    Json ports = Json::array();
    for (const auto& [port, sums] : tables.onuQosOltCacMap) {
        if (!filter.busy || sums != onuQosOltCacInfo{}) {
            ports.push_back({{"interface", port},
                             {"fixedAlloc", sums.fixedAlloc},
                             {"assuredAlloc", sums.assuredAlloc},
                             {"cacViolation", sums.cacViolation}});
        }
    }
    Json onus = Json::array();
    for (const auto& [onu, account] : tables.onuQosOnuCacMap) {
        if (isWanted(filter, onu) && (!filter.busy || account != onuQosOnuCacInfo{})) {
            Json json{{"interface", onu}};
            json.update(accountJson(tables, account));
            onus.push_back(std::move(json));
        }
    }
    Json alarms = Json::array();
    for (const auto& [port, raised] : tables.onuQosOltCacAlarmMap) {
        if (!filter.busy || raised) {
            alarms.push_back({{"interface", port}, {"alarm", raised}});
        }
    }
    return {
        {"flowProfiles",
         profilesJson(tables.onuFlowProfileMap, &onuQos::onuFlowProfileInfo::appliedIntfSet, filter.busy)},
        {"tcontProfiles", profilesJson(tables.tContProfileMap, &tContProfileInfo::appliedIntfs, filter.busy)},
        {"bindings", std::move(bindings)},
        {"ports", std::move(ports)},
        {"onus", std::move(onus)},
        {"alarms", std::move(alarms)}};
}

}  // namespace oltmgrd
