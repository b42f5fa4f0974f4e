#pragma once

#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "common/commandLine.h"

namespace oltctl {

using Json = nlohmann::ordered_json;

/// Why an answer is a refusal: the server's text, or what the module answered. Empty for a command carried
/// out.
std::string refusalText(const Json& answer);

/// What a refusal prints as JSON: the shape of common::refusalToJson, with the answer's explanation where it
/// has one and the rest of its arguments. `words` is what was asked. The text is the first line of what
/// people read, the hint the rest without its table.
Json refusalDocument(const Json& answer, const std::string& words);

/// Prints an answer for people: single values as lines, lists of records as tables, the text where there is
/// nothing else.
void printAnswer(std::ostream& out, const Json& answer);

/// Prints the bytes of the answer's `reply` as they are.
void printReply(std::ostream& out, const Json& answer);

/// The answers to one command's requests as one: the arguments of all, or the first that refuses. Throws
/// common::NoAnswer for what is no answer of the control channel.
std::string joinedAnswer(const std::vector<std::string>& lines);

/// The answer to a message; a refusal when no entity replied anything.
std::string messageAnswer(const std::string& line, const std::string& message);

/// How an answer is shown to people.
using Print = void (*)(std::ostream& out, const Json& answer);

/// Prints the line that answered the command `words`, what it refuses on standard error, and in JSON on
/// standard output too; gives the exit status. Throws common::NoAnswer for what is no answer of the control
/// channel.
int report(const std::string& line, const std::string& words, Print print, common::Format format);

}  // namespace oltctl
