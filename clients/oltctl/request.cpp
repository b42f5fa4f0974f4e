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

std::string lineOf(const std::string& command, const Json& arguments) {
    return Json{{"command", command}, {"arguments", arguments}}.dump();
}

}  // namespace

Json argumentValue(const Argument& argument, const std::string& text) {
    using Kind = Argument::Kind;
    if (argument.nullWord != nullptr && text == argument.nullWord) {
        return nullptr;
    }
    switch (argument.kind) {
        case Kind::text:
            return common::nameToJson(common::nameFromArgument(text));
        case Kind::path:
            if (text.empty()) {
                throw common::UsageError(std::string(argument.option) + ": the path is empty");
            }
            return common::nameToJson(std::filesystem::absolute(text).string());
        case Kind::number:
            return common::parseInteger(text, argument.option);
        case Kind::digits:
            return std::to_string(common::parseInteger(text, argument.option));
        case Kind::yesNo:
            if (text == "yes" || text == "true" || text == "no" || text == "false") {
                return text == "yes" || text == "true";
            }
            throw common::UsageError(std::string(argument.option) + ": " + common::inQuotes(text) +
                                     " is neither yes nor no");
        case Kind::flag:
            break;
    }
    return true;
}

std::string requestLine(const OperatorCommand& row, const std::vector<std::optional<std::string>>& texts) {
    Json arguments = Json::object();
    if (row.fixedKey != nullptr) {
        arguments[row.fixedKey] = row.fixedValue;
    }
    for (std::size_t at = 0; at < texts.size(); ++at) {
        if (texts[at]) {
            arguments[row.arguments[at].key] = argumentValue(row.arguments[at], *texts[at]);
        }
    }
    return lineOf(row.command, arguments);
}

std::string requestLine(const std::string& command, const std::string& arguments) {
    if (!common::isUtf8(command)) {
        throw common::UsageError("call: a control command's name is UTF-8");
    }
    const Json parsed = Json::parse(arguments, nullptr, false);
    if (!parsed.is_object()) {
        throw common::UsageError("call: the arguments are not a JSON object");
    }
    return lineOf(command, parsed);
}

}  // namespace oltctl
