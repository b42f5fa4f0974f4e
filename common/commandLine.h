#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace common {

// The command line of a client, in terms that need no header of CLI11: that header takes longer to compile
// than everything else a client includes.

/// How results are printed.
enum class Format { table, json };

/// What the line gives for one option or argument; to be asked once the line is parsed.
class Given {
public:
    [[nodiscard]] bool present() const;

    /// The value, the last one where the option is given several times; what counts unless it is given.
    [[nodiscard]] std::string text() const;

    /// Every value, in the order of the line.
    [[nodiscard]] std::vector<std::string> texts() const;

    /// Makes it an error to leave this one out.
    void require() const;

    /// Makes it an error to give this one without `other`.
    void needs(const Given& other) const;

private:
    friend class Command;
    Given(CLI::Option* option, std::string unlessGiven)
        : option_(option), unlessGiven_(std::move(unlessGiven)) {}

    CLI::Option* option_;
    std::string unlessGiven_;
};

/// A word of the command line and what may follow it. Copies stand for the same command.
class Command {
public:
    enum class Count { one, oneOrNone, any };

    explicit Command(CLI::App& app) : app_(&app) {}

    [[nodiscard]] Command add(const std::string& word, const std::string& help) const;
    /// A word that says nothing without another one after it.
    Command addGroup(const std::string& word, const std::string& help) const;
    /// The command that add or addGroup made.
    [[nodiscard]] Command at(const std::string& word) const;

    [[nodiscard]] Given argument(const std::string& placeholder, const std::string& help,
                                 Count count = Count::one) const;
    [[nodiscard]] Given option(const std::string& name, const std::string& valueName, const std::string& help,
                               const std::string& unlessGiven = "") const;
    /// An option whose value may be left out; `unlessGiven` takes its place.
    [[nodiscard]] Given optionWithOrWithoutValue(const std::string& name, const std::string& valueName,
                                                 const std::string& help,
                                                 const std::string& unlessGiven) const;
    [[nodiscard]] Given choice(const std::string& name, const std::vector<std::string>& words,
                               const std::string& help, const std::string& unlessGiven = "") const;
    [[nodiscard]] Given flag(const std::string& name, const std::string& help) const;

    /// The text below the options in the help of this command.
    void footer(const std::string& text) const;

    /// Calls `action` once the line is parsed, if it names this command.
    void whenNamed(std::function<void()> action) const;

    /// For each occurrence of one of `options`, in the order of the line: its place among them, and its
    /// value.
    [[nodiscard]] std::vector<std::pair<std::size_t, std::string>> inOrder(
        std::span<const Given> options) const;

private:
    CLI::App* app_;
};

/// The whole line. Options of its own may stand anywhere on it, among them -o/--output and --json.
class CommandLine {
public:
    CommandLine(const std::string& program, const std::string& help);
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    [[nodiscard]] Command commands() const { return Command(*app_); }

    [[nodiscard]] Format format() const;

    /// Parses the line. A request for help prints it and gives kCarriedOut; a line that is not understood
    /// gives kUsage after one line on standard error. Otherwise runs `action` and turns what it throws
    /// (UsageError, NoAnswer) into a line on standard error and an exit status; what it returns is the status
    /// else. Where JSON is asked for, whatever is told on standard error is also told on standard output
    /// (refusalToJson). Output that could not be written makes a carried-out command fail.
    int run(int argc, char** argv, const std::function<int()>& action);

private:
    std::unique_ptr<CLI::App> app_;
    Given output_, json_;
};

}  // namespace common
