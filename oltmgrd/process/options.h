#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace oltmgrd {

/// The log levels run from 0, nothing, to this.
inline constexpr int kLogLevelMax = 9;

/// What the command line asks for.
struct Options {
    std::string inventory;
    std::string configuration;         ///< empty: nothing is restored
    std::vector<std::string> modules;  ///< empty: the module beside the executable
    std::string control;
    std::string logFile;  ///< empty: standard error
    int logLevel = 1;
    std::chrono::milliseconds lockDeadline{30'000};
};

/// Reads the command line. A request for help or for the version is carried out and ends the process; a line
/// that is not understood throws `StartError`.
Options readOptions(int argc, char** argv);

}  // namespace oltmgrd
