#pragma once

#include <netinet/in.h>
#include <sys/time.h>

#include <chrono>
#include <cstdint>

namespace common {

using Clock = std::chrono::steady_clock;

/// The time left until `deadline`, not below nothing, as sockets and the RPC library take it.
timeval timeLeft(Clock::time_point deadline);

/// An IPv4 port of the loopback address.
sockaddr_in loopback(std::uint16_t port);

/// A socket connected to a port on the loopback address, from a port that the kernel chose: handed to the RPC
/// library, which otherwise binds a reserved port first when it runs as root, trying them one after the
/// other.
class LoopbackSocket {
public:
    /// Throws common::NoAnswer when nothing listens there, or nothing accepts before the deadline.
    LoopbackSocket(bool udp, std::uint16_t port, Clock::time_point deadline);
    ~LoopbackSocket();
    LoopbackSocket(const LoopbackSocket&) = delete;
    LoopbackSocket& operator=(const LoopbackSocket&) = delete;

    [[nodiscard]] int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

}  // namespace common
