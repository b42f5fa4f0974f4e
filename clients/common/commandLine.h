#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace clients {

/// How results are printed.
enum class Format { table, json };

/// The options every command of a client understands, wherever they stand on the line: -o/--output and
/// --json.
void addFormatOptions(CLI::App& app, Format& format);

/// Parses the line. A request for help prints it and gives kCarriedOut; a line that is not understood gives
/// kUsage after one line on standard error. Otherwise runs `action` and turns what it throws (UsageError,
/// NoAnswer) into a line on standard error and an exit status; what it returns is the status else. Output
/// that could not be written makes a carried-out command fail.
int runCommandLine(CLI::App& app, int argc, char** argv, const std::function<int()>& action);

}  // namespace clients
