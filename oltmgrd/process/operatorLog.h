#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace oltmgrd {

// The log of the process: what the platform's `Log` composes, and what the process itself has to say. Lines
// are written by a thread of their own (lineWriter.h), so none of these waits for where they go.
//
// A line is the time in UTC with milliseconds, the level and the text:
// "2024-05-06T07:08:09.012Z 1 onuQos.cpp:...\n". It has `kLogLineMax` bytes at most.

inline constexpr std::size_t kLogLineMax = 1024;

/// Levels of lines; the module traces with 3.
inline constexpr int kLogErrors = 1;
inline constexpr int kLogNotices = 2;

struct LogSettings {
    std::string file;                    ///< empty: standard error
    std::uint32_t linesPerSecond = 500;  ///< of a level; 0: no limit
};

/// Begins the log, and takes over what this process's code writes to the stream of standard error: it
/// still gets there, byte for byte, but no longer holds up who writes it. Throws `FileError` when the file
/// cannot be opened.
void openLog(const LogSettings& settings);

/// Takes a line of the platform's log.
void takeLogLine(int level, std::string_view line);

/// Opens the log's file anew, as after it was moved away. When that fails the old one stays in use, and a
/// line in it says so.
void reopenLog();

/// Writes a line of level `kLogNotices`.
void notice(std::string_view text);

/// Tells the operator of trouble: one line on standard error, and in the log as well where that goes to a
/// file. Before the log is begun, on standard error alone.
void tellOperator(const std::string& text);

/// Writes a line to standard output, after everything that was told before.
void printLine(std::string line);

/// Waits until everything is written, but no longer than `limit`.
void flushLog(std::chrono::milliseconds limit);

/// A line of the log, cut to its greatest length.
std::string logLine(std::chrono::system_clock::time_point time, int level, std::string_view text);

}  // namespace oltmgrd
