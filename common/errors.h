#pragma once

#include <stdexcept>
#include <string>

namespace common {

/// Exit statuses of both clients.
enum ExitStatus : int {
    kCarriedOut = 0,
    kRefused = 1,  // the server answered and said no
    kUsage = 2,
    kNoAnswer = 3,
};

/// The command line cannot be carried out as it stands. The text is one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Nobody answered. The text is one line that says what to do about it.
class NoAnswer : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace common
