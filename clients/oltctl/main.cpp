#include <algorithm>
#include <iostream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "clients/oltctl/answer.h"
#include "clients/oltctl/guards.h"
#include "clients/oltctl/request.h"
#include "clients/oltctl/views.h"
#include "common/commandLine.h"
#include "common/commands/rows.h"
#include "common/controlChannel.h"
#include "common/controlPath.h"
#include "common/errors.h"
#include "common/name.h"
#include "common/number.h"
#include "common/standardDescriptors.h"

namespace {

using common::Command;
using common::Given;
using common::commands::Kind;
using oltctl::Argument;
using oltctl::Row;

/// What the command line asks for.
struct Request {
    std::string words;
    std::vector<std::string> lines;  ///< their answers are joined
    oltctl::Print print = oltctl::printAnswer;
    std::string message{};                    ///< its name, where one is sent
    std::vector<std::string> linesForJson{};  ///< instead of `lines`, unless empty
};

Command addWords(Command app, const Row& row) {
    const std::string words(row.words);
    const std::size_t blank = words.find(' ');
    return blank == std::string::npos ? app.add(words, row.help)
                                      : app.at(words.substr(0, blank)).add(words.substr(blank + 1), row.help);
}

const char* valueName(Kind kind) {
    switch (kind) {
        case Kind::name:
        case Kind::nameOrNothing:
        case Kind::operation:
            return "NAME";
        case Kind::path:
            return "PATH";
        default:
            return "N";
    }
}

/// Nothing for an argument that is not on the command line.
std::optional<Given> addArgument(Command command, const Argument& argument) {
    if (!argument.onCommandLine()) {
        return std::nullopt;
    }
    if (argument.positional()) {
        return command.argument(argument.option, argument.help,
                                argument.required() ? Command::Count::one : Command::Count::oneOrNone);
    }
    if (argument.kind == Kind::boolean) {
        return command.flag(argument.option, argument.help);
    }
    const Given given = command.option(argument.option, valueName(argument.kind), argument.help);
    if (argument.required()) {
        given.require();
    }
    return given;
}

Given addGuard(Command command, const oltctl::Guard& guard) {
    return command.flag(guard.option, guard.help);
}

/// Throws common::UsageError for a request that is not to be sent without its option.
void hold(const oltctl::Guard& guard, std::string_view words, const nlohmann::ordered_json& arguments) {
    if (const auto objection = guard.objection(arguments)) {
        throw common::UsageError(std::string(words) + ": " + *objection + "; nothing was sent, " +
                                 guard.option + " does it all the same");
    }
}

void addCommand(Command app, const Row& row, Request& request) {
    const Command command = addWords(app, row);
    std::vector<std::optional<Given>> given;
    bool names = false;
    for (const Argument& argument : row.arguments) {
        given.push_back(addArgument(command, argument));
        names = names || argument.kind == Kind::name || argument.kind == Kind::nameOrNothing;
    }
    const oltctl::Guard* guard = oltctl::guardOf(row.name);
    const auto confirmed = guard == nullptr ? std::nullopt : std::optional(addGuard(command, *guard));
    command.footer("Sends the control command " + std::string(row.name) + "." +
                   (names ? std::string("\n") + common::kNameHelp : ""));
    command.whenNamed([&row, &request, given, guard, confirmed] {
        std::vector<std::optional<std::string>> texts;
        for (const auto& argument : given) {
            texts.push_back(argument && argument->present() ? std::optional(argument->text()) : std::nullopt);
        }
        const auto arguments = oltctl::requestArguments(row, texts);
        if (confirmed && !confirmed->present()) {
            hold(*guard, row.words, arguments);
        }
        request = {.words = std::string(row.words),
                   .lines = {oltctl::requestLine(row.name, arguments)},
                   .print = oltctl::printOf(row.name),
                   .message = row.name == "message" ? texts.front().value_or("") : ""};
    });
}

/// A command that shows one interface, by what the answers to `requests` say of it.
void addShow(Command app, const std::string& group, const char* placeholder, const char* help,
             oltctl::Print print, const std::vector<const char*>& requests, Request& request) {
    const Command command = app.at(group).add("show", help);
    const Given interface = command.argument(placeholder, "Interface index", Command::Count::one);
    command.whenNamed([=, &request] {
        request = {.words = group + " show", .lines = {}, .print = print};
        for (const char* name : requests) {
            const Row& row = *common::commands::rowNamed(name);
            std::vector<std::optional<std::string>> texts(row.arguments.size());
            texts.front() = interface.text();
            request.lines.push_back(oltctl::requestLine(name, oltctl::requestArguments(row, texts)));
        }
    });
}

void addDump(Command app, const Row& row, Request& request) {
    const Command command = app.add("dump", "Prints all tables of the module");
    const Given interface = command.argument("INTERFACE", "Lists the service bindings of this ONU only",
                                             Command::Count::oneOrNone);
    std::vector<Given> given;
    for (const Argument& argument : row.arguments) {
        given.push_back(*addArgument(command, argument));
    }
    command.footer(
        "Sends the control command message with the name onuQosDump; for --onu, --busy and JSON output "
        "tables-get.");
    command.whenNamed([&row, &request, interface, given] {
        const auto textOf = [](const Given& argument) {
            return argument.present() ? std::optional(argument.text()) : std::nullopt;
        };
        std::vector<std::optional<std::string>> texts;
        for (const Given& argument : given) {
            texts.push_back(textOf(argument));
        }
        const std::string tables = oltctl::requestLine(row.name, oltctl::requestArguments(row, texts));
        if (std::ranges::any_of(given, &Given::present)) {
            request = {.words = "dump", .lines = {tables}};
            return;
        }
        const std::string text = oltctl::dumpRequestLine(textOf(interface));
        request = {.words = "dump",
                   .lines = {text},
                   .print = oltctl::printReply,
                   .message = "onuQosDump",
                   .linesForJson = {text, tables}};
    });
}

void addCall(Command app, Request& request) {
    const Command command = app.add("call", "Sends any control command");
    command.footer("The command is sent as it is: none asks for --yes or --force here.");
    const Given name = command.argument("COMMAND", "As in oltctl commands");
    const Given json = command.argument(
        "JSON", "The arguments, a JSON object; - reads it from standard input", Command::Count::oneOrNone);
    command.whenNamed([&request, name, json] {
        std::string arguments = json.present() ? json.text() : "{}";
        if (arguments == "-") {
            arguments.assign(std::istreambuf_iterator<char>(std::cin), {});
        }
        request = {.words = "call " + name.text(), .lines = {oltctl::rawRequestLine(name.text(), arguments)}};
    });
}

}  // namespace

