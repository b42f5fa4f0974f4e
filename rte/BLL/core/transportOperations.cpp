#include "rte/BLL/core/transportOperations.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <mutex>
#include <type_traits>
#include <utility>

namespace {

using Operations = std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>>;

constexpr int kTurn = 16;

/// Bytes that wait first at a socket: of a connection all, else those of one datagram.
std::size_t waitingBytes(int descriptor) {
    int bytes = 0;
    return ioctl(descriptor, FIONREAD, &bytes) == 0 ? static_cast<std::size_t>(bytes) : 0;
}

/// The library's operations of a kind of transport, and the same with ours in front; one table serves all
/// transports of the kind.
class Kind {
public:
    template <typename Change>
    void adopt(SVCXPRT* transport, Change change) {
        std::call_once(known_, [this, transport, change] {
            library_ = transport->xp_ops;
            ours_ = *library_;
            change(ours_);
        });
        transport->xp_ops = &ours_;
    }
    bool has(const SVCXPRT* transport) const { return transport->xp_ops == &ours_; }
    const Operations& library() const { return *library_; }

private:
    std::once_flag known_;
    const Operations* library_ = nullptr;
    Operations ours_{};
};

Kind datagrams;
Kind connections;

/// What the calling thread serves. A request is received and dispatched on the same thread before the next
/// one is received.
struct Turn {
    std::size_t length = 0;      ///< of the datagram being served, bytes
    std::size_t nextLength = 0;  ///< of the one behind it, where that is known
    int served = 0;

    /// Whether the transport is to be asked for another request, of which `waiting` tells.
    template <typename Waiting>
    bool goesOn(Waiting waiting) {
        if (++served < kTurn && waiting()) {
            return true;
        }
        served = 0;
        return false;
    }
};
thread_local Turn turn;

bool_t receiveDatagram(SVCXPRT* transport, rpc_msg* message) {
    turn.length = std::exchange(turn.nextLength, 0);
    if (turn.length == 0) {
        turn.length = waitingBytes(transport->xp_fd);
    }
    if (turn.length == 0) {
        // An empty datagram, or one that is gone since select saw it, by a bad checksum for instance; the
        // library would wait for another.
        recv(transport->xp_fd, nullptr, 0, MSG_DONTWAIT);
        return FALSE;
    }
    return datagrams.library().xp_recv(transport, message);
}

xprt_stat datagramsStatus(SVCXPRT* transport) {
    const bool more = turn.goesOn([transport] {
        turn.nextLength = waitingBytes(transport->xp_fd);
        return turn.nextLength != 0;
    });
    return more ? XPRT_MOREREQS : XPRT_IDLE;
}

struct BoundedArgument {
    xdrproc_t routine;
    void* argument;
};

/// Stands in for the argument's own routine. The stream's position counts from the start of the datagram.
bool_t decodeBounded(XDR* xdrs, BoundedArgument* bounded) {
    if (!bounded->routine(xdrs, bounded->argument)) {
        return FALSE;
    }
    return xdrs->x_op != XDR_DECODE || xdr_getpos(xdrs) <= turn.length;
}

bool_t datagramArguments(SVCXPRT* transport, xdrproc_t routine, void* argument) {
    BoundedArgument bounded{.routine = routine, .argument = argument};
    const auto decode = reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(decodeBounded));
    return datagrams.library().xp_getargs(transport, decode, &bounded);
}

xprt_stat connectionStatus(SVCXPRT* transport) {
    const xprt_stat status = connections.library().xp_stat(transport);
    const bool more = turn.goesOn(
        [transport, status] { return status == XPRT_IDLE && waitingBytes(transport->xp_fd) != 0; });
    return more ? XPRT_MOREREQS : status;
}

bool isConnection(int descriptor) {
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM;
}

}  // namespace

void adoptDatagrams(SVCXPRT* transport) {
    datagrams.adopt(transport, [](Operations& ours) {
        ours.xp_recv = receiveDatagram;
        ours.xp_getargs = datagramArguments;
        ours.xp_stat = datagramsStatus;
    });
}

void adoptConnection(SVCXPRT* transport) {
    if (!connections.has(transport) && !datagrams.has(transport) && isConnection(transport->xp_fd)) {
        connections.adopt(transport, [](Operations& ours) { ours.xp_stat = connectionStatus; });
    }
}
