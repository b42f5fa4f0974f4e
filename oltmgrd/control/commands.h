#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/commands/rows.h"
#include "oltmgrd/commands/arguments.h"
#include "oltmgrd/configuration/store.h"
#include "oltmgrd/module/module.h"
#include "oltmgrd/observe/alarmLog.h"
#include "oltmgrd/platform/host.h"
#include "oltmgrd/rpc/server.h"
#include "oltmgrd/services/serviceSide.h"

namespace oltmgrd {

/// What the commands of the control channel work on.
struct CommandContext {
    Host* host = nullptr;
    const onuQosClassInterface* module = nullptr;  ///< null, like the next two, when no module binds services
    ServiceSide* services = nullptr;
    ConfigurationStore* configuration = nullptr;
    RpcServer* rpc = nullptr;
    std::shared_ptr<AlarmLog> alarms = std::make_shared<AlarmLog>();  ///< also of whoever tells it alarms
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

/// What a command does, bound to its row by name.
struct Handler {
    std::string_view name;
    Answer (*handle)(CommandContext& context, const Arguments& arguments);
    /// Whether it may wait, for the platform lock or a file; other commands are carried out at once.
    bool waits = true;
};

/// A command that this process has.
struct Command {
    const common::commands::Row* row = nullptr;
    Answer (*handle)(CommandContext& context, const Arguments& arguments) = nullptr;
    Answer (*ofHost)(const Arguments& arguments) =
        nullptr;  ///< instead of `handle`, for a command of the platform's own
    bool waits = true;
};

/// A request as far as it can be understood before anything is carried out.
struct Request {
    const Command* command = nullptr;  ///< null when the request is answered already
    std::optional<Arguments> arguments = std::nullopt;
    std::string answer = {};  ///< the line, without its end, when there is no command
};

/// The commands that the process has: the rows of the control channel for which it or its platform has a
/// handler. Never changes once it is made, so that any thread may use it.
class CommandTable {
public:
    /// `context` outlives this.
    explicit CommandTable(CommandContext& context);

    std::span<const Command> commands() const { return commands_; }

    /// Understands a line. Never throws for its contents.
    Request read(std::string_view line) const;

    /// Carries a request out; the line that answers it, without its end. Whatever a handler throws refuses
    /// it.
    std::string answer(const Request& request) const;

private:
    Request understand(const Json& json) const;
    Answer listCommands() const;

    CommandContext& context_;
    std::vector<Command> commands_;
};

/// The line that refuses a request.
std::string refusal(const std::string& text);

}  // namespace oltmgrd
