#include "oltmgrd/rpc/server.h"

#include <malloc.h>
#include <netinet/in.h>
#include <onuqos.h>
#include <rpc/pmap_clnt.h>
#include <rpc/pmap_prot.h>
#include <rpc/rpc.h>
#include <rpc/rpc_com.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <future>
#include <string>
#include <utility>

#include "oltmgrd/process/operatorLog.h"
#include "oltmgrd/rpc/portmapper.h"

namespace oltmgrd {
namespace {

constexpr const char* kLoop = "BLLManager_mng";
constexpr const char* kRegistration = "onuqos_mng";

// The receive loop selects over this many descriptors and never serves one beyond.
constexpr rlim_t kDescriptorsMax = FD_SETSIZE;
// The longest record of a client, bytes. It also makes the library read without blocking, and take in records
// of one fragment only; without it half a record blocks everyone for 35 s.
constexpr int kRecordMax = 65'536;
// Buffers of the size a hostile length field asks for go back to the system when they are freed.
constexpr int kMmapThreshold = 131'072;

constexpr std::chrono::milliseconds kWatchInterval{100};
constexpr std::chrono::milliseconds kCutInterval{20};
constexpr std::chrono::milliseconds kUnregisterLimit{500};
constexpr timeval kPortmapperLimit{.tv_sec = 0, .tv_usec = 500'000};

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

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// Sends an empty datagram, which the RPC library drops.
void sendNothing(std::uint16_t port) {
    const sockaddr_in address = loopback(port);
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ::sendto(descriptor, "", 0, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    ::close(descriptor);
}

/// The TCP port that the portmapper has for the program; 0 when it does not answer in time.
std::uint16_t publishedPort() {
    sockaddr_in address = loopback(PMAPPORT);
    int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &kPortmapperLimit,
                 sizeof kPortmapperLimit);  // for connect
    u_short port = 0;
    // With a connection of its own the library neither looks for a reserved port nor waits without bound.
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        CLIENT* client = ::clnttcp_create(&address, PMAPPROG, PMAPVERS, &descriptor, 0, 0);
        if (client != nullptr) {
            pmap wanted{
                .pm_prog = RPC_ONUQOS_PROG, .pm_vers = RPC_ONUQOS_VERS, .pm_prot = IPPROTO_TCP, .pm_port = 0};
            clnt_call(client, PMAPPROC_GETPORT, reinterpret_cast<xdrproc_t>(::xdr_pmap),
                      reinterpret_cast<caddr_t>(&wanted), reinterpret_cast<xdrproc_t>(::xdr_u_short),
                      reinterpret_cast<caddr_t>(&port), kPortmapperLimit);
            clnt_destroy(client);
        }
    }
    ::close(descriptor);
    return port;
}

/// Takes the program out of the portmapper, unless another process has published its own in the meantime.
void unregister(const RpcPorts& ports) {
    if (ports.tcp == 0 || publishedPort() != ports.tcp) {
        return;
    }
    std::packaged_task<void()> task([] { ::pmap_unset(RPC_ONUQOS_PROG, RPC_ONUQOS_VERS); });
    const auto done = task.get_future();
    const std::jthread caller(std::move(task));
    auto wait = kUnregisterLimit;
    while (done.wait_for(wait) != std::future_status::ready) {
        cutPortmapperCalls();
        wait = kCutInterval;
    }
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

}  // namespace

void hardenRpc() {
    std::signal(SIGPIPE, SIG_IGN);
    struct sigaction wake {};
    wake.sa_handler = [](int) {};
    ::sigaction(kWakeSignal, &wake, nullptr);

    rlimit descriptors{};
    ::getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = std::min(descriptors.rlim_max, kDescriptorsMax);
    ::setrlimit(RLIMIT_NOFILE, &descriptors);

    ::mallopt(M_MMAP_THRESHOLD, kMmapThreshold);
    int recordMax = kRecordMax;
    ::rpc_control(RPC_SVC_CONNMAXREC_SET, &recordMax);
}

RpcServer::RpcServer(Host& host)
    : host_(host), portmapperThere_(portmapperIsThere()), loop_(startNothing, kLoop) {}

RpcServer::~RpcServer() {
    stop();
}

void RpcServer::start(bool awaitsRegistration, std::chrono::milliseconds limit) {
    registering_ = awaitsRegistration && !host_.awaitThreadEnd(kRegistration, limit);
    if (registering_) {
        tellOperator(
            "the portmapper does not answer: RPC clients cannot be served until it does; everything else "
            "goes on. Restart rpcbind.");
        registrationWatch_ = std::jthread([this](const std::stop_token& stop) { watchRegistration(stop); });
    } else {
        ports_ = registeredPorts();
    }
    loop_.start();
}

void RpcServer::watchRegistration(const std::stop_token& stop) {
    while (!host_.awaitThreadEnd(kRegistration, kWatchInterval) && !stop.stop_requested()) {
    }
    if (stop.stop_requested()) {
        return;
    }
    const RpcPorts ports = registeredPorts();  // nothing is served yet, so the loop leaves the set alone
    ports_ = ports;
    host_.signalThreads(kLoop, kWakeSignal);
    tellOperator("RPC clients are served now: rpc-udp=" + std::to_string(ports.udp) +
                 " rpc-tcp=" + std::to_string(ports.tcp));
}

void RpcServer::giveUpRegistration() {
    if (!registering_ || portmapperCutter_.joinable() ||
        host_.awaitThreadEnd(kRegistration, std::chrono::milliseconds(0))) {
        return;
    }
    registrationWatch_.request_stop();
    portmapperCutter_ = std::jthread([this](const std::stop_token& stop) {
        while (!stop.stop_requested() && !host_.awaitThreadEnd(kRegistration, kCutInterval)) {
            cutPortmapperCalls();
        }
    });
}

void RpcServer::stop() {
    const RpcPorts ports = ports_;
    // Only the time-out of its select and a request make the loop look whether it is to end.
    while (!loop_.stop(true)) {
        sendNothing(ports.udp);
    }
    if (std::exchange(portmapperThere_, false)) {
        unregister(ports);
    }
}

}  // namespace oltmgrd
