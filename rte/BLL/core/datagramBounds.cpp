#include "rte/BLL/core/datagramBounds.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <atomic>
#include <mutex>
#include <type_traits>

namespace {

using Operations = std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>>;

/// The operations of the library's UDP transports, and the same with the bound; one table serves all. Written
/// once, by the thread that registers the first transport, and read by the one that serves it.
std::once_flag operationsKnown;
std::atomic<const Operations*> libraryOperations = nullptr;
Operations boundedOperations;

/// The length of the datagram that the calling thread is serving. A request is received and dispatched on the
/// same thread before the next one is received.
thread_local std::size_t datagramLength = 0;

bool_t receive(SVCXPRT* transport, rpc_msg* message) {
    int length = 0;
    if (ioctl(transport->xp_fd, FIONREAD, &length) != 0 || length == 0) {
        // An empty datagram, or one that is gone since select saw it, by a bad checksum for instance; the
        // library would wait for another.
        recv(transport->xp_fd, nullptr, 0, MSG_DONTWAIT);
        return FALSE;
    }
    datagramLength = static_cast<std::size_t>(length);
    return libraryOperations.load()->xp_recv(transport, message);
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
    return xdrs->x_op != XDR_DECODE || xdr_getpos(xdrs) <= datagramLength;
}

bool_t getArguments(SVCXPRT* transport, xdrproc_t routine, void* argument) {
    BoundedArgument bounded{.routine = routine, .argument = argument};
    const auto decode = reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(decodeBounded));
    return libraryOperations.load()->xp_getargs(transport, decode, &bounded);
}

}  // namespace

void boundArgumentsToDatagram(SVCXPRT* transport) {
    std::call_once(operationsKnown, [transport] {
        boundedOperations = *transport->xp_ops;
        boundedOperations.xp_recv = receive;
        boundedOperations.xp_getargs = getArguments;
        libraryOperations = transport->xp_ops;
    });
    transport->xp_ops = &boundedOperations;
}
