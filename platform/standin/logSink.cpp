#include "logSink.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string_view>
#include <system_error>
#include <utility>

#include "standin/error.h"

namespace standin {
namespace {

int openForAppending(const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
    if (file < 0) {
        throw Error("log file " + path + " cannot be opened: " + std::generic_category().message(errno));
    }
    return file;
}

/// "2024-05-06T07:08:09.012Z 1 " and the text.
std::string stamped(const LogLine& line) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    const std::time_t seconds = milliseconds / 1000;
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char time[32];
    const std::size_t length = std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%S", &utc);
    char rest[32];
    std::snprintf(rest, sizeof rest, ".%03dZ %d ", static_cast<int>(milliseconds % 1000), line.level);
    return std::string(time, length) + rest + line.text;
}

/// Writes all of `text`. What cannot be written is lost: there is nowhere left to say so.
void writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return;
        }
    }
}

}  // namespace

void StandardErrorSink::take(const LogLine& line) {
    const std::lock_guard guard(mutex_);
    writeAll(STDERR_FILENO, stamped(line));
}

FileSink::FileSink(std::string path) : path_(std::move(path)), file_(openForAppending(path_)) {}

FileSink::~FileSink() {
    close(file_);
}

void FileSink::take(const LogLine& line) {
    const std::lock_guard guard(mutex_);
    writeAll(file_, stamped(line));
}

void FileSink::reopen() {
    const int file = openForAppending(path_);
    const std::lock_guard guard(mutex_);
    close(std::exchange(file_, file));
}

}  // namespace standin
