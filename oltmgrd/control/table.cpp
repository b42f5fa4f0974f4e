#include "oltmgrd/control/handlers.h"

namespace oltmgrd {
namespace {

using Kind = ArgumentKind;

constexpr bool kAtOnce = false;  // for `Command::waits`

const std::vector<Command>& table() {
    static const std::vector<Command> rows{
        {"list-commands", {}, "Lists the commands of the control channel", listCommands, kAtOnce},
        {"status", {}, "Tells how the process and its entities are", status, kAtOnce},
        {"service-apply",
         {{"interface", Kind::number},
          {"service", Kind::name},
          {"flowProfile", Kind::name},
          {"tcontProfile", Kind::name},
          {"virtualPort", Kind::number},
          {"termPointType", Kind::integer},
          {"termPointId", Kind::shortInteger}},
         "Binds a flow profile and a T-CONT profile to a virtual port of an ONU",
         serviceApply},
        {"service-remove",
         {{"interface", Kind::number}, {"service", Kind::name}},
         "Removes a service from an ONU",
         serviceRemove},
        {"service-list", {}, "Lists the applied services in order of application", serviceList},
        {"flow-service-get",
         {{"interface", Kind::number}, {"flowId", Kind::number}},
         "Tells which service a hardware flow of an ONU belongs to",
         flowServiceGet},
        {"message",
         {{"name", Kind::name}, {"argument", Kind::name, "\"\""}},
         "Sends a debug message to all entities and returns what they reply",
         sendMessage},
        {"config-apply-start", {}, "Announces that configuration is applied in bulk", configApplyStart},
        {"config-apply-stop", {}, "Announces the end of a configuration apply", configApplyStop},
        {"default-settings", {}, "Returns all entities to their factory settings", defaultSettings},
        {"interface-event",
         {{"interface", Kind::integer}, {"event", Kind::integer}},
         "Raises an event of an interface: 3 down, 4 up",
         interfaceEvent},
        {"onu-config-event",
         {{"interface", Kind::number}, {"ready", Kind::boolean}, {"other", Kind::boolean, "false"}},
         "Announces that an ONU was configured, or is ready or not",
         onuConfigEvent},
        {"port-distance-set",
         {{"interface", Kind::number}, {"min", Kind::number}, {"max", Kind::number}},
         "Sets the fibre distances of a PON port, kilometres, and tells the module",
         portDistanceSet},
        {"port-available-set",
         {{"interface", Kind::number}, {"fixed", Kind::numberOrNothing}, {"total", Kind::numberOrNothing}},
         "Sets the free bandwidth of a PON port, bytes per second; null has it computed again",
         portAvailableSet},
        {"interface-type-set",
         {{"interface", Kind::number}, {"type", Kind::integerOrNothing}},
         "Sets what type look-ups of an interface answer; null makes them fail",
         interfaceTypeSet},
        {"service-profile-add",
         {{"name", Kind::name}, {"tcontProfile", Kind::name}, {"flowProfile", Kind::name}},
         "Adds a service profile",
         serviceProfileAdd},
        {"service-profile-remove", {{"name", Kind::name}}, "Removes a service profile", serviceProfileRemove},
        {"service-profile-list", {}, "Lists the service profiles in their order", serviceProfileList},
        {"alarms-get", {}, "Returns the active alarms and the history, oldest first", alarmsGet},
        {"hardware-get", {}, "Returns what the hardware layer holds", hardwareGet},
        {"fault-set",
         {{"operation", Kind::operation},
          {"answer", Kind::integer, "1"},
          {"times", Kind::number, "1"},
          {"after", Kind::number, "0"}},
         "Makes the next calls of a platform operation fail, after letting some through",
         faultSet,
         kAtOnce},
        {"fault-clear",
         {{"operation", Kind::operation, "\"\""}},
         "Ends the fault of an operation, or all",
         faultClear,
         kAtOnce},
        {"config-save",
         {{"file", Kind::name, "\"\""}, {"force", Kind::boolean, "false"}},
         "Saves profiles, service profiles and bindings to a file",
         configSave},
        {"log-level",
         {{"level", Kind::number}},
         "Sets how much is logged: 0 nothing, 1 errors, 3 traces too, up to 9",
         logLevel,
         kAtOnce},
        {"shutdown", {}, "Stops the process", shutdownProcess, kAtOnce},
    };
    return rows;
}

}  // namespace

std::span<const Command> commands() {
    return table();
}

}  // namespace oltmgrd
