#include "common/loopback.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "common/errors.h"

namespace common {
namespace {

// A TCP socket that connects to a free port of the ephemeral range can be given that very port and meet
// itself.
bool isConnectedToItself(int descriptor, const sockaddr_in& address) {
    sockaddr_in own{};
    socklen_t length = sizeof own;
    return ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&own), &length) == 0 &&
           own.sin_port == address.sin_port && own.sin_addr.s_addr == address.sin_addr.s_addr;
}

int awaitConnected(int descriptor, Clock::time_point deadline) {
    const timeval left = timeLeft(deadline);
    pollfd waiting{descriptor, POLLOUT, 0};
    const int ready = ::poll(&waiting, 1, static_cast<int>(left.tv_sec * 1000 + left.tv_usec / 1000 + 1));
    if (ready <= 0) {
        return ready == 0 ? ETIMEDOUT : errno;
    }
    int error = 0;
    socklen_t length = sizeof error;
    ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length);
    return error;
}

int connectTo(int descriptor, const sockaddr_in& address, Clock::time_point deadline) {
    int error = 0;
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        error = errno == EINPROGRESS || errno == EINTR ? awaitConnected(descriptor, deadline) : errno;
    }
    return error == 0 && isConnectedToItself(descriptor, address) ? ECONNREFUSED : error;
}

}  // namespace

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

timeval timeLeft(Clock::time_point deadline) {
    const auto left = std::max(std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()),
                               std::chrono::microseconds(1));
    return {static_cast<time_t>(left.count() / 1'000'000),
            static_cast<suseconds_t>(left.count() % 1'000'000)};
}

LoopbackSocket::LoopbackSocket(bool udp, std::uint16_t port, Clock::time_point deadline)
    : descriptor_(::socket(AF_INET, (udp ? SOCK_DGRAM : SOCK_STREAM) | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    const std::string where =
        std::string("127.0.0.1 ") + (udp ? "udp" : "tcp") + " port " + std::to_string(port);
    if (descriptor_ < 0) {
        throw NoAnswer("no socket can be had: " + std::string(std::strerror(errno)));
    }
    const int error = connectTo(descriptor_, loopback(port), deadline);
    if (error != 0) {
        ::close(descriptor_);
        throw NoAnswer(error == ECONNREFUSED ? "nothing listens on " + where
                                             : "cannot reach " + where + ": " + std::strerror(error));
    }
    ::fcntl(descriptor_, F_SETFL, ::fcntl(descriptor_, F_GETFL) & ~O_NONBLOCK);
}

LoopbackSocket::~LoopbackSocket() {
    ::close(descriptor_);
}

}  // namespace common
