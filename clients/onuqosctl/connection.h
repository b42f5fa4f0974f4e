#pragma once

#include <rpc/rpc.h>

#include <chrono>
#include <cstdint>

namespace onuqosctl {

using Clock = std::chrono::steady_clock;

/// The time left until `deadline`, not below nothing, as the RPC library takes it.
timeval timeLeft(Clock::time_point deadline);

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

/// An RPC client of one program over a connected socket of its own.
class RpcClient {
public:
    /// Throws common::NoAnswer.
    RpcClient(bool udp, std::uint16_t port, rpcprog_t program, rpcvers_t version, Clock::time_point deadline);
    ~RpcClient();
    RpcClient(const RpcClient&) = delete;
    RpcClient& operator=(const RpcClient&) = delete;

    [[nodiscard]] CLIENT* get() const { return client_; }
    [[nodiscard]] std::uint16_t port() const { return port_; }
    [[nodiscard]] rpc_err lastError() const;

    /// Bounds the next call; over UDP its request is sent again every `retry`.
    void setTimeouts(timeval total, timeval retry);

private:
    std::uint16_t port_;
    LoopbackSocket socket_;
    CLIENT* client_;
};

/// The port at which the portmapper on this host has the program registered for the transport.
/// Throws common::NoAnswer when there is no portmapper or no registration.
std::uint16_t portFromPortmapper(bool udp, rpcprog_t program, rpcvers_t version, Clock::time_point deadline);

}  // namespace onuqosctl
