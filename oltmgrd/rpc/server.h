#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include "oltmgrd/platform/host.h"
#include "rte/BLL/core/rpcProxy.h"

namespace oltmgrd {

/// Sets the process up so that hostile RPC clients cannot hold up the others. Before the RPC library is used.
void hardenRpc();

/// Aligned as the integer of its size: exchanging it at once takes clang a library of its own otherwise.
struct alignas(std::uint32_t) RpcPorts {
    std::uint16_t udp = 0;  ///< 0: no transport
    std::uint16_t tcp = 0;
};

/// The receive loop of the process's RPC programs, "BLLManager_mng", and the entities' registration with it.
/// One thread uses an object, save for `isPortmapperThere` and `ports`.
class RpcServer {
public:
    /// `host` outlives this.
    explicit RpcServer(Host& host);
    ~RpcServer();
    RpcServer(const RpcServer&) = delete;
    RpcServer& operator=(const RpcServer&) = delete;

    /// Whether something took connections on the portmapper's port when this object was made.
    bool isPortmapperThere() const { return portmapperThere_; }

    /// The ports on which the module's program is served; none before it is registered.
    RpcPorts ports() const { return ports_; }

    /// Waits for the thread that registers the module's program, but no longer than `limit`, and then starts
    /// the loop. When the registration takes longer the operator is told, and the loop learns of its
    /// transports when they come.
    void start(bool awaitsRegistration, std::chrono::milliseconds limit);

    /// Has the registration end where a portmapper that does not answer holds it up.
    void giveUpRegistration();

    /// Ends the loop and takes the program out of the portmapper.
    void stop();

private:
    void watchRegistration(const std::stop_token& stop);

    Host& host_;
    bool portmapperThere_;
    bool registering_ = false;
    std::atomic<RpcPorts> ports_;
    RPCProxy loop_;
    std::jthread registrationWatch_;
    std::jthread portmapperCutter_;
};

}  // namespace oltmgrd
