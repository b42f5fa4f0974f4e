#include "oltmgrd/process/operatorLog.h"

#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <exception>
#include <mutex>
#include <utility>

#include "Log.h"
#include "common/text.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/process/lineWriter.h"
#include "oltmgrd/process/logRate.h"

namespace oltmgrd {
namespace {

constexpr std::chrono::seconds kTellInterval{1};  // of lines that were suppressed
constexpr std::chrono::milliseconds kOrderLimit{200};

std::string lineNow(int level, std::string_view text) {
    return logLine(std::chrono::system_clock::now(), level, text);
}

/// Lives as long as the process: objects that end with it log as well.
class OperatorLog {
public:
    explicit OperatorLog(const LogSettings& settings)
        : file_(settings.file),
          writer_(*new LineWriter(STDERR_FILENO, STDOUT_FILENO,
                                  [](std::uint64_t lines) {
                                      return lineNow(kLogErrors,
                                                     "oltmgrd: " + std::to_string(lines) +
                                                         " lines lost: they could not be written here");
                                  })),
          rate_(settings.linesPerSecond) {
        if (!file_.empty()) {
            writer_.openFile(file_);
        }
    }

    LineWriter& writer() { return writer_; }
    bool hasFile() const { return !file_.empty(); }

    void take(int level, std::string_view text) {
        {
            const std::lock_guard guard(mutex_);
            if (!rate_.admits(level, LogRate::Clock::now())) {
                if (!std::exchange(isTelling_, true)) {
                    writer_.callAt(LogRate::Clock::now() + kTellInterval, [this] { tellSuppressed(); });
                }
                return;
            }
        }
        write(lineNow(level, text));
    }

    void reopen() {
        if (!hasFile()) {
            return;
        }
        // By the thread, since opening can hang as well.
        writer_.callSoon([this] {
            try {
                writer_.openFile(file_);
            } catch (const FileError& error) {
                tellOperator("the log goes on where it was: " + std::string(error.what()));
            }
        });
    }

    void tellSuppressed() {
        const std::lock_guard guard(mutex_);
        isTelling_ = false;
        for (std::size_t level = 0; level < LogRate::kLevels; ++level) {
            if (const std::uint64_t lines = rate_.takeSuppressed(level); lines > 0) {
                write(lineNow(static_cast<int>(level),
                              "oltmgrd: " + std::to_string(lines) + " lines suppressed"));
            }
        }
    }

private:
    void write(std::string line) {
        writer_.write(hasFile() ? LineWriter::file : LineWriter::standardError, std::move(line));
    }

    const std::string file_;
    LineWriter& writer_;
    std::mutex mutex_;
    LogRate rate_;
    bool isTelling_ = false;
};

OperatorLog* operatorLog = nullptr;

ssize_t takeStandardError(void*, const char* text, std::size_t size) {
    operatorLog->writer().write(LineWriter::standardError, std::string(text, size));
    return static_cast<ssize_t>(size);
}

/// Has everything that is written to the stream of standard error pass through the writer. The descriptor
/// stays what it is. What a process says that ends by an exception goes there directly.
void redirectStandardError() {
    static std::FILE* const direct = stderr;
    static const std::terminate_handler terminate = std::get_terminate();
    std::FILE* const stream = ::fopencookie(
        nullptr, "w", {.read = nullptr, .write = takeStandardError, .seek = nullptr, .close = nullptr});
    if (stream == nullptr) {
        return;
    }
    std::setvbuf(stream, nullptr, _IONBF, 0);
    stderr = stream;
    std::set_terminate([] {
        stderr = direct;
        terminate();
    });
}

/// By way of the platform, which knows the level that is shown.
void writeToLog(int level, std::string_view text) {
    Log& log = singleton<Log>::instance();
    log.setMsgLevel(static_cast<LogImpl::logLevel_t>(level));
    log.write("oltmgrd: ");
    log.write(common::printableText(text).c_str());
    log.write("\n");
}

}  // namespace

std::string logLine(std::chrono::system_clock::time_point time, int level, std::string_view text) {
    const auto sinceEpoch = time.time_since_epoch();
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count();
    const std::time_t seconds = milliseconds / 1000;
    std::tm utc{};
    ::gmtime_r(&seconds, &utc);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &utc);
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "%s.%03dZ %d ", date, static_cast<int>(milliseconds % 1000), level);

    if (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    std::string line = stamp + common::printableText(text.substr(0, kLogLineMax));
    if (line.size() >= kLogLineMax || text.size() > kLogLineMax) {
        const std::string mark = "...[cut from " + std::to_string(text.size()) + " bytes]";
        std::size_t kept = kLogLineMax - 1 - mark.size();
        while (kept > 0 && (static_cast<unsigned char>(line[kept]) & 0xC0U) == 0x80) {
            --kept;  // characters stay whole
        }
        line = line.substr(0, kept) + mark;
    }
    return line + '\n';
}

void openLog(const LogSettings& settings) {
    operatorLog = new OperatorLog(settings);
    redirectStandardError();
}

void takeLogLine(int level, std::string_view line) {
    operatorLog->take(level, line);
}

void reopenLog() {
    operatorLog->reopen();
}

void notice(std::string_view text) {
    writeToLog(kLogNotices, text);
}

void tellOperator(const std::string& text) {
    const std::string line = "oltmgrd: " + common::printableText(text) + '\n';
    if (operatorLog == nullptr) {
        std::fputs(line.c_str(), stderr);
        return;
    }
    operatorLog->writer().write(LineWriter::standardError, line);
    if (operatorLog->hasFile()) {
        writeToLog(kLogErrors, text);
    }
}

void printLine(std::string line) {
    flushLog(kOrderLimit);
    operatorLog->writer().write(LineWriter::standardOutput, std::move(line) + '\n');
}

void flushLog(std::chrono::milliseconds limit) {
    if (operatorLog != nullptr) {
        operatorLog->tellSuppressed();
        operatorLog->writer().flush(limit);
    }
}

}  // namespace oltmgrd
