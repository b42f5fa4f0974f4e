#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <set>
#include <thread>
#include <vector>

namespace oltmgrd {

/// Keeps single RPC clients from holding up the receive loop, which serves one request at a time and writes
/// replies without looking whether the client reads. A thread of its own looks at the loop's connections and
/// shuts down
/// - those whose full send queue does not move: the loop may be waiting to write more;
/// - the longest idle ones when there are so many that descriptors run short.
/// The RPC library then finds the connection at its end and closes it. The guard itself needs no descriptor.
/// It reads the library's set of descriptors without a lock, since there is none: what it misreads is right
/// at its next look, and it names a connection by its client before it ends it.
class RpcGuard {
public:
    RpcGuard();

private:
    using Clock = std::chrono::steady_clock;

    /// A connection is named by its descriptor and its client's port, since descriptors are used again.
    struct Connection {
        int descriptor = -1;
        in_port_t clientPort = 0;

        friend auto operator<=>(const Connection&, const Connection&) = default;
    };

    /// A send queue that is full.
    struct FullQueue {
        int bytes = 0;
        Clock::time_point since;  ///< when it had another length last
    };

    void run(const std::stop_token& stop);
    void look();
    void endStalled(const std::vector<int>& full);
    void endIdle(const std::vector<int>& descriptors);
    void end(const Connection& connection);

    std::map<Connection, FullQueue> fullQueues_;
    std::set<Connection> ended_;  // and not yet closed by the library
    std::jthread thread_;
};

}  // namespace oltmgrd
