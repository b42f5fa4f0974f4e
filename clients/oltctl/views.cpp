#include "clients/oltctl/views.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>

#include "common/name.h"
#include "common/text.h"

namespace oltctl {
namespace {

// Each view makes records of the columns that people read and has them printed as any answer is.

void printRecords(std::ostream& out, const std::string& name, Json records) {
    printAnswer(out, {{"arguments", {{name, std::move(records)}}}});
}

template <typename View>
Json viewed(const Json& answer, const char* list, View view) {
    Json records = Json::array();
    for (const Json& record : answer["arguments"][list]) {
        records.push_back(view(record));
    }
    return records;
}

/// A member of a member that may be null.
Json inside(const Json& record, const char* member, const char* name) {
    return record[member].is_object() ? record[member][name] : Json();
}

const char* stateOf(const Json& port) {
    if (port["overCommitted"].is_null()) {
        return "unknown";
    }
    return port["overCommitted"] == "no" ? "within limits" : "over-committed";
}

std::string distancesOf(const Json& port) {
    return port["minDistance"].is_null() ? "-"
                                         : port["minDistance"].dump() + "-" + port["maxDistance"].dump();
}

Json portRow(const Json& port) {
    const Json& available = port["available"];
    return {{"port", port["interface"]},
            {"technology", port["technology"]},
            {"km", distancesOf(port)},
            {"fixed", port["fixed"]},
            {"limit", port["limitFixed"]},
            {"free", inside(available, "estimated", "fixed")},
            {"assured", port["assured"]},
            {"total limit", port["limitTotal"]},
            {"total free", inside(available, "estimated", "total")},
            {"platform free", inside(available, "actual", "fixed")},
            {"platform total", inside(available, "actual", "total")},
            {"onus", port["onus"]},
            {"services", port["services"]},
            {"state", stateOf(port)}};
}

void printPorts(std::ostream& out, const Json& answer) {
    printRecords(out, "ports", viewed(answer, "ports", portRow));
    out << "kbit/s; free: limit less what is committed, by which the alarm goes; platform: by which services "
           "are "
           "admitted\n";
}

Json onuRow(const Json& onu) {
    Json row{{"onu", onu["interface"]}, {"port", onu["port"]}, {"services", onu["services"]}};
    for (const char* member : {"configured", "fixedOverhead", "assuredOverhead", "tconts"}) {
        row[member] = onu.value(member, Json());
    }
    return row;
}

void printOnus(std::ostream& out, const Json& answer) {
    printRecords(out, "onus", viewed(answer, "onus", onuRow));
}

/// The name when it was bound, and what became of it.
Json nameThenAndNow(const Json& record, const std::string& member) {
    const Json& then = record[member];
    const Json& now = record[member + "Now"];
    if (now == then) {
        return then;
    }
    const auto name = [](const Json& json) { return common::nameFromJson(json).value_or(json.dump()); };
    return common::nameToJson(name(then) +
                              (now.is_null() ? " (deleted)" : " (now " + common::inQuotes(name(now)) + ")"));
}

Json serviceRow(const Json& service) {
    Json row = service;
    for (const char* member : {"flowProfile", "tcontProfile"}) {
        row[member] = nameThenAndNow(service, member);
        row.erase(std::string(member) + "Now");
    }
    return row;
}

void printServices(std::ostream& out, const Json& answer) {
    printRecords(out, "services", viewed(answer, "services", serviceRow));
}

Json alarmRow(const Json& alarm) {
    const auto used = [&alarm](std::uint64_t sum, const char* limit) {
        return std::to_string(sum) + " of " + inside(alarm, "port", limit).dump();
    };
    const bool isKnown = alarm["port"].is_object();
    const std::uint64_t fixed = isKnown ? alarm["port"]["fixed"].get<std::uint64_t>() : 0;
    const std::uint64_t assured = isKnown ? alarm["port"]["assured"].get<std::uint64_t>() : 0;
    return {{"time", alarm["time"]},
            {"action", alarm["action"]},
            {"severity", alarm["severity"]},
            {"name", alarm["name"]},
            {"interface", alarm["interface"]},
            {"fixed", isKnown ? Json(used(fixed, "limitFixed")) : Json()},
            {"fixed and assured", isKnown ? Json(used(fixed + assured, "limitTotal")) : Json()},
            {"code", alarm["code"]},
            {"board", alarm["board"]},
            {"text", alarm["text"]},
            {"numbers", alarm["numbers"]}};
}

void printAlarms(std::ostream& out, const Json& answer) {
    printAnswer(out, {{"arguments",
                       {{"active", viewed(answer, "active", alarmRow)},
                        {"history", viewed(answer, "history", alarmRow)}}}});
    const Json& active = answer["arguments"]["active"];
    for (auto alarm = active.begin(); alarm != active.end(); ++alarm) {
        const auto names = [&](const Json& other) { return other["name"] == (*alarm)["name"]; };
        if (!(*alarm)["description"].is_null() && std::none_of(active.begin(), alarm, names)) {
            out << '\n'
                << (*alarm)["name"].get<std::string>() << ": " << (*alarm)["description"].get<std::string>()
                << '\n';
        }
    }
}

struct View {
    std::string_view command;
    Print print;
};

constexpr View kViews[] = {{"message", printReply},
                           {"ledger-get", printPorts},
                           {"onu-list", printOnus},
                           {"service-list", printServices},
                           {"alarms-get", printAlarms}};

}  // namespace

Print printOf(std::string_view command) {
    const auto* found = std::ranges::find(kViews, command, &View::command);
    return found == std::end(kViews) ? printAnswer : found->print;
}

void printPort(std::ostream& out, const Json& answer) {
    const Json& port = answer["arguments"]["ports"][0];
    const Json& available = port["available"];
    printAnswer(out, {{"arguments",
                       {{"port", port["interface"]},
                        {"state", stateOf(port)},
                        {"technology", port["technology"]},
                        {"class of the OLT", port["class"]},
                        {"distance, km", distancesOf(port)},
                        {"fixed committed", port["fixed"]},
                        {"fixed limit", port["limitFixed"]},
                        {"fixed free", inside(available, "estimated", "fixed")},
                        {"fixed free on the platform", inside(available, "actual", "fixed")},
                        {"assured committed", port["assured"]},
                        {"total limit", port["limitTotal"]},
                        {"total free", inside(available, "estimated", "total")},
                        {"total free on the platform", inside(available, "actual", "total")},
                        {"alarm condition", port["violation"]},
                        {"ONUs", port["onus"]},
                        {"ONUs accounted", port["configuredOnus"]},
                        {"ONUs without service", port["onusWithoutService"]},
                        {"services", port["services"]}}}});
    out << "Rates in kbit/s, overheads included.\n";
}

void printOnu(std::ostream& out, const Json& answer) {
    Json arguments = onuRow(answer["arguments"]["onus"][0]);
    arguments["services"] = viewed(answer, "services", serviceRow);
    printAnswer(out, {{"arguments", std::move(arguments)}});
}

}  // namespace oltctl
