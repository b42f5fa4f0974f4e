#include "common/controlChannel.h"

#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "common/errors.h"
#include "common/number.h"
#include "common/text.h"

namespace common {
namespace {

constexpr std::size_t kReadBytes = 65536;

std::string remedy(int error) {
    switch (error) {
        case ENOENT:
            return "there is no such socket; is oltmgrd running? --control names another path";
        case ECONNREFUSED:
            return "nobody serves this socket; is oltmgrd running? --control names another path";
        case EACCES:
        case EPERM:
            return "not permitted; run as the user that oltmgrd runs as";
        default:
            return std::string(std::strerror(error)) + "; is oltmgrd running? --control names another path";
    }
}

}  // namespace

std::vector<uid_t> believedOwners(const std::string& user) {
    std::vector<uid_t> users = {::geteuid(), 0};
    if (!user.empty()) {
        const passwd* known = ::getpwnam(user.c_str());
        users.push_back(known != nullptr ? known->pw_uid : parseUnsigned(user, "--socket-owner"));
    }
    return users;
}

ControlChannel::ControlChannel(const std::string& path, double timeoutSeconds,
                               const std::vector<uid_t>& owners)
    : path_(path), timeoutSeconds_(timeoutSeconds), descriptor_(-1) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        throw UsageError("control path " + printable(path) + ": a socket's path has 1 to " +
                         std::to_string(sizeof address.sun_path - 1) + " bytes");
    }
    std::copy(path.begin(), path.end(), address.sun_path);
    descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor_ < 0) {
        throw NoAnswer("no socket can be had: " + std::string(std::strerror(errno)));
    }
    // A full backlog makes connect wait; the send timeout bounds that wait.
    const timeval bound{
        static_cast<time_t>(timeoutSeconds),
        1 + static_cast<suseconds_t>(
                (timeoutSeconds - static_cast<double>(static_cast<time_t>(timeoutSeconds))) * 999'999)};
    ::setsockopt(descriptor_, SOL_SOCKET, SO_SNDTIMEO, &bound, sizeof bound);
    if (::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int error = errno == EAGAIN ? ETIMEDOUT : errno;
        ::close(descriptor_);
        throw NoAnswer("control path " + printable(path) + ": " + remedy(error));
    }
    try {
        believe(owners);
    } catch (...) {
        ::close(descriptor_);
        throw;
    }
}

void ControlChannel::believe(const std::vector<uid_t>& owners) const {
    struct stat file {};
    ucred server{};
    socklen_t size = sizeof server;
    if (::stat(path_.c_str(), &file) != 0 ||
        ::getsockopt(descriptor_, SOL_SOCKET, SO_PEERCRED, &server, &size) != 0) {
        throw NoAnswer("control path " + printable(path_) + ": " + std::strerror(errno));
    }
    for (const uid_t user : {file.st_uid, server.uid}) {
        if (std::find(owners.begin(), owners.end(), user) == owners.end()) {
            throw NoAnswer("control path " + printable(path_) + ": served by user " + std::to_string(user) +
                           ", neither you nor root; --socket-owner names one to believe");
        }
    }
}

ControlChannel::~ControlChannel() {
    ::close(descriptor_);
}

std::string ControlChannel::ask(const std::string& line) {
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                             std::chrono::duration<double>(timeoutSeconds_));
    send(line + "\n", deadline);
    return receiveLine(deadline);
}

void ControlChannel::awaitReady(short events, Clock::time_point deadline) const {
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waiting{descriptor_, events, 0};
        const int ready = left < 0 ? 0 : ::poll(&waiting, 1, static_cast<int>(left) + 1);
        if (ready > 0) {
            return;
        }
        if (ready == 0) {
            throw NoAnswer("control path " + printable(path_) +
                           ": no answer in time; the request may be carried out all the same (--timeout)");
        }
        if (errno != EINTR) {
            throw NoAnswer("control path " + printable(path_) + ": " + std::strerror(errno));
        }
    }
}

void ControlChannel::send(const std::string& line, Clock::time_point deadline) const {
    std::size_t sent = 0;
    while (sent < line.size()) {
        awaitReady(POLLOUT, deadline);
        const ssize_t count =
            ::send(descriptor_, line.data() + sent, line.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0) {
            sent += static_cast<std::size_t>(count);
        } else if (errno == EPIPE || errno == ECONNRESET) {
            return;  // the server closed on an over-long line; what it said about it is still to be read
        } else if (errno != EAGAIN && errno != EINTR) {
            throw NoAnswer("control path " + printable(path_) + ": " + std::strerror(errno));
        }
    }
}

std::string ControlChannel::receiveLine(Clock::time_point deadline) {
    std::vector<char> buffer(kReadBytes);
    std::size_t searched = 0;
    for (;;) {
        const std::size_t end = received_.find('\n', searched);
        if (end != std::string::npos) {
            std::string line = received_.substr(0, end);
            received_.erase(0, end + 1);
            return line;
        }
        searched = received_.size();
        awaitReady(POLLIN, deadline);
        const ssize_t count = ::recv(descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count > 0) {
            received_.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            throw NoAnswer("control path " + printable(path_) +
                           ": oltmgrd closed the connection without an answer; its log may say why");
        }
    }
}

}  // namespace common