int main(int argc, char** argv) {
    common::openStandardDescriptors();
    common::CommandLine line("oltctl",
                             "Operates a running oltmgrd: services, configuration, events, faults, dumps.");
    const Command app = line.commands();
    app.footer(
        R"(Exit status: 0 carried out, 1 refused by oltmgrd or the module (what they said is printed), 2 usage, 3 no answer.
JSON output is the whole answer: result, text and arguments. Of what is not carried out it is one document: result,
resultName, request, text, hint, and explanation and arguments where there are any.)");
    const Given path =
        app.option("--control", "PATH", "Socket of oltmgrd's control channel", common::defaultControlPath());
    const Given timeout = app.option("--timeout", "S", "Seconds to wait for the answer", "60");
    const Given owner =
        app.option("--socket-owner", "USER",
                   "Believes an oltmgrd of this user, by name or number, besides one of your own or of root");
    Request request;
    for (const common::commands::Group& group : common::commands::groups()) {
        app.addGroup(std::string(group.word), group.help);
    }
    for (const Row& row : common::commands::rows()) {
        row.words == "dump" ? addDump(app, row, request) : addCommand(app, row, request);
    }
    addShow(app, "port", "PORT", "Shows what a PON port holds, its limits and what is free",
            oltctl::printPort, {"ledger-get"}, request);
    addShow(app, "onu", "ONU", "Shows what is bound on an ONU and accounted of it", oltctl::printOnu,
            {"onu-list", "service-list"}, request);
    addCall(app, request);

    return line.run(argc, argv, [&] {
        const double seconds = common::parseSeconds(timeout.text(), "--timeout");
        common::ControlChannel channel(path.text(), seconds, common::believedOwners(owner.text()));
        const bool forJson = line.format() == common::Format::json && !request.linesForJson.empty();
        std::vector<std::string> answers;
        for (const std::string& asked : forJson ? request.linesForJson : request.lines) {
            answers.push_back(channel.ask(asked));
        }
        std::string answer = oltctl::joinedAnswer(answers);
        if (!request.message.empty()) {
            answer = oltctl::messageAnswer(answer, request.message);
        }
        return oltctl::report(answer, request.words, request.print, line.format());
    });
}
