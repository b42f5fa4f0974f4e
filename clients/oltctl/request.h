#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/commands/rows.h"

namespace oltctl {

using common::commands::Argument;
using common::commands::Row;

/// The request's value for what the command line gave. Throws common::UsageError.
nlohmann::ordered_json argumentValue(const Argument& argument, const std::string& text);

/// The arguments of a request; `texts` holds what the command line gave for each argument of the row. Throws
/// common::UsageError.
nlohmann::ordered_json requestArguments(const Row& row, const std::vector<std::optional<std::string>>& texts);

/// The line that asks for a command.
std::string requestLine(std::string_view command, const nlohmann::ordered_json& arguments);

/// The line that asks for any control command with `arguments`, a JSON object. Throws common::UsageError.
std::string rawRequestLine(const std::string& command, const std::string& arguments);

/// The line that asks for the module's tables, with the service bindings of one ONU if `interface` is given.
/// Throws common::UsageError.
std::string dumpRequestLine(const std::optional<std::string>& interface);

}  // namespace oltctl
