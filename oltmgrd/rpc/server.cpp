#include "oltmgrd/rpc/server.h"

#include <malloc.h>
#include <netinet/in.h>
#include <rpc/rpc.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <string>
#include <utility>

#include "common/loopback.h"

namespace oltmgrd {
namespace {

constexpr const char* kLoop = "BLLManager_mng";
constexpr const char* kRegistration = "onuqos_mng";

// The allocator gives longer blocks back to the system when they are freed, as those of a long name in a
// call.
constexpr int kMmapThreshold = 131'072;

constexpr std::chrono::milliseconds kWatchInterval{100};
constexpr std::chrono::milliseconds kCutInterval{20};
// How often the portmapper is asked whether the program is still registered. A program that is not when it is
// asked twice in a row is published again: another process may be about to register it.
constexpr std::chrono::milliseconds kPublishedInterval{1500};

// Makes the loop's select return, so that it looks at new transports.
constexpr int kWakeSignal = SIGUSR1;

void* startNothing(void*) {
    return nullptr;
}

int socketOption(int descriptor, int option) {
    int value = 0;
    socklen_t size = sizeof value;
    return ::getsockopt(descriptor, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

/// Sends an empty datagram, which the RPC library drops.
void sendNothing(std::uint16_t port) {
    const sockaddr_in address = common::loopback(port);
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ::sendto(descriptor, "", 0, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    ::close(descriptor);
}

/// The ports of the transports that are registered. Only while the loop does not change the library's set.
RpcPorts registeredPorts() {
    RpcPorts ports;
    const fd_set served = svc_fdset;
    for (int descriptor = 0; descriptor < FD_SETSIZE; ++descriptor) {
        if (!FD_ISSET(descriptor, &served)) {
            continue;
        }
        sockaddr_in address{};
        socklen_t size = sizeof address;
        if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
            address.sin_family != AF_INET) {
            continue;
        }
        const std::uint16_t port = ntohs(address.sin_port);
        if (socketOption(descriptor, SO_TYPE) == SOCK_DGRAM) {
            ports.udp = port;
        } else if (socketOption(descriptor, SO_ACCEPTCONN) == 1) {
            ports.tcp = port;
        }
    }
    return ports;
}

bool isAnother(std::uint16_t published, std::uint16_t own) {
    return published != 0 && published != own;
}

}  // namespace

void hardenRpc() {
    std::signal(SIGPIPE, SIG_IGN);
    struct sigaction wake {};
    wake.sa_handler = [](int) {};
    ::sigaction(kWakeSignal, &wake, nullptr);
    ::mallopt(M_MMAP_THRESHOLD, kMmapThreshold);
}

RpcServer::RpcServer(Host& host, Tell tell)
    : host_(host), tell_(std::move(tell)), loop_(startNothing, kLoop) {}

RpcServer::~RpcServer() {
    stop();
}

void RpcServer::start(bool awaitsRegistration, std::chrono::milliseconds limit) {
    registering_ = awaitsRegistration && !host_.awaitThreadEnd(kRegistration, limit);
    if (registering_) {
        tell_(
            "the portmapper does not answer: RPC clients cannot be served until it does; everything else "
            "goes on. Restart rpcbind.");
    } else {
        ports_ = registeredPorts();
    }
    if (awaitsRegistration) {
        registrationWatch_ = std::jthread([this](const std::stop_token& stop) {
            if (!registering_ || awaitRegistration(stop)) {
                watchPublication(stop);
            }
        });
    }
    loop_.start();
}

/// False when it was given up.
bool RpcServer::awaitRegistration(const std::stop_token& stop) {
    while (!host_.awaitThreadEnd(kRegistration, kWatchInterval) && !stop.stop_requested()) {
    }
    if (stop.stop_requested()) {
        return false;
    }
    const RpcPorts ports = registeredPorts();  // nothing is served yet, so the loop leaves the set alone
    ports_ = ports;
    host_.signalThreads(kLoop, kWakeSignal);
    tell_("RPC clients are served now: rpc-udp=" + std::to_string(ports.udp) +
          " rpc-tcp=" + std::to_string(ports.tcp));
    return true;
}

/// Publishes the ports again when the portmapper has lost them, until another process registers its own.
void RpcServer::watchPublication(const std::stop_token& stop) {
    const RpcPorts ports = ports_;
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock guard(mutex);
    bool wasLost = false;
    bool wasTakenOver = false;
    while (!stopped.wait_for(guard, stop, kPublishedInterval, [] { return false; }) &&
           !stop.stop_requested()) {
        const auto published = publishedPorts();
        const bool isOther =
            published && (isAnother(published->udp, ports.udp) || isAnother(published->tcp, ports.tcp));
        const bool isLost = published && !isOther && !wasTakenOver && published != ports;
        if (isLost && wasLost && publishPorts(ports)) {
            tell_("the portmapper did not have the RPC program; its ports are published there again");
        } else if (isOther) {
            if (!std::exchange(wasTakenOver, true)) {
                tell_("another process has registered the RPC program, rpc-udp=" +
                      std::to_string(published->udp) + " rpc-tcp=" + std::to_string(published->tcp) +
                      ": clients of the portmapper reach that one");
            }
        }
        wasLost = isLost;
    }
}

bool RpcServer::isPublished() const {
    const RpcPorts ports = ports_;
    return ports != RpcPorts{} && publishedPorts() == ports && portmapperIsThere();
}

void RpcServer::giveUpRegistration() {
    registrationWatch_.request_stop();
    if (!registering_ || portmapperCutter_.joinable() ||
        host_.awaitThreadEnd(kRegistration, std::chrono::milliseconds(0))) {
        return;
    }
    portmapperCutter_ = std::jthread([this](const std::stop_token& stop) {
        while (!stop.stop_requested() && !host_.awaitThreadEnd(kRegistration, kCutInterval)) {
            cutPortmapperCalls();
        }
    });
}

void RpcServer::withdraw() {
    RpcPorts ports = ports_;
    if (ports == RpcPorts{}) {
        ports = registeredPorts();  // where it ends before the loop has begun
    }
    withdrawPorts(ports);
}

void RpcServer::stop() {
    giveUpRegistration();
    const RpcPorts ports = ports_;
    // Only the time-out of its select and a request make the loop look whether it is to end.
    while (!loop_.stop(true)) {
        sendNothing(ports.udp);
    }
    withdraw();
}

}  // namespace oltmgrd
