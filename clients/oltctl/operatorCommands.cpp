#include "clients/oltctl/operatorCommands.h"

namespace oltctl {
namespace {

using Kind = Argument::Kind;
using Print = OperatorCommand::Print;

constexpr Argument kInterface = {"interface", "INTERFACE", Kind::number, true, "Interface index"};
constexpr Argument kPort = {"interface", "INTERFACE", Kind::number, true, "Interface index of a PON port"};
constexpr Argument kOnu = {"interface", "INTERFACE", Kind::number, true, "Interface index of an ONU"};
constexpr Argument kService = {"service", "SERVICE", Kind::text, true, "Name of the service on that ONU"};
constexpr Argument kServiceProfile = {"name", "NAME", Kind::text, true, "Name of the service profile"};

// clang-format off
const OperatorCommand kCommands[] = {
    {"status", "status", "Shows entities, ports and uptime of oltmgrd", {}},
    {"commands", "list-commands", "Lists the commands of the control channel", {}},
    {"message", "message", "Sends a message to the entities and prints the reply as it is",
     {{"name", "NAME", Kind::text, true, "Name of the message: onuQosDump, onuQosOMApiDump, onuQosOMApiDebug"},
      {"argument", "ARGUMENT", Kind::text, false, "What the message takes, for instance an interface index"}},
     Print::reply},
    {"dump", "message", "Prints all tables of the module",
     {{"argument", "INTERFACE", Kind::digits, false, "Lists the service bindings of this ONU only"}},
     Print::reply, "name", "onuQosDump"},
    {"hardware", "hardware-get", "Shows what the hardware layer holds", {}},
    {"alarms", "alarms-get", "Shows the active alarms and the history, oldest first", {}},

    {"service apply", "service-apply", "Applies a service to an ONU",
     {kOnu, kService,
      {"flowProfile", "--flow-profile", Kind::text, true, "ONU flow profile"},
      {"tcontProfile", "--tcont-profile", Kind::text, true, "T-CONT profile"},
      {"virtualPort", "--virtual-port", Kind::number, true, "Virtual port"},
      {"termPointType", "--term-point-type", Kind::number, true, "0, 1 or 2: UNI type 7, 6 or 1 of the hardware layer"},
      {"termPointId", "--term-point-id", Kind::number, true, "Number of the termination point"}}},
    {"service remove", "service-remove", "Removes a service from an ONU", {kOnu, kService}},
    {"service list", "service-list", "Lists the applied services", {}},
    {"service flow", "flow-service-get", "Tells which service a flow of an ONU belongs to",
     {kOnu, {"flowId", "FLOW-ID", Kind::number, true, "Flow id, as in oltctl hardware"}}},

    {"service-profile add", "service-profile-add", "Adds a service profile",
     {kServiceProfile,
      {"tcontProfile", "--tcont-profile", Kind::text, true, "T-CONT profile it names"},
      {"flowProfile", "--flow-profile", Kind::text, true, "ONU flow profile it names"}}},
    {"service-profile remove", "service-profile-remove", "Removes a service profile", {kServiceProfile}},
    {"service-profile list", "service-profile-list", "Lists the service profiles", {}},

    {"config save", "config-save", "Saves profiles, service profiles and bindings",
     {{"file", "--file", Kind::path, false, "Where to; oltmgrd's --config file unless given"},
      {"force", "--force", Kind::flag, false,
       "Also while a configuration apply is in progress, or after a restore that lost entries"}}},
    {"config apply-start", "config-apply-start", "Begins a configuration apply", {}},
    {"config apply-stop", "config-apply-stop", "Ends a configuration apply", {}},
    {"default-settings", "default-settings", "Returns all entities to their defaults: all profiles and services are lost", {}},

    {"interface event", "interface-event", "Raises an interface event",
     {kInterface, {"event", "EVENT", Kind::number, true, "Number of the event: 3 down, 4 up"}}},
    {"interface type", "interface-type-set", "Changes the type that look-ups answer for an interface",
     {kInterface, {"type", "TYPE", Kind::number, true, "3 a PON port, 4 an ONU; none makes look-ups fail", "none"}}},
    {"onu config-event", "onu-config-event", "Raises a configuration event of an ONU",
     {kOnu, {"ready", "READY", Kind::yesNo, true, "yes or no: whether the ONU can be configured"},
      {"other", "--other", Kind::flag, false, "The event's second value"}}},

    {"port distance", "port-distance-set", "Sets the fibre distances of a PON port and tells the module",
     {kPort, {"min", "MIN", Kind::number, true, "Nearest ONU, kilometres"}, {"max", "MAX", Kind::number, true, "Farthest ONU, kilometres"}}},
    {"port available", "port-available-set", "Sets what the platform says is free on a PON port",
     {kPort,
      {"fixed", "FIXED", Kind::number, true, "Free for fixed rates, bytes per second, or computed", "computed"},
      {"total", "TOTAL", Kind::number, true, "Free for fixed and assured rates, bytes per second, or computed",
       "computed"}}},

    {"fault set", "fault-set", "Makes a platform operation fail",
     {{"operation", "OPERATION", Kind::text, true, "For instance onuTContProfileCreate, reportAlarm, exclusiveLock"},
      {"answer", "--answer", Kind::number, false, "What it answers; 1 unless given"},
      {"times", "--times", Kind::number, false, "For so many calls; 1 unless given"},
      {"after", "--after", Kind::number, false, "After so many calls that go well; 0 unless given"}}},
    {"fault clear", "fault-clear", "Lets platform operations work again",
     {{"operation", "OPERATION", Kind::text, false, "Only this one"}}},

    {"log-level", "log-level", "Sets how much oltmgrd logs",
     {{"level", "LEVEL", Kind::number, true, "0 nothing, 1 errors, 3 traces too"}}},
    {"shutdown", "shutdown", "Ends oltmgrd", {}},
};

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

}  // namespace

std::span<const OperatorCommand> operatorCommands() {
    return kCommands;
}

std::span<const Group> groups() {
    return kGroups;
}

}  // namespace oltctl
