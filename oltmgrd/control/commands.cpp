#include "oltmgrd/control/commands.h"

#include <algorithm>

#include "common/text.h"
#include "oltmgrd/control/handlers.h"
#include "oltmgrd/files/jsonFields.h"

namespace oltmgrd {
namespace {

using common::commands::Row;

enum ResultCode : int { kCarriedOut = 0, kRefused = 1, kUnknownCommand = 2 };

constexpr std::string_view kListCommands = "list-commands";

// Requests are small and flat; these bounds only stop what is meant to harm.
constexpr JsonLimits kRequestLimits{.comments = false, .depth = 8, .members = 64};

std::string line(int result, const std::string& text, const Json& arguments) {
    return jsonLine({{"result", result}, {"text", text}, {"arguments", arguments}});
}

/// The handler of a row; one without a handler when there is none.
Command bound(const Row& row, const Host& host) {
    for (const auto& handlers : {processHandlers(), serviceHandlers(), configurationHandlers(),
                                 platformHandlers(), portHandlers(), serviceListHandlers()}) {
        const auto found = std::ranges::find(handlers, row.name, &Handler::name);
        if (found != handlers.end()) {
            return {.row = &row, .handle = found->handle, .waits = found->waits};
        }
    }
    const auto own = host.commands();
    const auto found = std::ranges::find(own, row.name, &HostCommand::name);
    return found == own.end() ? Command{}
                              : Command{.row = &row, .ofHost = found->handle, .waits = found->waits};
}

Json argumentJson(const common::commands::Argument& argument) {
    Json json{{"name", argument.name},
              {"kind", common::commands::kindName(argument.kind)},
              {"required", argument.required()}};
    if (!argument.required()) {
        json["default"] = Json::parse(argument.fallback);
    }
    return json;
}

}  // namespace

CommandTable::CommandTable(CommandContext& context) : context_(context) {
    for (const Row& row : common::commands::rows()) {
        if (row.name == kListCommands) {
            commands_.push_back({.row = &row, .waits = kAtOnce});
        } else if (const Command command = bound(row, *context.host); command.row != nullptr) {
            commands_.push_back(command);
        }
    }
}

Request CommandTable::understand(const Json& json) const {
    JsonFields fields(json, "");
    const Json& name = fields.required("command");
    if (!name.is_string()) {
        throw JsonError("/command", "must be a string");
    }
    static const Json kNone = Json::object();
    const Json* arguments = fields.find("arguments");
    fields.finish();
    const auto found = std::ranges::find(commands_, name.get<std::string>(),
                                         [](const Command& command) { return command.row->name; });
    if (found == commands_.end()) {
        return {.answer = line(kUnknownCommand,
                               "there is no command '" + common::printable(name.get<std::string>()) +
                                   "'; list-commands lists them",
                               kNone)};
    }
    return {.command = &*found,
            .arguments = Arguments(*found->row, arguments == nullptr ? kNone : *arguments),
            .answer = {}};
}

Request CommandTable::read(std::string_view line) const {
    try {
        return understand(parseJson(line, kRequestLimits));
    } catch (const JsonError& error) {
        return {.answer = refusal(error.what())};
    }
}

std::string CommandTable::answer(const Request& request) const {
    if (request.command == nullptr) {
        return request.answer;
    }
    const Command& command = *request.command;
    try {
        const Answer answer = command.handle != nullptr   ? command.handle(context_, *request.arguments)
                              : command.ofHost != nullptr ? command.ofHost(*request.arguments)
                                                          : listCommands();
        return line(kCarriedOut, answer.text, answer.arguments);
    } catch (const std::exception& error) {
        return refusal(std::string(command.row->name) + ": " + error.what());
    }
}

Answer CommandTable::listCommands() const {
    Json list = Json::array();
    for (const Command& command : commands_) {
        Json arguments = Json::array();
        for (const common::commands::Argument& argument : command.row->arguments) {
            arguments.push_back(argumentJson(argument));
        }
        list.push_back(
            {{"name", command.row->name}, {"arguments", std::move(arguments)}, {"help", command.row->help}});
    }
    return {.text = {}, .arguments = {{"commands", std::move(list)}}};
}

std::string refusal(const std::string& text) {
    return line(kRefused, text, Json::object());
}

}  // namespace oltmgrd
