#include "oltmgrd/platform/standin/commands.h"

#include <optional>

#include "common/text.h"
#include "oltmgrd/platform/standin/hardware.h"
#include "standin/faults.h"
#include "standin/interfaces.h"
#include "standin/operations.h"

namespace oltmgrd {
namespace {

/// Nothing when the argument is empty. Throws `JsonError` when it names no operation.
std::optional<standin::Operation> operationOf(const Arguments& arguments) {
    const std::string name = arguments.text("operation");
    const auto operation = standin::operationNamed(name);
    if (!operation && !name.empty()) {
        throw JsonError(Arguments::pointer("operation"), "no platform operation has the name '" +
                                                             common::printable(name) +
                                                             "'; \"calls\" of hardware-get lists them");
    }
    return operation;
}

Answer interfaceTypeSet(const Arguments& arguments) {
    standin::interfaces::overrideType(
        arguments.number("interface"),
        arguments.isNothing("type") ? std::nullopt : std::optional(arguments.integer("type")));
    return {};
}

Answer portAvailableSet(const Arguments& arguments) {
    if (arguments.isNothing("fixed") != arguments.isNothing("total")) {
        throw CommandError("\"fixed\" and \"total\" are both numbers or both null");
    }
    std::optional<standin::ports::Available> available;
    if (!arguments.isNothing("fixed")) {
        available = {.fixed = arguments.number("fixed"), .total = arguments.number("total")};
    }
    standin::ports::overrideAvailable(arguments.number("interface"), available);
    return {};
}

Answer faultSet(const Arguments& arguments) {
    const auto operation = operationOf(arguments);
    if (!operation) {
        throw CommandError("\"operation\" is empty");
    }
    standin::faults::set(*operation, {.answer = arguments.integer("answer"),
                                      .times = arguments.number("times"),
                                      .after = arguments.number("after")});
    return {};
}

Answer faultClear(const Arguments& arguments) {
    if (const auto operation = operationOf(arguments)) {
        standin::faults::clear(*operation);
    } else {
        standin::faults::clearAll();
    }
    return {};
}

Answer faultList(const Arguments&) {
    Json faults = Json::array();
    for (const auto& [operation, fault] : standin::faults::list()) {
        faults.push_back({{"operation", name(operation)},
                          {"answer", fault.answer},
                          {"times", fault.times},
                          {"after", fault.after}});
    }
    return {.text = {}, .arguments = {{"faults", std::move(faults)}}};
}

Answer hardwareGet(const Arguments&) {
    return {.text = {}, .arguments = standinHardwareJson()};
}

constexpr bool kAtOnce = false;  // for `HostCommand::waits`

constexpr HostCommand kCommands[] = {{"interface-type-set", interfaceTypeSet},
                                     {"port-available-set", portAvailableSet},
                                     {"hardware-get", hardwareGet},
                                     {"fault-set", faultSet, kAtOnce},
                                     {"fault-clear", faultClear, kAtOnce},
                                     {"fault-list", faultList, kAtOnce}};

}  // namespace

std::span<const HostCommand> standinCommands() {
    return kCommands;
}

}  // namespace oltmgrd
