#pragma once

#include <rpc/rpc.h>

#include <boost/thread/thread.hpp>
#include <string>

/// The thread in which a business-logic entity publishes its ONC RPC programs (RFC 5531).
///
/// The thread registers itself with `BLLManager` under the proxy's name and runs the start routine. A proxy
/// named "BLLManager_mng" or "dhcpra_fun" then runs the receive loop of the process, which serves the
/// programs of every proxy: the RPC library's transports and dispatchers are process-wide. Other threads end
/// there.
///
/// `start`, `stop`, `isStopped` and the destructor belong to one thread, which is not the proxy's own.
class RPCProxy {
public:
    /// `start` receives the address of a pointer to `checkInterrupt`; its result is ignored.
    RPCProxy(void* (*start)(void*), const std::string& name);

    /// Interrupts and joins the thread if it was not joined yet.
    ~RPCProxy();  // NOLINT(bugprone-exception-escape): see the definition

    RPCProxy(const RPCProxy&) = delete;
    RPCProxy& operator=(const RPCProxy&) = delete;

    /// Starts the thread; false if it cannot be made, or if the former one was not joined yet.
    bool start();

    /// Interrupts the thread. With `timed` the answer is that of `isStopped`; otherwise joins, and is true.
    bool stop(bool timed);

    /// Whether the thread has ended; waits up to 100 ms for it and joins it then.
    bool isStopped();

    /// The body of the thread.
    void threadFunction();

private:
    boost::thread thread_;
    int (*checkInterrupt_)();
    void* (*start_)(void*);
    std::string name_;
};

/// Ends the calling proxy thread if its proxy was told to stop; otherwise returns 0.
int checkInterrupt();

/// Makes a UDP and a TCP transport for a program on free ports of 127.0.0.1, and registers both with
/// `dispatch` and the portmapper. Each failure is told on standard error; the other transport is still made.
/// Both are served as `transports.h` tells, so `dispatch` replies before it returns.
void rpcProxyRegisterSvc(unsigned long prog, unsigned long vers, void (*dispatch)(struct svc_req*, SVCXPRT*));
