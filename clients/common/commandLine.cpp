#include "commandLine.h"

#include <algorithm>
#include <iostream>

#include "errors.h"
#include "text.h"

namespace clients {
namespace {

std::string oneLine(std::string text) {
    text.erase(text.find_last_not_of("\n ") + 1);
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

/// The command the line had reached.
const CLI::App& reachedCommand(const CLI::App& app) {
    const CLI::App* at = &app;
    while (!at->get_subcommands().empty()) {
        at = at->get_subcommands().front();
    }
    return *at;
}

/// The command as a person would type it.
std::string typedCommand(const CLI::App& command) {
    const CLI::App* parent = command.get_parent();
    return parent == nullptr ? command.get_name() : typedCommand(*parent) + " " + command.get_name();
}

std::string describe(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    // Where a command is missing, what stands in its place explains more.
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError) && !unknown.empty() &&
        !reachedCommand(app).get_subcommands([](const CLI::App* /*any*/) { return true; }).empty()) {
        return "unknown command or option " + inQuotes(unknown.front());
    }
    return oneLine(error.what());
}

int finish(int status) {
    std::cout.flush();
    if (!std::cout && status == kCarriedOut) {
        std::cerr << "standard output cannot be written\n";
        return kRefused;
    }
    return status;
}

}  // namespace

void addFormatOptions(CLI::App& app, Format& format) {
    app.add_option_function<std::string>(
           "-o,--output",
           [&format](const std::string& name) { format = name == "json" ? Format::json : Format::table; },
           "table for people, json for scripts: one JSON document on standard output")
        ->check(CLI::IsMember({"table", "json"}).description(""))
        ->type_name("table|json");
    app.add_flag_callback(
        "--json", [&format] { format = Format::json; }, "The same as -o json");
}

int runCommandLine(CLI::App& app, int argc, char** argv, const std::function<int()>& action) {
    try {
        app.parse(argc, argv);
        return finish(action());
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            app.exit(error);
            return finish(kCarriedOut);
        }
        std::cerr << app.get_name() << ": " << describe(app, error) << " (see "
                  << typedCommand(reachedCommand(app)) << " --help)\n";
        return kUsage;
    } catch (const UsageError& error) {
        std::cerr << app.get_name() << ": " << error.what() << '\n';
        return kUsage;
    } catch (const NoAnswer& error) {
        std::cerr << app.get_name() << ": " << error.what() << '\n';
        return kNoAnswer;
    } catch (const std::exception& error) {
        std::cerr << app.get_name() << ": " << error.what() << '\n';
        return kRefused;
    }
}

}  // namespace clients
