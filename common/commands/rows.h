#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/// The control channel's commands: what each takes and what it is for. The process checks requests by these
/// rows and lists them; its client takes its command lines from them. What a command does is bound to its row
/// by name in the process, how its answer is shown in the client.
namespace common::commands {

/// What an argument may be, in a request and on a command line.
enum class Kind : std::uint8_t {
    number,            ///< 0 to 2^32 - 1
    integer,           ///< -2^31 to 2^31 - 1
    shortInteger,      ///< -2^15 to 2^15 - 1
    boolean,           ///< true or false; an option without value, or "yes" and "no"
    name,              ///< bytes: a string, or {"base64": "..."}; on a command line also base64:...
    path,              ///< a name; on a command line a file, from the client's directory where it is relative
    numberOrNothing,   ///< as number, or null
    integerOrNothing,  ///< as integer, or null
    nameOrNothing,     ///< as name, or null
    operation,         ///< a string: the name of a platform operation
};

/// The word for a kind in `list-commands`.
std::string_view kindName(Kind kind);

struct Argument {
    std::string_view name;  ///< in the request
    Kind kind;
    /// On a command line: "--name", or the placeholder of a positional argument. Null for one that only a
    /// client sets: the command line always sends true.
    const char* option;
    const char* help;
    const char* fallback = nullptr;  ///< its value in JSON when it is left out; null: it is required
    const char* nothing = nullptr;   ///< the word by which a command line asks for null

    bool required() const { return fallback == nullptr; }
    bool onCommandLine() const { return option != nullptr; }
    bool positional() const { return onCommandLine() && option[0] != '-'; }
};

struct Row {
    std::string_view name;   ///< in the request
    std::string_view words;  ///< on a command line, for instance "service apply"
    const char* help;
    std::vector<Argument> arguments;
};

/// Every command, in the order in which they are listed.
std::span<const Row> rows();

/// Null when there is no such command.
const Row* rowNamed(std::string_view name);

/// A word that several commands begin with on a command line.
struct Group {
    std::string_view word;
    const char* help;
};

std::span<const Group> groups();

}  // namespace common::commands
