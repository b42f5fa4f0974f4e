#include "flowProfile.h"

#include <ostream>
#include <utility>

#include "name.h"
#include "table.h"
#include "text.h"
#include "wireName.h"

namespace onuqosctl {
namespace {

using clients::printable;
using clients::Table;

constexpr std::size_t kListedVlanChars = 40;

struct ActionField {
    const char* key;
    const char* label;
    u_int rpcOnuFlowProfileAction::*field;
};

constexpr ActionField kActionFields[] = {
    {"guarRateUs", "guaranteed rate (kbit/s)", &rpcOnuFlowProfileAction::guarRateUs},
    {"peakRateUs", "peak rate (kbit/s)", &rpcOnuFlowProfileAction::peakRateUs},
    {"flowPriorityUs", "upstream priority", &rpcOnuFlowProfileAction::flowPriorityUs},
    {"flowPriorityDs", "downstream priority", &rpcOnuFlowProfileAction::flowPriorityDs},
};

std::string shownName(const FlowProfile& profile) {
    return printable(profile.name) + (profile.nameCut ? "..." : "");
}

std::string shownPcp(const FlowProfile& profile) {
    return profile.pcp == -1 ? "-" : std::to_string(profile.pcp);
}

std::string shownVlans(const FlowProfile& profile) {
    return profile.vlans.empty() ? "-" : clients::formatVlans(profile.vlans);
}

rpcOnuFlowProfileAction actionOf(const FlowProfile& profile) {
    rpcOnuFlowProfileAction action{};
    action.guarRateUs = profile.guaranteed;
    action.peakRateUs = profile.peak;
    action.flowPriorityUs = profile.priorityUp;
    action.flowPriorityDs = profile.priorityDown;
    return action;
}

std::vector<std::pair<std::string, std::string>> actionLines(const rpcOnuFlowProfileAction& action) {
    std::vector<std::pair<std::string, std::string>> lines;
    for (const ActionField& field : kActionFields) {
        lines.emplace_back(field.label, std::to_string(action.*field.field));
    }
    return lines;
}

}  // namespace

FlowProfile flowFromWire(const rpcOnuFlowProfileInfo& record) {
    FlowProfile profile;
    profile.name = nameFromWire(record.name);
    profile.pcp = record.rule.cPcp;
    profile.vlans = clients::vlansFromBitmap(record.rule.cVlan);
    profile.guaranteed = record.action.guarRateUs;
    profile.peak = record.action.peakRateUs;
    profile.priorityUp = record.action.flowPriorityUs;
    profile.priorityDown = record.action.flowPriorityDs;
    return profile;
}

nlohmann::ordered_json actionToJson(const rpcOnuFlowProfileAction& action) {
    nlohmann::ordered_json json = nlohmann::ordered_json::object();
    for (const ActionField& field : kActionFields) {
        json[field.key] = action.*field.field;
    }
    return json;
}

void printAction(std::ostream& out, const rpcOnuFlowProfileAction& action) {
    clients::printFields(out, actionLines(action));
}

nlohmann::ordered_json flowToJson(const FlowProfile& profile) {
    nlohmann::ordered_json json = {{"name", clients::nameToJson(profile.name)}};
    if (profile.nameCut) {
        json["nameCut"] = true;
    }
    json["cPcp"] = profile.pcp;
    json["cVlan"] = profile.vlans;
    json.update(actionToJson(actionOf(profile)));
    return json;
}

void printFlow(std::ostream& out, const FlowProfile& profile) {
    std::vector<std::pair<std::string, std::string>> lines = {{"name", shownName(profile)},
                                                              {"customer PCP", shownPcp(profile)},
                                                              {"customer VLANs", shownVlans(profile)}};
    for (auto& line : actionLines(actionOf(profile))) {
        lines.push_back(std::move(line));
    }
    clients::printFields(out, lines);
}

void printFlows(std::ostream& out, const std::vector<FlowProfile>& profiles) {
    constexpr auto kRight = Table::Align::right;
    Table table({{"name"},
                 {"PCP", kRight},
                 {"guaranteed (kbit/s)", kRight},
                 {"peak (kbit/s)", kRight},
                 {"priority up", kRight},
                 {"priority down", kRight},
                 {"VLANs"}});
    for (const FlowProfile& profile : profiles) {
        std::string vlans = shownVlans(profile);
        if (vlans.size() > kListedVlanChars) {
            vlans = vlans.substr(0, vlans.rfind(',', kListedVlanChars)) + ",...";
        }
        table.add({shownName(profile), shownPcp(profile), std::to_string(profile.guaranteed),
                   std::to_string(profile.peak), std::to_string(profile.priorityUp),
                   std::to_string(profile.priorityDown), vlans});
    }
    table.print(out);
}

}  // namespace onuqosctl
