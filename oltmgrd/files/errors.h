#pragma once

#include <stdexcept>
#include <string>

namespace oltmgrd {

/// Exit statuses of the process.
enum ExitStatus : int {
    kStopped = 0,
    kFailed = 1,
    kBadInput = 2,  ///< command line, inventory or configuration
};

/// The process cannot start. The text is one line that names the thing and says what to do.
class StartError : public std::runtime_error {
public:
    explicit StartError(const std::string& text, ExitStatus status = kFailed)
        : std::runtime_error(text), status_(status) {}

    ExitStatus status() const { return status_; }

private:
    ExitStatus status_;
};

/// A file cannot be read or written. The text is one line that names it.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A file is another process's. The text says whose.
class FileInUseError : public FileError {
public:
    using FileError::FileError;
};

}  // namespace oltmgrd
