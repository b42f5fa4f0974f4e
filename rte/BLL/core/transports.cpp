#include "rte/BLL/core/transports.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "rte/BLL/core/adoptedTransport.h"
#include "rte/BLL/core/connectionHub.h"
#include "rte/BLL/core/datagramOperations.h"

namespace rte {
namespace {

/// What the kernel may hold of replies for a client that does not read, bytes; it doubles the number. More
/// only adds to what thousands of such clients cost.
constexpr int kSendBuffer = 65'536;

/// So many connections at once are a crowd. The queue in which they wait for this process is made longer for
/// one, or the kernel drops those that come while the process has to wait for a processor, and their clients
/// try again only a second later.
constexpr int kCrowd = 16;
constexpr int kCrowdBacklog = 4096;

/// A listening transport, the connections of which go to the hub.
class ListenerOperations : public AdoptedTransport {
public:
    ListenerOperations(SVCXPRT* transport, ConnectionHub& hub) : AdoptedTransport(transport), hub_(hub) {
        operations().xp_recv = receive;
        adopt();
    }
    ~ListenerOperations() override { destroyTransport(); }

private:
    /// There is never a call to be dispatched.
    static bool_t receive(SVCXPRT* transport, rpc_msg*) {
        auto& self = static_cast<ListenerOperations&>(of(transport));
        if (self.hub_.accept(transport->xp_fd) >= kCrowd && !std::exchange(self.crowded_, true)) {
            ::listen(transport->xp_fd, kCrowdBacklog);
        }
        return FALSE;
    }

    ConnectionHub& hub_;
    bool crowded_ = false;
};

class Transports {
public:
    ConnectionHub& hub() {
        if (!hub_) {
            hub_ = std::make_unique<ConnectionHub>();
        }
        return *hub_;
    }
    void add(std::unique_ptr<AdoptedTransport> transport) { adopted_.push_back(std::move(transport)); }

private:
    std::unique_ptr<ConnectionHub> hub_;
    std::vector<std::unique_ptr<AdoptedTransport>> adopted_;  // end before the hub
};

Transports& transports() {
    static Transports all;
    return all;
}

}  // namespace

void adoptDatagrams(SVCXPRT* transport) {
    transports().add(std::make_unique<DatagramOperations>(transport));
}

void adoptListener(SVCXPRT* transport) try {
    ConnectionHub& hub = transports().hub();
    // Connections have these from their listener.
    const int on = 1;
    ::setsockopt(transport->xp_fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ::setsockopt(transport->xp_fd, SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);
    ::fcntl(transport->xp_fd, F_SETFL, ::fcntl(transport->xp_fd, F_GETFL) | O_NONBLOCK);
    transports().add(std::make_unique<ListenerOperations>(transport, hub));
} catch (const std::system_error&) {
    // Served by the library itself.
}

}  // namespace rte
