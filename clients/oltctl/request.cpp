#include "clients/oltctl/request.h"

#include <filesystem>
#include <nlohmann/json.hpp>

#include "common/errors.h"
#include "common/name.h"
#include "common/number.h"
#include "common/text.h"

namespace oltctl {
namespace {

using Json = nlohmann::ordered_json;
using common::commands::Kind;

bool yesOrNo(const Argument& argument, const std::string& text) {
    if (text == "yes" || text == "true" || text == "no" || text == "false") {
        return text == "yes" || text == "true";
    }
    throw common::UsageError(std::string(argument.option) + ": " + common::inQuotes(text) +
                             " is neither yes nor no");
}

Json numberOrUsage(const Argument& argument, const std::string& text) {
    try {
        return common::parseInteger(text, argument.option);
    } catch (const common::UsageError& error) {
        if (argument.nothing == nullptr) {
            throw;
        }
        throw common::UsageError(std::string(error.what()) + ", nor the word " + argument.nothing);
    }
}

}  // namespace

std::string requestLine(std::string_view command, const Json& arguments) {
    return Json{{"command", command}, {"arguments", arguments}}.dump();
}

Json argumentValue(const Argument& argument, const std::string& text) {
    if (argument.nothing != nullptr && text == argument.nothing) {
        return nullptr;
    }
    switch (argument.kind) {
        case Kind::number:
        case Kind::integer:
        case Kind::shortInteger:
        case Kind::numberOrNothing:
        case Kind::integerOrNothing:
            return numberOrUsage(argument, text);
        case Kind::boolean:
            return yesOrNo(argument, text);
        case Kind::path:
            if (text.empty()) {
                throw common::UsageError(std::string(argument.option) + ": the path is empty");
            }
            return common::nameToJson(std::filesystem::absolute(text).string());
        case Kind::name:
        case Kind::nameOrNothing:
        case Kind::operation:
            break;
    }
    return common::nameToJson(common::nameFromArgument(text));
}

Json requestArguments(const Row& row, const std::vector<std::optional<std::string>>& texts) {
    Json arguments = Json::object();
    for (std::size_t at = 0; at < texts.size(); ++at) {
        const Argument& argument = row.arguments[at];
        if (!argument.onCommandLine()) {
            arguments[std::string(argument.name)] = true;
        } else if (texts[at]) {
            arguments[std::string(argument.name)] = argumentValue(argument, *texts[at]);
        }
    }
    return arguments;
}

std::string rawRequestLine(const std::string& command, const std::string& arguments) {
    if (!common::isUtf8(command)) {
        throw common::UsageError("call: a control command's name is UTF-8");
    }
    const Json parsed = Json::parse(arguments, nullptr, false);
    if (!parsed.is_object()) {
        throw common::UsageError("call: the arguments are not a JSON object");
    }
    return requestLine(command, parsed);
}

std::string dumpRequestLine(const std::optional<std::string>& interface) {
    Json arguments{{"name", "onuQosDump"}};
    if (interface) {
        arguments["argument"] = std::to_string(common::parseInteger(*interface, "INTERFACE"));
    }
    return requestLine("message", arguments);
}

}  // namespace oltctl
