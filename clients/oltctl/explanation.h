#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace oltctl {

/// What the arguments of an answer tell of a service that is refused, or bound otherwise than asked for: the
/// rest of a line, and the lines after it, without the end of the last one. Empty where they tell nothing.
std::string explanationText(const nlohmann::ordered_json& arguments);

/// What the arguments of an answer warn of, in one line; empty where they warn of nothing.
std::string warningText(const nlohmann::ordered_json& arguments);

/// Whether a service is bound already, and otherwise than asked for.
bool isBoundOtherwise(const nlohmann::ordered_json& arguments);

}  // namespace oltctl
