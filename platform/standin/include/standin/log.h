#pragma once

#include <cstddef>
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
/// above the level that is set when they begin are dropped. Data in it, which is what comes as a std::string,
/// has its control characters escaped, and is cut and marked with its length when it is long. May be called
/// from any thread.
namespace log {

#pragma GCC visibility push(default)

inline constexpr int kDefaultLevel = 1;

/// Characters of data that a line shows; one that is escaped, or outside of ASCII, counts as four.
inline constexpr std::size_t kDataMax = 256;

void setLevel(int level);
int level();

/// Sends lines to standard error as they are, which is so until something else is said.
void toStandardError();

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
