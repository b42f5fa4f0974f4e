#include "common/commandLine.h"

#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>

#include "common/errors.h"
#include "common/refusal.h"
#include "common/terminal.h"
#include "common/text.h"

namespace common {
namespace {

std::string oneLine(std::string text) {
    text.erase(text.find_last_not_of("\n ") + 1);
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

/// Whether nobody is left who would read from the pipe, as with `head`.
bool hasReadEnough(int pipe) {
    pollfd state{.fd = pipe, .events = 0, .revents = 0};
    return ::poll(&state, 1, 0) == 1 && (state.revents & POLLERR) != 0;
}

/// The command the line had reached.
const CLI::App& reachedCommand(const CLI::App& app) {
    const CLI::App* at = &app;
    while (!at->get_subcommands().empty()) {
        at = at->get_subcommands().front();
    }
    return *at;
}

/// The command as a person would type it behind the program's name; empty for the program itself.
std::string commandWords(const CLI::App& command) {
    const CLI::App* parent = command.get_parent();
    if (parent == nullptr) {
        return "";
    }
    const std::string before = commandWords(*parent);
    return before.empty() ? command.get_name() : before + " " + command.get_name();
}

/// Whether a line asks for JSON that is not understood as a whole: what follows the fault was not parsed.
bool asksForJson(std::span<char* const> words) {
    std::string before;
    for (const std::string word : words) {
        if (word == "--") {
            return false;
        }
        if (word == "--json" || word == "-ojson" || word == "--output=json" ||
            (word == "json" && (before == "-o" || before == "--output"))) {
            return true;
        }
        before = word;
    }
    return false;
}

std::string describe(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    // Where a command is missing, what stands in its place explains more.
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError) && !unknown.empty() &&
        !reachedCommand(app).get_subcommands([](const CLI::App* /*any*/) { return true; }).empty()) {
        return "unknown command or option " + inQuotes(unknown.front());
    }
    // The library names them from the last to the first.
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
        return "unknown argument" + std::string(unknown.size() == 1 ? " " : "s ") +
               CLI::detail::join(unknown, ", ");
    }
    return oneLine(error.what());
}

}  // namespace

bool Given::present() const {
    return option_->count() > 0;
}

std::string Given::text() const {
    return present() ? option_->results().back() : unlessGiven_;
}

std::vector<std::string> Given::texts() const {
    return option_->results();
}

void Given::require() const {
    option_->required();
}

void Given::needs(const Given& other) const {
    option_->needs(other.option_);
}

Command Command::add(const std::string& word, const std::string& help) const {
    return Command(*app_->add_subcommand(word, help));
}

Command Command::addGroup(const std::string& word, const std::string& help) const {
    return Command(*app_->add_subcommand(word, help)->require_subcommand(1));
}

Command Command::at(const std::string& word) const {
    return Command(*app_->get_subcommand(word));
}

Given Command::argument(const std::string& placeholder, const std::string& help, Count count) const {
    CLI::Option* added = app_->add_option(placeholder, help)->type_name("")->required(count == Count::one);
    if (count == Count::any) {
        added->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args();
    } else {
        added->expected(1);
    }
    return {added, ""};
}

Given Command::option(const std::string& name, const std::string& valueName, const std::string& help,
                      const std::string& unlessGiven) const {
    const std::string shown = unlessGiven.empty() ? help : help + "; " + unlessGiven + " unless given";
    CLI::Option* added = app_->add_option(name, shown)->type_name(valueName)->expected(1);
    return {added->multi_option_policy(CLI::MultiOptionPolicy::TakeLast), unlessGiven};
}

Given Command::optionWithOrWithoutValue(const std::string& name, const std::string& valueName,
                                        const std::string& help, const std::string& unlessGiven) const {
    Given added = option(name, valueName, help);
    added.option_->default_str(unlessGiven)->expected(0, 1);
    return {added.option_, unlessGiven};
}

Given Command::choice(const std::string& name, const std::vector<std::string>& words, const std::string& help,
                      const std::string& unlessGiven) const {
    Given added = option(name, CLI::detail::join(words, "|"), help, unlessGiven);
    added.option_->check(CLI::IsMember(words).description(""));
    return added;
}

Given Command::flag(const std::string& name, const std::string& help) const {
    return {app_->add_flag(name, help), ""};
}

void Command::footer(const std::string& text) const {
    app_->footer(text);
}

void Command::whenNamed(std::function<void()> action) const {
    app_->callback(std::move(action));
}

std::vector<std::pair<std::size_t, std::string>> Command::inOrder(std::span<const Given> options) const {
    std::vector<std::pair<std::size_t, std::string>> occurrences;
    std::vector<std::size_t> seen(options.size(), 0);
    for (const CLI::Option* parsed : app_->parse_order()) {
        const auto found = std::find_if(options.begin(), options.end(),
                                        [parsed](const Given& given) { return given.option_ == parsed; });
        if (found != options.end()) {
            const auto at = static_cast<std::size_t>(found - options.begin());
            occurrences.emplace_back(at, parsed->results().at(seen[at]++));
        }
    }
    return occurrences;
}

CommandLine::CommandLine(const std::string& program, const std::string& help)
    : app_(std::make_unique<CLI::App>(help, program)),
      output_(commands().choice("-o,--output", {"table", "json"},
                                "table for people, json for scripts: one JSON document on standard output")),
      json_(commands().flag("--json", "The same as -o json")) {
    app_->require_subcommand(1)->fallthrough();
}

CommandLine::~CommandLine() = default;

Format CommandLine::format() const {
    return json_.present() || output_.text() == "json" ? Format::json : Format::table;
}

int CommandLine::run(int argc, char** argv, const std::function<int()>& action) {
    const PrintableOutput output(std::cout, STDOUT_FILENO);
    const PrintableOutput errors(std::cerr, STDERR_FILENO);
    const auto told = [this](int status, const std::string& why) {
        std::cerr << app_->get_name() << ": " << why << '\n';
        return status;
    };
    const auto failed = [&](int status, const char* name, const std::string& why, const std::string& hint,
                            bool json) {
        const std::string request = commandWords(reachedCommand(*app_));
        if (json) {
            std::cout << jsonForOutput(refusalToJson({{}, name, request, why, hint})) << '\n';
            std::cout.flush();
        }
        return told(status, hint.empty() ? why : why + " (" + hint + ")");
    };
    const auto finish = [&told](int status) {
        std::cout.flush();
        return std::cout || status != kCarriedOut || hasReadEnough(STDOUT_FILENO)
                   ? status
                   : told(kRefused, "standard output cannot be written");
    };
    const auto isJson = [this] { return format() == Format::json; };
    try {
        app_->parse(argc, argv);
        return finish(action());
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            app_->exit(error);
            return finish(kCarriedOut);
        }
        const std::string words = commandWords(reachedCommand(*app_));
        const std::string help = "see " + app_->get_name() + (words.empty() ? "" : " " + words) + " --help";
        const std::span<char* const> line(argv, static_cast<std::size_t>(argc));
        return failed(kUsage, kUsageName, describe(*app_, error), help, asksForJson(line));
    } catch (const UsageError& error) {
        return failed(kUsage, kUsageName, error.what(), error.hint(), isJson());
    } catch (const NoAnswer& error) {
        return failed(kNoAnswer, kNoAnswerName, error.what(), "", isJson());
    } catch (const std::exception& error) {
        return failed(kRefused, kErrorName, error.what(), "", isJson());
    }
}

}  // namespace common
