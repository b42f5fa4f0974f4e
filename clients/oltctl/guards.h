#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace oltctl {

/// A command that is sent only when an option asks for it: "--force" where what it asks for looks wrong,
/// "--yes" where service or data would be lost. Nothing prompts.
struct Guard {
    std::string_view command;  ///< of the control channel
    const char* option;
    const char* help;
    /// What would be wrong or lost with these arguments; nothing when it needs no option.
    std::optional<std::string> (*objection)(const nlohmann::ordered_json& arguments);
};

/// Null for a command without one.
const Guard* guardOf(std::string_view command);

}  // namespace oltctl
