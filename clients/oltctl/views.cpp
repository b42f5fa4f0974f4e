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
    for (const Json& record : answer.at("arguments").at(list)) {
        records.push_back(view(record));
    }
    return records;
}

/// A member of a member that may be null.
Json inside(const Json& record, const char* member, const char* name) {
    return record.at(member).is_object() ? record.at(member).at(name) : Json();
}

const char* stateOf(const Json& port) {
    if (port.at("overCommitted").is_null()) {
        return "unknown";
    }
    return port.at("overCommitted") == "no" ? "within limits" : "over-committed";
}

std::string distancesOf(const Json& port) {
    return port.at("minDistance").is_null()
               ? "-"
               : port.at("minDistance").dump() + "-" + port.at("maxDistance").dump();
}

Json portRow(const Json& port) {
    const Json& available = port.at("available");
    return {{"port", port.at("interface")},
            {"technology", port.at("technology")},
            {"km", distancesOf(port)},
            {"fixed", port.at("fixed")},
            {"limit", port.at("limitFixed")},
            {"free", inside(available, "estimated", "fixed")},
            {"assured", port.at("assured")},
            {"total limit", port.at("limitTotal")},
            {"total free", inside(available, "estimated", "total")},
            {"platform free", inside(available, "actual", "fixed")},
            {"platform total", inside(available, "actual", "total")},
            {"onus", port.at("onus")},
            {"services", port.at("services")},
            {"state", stateOf(port)}};
}

void printPorts(std::ostream& out, const Json& answer) {
    printRecords(out, "ports", viewed(answer, "ports", portRow));
    out << "kbit/s; free: limit less what is committed, by which the alarm goes; platform: by which services "
           "are "
           "admitted\n";
}

Json onuRow(const Json& onu) {
    Json row{{"onu", onu.at("interface")}, {"port", onu.at("port")}, {"services", onu.at("services")}};
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
    const Json& then = record.at(member);
    const Json& now = record.at(member + "Now");
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
    const bool isKnown = alarm.at("port").is_object();
    const std::uint64_t fixed = isKnown ? alarm.at("port").at("fixed").get<std::uint64_t>() : 0;
    const std::uint64_t assured = isKnown ? alarm.at("port").at("assured").get<std::uint64_t>() : 0;
    return {{"time", alarm.at("time")},
            {"action", alarm.at("action")},
            {"severity", alarm.at("severity")},
            {"name", alarm.at("name")},
            {"interface", alarm.at("interface")},
            {"fixed", isKnown ? Json(used(fixed, "limitFixed")) : Json()},
            {"fixed and assured", isKnown ? Json(used(fixed + assured, "limitTotal")) : Json()},
            {"code", alarm.at("code")},
            {"board", alarm.at("board")},
            {"text", alarm.at("text")},
            {"numbers", alarm.at("numbers")}};
}

void printAlarms(std::ostream& out, const Json& answer) {
    printAnswer(out, {{"arguments",
                       {{"active", viewed(answer, "active", alarmRow)},
                        {"history", viewed(answer, "history", alarmRow)}}}});
    const Json& active = answer.at("arguments").at("active");
    for (auto alarm = active.begin(); alarm != active.end(); ++alarm) {
        const auto names = [&](const Json& other) { return other.at("name") == alarm->at("name"); };
        if (!alarm->at("description").is_null() && std::none_of(active.begin(), alarm, names)) {
            out << '\n'
                << alarm->at("name").get<std::string>() << ": " << alarm->at("description").get<std::string>()
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
    const Json& port = answer.at("arguments").at("ports").at(0);
    const Json& available = port.at("available");
    printAnswer(out, {{"arguments",
                       {{"port", port.at("interface")},
                        {"state", stateOf(port)},
                        {"technology", port.at("technology")},
                        {"class of the OLT", port.at("class")},
                        {"distance, km", distancesOf(port)},
                        {"fixed committed", port.at("fixed")},
                        {"fixed limit", port.at("limitFixed")},
                        {"fixed free", inside(available, "estimated", "fixed")},
                        {"fixed free on the platform", inside(available, "actual", "fixed")},
                        {"assured committed", port.at("assured")},
                        {"total limit", port.at("limitTotal")},
                        {"total free", inside(available, "estimated", "total")},
                        {"total free on the platform", inside(available, "actual", "total")},
                        {"alarm condition", port.at("violation")},
                        {"ONUs", port.at("onus")},
                        {"ONUs accounted", port.at("configuredOnus")},
                        {"ONUs without service", port.at("onusWithoutService")},
                        {"services", port.at("services")}}}});
    out << "Rates in kbit/s, overheads included.\n";
}

void printOnu(std::ostream& out, const Json& answer) {
    Json arguments = onuRow(answer.at("arguments").at("onus").at(0));
    arguments["services"] = viewed(answer, "services", serviceRow);
    printAnswer(out, {{"arguments", std::move(arguments)}});
}

}  // namespace oltctl
