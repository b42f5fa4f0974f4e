#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace common {

/// The users whose management process may answer: this one and root, and `user`, a name or a number, unless
/// it is empty. Throws UsageError for what is neither.
std::vector<uid_t> believedOwners(const std::string& user);

/// A connection to the control channel of the management process: a line each way.
class ControlChannel {
public:
    /// Connects to the Unix socket `path`; `timeoutSeconds` bounds connecting and each request together with
    /// its answer. Both the socket and the process that serves it must be one of `owners`': where everybody
    /// may write, anybody can put a socket. Throws UsageError for a path no socket can have,
    /// NoAnswer when none of them serves it.
    ControlChannel(const std::string& path, double timeoutSeconds, const std::vector<uid_t>& owners);
    ~ControlChannel();
    ControlChannel(const ControlChannel&) = delete;
    ControlChannel& operator=(const ControlChannel&) = delete;

    /// Sends a line and gives the one that answers it, however long it is, both without their ends.
    /// Throws NoAnswer.
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

}  // namespace common
