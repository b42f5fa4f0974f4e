#include "clients/onuqosctl/flowProfile.h"

#include <ostream>
#include <utility>

#include "clients/onuqosctl/wireName.h"
#include "common/table.h"
#include "onuqos/rules/vlanBitmap.h"

namespace onuqosctl {
namespace {

using common::Table;

constexpr std::size_t kListedVlanChars = 40;

constexpr ActionField kActionFields[] = {
    {"guarRateUs", "guaranteed rate (kbit/s)", &rpcOnuFlowProfileAction::guarRateUs},
    {"peakRateUs", "peak rate (kbit/s)", &rpcOnuFlowProfileAction::peakRateUs},
    {"flowPriorityUs", "upstream priority", &rpcOnuFlowProfileAction::flowPriorityUs},
    {"flowPriorityDs", "downstream priority", &rpcOnuFlowProfileAction::flowPriorityDs},
};

std::string shownPcp(const FlowProfile& profile) {
    return profile.pcp == -1 ? "-" : std::to_string(profile.pcp);
}

std::string shownVlans(const FlowProfile& profile) {
    return profile.vlans.empty() ? "-" : common::formatVlans(profile.vlans);
}

std::vector<std::pair<std::string, std::string>> actionLines(const rpcOnuFlowProfileAction& action) {
    std::vector<std::pair<std::string, std::string>> lines;
    for (const ActionField& field : kActionFields) {
        lines.emplace_back(field.label, std::to_string(action.*field.value));
    }
    return lines;
}

}  // namespace

FlowProfile flowFromWire(const rpcOnuFlowProfileInfo& record) {
    FlowProfile profile;
    profile.name = nameFromWire(record.name);
    profile.pcp = record.rule.cPcp;
    profile.vlans = rules::vlansFromBitmap(record.rule.cVlan);
    profile.action = record.action;
    return profile;
}

std::span<const ActionField> actionFields() {
    return kActionFields;
}

void printTable(std::ostream& out, const rpcOnuFlowProfileAction& action) {
    common::printFields(out, actionLines(action));
}

void printTable(std::ostream& out, const FlowProfile& profile) {
    std::vector<std::pair<std::string, std::string>> lines = {{"name", shownName(profile)},
                                                              {"customer PCP", shownPcp(profile)},
                                                              {"customer VLANs", shownVlans(profile)}};
    for (auto& line : actionLines(profile.action)) {
        lines.push_back(std::move(line));
    }
    common::printFields(out, lines);
}

void printTable(std::ostream& out, const std::vector<FlowProfile>& profiles) {
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
        std::vector<std::string> cells = {shownName(profile), shownPcp(profile)};
        for (const ActionField& field : kActionFields) {
            cells.push_back(std::to_string(profile.action.*field.value));
        }
        cells.push_back(vlans);
        table.add(cells);
    }
    table.print(out);
}

}  // namespace onuqosctl
