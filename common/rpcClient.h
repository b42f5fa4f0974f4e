#pragma once

#include <rpc/rpc.h>

#include <cstdint>

#include "common/loopback.h"

namespace common {

/// An RPC client of one program over a connected socket of its own.
class RpcClient {
public:
    /// Throws NoAnswer.
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
/// Throws NoAnswer when there is no portmapper or no registration.
std::uint16_t portFromPortmapper(bool udp, rpcprog_t program, rpcvers_t version, Clock::time_point deadline);

}  // namespace common
