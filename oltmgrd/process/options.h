#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace oltmgrd {

/// What the command line asks for.
struct Options {
    std::string inventory;
    std::string configuration;         ///< empty: nothing is restored
    std::vector<std::string> modules;  ///< empty: the module beside the executable
    std::string control;
    std::string logFile;  ///< empty: standard error
    int logLevel = 2;
    std::uint32_t logRate = 500;  ///< lines a second of each level; 0: no limit
    bool takeOver = false;        ///< the RPC program from a process that serves it
    std::chrono::milliseconds lockDeadline{30'000};
};

/// Reads the command line. A request for help or for the version is carried out and ends the process; a line
/// that is not understood throws `StartError`.
Options readOptions(int argc, char** argv);

}  // namespace oltmgrd
