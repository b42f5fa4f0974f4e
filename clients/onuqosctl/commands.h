#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>

#include "commandLine.h"
#include "program.h"
#include "results.h"

namespace onuqosctl {

using Json = nlohmann::ordered_json;

/// What a command works with while it runs.
struct Session {
    Program& program;
    clients::Format format;
    std::ostream& out;

    [[nodiscard]] bool json() const { return format == clients::Format::json; }
};

/// The command the line names; it gives the exit status. Throws Refusal, clients::UsageError,
/// clients::NoAnswer.
using Action = std::function<int(Session&)>;

/// The commands put what is to be done in `action` when the line names them; it runs when the whole line is
/// parsed.
void addTContCommands(CLI::App& app, Action& action);
void addFlowCommands(CLI::App& app, Action& action);
void addCacCommand(CLI::App& app, Action& action);
void addModuleCommands(CLI::App& app, Action& action);

/// A positional NAME argument.
CLI::Option* addName(CLI::App& command, const std::string& placeholder, std::string& name,
                     const std::string& help);

/// One document, readable.
void printJson(std::ostream& out, const Json& document);

/// What a carried-out change answers: `text` for people; the result and `details` in JSON.
void printDone(Session& session, Family family, const std::string& text,
               const Json& details = Json::object());

/// A refusal as JSON.
Json refusalToJson(const Refusal& refusal);

}  // namespace onuqosctl
