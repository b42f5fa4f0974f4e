#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace common {

/// Names of profiles and services are bytes. On the command line they are given as they stand or as
/// "base64:..."; in JSON they are strings, and {"base64": "..."} where they are no valid UTF-8.

std::string base64Encode(std::string_view bytes);

/// Nothing when `text` is not base64 with its padding.
std::optional<std::string> base64Decode(std::string_view text);

/// Throws UsageError for broken base64 and for a NUL byte, which no name can carry.
std::string nameFromArgument(const std::string& argument);

/// `name` as an argument that a person can paste into a shell and that nameFromArgument reads back.
std::string argumentForName(const std::string& name);

nlohmann::ordered_json nameToJson(const std::string& name);

/// The bytes of a name as nameToJson writes it; nothing for any other JSON.
std::optional<std::string> nameFromJson(const nlohmann::ordered_json& json);

/// What help texts say about NAME arguments.
extern const char* const kNameHelp;

}  // namespace common
