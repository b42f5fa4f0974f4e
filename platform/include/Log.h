#pragma once

#include <string>

#include "singleton.h"

namespace LogImpl {

/// 1 is an error, 3 a trace. A line is shown when its level is at most the level the platform was given.
enum logLevel_t : int { logLevelError = 1, logLevelTrace = 3 };

}  // namespace LogImpl

/// The log. A line is built by its thread: the level first, then pieces, the last of which is a literal that
/// ends in "\n". Pieces of type `std::string` are data, such as names that clients chose: control characters
/// in them neither end the line nor reach the reader.
/// Lines of several threads never mix. May be called from any thread, with or without the business-logic
/// lock.
class [[gnu::visibility("default")]] Log : public singleton<Log> {
public:
    /// Begins a line of the calling thread with this level.
    void setMsgLevel(LogImpl::logLevel_t level);

    /// Appends a piece to the calling thread's line.
    void write(const char* piece);
    void write(const std::string& piece);
    void write(int number);
    void write(unsigned int number);

private:
    friend class singleton<Log>;
    Log();
    ~Log();
};

extern template class singleton<Log>;
