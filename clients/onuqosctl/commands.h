#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "clients/onuqosctl/program.h"
#include "clients/onuqosctl/results.h"
#include "clients/onuqosctl/tcontRules.h"
#include "common/commandLine.h"

namespace onuqosctl {

/// What a command works with while it runs.
struct Session {
    Program& program;
    common::Format format;
    std::ostream& out;
    std::string self;  // what calls this client for the same module, for instance "onuqosctl --port 4711"

    [[nodiscard]] bool json() const { return format == common::Format::json; }

    /// Throws Refusal unless `result` is 0. `hint` takes the place of the general one unless it is empty; the
    /// commands of this client in it get the options that reach the same module.
    void require(Family family, std::int32_t result, const std::string& request,
                 const std::string& hint = "") const;
    /// The same with a whole explanation.
    void requireOr(Family family, std::int32_t result, const std::string& request, Explanation why) const;
};

/// The command the line names; it gives the exit status. Throws Refusal, common::UsageError,
/// common::NoAnswer.
using Action = std::function<int(Session&)>;

/// Puts `run` in `action` when the line names the command. It runs when the whole line is parsed.
void does(const common::Command& command, Action& action, Action run);

void addTContCommands(const common::Command& app, Action& action);
void addFlowCommands(const common::Command& app, Action& action);
void addCacCommand(const common::Command& app, Action& action);
void addModuleCommands(const common::Command& app, Action& action);

/// A positional NAME argument.
common::Given addName(const common::Command& command, const std::string& placeholder,
                      const std::string& help);

/// The bandwidth class of the OLT, from the module. Throws Refusal.
rules::ClassLimits askPortClass(Session& session, const std::string& request);

}  // namespace onuqosctl
