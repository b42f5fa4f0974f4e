#include "oltmgrd/rpc/portmapper.h"

#include <netinet/in.h>
#include <onuqos.h>
#include <rpc/pmap_prot.h>
#include <rpc/rpc.h>
#include <rpc/rpcb_prot.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "common/errors.h"
#include "common/rpcClient.h"
#include "oltmgrd/files/descriptor.h"

namespace oltmgrd {
namespace {

constexpr std::chrono::milliseconds kConnectLimit{200};
constexpr std::chrono::milliseconds kPortmapperLimit{500};
// A server that has work to do answers later than a portmapper.
constexpr std::chrono::milliseconds kServerLimit{1000};
constexpr timeval kLocalLimit{.tv_sec = 0, .tv_usec = 300'000};
constexpr int kDescriptorMax = 1024;

struct Transport {
    const char* netid;
    u_long protocol;
    std::uint16_t RpcPorts::*port;
};
constexpr Transport kTransports[] = {{"udp", IPPROTO_UDP, &RpcPorts::udp},
                                     {"tcp", IPPROTO_TCP, &RpcPorts::tcp}};

/// Changes a registration. The portmapper takes changes by way of its local socket only, where it knows who
/// asks.
bool change(rpcproc_t procedure, const Transport& transport, std::uint16_t port) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(std::string_view(_PATH_RPCBINDSOCK), address.sun_path);
    Descriptor descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &kLocalLimit, sizeof kLocalLimit);  // for connect
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return false;
    }
    const netbuf where{sizeof address, sizeof address, &address};
    CLIENT* client = ::clnt_vc_create(descriptor, &where, RPCBPROG, RPCBVERS, 0, 0);
    if (client == nullptr) {
        return false;
    }
    std::string netid = transport.netid;
    std::string universal = "127.0.0.1." + std::to_string(port >> 8U) + "." + std::to_string(port & 0xFFU);
    std::string owner = std::to_string(::geteuid());
    rpcb entry{.r_prog = RPC_ONUQOS_PROG,
               .r_vers = RPC_ONUQOS_VERS,
               .r_netid = netid.data(),
               .r_addr = universal.data(),
               .r_owner = owner.data()};
    bool_t isDone = FALSE;
    const clnt_stat status = clnt_call(
        client, procedure, reinterpret_cast<xdrproc_t>(::xdr_rpcb), reinterpret_cast<caddr_t>(&entry),
        reinterpret_cast<xdrproc_t>(::xdr_bool), reinterpret_cast<caddr_t>(&isDone), kLocalLimit);
    clnt_destroy(client);
    return status == RPC_SUCCESS && isDone == TRUE;
}

bool isPortmapper(const sockaddr_storage& peer, socklen_t length) {
    if (peer.ss_family == AF_INET) {
        return ntohs(reinterpret_cast<const sockaddr_in&>(peer).sin_port) == PMAPPORT;
    }
    if (peer.ss_family == AF_INET6) {
        return ntohs(reinterpret_cast<const sockaddr_in6&>(peer).sin6_port) == PMAPPORT;
    }
    if (peer.ss_family != AF_UNIX || length <= offsetof(sockaddr_un, sun_path)) {
        return false;
    }
    const char* path = reinterpret_cast<const sockaddr_un&>(peer).sun_path;
    return std::string_view(path, ::strnlen(path, length - offsetof(sockaddr_un, sun_path)))
        .ends_with("/rpcbind.sock");
}

}  // namespace

bool portmapperIsThere() {
    try {
        common::LoopbackSocket(false, PMAPPORT, common::Clock::now() + kConnectLimit);
        return true;
    } catch (const common::NoAnswer&) {
        return false;
    }
}

std::optional<RpcPorts> publishedPorts() {
    const auto deadline = common::Clock::now() + kPortmapperLimit;
    RpcPorts ports;
    try {
        const common::RpcClient portmapper(false, PMAPPORT, PMAPPROG, PMAPVERS, deadline);
        for (const Transport& transport : kTransports) {
            pmap wanted{.pm_prog = RPC_ONUQOS_PROG,
                        .pm_vers = RPC_ONUQOS_VERS,
                        .pm_prot = transport.protocol,
                        .pm_port = 0};
            u_short port = 0;
            if (clnt_call(portmapper.get(), PMAPPROC_GETPORT, reinterpret_cast<xdrproc_t>(::xdr_pmap),
                          reinterpret_cast<caddr_t>(&wanted), reinterpret_cast<xdrproc_t>(::xdr_u_short),
                          reinterpret_cast<caddr_t>(&port), common::timeLeft(deadline)) != RPC_SUCCESS) {
                return std::nullopt;
            }
            ports.*transport.port = port;
        }
    } catch (const common::NoAnswer&) {
        return std::nullopt;
    }
    return ports;
}

bool publishPorts(const RpcPorts& ports) {
    bool isDone = true;
    for (const Transport& transport : kTransports) {
        const std::uint16_t port = ports.*transport.port;
        isDone = (port == 0 || change(RPCBPROC_SET, transport, port)) && isDone;
    }
    return isDone;
}

void withdrawPorts(const RpcPorts& ports) {
    const RpcPorts published = publishedPorts().value_or(RpcPorts{});
    for (const Transport& transport : kTransports) {
        const std::uint16_t port = ports.*transport.port;
        if (port != 0 && port == published.*transport.port) {
            change(RPCBPROC_UNSET, transport, port);
        }
    }
}

bool isProgramServed(const RpcPorts& ports) {
    for (const Transport& transport : kTransports) {
        const std::uint16_t port = ports.*transport.port;
        if (port == 0) {
            continue;
        }
        try {
            const auto deadline = common::Clock::now() + kServerLimit;
            const common::RpcClient server(transport.protocol == IPPROTO_UDP, port, RPC_ONUQOS_PROG,
                                           RPC_ONUQOS_VERS, deadline);
            const auto nothing = reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(::xdr_void));
            if (clnt_call(server.get(), NULLPROC, nothing, nullptr, nothing, nullptr,
                          common::timeLeft(deadline)) == RPC_SUCCESS) {
                return true;
            }
        } catch (const common::NoAnswer&) {
            continue;
        }
    }
    return false;
}

void cutPortmapperCalls() {
    for (int descriptor = 0; descriptor < kDescriptorMax; ++descriptor) {
        sockaddr_storage peer{};
        socklen_t length = sizeof peer;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &length) == 0 &&
            isPortmapper(peer, length)) {
            ::shutdown(descriptor, SHUT_RDWR);
        }
    }
}

}  // namespace oltmgrd
