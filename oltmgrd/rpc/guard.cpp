#include "oltmgrd/rpc/guard.h"

#include <linux/sockios.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <rpc/rpc.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace oltmgrd {
namespace {

constexpr std::chrono::milliseconds kInterval{50};
// How long a full send queue may stand still. A client on this host that reads at all is faster.
constexpr std::chrono::milliseconds kStandstillMax{100};
// The loop serves at most FD_SETSIZE descriptors; the process needs some for itself, and connections that
// arrive between two looks need room.
constexpr std::size_t kConnectionsMax = 768;

/// The client's port of a TCP connection; nothing for other sockets.
std::optional<in_port_t> clientPortOf(int descriptor) {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0 ||
        peer.sin_family != AF_INET) {
        return std::nullopt;
    }
    return peer.sin_port;
}

/// Milliseconds since something came in.
std::uint32_t idleTime(int descriptor) {
    tcp_info info{};
    socklen_t size = sizeof info;
    return ::getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 ? info.tcpi_last_data_recv : 0;
}

}  // namespace

RpcGuard::RpcGuard() : thread_([this](const std::stop_token& stop) { run(stop); }) {}

void RpcGuard::run(const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock guard(mutex);
    while (!stopped.wait_for(guard, stop, kInterval, [] { return false; }) && !stop.stop_requested()) {
        look();
    }
}

void RpcGuard::look() {
    const fd_set served = svc_fdset;
    std::vector<pollfd> polled;
    for (int descriptor = 0; descriptor < FD_SETSIZE; ++descriptor) {
        if (FD_ISSET(descriptor, &served)) {
            polled.push_back({.fd = descriptor, .events = POLLOUT, .revents = 0});
        }
    }
    ::poll(polled.data(), polled.size(), 0);
    std::vector<int> descriptors;
    std::vector<int> full;
    for (const pollfd& socket : polled) {
        descriptors.push_back(socket.fd);
        if ((socket.revents & (POLLOUT | POLLNVAL)) == 0) {
            full.push_back(socket.fd);
        }
    }
    endStalled(full);
    if (descriptors.size() > kConnectionsMax) {
        endIdle(descriptors);
    } else {
        ended_.clear();
    }
}

void RpcGuard::endStalled(const std::vector<int>& full) {
    const auto now = Clock::now();
    std::map<Connection, FullQueue> queues;
    for (const int descriptor : full) {
        const auto port = clientPortOf(descriptor);
        int bytes = 0;
        if (!port || ::ioctl(descriptor, SIOCOUTQ, &bytes) != 0) {
            continue;
        }
        const Connection connection{.descriptor = descriptor, .clientPort = *port};
        const auto before = fullQueues_.find(connection);
        if (before == fullQueues_.end() || before->second.bytes != bytes) {
            queues[connection] = {.bytes = bytes, .since = now};
        } else if (now - before->second.since >= kStandstillMax) {
            end(connection);
        } else {
            queues[connection] = before->second;
        }
    }
    fullQueues_ = std::move(queues);
}

void RpcGuard::endIdle(const std::vector<int>& descriptors) {
    std::vector<std::pair<std::uint32_t, Connection>> connections;
    std::set<Connection> ended;
    for (const int descriptor : descriptors) {
        if (const auto port = clientPortOf(descriptor)) {
            const Connection connection{.descriptor = descriptor, .clientPort = *port};
            if (ended_.contains(connection)) {
                ended.insert(connection);
            } else {
                connections.emplace_back(idleTime(descriptor), connection);
            }
        }
    }
    ended_ = std::move(ended);
    if (connections.size() <= kConnectionsMax) {
        return;
    }
    std::ranges::sort(connections, std::ranges::greater{}, &std::pair<std::uint32_t, Connection>::first);
    connections.resize(connections.size() - kConnectionsMax);
    for (const auto& [idle, connection] : connections) {
        end(connection);
        ended_.insert(connection);
    }
}

void RpcGuard::end(const Connection& connection) {
    // The library may have closed it meanwhile and given the descriptor to another client.
    if (clientPortOf(connection.descriptor) == connection.clientPort) {
        ::shutdown(connection.descriptor, SHUT_RDWR);
    }
}

}  // namespace oltmgrd
