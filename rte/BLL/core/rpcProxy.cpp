#include "rte/BLL/core/rpcProxy.h"

#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/bind/bind.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string_view>

#include "BLLManager.h"

namespace {

constexpr std::array<std::string_view, 2> kReceiveLoopProxies{"BLLManager_mng", "dhcpra_fun"};

bool runsReceiveLoop(std::string_view name) {
    return std::find(kReceiveLoopProxies.begin(), kReceiveLoopProxies.end(), name) !=
           kReceiveLoopProxies.end();
}

/// Serves requests until select fails. An interruption leaves by exception, at most a second after it.
void receiveLoop(const std::string& name) {
    while (true) {
        fd_set ready = svc_fdset;
        timeval timeout{.tv_sec = 1, .tv_usec = 0};
        const int count = select(FD_SETSIZE, &ready, nullptr, nullptr, &timeout);
        if (count < 0) {
            const int error = errno;
            if (error == EINTR) {
                continue;
            }
            std::fprintf(stderr, "[%d] %s: RPC main loop stopping (%d - %s).\n", getpid(), name.c_str(),
                         error, std::strerror(error));
            return;
        }
        if (count > 0) {
            svc_getreqset(&ready);
        }
        boost::this_thread::interruption_point();
    }
}

}  // namespace

RPCProxy::RPCProxy(void* (*start)(void*), const std::string& name)
    : checkInterrupt_(checkInterrupt), start_(start), name_(name) {}

// NOLINTNEXTLINE(bugprone-exception-escape): only a thread that joins itself would throw
RPCProxy::~RPCProxy() {
    stop(false);
}

bool RPCProxy::start() {
    if (thread_.joinable()) {
        return false;
    }
    try {
        thread_ = boost::thread(boost::bind(&RPCProxy::threadFunction, this));
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

bool RPCProxy::stop(bool timed) {
    if (thread_.joinable()) {
        thread_.interrupt();
    }
    if (timed) {
        return isStopped();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
    return true;
}

bool RPCProxy::isStopped() {
    if (!thread_.joinable()) {
        return true;
    }
    return thread_.timed_join(boost::posix_time::microsec_clock::universal_time() +
                              boost::posix_time::milliseconds(100));
}

void RPCProxy::threadFunction() {
    singleton<BLLManager>::instance().registerThread(name_);
    start_(&checkInterrupt_);
    if (!runsReceiveLoop(name_)) {
        return;
    }

    std::fprintf(stderr, "[%d] %s: Starting main RPC loop - custom made.\n", getpid(), name_.c_str());
    try {
        receiveLoop(name_);
    } catch (const boost::thread_interrupted&) {
        std::fprintf(stderr, "[%d] %s: RPC main loop stopping.\n", getpid(), name_.c_str());
    }
}

int checkInterrupt() {
    boost::this_thread::interruption_point();
    return 0;
}
