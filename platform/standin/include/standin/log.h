#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace standin {

/// A line of the log as it was composed, with its "\n".
struct LogLine {
    int level = 0;
    std::string text;

    friend bool operator==(const LogLine&, const LogLine&) = default;
};

/// Where the lines of `Log` go. A line goes there whole, when the piece that ends in "\n" is written; lines
/// above the level that is set when they begin are dropped. May be called from any thread.
///
/// A line on standard error or in a file is the time in UTC with milliseconds, the level and the text:
/// "2024-05-06T07:08:09.012Z 1 onuQos.cpp:...\n".
namespace log {

#pragma GCC visibility push(default)

inline constexpr int kDefaultLevel = 1;

void setLevel(int level);
int level();

/// Sends lines to standard error, as at the start of the process.
void toStandardError();

/// Appends lines to the file, which is created if need be with mode 0640. Throws `Error` if it cannot be
/// opened; lines then go where they went before.
void toFile(const std::string& path);

/// Opens the file of `toFile` anew, after it has been moved away; does nothing when lines go elsewhere.
/// Throws `Error` if it cannot be opened; lines then still go to the old file.
void reopen();

/// Gives every line to `take`, on the thread that wrote it, so it may run in several threads at once and a
/// last time after the lines have been sent elsewhere. `take` must not log.
void toCallback(std::function<void(const LogLine&)> take);

#pragma GCC visibility pop

}  // namespace log

/// Collects the lines of the log while it lives; then they go again where they went before. Captures nest.
class [[gnu::visibility("default")]] LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The lines so far, in the order in which they were completed.
    std::vector<LogLine> lines() const;

    void clear();

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace standin
