#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "standin/log.h"

namespace standin {

/// A destination of log lines. May be used from any thread.
class LogSink {
public:
    virtual ~LogSink() = default;
    virtual void take(const LogLine& line) = 0;

    /// Throws `Error` if that fails; the sink works as before then.
    virtual void reopen() {}

    LogSink(const LogSink&) = delete;
    LogSink& operator=(const LogSink&) = delete;

protected:
    LogSink() = default;
};

class StandardErrorSink final : public LogSink {
public:
    void take(const LogLine& line) override;

private:
    std::mutex mutex_;
};

class FileSink final : public LogSink {
public:
    /// Throws `Error` if the file cannot be opened.
    explicit FileSink(std::string path);
    ~FileSink() override;
    void take(const LogLine& line) override;
    void reopen() override;

private:
    std::string path_;
    std::mutex mutex_;
    int file_;
};

class CallbackSink final : public LogSink {
public:
    explicit CallbackSink(std::function<void(const LogLine&)> take) : take_(std::move(take)) {}

    void take(const LogLine& line) override { take_(line); }

private:
    std::function<void(const LogLine&)> take_;
};

}  // namespace standin
