#pragma once

#include <chrono>
#include <string>

namespace oltctl {

/// A connection to the control channel of the management process: a line each way.
class Channel {
public:
    /// Connects to the Unix socket `path`; `timeoutSeconds` bounds connecting and each request together with
    /// its answer. Throws common::UsageError for a path no socket can have, common::NoAnswer when nobody
    /// serves it.
    Channel(const std::string& path, double timeoutSeconds);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// Sends a line and gives the one that answers it, however long it is, both without their ends.
    /// Throws common::NoAnswer.
    std::string ask(const std::string& line);

private:
    using Clock = std::chrono::steady_clock;

    void awaitReady(short events, Clock::time_point deadline) const;
    void send(const std::string& line, Clock::time_point deadline) const;
    [[nodiscard]] std::string receiveLine(Clock::time_point deadline);

    std::string path_;
    double timeoutSeconds_;
    int descriptor_;
    std::string received_;
};

}  // namespace oltctl
