#include "common/commandLine.h"

#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "common/errors.h"
#include "common/terminal.h"
#include "common/text.h"

namespace common {
namespace {

std::string oneLine(std::string text) {
    text.erase(text.find_last_not_of("\n ") + 1);
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

/// Whether nobody is left who would read from the pipe, as behind `head`.
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
    const auto failed = [this](int status, const std::string& why) {
        std::cerr << app_->get_name() << ": " << why << '\n';
        return status;
    };
    const auto finish = [&failed](int status) {
        std::cout.flush();
        return std::cout || status != kCarriedOut || hasReadEnough(STDOUT_FILENO)
                   ? status
                   : failed(kRefused, "standard output cannot be written");
    };
    try {
        app_->parse(argc, argv);
        return finish(action());
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            app_->exit(error);
            return finish(kCarriedOut);
        }
        return failed(kUsage,
                      describe(*app_, error) + " (see " + typedCommand(reachedCommand(*app_)) + " --help)");
    } catch (const UsageError& error) {
        return failed(kUsage, error.what());
    } catch (const NoAnswer& error) {
        return failed(kNoAnswer, error.what());
    } catch (const std::exception& error) {
        return failed(kRefused, error.what());
    }
}

}  // namespace common
