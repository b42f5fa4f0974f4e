#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "oltmgrd/configuration/store.h"
#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/module/module.h"
#include "oltmgrd/rpc/server.h"
#include "oltmgrd/services/serviceSide.h"

namespace oltmgrd {

/// What the commands of the control channel work on.
struct CommandContext {
    const onuQosClassInterface* module = nullptr;  ///< null, like the next two, when no module binds services
    ServiceSide* services = nullptr;
    ConfigurationStore* configuration = nullptr;
    const RpcServer* rpc = nullptr;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

/// A command cannot be carried out. The text is one line that says why.
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class ArgumentKind : std::uint8_t {
    number,            ///< 0 to 2^32 - 1
    integer,           ///< -2^31 to 2^31 - 1
    shortInteger,      ///< -2^15 to 2^15 - 1
    boolean,           ///< true or false
    name,              ///< bytes: a string, or {"base64": "..."}
    numberOrNothing,   ///< as number, or null
    integerOrNothing,  ///< as integer, or null
    operation,         ///< the name of a platform operation
};

struct Argument {
    std::string_view name;
    ArgumentKind kind;
    const char* fallback = nullptr;  ///< its value in JSON when it is left out; null: it is required
};

/// The arguments of a request, checked against the rows of its command and complete.
class Arguments {
public:
    /// Throws `JsonError` for an argument that is unknown, missing or of the wrong kind.
    Arguments(std::span<const Argument> rows, const Json& json);

    std::uint32_t number(std::string_view name) const { return at(name).get<std::uint32_t>(); }
    std::int32_t integer(std::string_view name) const { return at(name).get<std::int32_t>(); }
    bool boolean(std::string_view name) const { return at(name).get<bool>(); }
    std::string name(std::string_view name) const;
    std::string text(std::string_view name) const { return at(name).get<std::string>(); }
    bool isNothing(std::string_view name) const { return at(name).is_null(); }

private:
    const Json& at(std::string_view name) const;

    Json values_ = Json::object();
};

/// An answer's members besides "result", which is 0.
struct Answer {
    std::string text;
    Json arguments = Json::object();
};

using CommandHandler = Answer (*)(CommandContext&, const Arguments&);

struct Command {
    std::string_view name;
    std::vector<Argument> arguments;
    std::string_view help;
    CommandHandler handle;
    /// Whether it may wait, for the platform lock or a file; other commands are carried out at once.
    bool waits = true;
};

/// Every command of the control channel, in the order in which they are listed.
std::span<const Command> commands();

/// A request as far as it can be understood before anything is carried out.
struct Request {
    const Command* command = nullptr;  ///< null when the request is answered already
    std::optional<Arguments> arguments = std::nullopt;
    std::string answer = {};  ///< the line, without its end, when there is no command
};

/// Understands a line. Never throws for its contents.
Request readRequest(std::string_view line);

/// Carries a request out; the line that answers it, without its end. Whatever a handler throws refuses it.
std::string answerRequest(CommandContext& context, const Request& request);

/// The line that refuses a request.
std::string refusal(const std::string& text);

}  // namespace oltmgrd
