#include <pwd.h>
#include <unistd.h>

#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "clients/oltctl/answer.h"
#include "clients/oltctl/channel.h"
#include "clients/oltctl/request.h"
#include "common/commandLine.h"
#include "common/commands/rows.h"
#include "common/controlPath.h"
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
    std::string words, line;
    oltctl::Print print = oltctl::printAnswer;
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

Given addArgument(Command command, const Argument& argument) {
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

void addCommand(Command app, const Row& row, Request& request) {
    const Command command = addWords(app, row);
    std::vector<Given> given;
    bool names = false;
    for (const Argument& argument : row.arguments) {
        given.push_back(addArgument(command, argument));
        names = names || argument.kind == Kind::name || argument.kind == Kind::nameOrNothing;
    }
    command.footer("Sends the control command " + std::string(row.name) + "." +
                   (names ? std::string("\n") + common::kNameHelp : ""));
    command.whenNamed([&row, &request, given] {
        std::vector<std::optional<std::string>> texts;
        for (const Given& argument : given) {
            texts.push_back(argument.present() ? std::optional(argument.text()) : std::nullopt);
        }
        request = {std::string(row.words), oltctl::requestLine(row, texts),
                   row.name == "message" ? oltctl::printReply : oltctl::printAnswer};
    });
}

void addDump(Command app, Request& request) {
    const Command command = app.add("dump", "Prints all tables of the module");
    const Given interface = command.argument("INTERFACE", "Lists the service bindings of this ONU only",
                                             Command::Count::oneOrNone);
    command.footer("Sends the control command message with the name onuQosDump.");
    command.whenNamed([&request, interface] {
        const auto onu = interface.present() ? std::optional(interface.text()) : std::nullopt;
        request = {"dump", oltctl::dumpRequestLine(onu), oltctl::printReply};
    });
}

void addCall(Command app, Request& request) {
    const Command command = app.add("call", "Sends any control command");
    const Given name = command.argument("COMMAND", "As in oltctl commands");
    const Given json = command.argument(
        "JSON", "The arguments, a JSON object; - reads it from standard input", Command::Count::oneOrNone);
    command.whenNamed([&request, name, json] {
        std::string arguments = json.present() ? json.text() : "{}";
        if (arguments == "-") {
            arguments.assign(std::istreambuf_iterator<char>(std::cin), {});
        }
        request = {"call " + name.text(), oltctl::requestLine(name.text(), arguments)};
    });
}

/// The users whose oltmgrd may answer.
std::vector<uid_t> believedOwners(const Given& owner) {
    std::vector<uid_t> users = {::geteuid(), 0};
    if (owner.present()) {
        const passwd* known = ::getpwnam(owner.text().c_str());
        users.push_back(known != nullptr ? known->pw_uid
                                         : common::parseUnsigned(owner.text(), "--socket-owner"));
    }
    return users;
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
        addCommand(app, row, request);
    }
    addDump(app, request);
    addCall(app, request);

    return line.run(argc, argv, [&] {
        const double seconds = common::parseSeconds(timeout.text(), "--timeout");
        const std::string answer =
            oltctl::Channel(path.text(), seconds, believedOwners(owner)).ask(request.line);
        return oltctl::report(answer, request.words, request.print, line.format());
    });
}
