#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <optional>

namespace rte {

/// Asks the kernel how many bytes wait unread at the other end of connections on this host.
///
/// A peer that reads a little at a time frees room in its own socket, which TCP tells this end of only after
/// tens of kilobytes, so a slow reader looks like one that has stopped unless its own end is looked at.
class PeerQueue {
public:
    PeerQueue();
    ~PeerQueue();
    PeerQueue(const PeerQueue&) = delete;
    PeerQueue& operator=(const PeerQueue&) = delete;

    /// Of the connection between `own` and `peer`, both of this host; nothing where the kernel does not tell.
    std::optional<std::uint32_t> unread(const sockaddr_in& own, const sockaddr_in& peer) const;

private:
    int netlink_;
};

}  // namespace rte
