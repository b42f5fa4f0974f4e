#include <CLI/CLI.hpp>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "answer.h"
#include "channel.h"
#include "commandLine.h"
#include "controlPath.h"
#include "errors.h"
#include "name.h"
#include "number.h"
#include "operatorCommands.h"
#include "text.h"

namespace {

using oltctl::Argument;
using oltctl::Json;
using oltctl::OperatorCommand;

/// The request that the command line asks for.
struct Request {
    std::string words;
    Json json;
    OperatorCommand::Print print = OperatorCommand::Print::fields;
};

Json requestJson(const std::string& command, const Json& arguments) {
    return {{"command", command}, {"arguments", arguments}};
}

/// The application below which the last word of `words` is a command, and that word.
std::pair<CLI::App*, std::string> placeOf(CLI::App& app, const std::string& words) {
    const std::size_t blank = words.find(' ');
    if (blank == std::string::npos) {
        return {&app, words};
    }
    return {app.get_subcommand(words.substr(0, blank)), words.substr(blank + 1)};
}

void addCommand(CLI::App& app, const OperatorCommand& row, Request& request) {
    const auto [parent, word] = placeOf(app, row.words);
    CLI::App* command = parent->add_subcommand(word, row.help);
    command->footer("Sends the control command " + std::string(row.command) + ".\n" + clients::kNameHelp);

    std::vector<CLI::Option*> options;
    for (const Argument& argument : row.arguments) {
        CLI::Option* option = argument.kind == Argument::Kind::flag
                                  ? command->add_flag(argument.option, argument.help)
                                  : command->add_option(argument.option, argument.help);
        if (argument.kind != Argument::Kind::flag) {
            option->expected(1)->type_name(argument.positional()                     ? ""
                                           : argument.kind == Argument::Kind::number ? "N"
                                                                                     : "NAME");
        }
        options.push_back(option->required(argument.required));
    }
    command->callback([&row, &request, options] {
        Json arguments = Json::object();
        if (row.fixedKey != nullptr) {
            arguments[row.fixedKey] = row.fixedValue;
        }
        for (std::size_t at = 0; at < options.size(); ++at) {
            if (options[at]->count() > 0) {
                arguments[row.arguments[at].key] =
                    argumentValue(row.arguments[at], options[at]->results().back());
            }
        }
        request = {row.words, requestJson(row.command, arguments), row.print};
    });
}

void addCall(CLI::App& app, Request& request) {
    CLI::App* command = app.add_subcommand("call", "Sends any control command");
    auto name = std::make_shared<std::string>();
    command->add_option("COMMAND", *name, "As in oltctl commands")->required()->type_name("");
    CLI::Option* json =
        command->add_option("JSON", "The arguments, a JSON object; - reads it from standard input")
            ->expected(1);
    json->type_name("");
    command->callback([&request, name, json] {
        if (!clients::isUtf8(*name)) {
            throw clients::UsageError("call: a control command's name is UTF-8");
        }
        std::string text = json->count() > 0 ? json->results().back() : "{}";
        if (text == "-") {
            text.assign(std::istreambuf_iterator<char>(std::cin), {});
        }
        const Json arguments = Json::parse(text, nullptr, false);
        if (!arguments.is_object()) {
            throw clients::UsageError("call: the arguments are not a JSON object");
        }
        request = {"call " + *name, requestJson(*name, arguments), OperatorCommand::Print::fields};
    });
}

int carryOut(const Request& request, const std::string& path, double timeoutSeconds, clients::Format format) {
    const Json answer = oltctl::Channel(path, timeoutSeconds).request(request.json);
    const std::string refusal = oltctl::refusalText(answer);
    if (format == clients::Format::json) {
        std::cout << answer.dump(2) << '\n';
    } else if (refusal.empty() && request.print == OperatorCommand::Print::reply) {
        oltctl::printReply(std::cout, answer);
    } else if (refusal.empty()) {
        oltctl::printAnswer(std::cout, answer);
    }
    if (refusal.empty()) {
        return clients::kCarriedOut;
    }
    std::cout.flush();
    // What oltmgrd itself refuses, it says in whole sentences.
    const bool fromTheModule = answer["result"] == 0;
    std::cerr << "oltctl: " << (fromTheModule ? request.words + ": " : "") << refusal << '\n';
    return clients::kRefused;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Operates a running oltmgrd: services, configuration, events, faults, dumps.", "oltctl");
    app.require_subcommand(1)->fallthrough();
    app.footer(
        "Exit status: 0 carried out, 1 refused by oltmgrd or the module (what they said is printed), 2 "
        "usage, 3 no answer.\n"
        "JSON output is the whole answer: result, text and arguments.");

    std::string path = clients::defaultControlPath();
    std::string timeout = "60";
    clients::Format format = clients::Format::table;
    Request request;
    app.add_option("--control", path, "Socket of oltmgrd's control channel")
        ->type_name("PATH")
        ->capture_default_str();
    app.add_option("--timeout", timeout, "Seconds to wait for the answer")
        ->type_name("S")
        ->capture_default_str();
    clients::addFormatOptions(app, format);
    for (const oltctl::Group& group : oltctl::groups()) {
        app.add_subcommand(group.word, group.help)->require_subcommand(1);
    }
    for (const OperatorCommand& row : oltctl::operatorCommands()) {
        addCommand(app, row, request);
    }
    addCall(app, request);

    return clients::runCommandLine(app, argc, argv, [&] {
        return carryOut(request, path, clients::parseSeconds(timeout, "--timeout"), format);
    });
}
