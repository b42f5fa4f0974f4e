#include "common/commands/rows.h"

#include <algorithm>
#include <array>

namespace common::commands {
namespace {

constexpr Argument kInterface{"interface", Kind::number, "INTERFACE", "Interface index"};
constexpr Argument kPort{"interface", Kind::number, "INTERFACE", "Interface index of a PON port"};
constexpr Argument kOnu{"interface", Kind::number, "INTERFACE", "Interface index of an ONU"};
constexpr Argument kService{"service", Kind::name, "SERVICE", "Name of the service on that ONU"};
constexpr Argument kServiceProfile{"name", Kind::name, "NAME", "Name of the service profile"};

// clang-format off
const std::vector<Row>& table() {
    static const std::vector<Argument> kBinding{
        kOnu, kService,
        {"flowProfile", Kind::name, "--flow-profile", "ONU flow profile"},
        {"tcontProfile", Kind::name, "--tcont-profile", "T-CONT profile"},
        {"virtualPort", Kind::number, "--virtual-port", "Virtual port"},
        {"termPointType", Kind::integer, "--term-point-type", "0, 1 or 2: UNI type 7, 6 or 1 of the hardware layer"},
        {"termPointId", Kind::shortInteger, "--term-point-id", "Number of the termination point"}};
    static const std::vector<Row> rows{
        {"list-commands", "commands", "Lists the commands of the control channel", {}},
        {"status", "status", "Tells how the process and its entities are", {}},

        {"service-apply", "service apply", "Binds a flow profile and a T-CONT profile to a virtual port of an ONU",
         kBinding},
        {"service-check", "service check", "Tells whether service apply would be accepted at this moment, and changes nothing",
         kBinding},
        {"service-remove", "service remove", "Removes a service from an ONU", {kOnu, kService}},
        {"service-list", "service list", "Lists the applied services in order of application",
         {{"interface", Kind::numberOrNothing, "--onu", "Only those of this ONU", "null"},
          {"port", Kind::numberOrNothing, "--port", "Only those on this PON port", "null"},
          {"tcontProfile", Kind::nameOrNothing, "--tcont", "Only those of this T-CONT profile, by its name then or now", "null"},
          {"flowProfile", Kind::nameOrNothing, "--flow", "Only those of this ONU flow profile, by its name then or now", "null"},
          {"now", Kind::boolean, nullptr, "Tells also what the profiles are called now, null where one was deleted", "false"}}},
        {"flow-service-get", "service flow", "Tells which service a hardware flow of an ONU belongs to",
         {kOnu, {"flowId", Kind::number, "FLOW-ID", "Flow id, as in oltctl hardware"}}},

        {"message", "message", "Sends a debug message to all entities and returns what they reply",
         {{"name", Kind::name, "NAME", "Name of the message: onuQosDump, onuQosOMApiDump, onuQosOMApiDebug"},
          {"argument", Kind::name, "ARGUMENT", "What the message takes, for instance an interface index", "\"\""}}},

        {"config-apply-start", "config apply-start", "Announces that configuration is applied in bulk", {}},
        {"config-apply-stop", "config apply-stop", "Announces the end of a configuration apply", {}},
        {"default-settings", "default-settings",
         "Returns all entities to their factory settings: all profiles and services are lost", {}},

        {"interface-event", "interface event", "Raises an event of an interface",
         {{"interface", Kind::integer, "INTERFACE", "Interface index"},
          {"event", Kind::integer, "EVENT", "Number of the event: 3 down, 4 up"}}},
        {"onu-list", "onu list", "Lists the ONUs: services, and what is accounted of them, kbit/s",
         {{"interface", Kind::numberOrNothing, "--onu", "Only this one", "null"},
          {"port", Kind::numberOrNothing, "--port", "Only those of this PON port", "null"}}},
        {"onu-config-event", "onu config-event", "Announces that an ONU was configured, or is ready or not",
         {kOnu, {"ready", Kind::boolean, "READY", "yes or no: whether the ONU is ready"},
          {"other", Kind::boolean, "--other", "The event's second value", "false"}}},
        {"port-distance-set", "port distance", "Sets the fibre distances of a PON port and tells the module",
         {kPort, {"min", Kind::number, "MIN", "Nearest ONU, kilometres"},
          {"max", Kind::number, "MAX", "Farthest ONU, kilometres"}}},
        {"ledger-get", "port list", "Lists the PON ports: what they hold, their limits and what is free, kbit/s",
         {{"interface", Kind::numberOrNothing, "--port", "Only this one", "null"}}},
        {"port-available-set", "port available", "Sets what the platform says is free on a PON port",
         {kPort,
          {"fixed", Kind::numberOrNothing, "FIXED", "Free for fixed rates, bytes per second, or computed", nullptr,
           "computed"},
          {"total", Kind::numberOrNothing, "TOTAL", "Free for fixed and assured rates, bytes per second, or computed",
           nullptr, "computed"}}},
        {"interface-type-set", "interface type", "Sets what type look-ups of an interface answer",
         {kInterface, {"type", Kind::integerOrNothing, "TYPE", "3 a PON port, 4 an ONU; none makes look-ups fail",
                       nullptr, "none"}}},

        {"service-profile-add", "service-profile add", "Adds a service profile",
         {kServiceProfile,
          {"tcontProfile", Kind::name, "--tcont-profile", "T-CONT profile it names"},
          {"flowProfile", Kind::name, "--flow-profile", "ONU flow profile it names"}}},
        {"service-profile-remove", "service-profile remove", "Removes a service profile", {kServiceProfile}},
        {"service-profile-list", "service-profile list", "Lists the service profiles in their order", {}},

        {"tables-get", "dump", "Shows the tables of the module",
         {{"interface", Kind::numberOrNothing, "--onu", "Bindings and accounting of this ONU only", "null"},
          {"busy", Kind::boolean, "--busy", "Only what services use", "false"}}},
        {"alarms-get", "alarms", "Shows the active alarms and the history, oldest first", {}},
        {"hardware-get", "hardware", "Shows what the hardware layer holds", {}},

        {"fault-set", "fault set",
         "Makes the next calls of a platform operation fail, after letting some through",
         {{"operation", Kind::operation, "OPERATION", "For instance onuTContProfileCreate, reportAlarm, exclusiveLock"},
          {"answer", Kind::integer, "--answer", "What it answers; 1 unless given", "1"},
          {"times", Kind::number, "--times", "For so many calls; 1 unless given", "1"},
          {"after", Kind::number, "--after", "After so many calls that go well; 0 unless given", "0"}}},
        {"fault-list", "fault list", "Lists the faults that are armed, with what is left of them", {}},
        {"fault-clear", "fault clear", "Ends the fault of an operation, or all",
         {{"operation", Kind::operation, "OPERATION", "Only this one", "\"\""}}},

        {"config-get", "config get", "Shows what config save would write now", {}},
        {"config-save", "config save", "Saves profiles, service profiles and bindings to a file",
         {{"file", Kind::path, "--file", "Where to; the process's --config file unless given", "\"\""},
          {"force", Kind::boolean, "--force",
           "Also while a configuration apply is in progress, or after a restore that lost entries", "false"}}},
        {"log-level", "log-level", "Sets how much is logged",
         {{"level", Kind::number, "LEVEL", "0 nothing, 1 errors, 2 notices too, 3 traces too, up to 9"}}},
        {"shutdown", "shutdown", "Stops the process", {}},
    };
    return rows;
}

constexpr Group kGroups[] = {
    {"service", "Services on ONUs"},
    {"service-profile", "Service profiles"},
    {"config", "The configuration"},
    {"interface", "Interfaces"},
    {"onu", "ONUs"},
    {"port", "PON ports"},
    {"fault", "Failing platform operations"},
};
// clang-format on

/// In the order of `Kind`.
constexpr std::array<std::string_view, 10> kKindNames{
    "number", "integer",        "integer",         "boolean",      "name",
    "name",   "number or null", "integer or null", "name or null", "operation"};

}  // namespace

std::string_view kindName(Kind kind) {
    return kKindNames.at(static_cast<std::size_t>(kind));
}

std::span<const Row> rows() {
    return table();
}

const Row* rowNamed(std::string_view name) {
    const auto found = std::ranges::find(table(), name, &Row::name);
    return found == table().end() ? nullptr : &*found;
}

std::span<const Group> groups() {
    return kGroups;
}

}  // namespace common::commands
