#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace common {

/// Exit statuses of both clients.
enum ExitStatus : int {
    kCarriedOut = 0,
    kRefused = 1,  // the server answered and said no
    kUsage = 2,
    kNoAnswer = 3,
};

/// The command line cannot be carried out as it stands. The text is one line; the hint says what to do, if
/// more is to be said about it.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const std::string& text, std::string hint = "")
        : std::runtime_error(text), hint_(std::move(hint)) {}

    [[nodiscard]] const std::string& hint() const { return hint_; }

private:
    std::string hint_;
};

/// Nobody answered. The text is one line that says what to do about it.
class NoAnswer : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace common
