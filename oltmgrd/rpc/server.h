#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "oltmgrd/platform/host.h"
#include "oltmgrd/rpc/portmapper.h"
#include "rte/BLL/core/rpcProxy.h"

namespace oltmgrd {

/// Sets the process up so that hostile RPC clients cannot hold up the others. Before the RPC library is used.
void hardenRpc();

/// The receive loop of the process's RPC programs, "BLLManager_mng", and the entities' registration with it.
/// One thread uses an object, save for `isPublished`, `ports` and `withdraw`.
class RpcServer {
public:
    /// Takes a line for the operator, on any thread.
    using Tell = std::function<void(const std::string&)>;

    /// `host` outlives this.
    RpcServer(Host& host, Tell tell);
    ~RpcServer();
    RpcServer(const RpcServer&) = delete;
    RpcServer& operator=(const RpcServer&) = delete;

    /// Asks the portmapper whether the ports that it has for the program are those of this process.
    bool isPublished() const;

    /// The ports on which the module's program is served; none before it is registered.
    RpcPorts ports() const { return ports_; }

    /// Waits for the thread that registers the module's program, but no longer than `limit`, and then starts
    /// the loop. When the registration takes longer the operator is told, and the loop learns of its
    /// transports when they come.
    ///
    /// From then on the ports are published again where the portmapper has lost them, as after its restart.
    /// Once another process has registered the program, that is told and the portmapper left alone.
    void start(bool awaitsRegistration, std::chrono::milliseconds limit);

    /// Has the registration end where a portmapper that does not answer holds it up.
    void giveUpRegistration();

    /// Takes what this process has registered out of the portmapper.
    void withdraw();

    /// Ends the loop, and withdraws.
    void stop();

private:
    bool awaitRegistration(const std::stop_token& stop);
    void watchPublication(const std::stop_token& stop);

    Host& host_;
    Tell tell_;
    bool registering_ = false;
    std::atomic<RpcPorts> ports_;
    RPCProxy loop_;
    std::jthread registrationWatch_;
    std::jthread portmapperCutter_;
};

}  // namespace oltmgrd
