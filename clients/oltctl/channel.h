#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace oltctl {

/// A connection to the control channel of the management process: a line each way.
class Channel {
public:
    /// Connects to the Unix socket `path`; `timeoutSeconds` bounds connecting and each request together with
    /// its answer. Both the socket and the process that serves it must be one of `owners`': where everybody
    /// may write, anybody can put a socket. Throws common::UsageError for a path no socket can have,
    /// common::NoAnswer when none of them serves it.
    Channel(const std::string& path, double timeoutSeconds, const std::vector<uid_t>& owners);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// Sends a line and gives the one that answers it, however long it is, both without their ends.
    /// Throws common::NoAnswer.
    std::string ask(const std::string& line);

private:
    using Clock = std::chrono::steady_clock;

    void believe(const std::vector<uid_t>& owners) const;
    void awaitReady(short events, Clock::time_point deadline) const;
    void send(const std::string& line, Clock::time_point deadline) const;
    [[nodiscard]] std::string receiveLine(Clock::time_point deadline);

    std::string path_;
    double timeoutSeconds_;
    int descriptor_;
    std::string received_;
};

}  // namespace oltctl
