#pragma once

#include <span>
#include <vector>

namespace oltctl {

/// An argument of a control command, as the command line takes it.
struct Argument {
    enum class Kind {
        text,    // a name: bytes, also as base64:...
        path,    // of a file, from the directory of this client where it is relative
        number,  // a whole number
        digits,  // a whole number, sent as text
        yesNo,
        flag,  // an option without value: true when given
    };

    const char* key;     // in the request
    const char* option;  // "--name", or the placeholder of a positional argument
    Kind kind;
    bool required;
    const char* help;
    const char* nullWord = nullptr;  // what stands for null, where the command takes it

    [[nodiscard]] bool positional() const { return option[0] != '-'; }
};

/// A command of this client: which control command it sends and what from.
struct OperatorCommand {
    enum class Print { fields, reply };  // all of the answer, or the text of its `reply` as it is

    const char* words;    // on the command line, for instance "service apply"
    const char* command;  // in the request
    const char* help;
    std::vector<Argument> arguments;
    Print print = Print::fields;
    const char* fixedKey = nullptr;  // an argument that is always the same
    const char* fixedValue = nullptr;
};

/// Words that commands begin with, and what is behind them.
struct Group {
    const char* word;
    const char* help;
};

std::span<const OperatorCommand> operatorCommands();
std::span<const Group> groups();

}  // namespace oltctl
