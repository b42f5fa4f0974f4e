#include "oltmgrd/control/commands.h"

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>

#include "common/name.h"
#include "common/text.h"
#include "oltmgrd/files/jsonFields.h"
#include "standin/operations.h"

namespace oltmgrd {
namespace {

enum ResultCode : int { kCarriedOut = 0, kRefused = 1, kUnknownCommand = 2 };

// Requests are small and flat; these bounds only stop what is meant to harm.
constexpr JsonLimits kRequestLimits{.comments = false, .depth = 8, .members = 64};

std::string line(int result, const std::string& text, const Json& arguments) {
    return jsonLine({{"result", result}, {"text", text}, {"arguments", arguments}});
}

template <typename Integer>
void checkInteger(const Json& value, const std::string& pointer) {
    JsonFields::integerIn(value, pointer, std::numeric_limits<Integer>::min(),
                          std::numeric_limits<Integer>::max());
}

template <typename Integer>
void checkIntegerOrNothing(const Json& value, const std::string& pointer) {
    if (!value.is_null()) {
        checkInteger<Integer>(value, pointer);
    }
}

void checkBoolean(const Json& value, const std::string& pointer) {
    if (!value.is_boolean()) {
        throw JsonError(pointer, "must be true or false");
    }
}

void checkName(const Json& value, const std::string& pointer) {
    JsonFields::nameIn(value, pointer);
}

void checkText(const Json& value, const std::string& pointer) {
    if (!value.is_string()) {
        throw JsonError(pointer, "must be a string");
    }
}

void checkOperation(const Json& value, const std::string& pointer) {
    checkText(value, pointer);
    const auto name = value.get<std::string>();
    if (!name.empty() && !standin::operationNamed(name)) {
        throw JsonError(pointer, "no platform operation has the name '" + common::printable(name) +
                                     "'; \"calls\" of hardware-get lists them");
    }
}

struct KindRow {
    std::string_view name;
    void (*check)(const Json& value, const std::string& pointer);
};

/// In the order of `ArgumentKind`.
constexpr std::array kKinds{
    KindRow{"number", checkInteger<std::uint32_t>},
    KindRow{"integer", checkInteger<std::int32_t>},
    KindRow{"integer", checkInteger<std::int16_t>},
    KindRow{"boolean", checkBoolean},
    KindRow{"name", checkName},
    KindRow{"number or null", checkIntegerOrNothing<std::uint32_t>},
    KindRow{"integer or null", checkIntegerOrNothing<std::int32_t>},
    KindRow{"operation", checkOperation},
};

const KindRow& rowOf(ArgumentKind kind) {
    return kKinds[static_cast<std::size_t>(kind)];
}

const Command* commandNamed(std::string_view name) {
    const auto all = commands();
    const auto found = std::ranges::find(all, name, &Command::name);
    return found == all.end() ? nullptr : &*found;
}

Request understand(const Json& json) {
    JsonFields fields(json, "");
    const Json& name = fields.required("command");
    checkText(name, "/command");
    static const Json kNone = Json::object();
    const Json* arguments = fields.find("arguments");
    fields.finish();
    const Command* command = commandNamed(name.get<std::string>());
    if (command == nullptr) {
        return {.answer = line(kUnknownCommand,
                               "there is no command '" + common::printable(name.get<std::string>()) +
                                   "'; list-commands lists them",
                               kNone)};
    }
    return {.command = command,
            .arguments = Arguments(command->arguments, arguments == nullptr ? kNone : *arguments),
            .answer = {}};
}

}  // namespace

Arguments::Arguments(std::span<const Argument> rows, const Json& json) {
    JsonFields fields(json, "/arguments");
    for (const Argument& row : rows) {
        const Json* value = row.fallback == nullptr ? &fields.required(row.name) : fields.find(row.name);
        Json& stored = values_[std::string(row.name)] = value == nullptr ? Json::parse(row.fallback) : *value;
        rowOf(row.kind).check(stored, fields.pointer(row.name));
    }
    fields.finish();
}

std::string Arguments::name(std::string_view name) const {
    return common::nameFromJson(at(name)).value();
}

const Json& Arguments::at(std::string_view name) const {
    return values_.at(std::string(name));
}

Request readRequest(std::string_view line) {
    try {
        return understand(parseJson(line, kRequestLimits));
    } catch (const JsonError& error) {
        return {.answer = refusal(error.what())};
    }
}

std::string answerRequest(CommandContext& context, const Request& request) {
    if (request.command == nullptr) {
        return request.answer;
    }
    try {
        const Answer answer = request.command->handle(context, *request.arguments);
        return line(kCarriedOut, answer.text, answer.arguments);
    } catch (const std::exception& error) {
        return refusal(std::string(request.command->name) + ": " + error.what());
    }
}

std::string refusal(const std::string& text) {
    return line(kRefused, text, Json::object());
}

Answer listCommands(CommandContext&, const Arguments&) {
    Json list = Json::array();
    for (const Command& command : commands()) {
        Json arguments = Json::array();
        for (const Argument& argument : command.arguments) {
            Json row{{"name", argument.name},
                     {"kind", rowOf(argument.kind).name},
                     {"required", argument.fallback == nullptr}};
            if (argument.fallback != nullptr) {
                row["default"] = Json::parse(argument.fallback);
            }
            arguments.push_back(std::move(row));
        }
        list.push_back({{"name", command.name}, {"arguments", std::move(arguments)}, {"help", command.help}});
    }
    return {.text = {}, .arguments = {{"commands", std::move(list)}}};
}

}  // namespace oltmgrd
