#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "commandLine.h"
#include "program.h"
#include "results.h"
#include "tcontRules.h"

namespace onuqosctl {

/// What a command works with while it runs.
struct Session {
    Program& program;
    clients::Format format;
    std::ostream& out;
    std::string self;  // what calls this client for the same module, for instance "onuqosctl --port 4711"

    [[nodiscard]] bool json() const { return format == clients::Format::json; }

    /// Throws Refusal unless `result` is 0. `hint` takes the place of the general one unless it is empty; the
    /// commands of this client in it get the options that reach the same module.
    void require(Family family, std::int32_t result, const std::string& request,
                 const std::string& hint = "") const;
};

/// The command the line names; it gives the exit status. Throws Refusal, clients::UsageError,
/// clients::NoAnswer.
using Action = std::function<int(Session&)>;

/// Puts `run` in `action` when the line names the command. It runs when the whole line is parsed.
void does(const clients::Command& command, Action& action, Action run);

void addTContCommands(const clients::Command& app, Action& action);
void addFlowCommands(const clients::Command& app, Action& action);
void addCacCommand(const clients::Command& app, Action& action);
void addModuleCommands(const clients::Command& app, Action& action);

/// A positional NAME argument.
clients::Given addName(const clients::Command& command, const std::string& placeholder,
                       const std::string& help);

/// The bandwidth class of the OLT, from the module. Throws Refusal.
PortClass askPortClass(Session& session, const std::string& request);

}  // namespace onuqosctl
