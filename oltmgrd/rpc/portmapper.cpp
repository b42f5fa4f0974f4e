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
#include <charconv>
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

/// A client of the portmapper by way of its local socket, where it knows who asks: it takes changes there
/// only. The same socket leads to it from other networks of this host too.
class LocalClient {
public:
    LocalClient() : descriptor_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::ranges::copy(std::string_view(_PATH_RPCBINDSOCK), address.sun_path);
        ::setsockopt(descriptor_, SOL_SOCKET, SO_SNDTIMEO, &kLocalLimit, sizeof kLocalLimit);  // for connect
        if (::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            const netbuf where{sizeof address, sizeof address, &address};
            client_ = ::clnt_vc_create(descriptor_, &where, RPCBPROG, RPCBVERS, 0, 0);
        }
    }
    ~LocalClient() {
        if (client_ != nullptr) {
            clnt_destroy(client_);
        }
    }
    LocalClient(const LocalClient&) = delete;
    LocalClient& operator=(const LocalClient&) = delete;

    bool isThere() const { return client_ != nullptr; }

    std::optional<RpcPorts> ports() const {
        rpcblist_ptr list = nullptr;
        const auto nothing = reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(::xdr_void));
        const auto decode = reinterpret_cast<xdrproc_t>(::xdr_rpcblist_ptr);
        if (clnt_call(client_, RPCBPROC_DUMP, nothing, nullptr, decode, reinterpret_cast<caddr_t>(&list),
                      kLocalLimit) != RPC_SUCCESS) {
            return std::nullopt;
        }
        RpcPorts ports;
        for (const rp__list* entry = list; entry != nullptr; entry = entry->rpcb_next) {
            const rpcb& map = entry->rpcb_map;
            for (const Transport& transport : kTransports) {
                if (map.r_prog == RPC_ONUQOS_PROG && map.r_vers == RPC_ONUQOS_VERS &&
                    std::string_view(map.r_netid) == transport.netid) {
                    ports.*transport.port = portOf(map.r_addr);
                }
            }
        }
        ::xdr_free(decode, &list);
        return ports;
    }

    bool change(rpcproc_t procedure, const Transport& transport, std::uint16_t port) const {
        std::string netid = transport.netid;
        std::string universal =
            "127.0.0.1." + std::to_string(port >> 8U) + "." + std::to_string(port & 0xFFU);
        std::string owner = std::to_string(::geteuid());
        rpcb entry{.r_prog = RPC_ONUQOS_PROG,
                   .r_vers = RPC_ONUQOS_VERS,
                   .r_netid = netid.data(),
                   .r_addr = universal.data(),
                   .r_owner = owner.data()};
        bool_t isDone = FALSE;
        return clnt_call(client_, procedure, reinterpret_cast<xdrproc_t>(::xdr_rpcb),
                         reinterpret_cast<caddr_t>(&entry), reinterpret_cast<xdrproc_t>(::xdr_bool),
                         reinterpret_cast<caddr_t>(&isDone), kLocalLimit) == RPC_SUCCESS &&
               isDone == TRUE;
    }

private:
    /// Of an address such as 127.0.0.1.195.80; 0 for what is none.
    static std::uint16_t portOf(std::string_view universal) {
        unsigned int high = 0;
        unsigned int low = 0;
        const std::size_t last = universal.rfind('.');
        const std::size_t first = last == 0 ? last : universal.rfind('.', last - 1);
        if (last == std::string_view::npos || first == std::string_view::npos) {
            return 0;
        }
        std::from_chars(universal.data() + first + 1, universal.data() + last, high);
        std::from_chars(universal.data() + last + 1, universal.data() + universal.size(), low);
        return static_cast<std::uint16_t>(high << 8U | (low & 0xFFU));
    }

    Descriptor descriptor_;
    CLIENT* client_ = nullptr;
};

/// Asks a portmapper that has no local socket; nothing when it does not answer.
template <typename Result>
std::optional<Result> ask(rpcproc_t procedure, const Transport& transport, std::uint16_t port,
                          bool_t (*decode)(XDR*, Result*)) {
    try {
        const auto deadline = common::Clock::now() + kPortmapperLimit;
        const common::RpcClient portmapper(false, PMAPPORT, PMAPPROG, PMAPVERS, deadline);
        pmap entry{.pm_prog = RPC_ONUQOS_PROG,
                   .pm_vers = RPC_ONUQOS_VERS,
                   .pm_prot = transport.protocol,
                   .pm_port = port};
        Result result{};
        if (clnt_call(portmapper.get(), procedure, reinterpret_cast<xdrproc_t>(::xdr_pmap),
                      reinterpret_cast<caddr_t>(&entry), reinterpret_cast<xdrproc_t>(decode),
                      reinterpret_cast<caddr_t>(&result), common::timeLeft(deadline)) == RPC_SUCCESS) {
            return result;
        }
    } catch (const common::NoAnswer&) {
        return std::nullopt;
    }
    return std::nullopt;
}

bool change(bool isSet, const Transport& transport, std::uint16_t port) {
    if (const LocalClient local; local.isThere()) {
        return local.change(isSet ? RPCBPROC_SET : RPCBPROC_UNSET, transport, port);
    }
    return ask(isSet ? PMAPPROC_SET : PMAPPROC_UNSET, transport, port, ::xdr_bool).value_or(FALSE) == TRUE;
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
    if (const LocalClient local; local.isThere()) {
        return local.ports();
    }
    RpcPorts ports;
    for (const Transport& transport : kTransports) {
        const auto port = ask(PMAPPROC_GETPORT, transport, 0, ::xdr_u_short);
        if (!port) {
            return std::nullopt;
        }
        ports.*transport.port = *port;
    }
    return ports;
}

bool publishPorts(const RpcPorts& ports) {
    bool isDone = true;
    for (const Transport& transport : kTransports) {
        const std::uint16_t port = ports.*transport.port;
        isDone = (port == 0 || change(true, transport, port)) && isDone;
    }
    return isDone;
}

void withdrawPorts(const RpcPorts& ports) {
    const RpcPorts published = publishedPorts().value_or(RpcPorts{});
    for (const Transport& transport : kTransports) {
        const std::uint16_t port = ports.*transport.port;
        if (port != 0 && port == published.*transport.port) {
            change(false, transport, port);
        }
    }
}

std::optional<Descriptor> takeRegistrationTurn() {
    // A name in the abstract namespace belongs to the network, as the portmapper does, and goes with its
    // process.
    constexpr std::string_view kName("\0oltmgrd registers 536870950", 28);
    Descriptor turn(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(kName, address.sun_path);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + kName.size());
    return ::bind(turn, reinterpret_cast<const sockaddr*>(&address), size) == 0
               ? std::optional(std::move(turn))
               : std::nullopt;
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
