#pragma once

#include <rpc/rpc.h>
#include <rpc/svc_mt.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <vector>

#include "rte/BLL/core/callMessage.h"
#include "rte/BLL/core/connection.h"

namespace rte {

/// What connections may take altogether.
struct ConnectionLimits {
    /// Beyond these, or when descriptors run out, the connection that has been silent for longest is closed:
    /// of those that never had a call carried out, while there are any.
    std::size_t connections = 4096;

    /// Memory for what is half done, bytes. Beyond it the connection is closed whose unfinished record has
    /// held the most memory for the longest time. Another 4 MiB are enough for what connections share.
    std::size_t memory = std::size_t{60} << 20U;

    /// How long replies may wait without the client taking any of them.
    std::chrono::milliseconds stall{30'000};
};

/// A descriptor that is closed with its object. -1: none.
class Descriptor {
public:
    /// Throws std::system_error with `what` if `descriptor`, the result of a system call, is -1.
    Descriptor(int descriptor, const char* what);
    ~Descriptor();
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return descriptor_; }
    void close();
    void reset(int descriptor);

private:
    int descriptor_;
};

/// Serves TCP connections of the process's RPC programs, all as one transport of the RPC library.
///
/// The transport's descriptor is an epoll instance, registered by `xprt_register`, so that whatever runs the
/// receive loop sees it become readable like any other. Connections are served in turns: up to 16 calls of a
/// connection and 64 steps in all, then the loop looks at the process's other transports. The replies of a
/// connection's turn are sent at once; while the socket does not take them all, nothing more of that
/// connection is read or begun, so requests stay with the client's kernel.
///
/// Everything runs on the thread of the receive loop, of which a process has one; only construction is for
/// the thread that registers a program, before the library knows of the transport. There is no helper thread,
/// mutex or signal, and nothing waits. The object ends while no loop runs.
///
/// A dispatcher replies before it returns: between two calls the transport belongs to no connection.
/// `svc_destroy` of it closes the connection that is served.
class ConnectionHub {
public:
    /// Raises the soft limit of descriptors, as far as connections can use it. Throws std::system_error if
    /// the system refuses what is needed, or the receive loop could not select the transport.
    explicit ConnectionHub(const ConnectionLimits& limits = {});
    ~ConnectionHub();
    ConnectionHub(const ConnectionHub&) = delete;
    ConnectionHub& operator=(const ConnectionHub&) = delete;

    /// Takes over connections that wait at a listening, non-blocking socket; returns how many, 64 at most.
    int accept(int listener);

    std::size_t connections() const { return strangers_.size() + clients_.size(); }

    /// Memory that is held for what is half done, bytes.
    std::size_t held() const { return held_; }

private:
    /// A connection as the hub keeps it.
    struct Entry {
        Entry(int descriptor, const sockaddr_in& peer, Clock::time_point now)
            : connection(descriptor, peer, now) {}

        Connection connection;
        std::list<Entry>::iterator place;
        std::uint32_t interest = 0;  ///< the events that the epoll instance is asked for
        std::size_t counted = 0;     ///< its share of `held_`
        bool isClient = false;       ///< a call of it was carried out
        bool isQueued = false;
        bool isWaiting = false;  ///< its replies wait
    };

    static ConnectionHub& of(SVCXPRT* transport);
    static bool_t receive(SVCXPRT* transport, rpc_msg* message);
    static xprt_stat status(SVCXPRT* transport);
    static bool_t decodeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments);
    static bool_t reply(SVCXPRT* transport, rpc_msg* message);
    static bool_t freeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments);
    static void destroy(SVCXPRT* transport);
    static bool_t control(SVCXPRT* transport, u_int request, void* value);

    // Who is connected.
    void add(int descriptor, const sockaddr_in& peer);
    std::list<Entry>& listOf(const Entry& entry) { return entry.isClient ? clients_ : strangers_; }
    void touch(Entry& entry);
    void becomesClient(Entry& entry);
    bool evict();
    void close(Entry& entry);
    template <typename Action>
    void forEach(Action action);

    // A turn, and within it the calls of one connection after the other.
    void beginTurn();
    bool takeNext();
    bool nextCall(rpc_msg* message);
    std::size_t callsMax() const;
    bool goesOn();
    bool sendGathered();
    void finish();
    void hangUp();
    bool endTurn();

    // What half-done work asks for.
    void see(Entry& entry, std::uint32_t events);
    void enqueue(Entry& entry);
    Entry& dequeue();
    std::size_t queued() const { return fresh_.size() + backlog_.size(); }
    void settle(Entry& entry);
    void countWaiting(Entry& entry, bool isWaiting);
    void endStalled();
    void keepWithinMemory();
    bool isRoomy() const;

    ConnectionLimits limits_;

    std::list<Entry> strangers_;  ///< no call of which was carried out yet, the longest silent one first
    std::list<Entry> clients_;    ///< the others, in the same order
    std::deque<Entry*> fresh_;    ///< whose socket has input
    std::deque<Entry*> backlog_;  ///< whose input was put aside when their share of a turn was over
    bool isBacklogNext_ = false;
    std::size_t held_ = 0;
    std::size_t waiting_ = 0;  ///< connections whose replies wait

    bool inTurn_ = false;
    Clock::time_point now_;  ///< when the turn began
    int steps_ = 0;          ///< of the turn: calls and reads
    Entry* current_ = nullptr;
    std::size_t calls_ = 0;  ///< of the current connection in this turn
    bool inCall_ = false;
    bool hangsUp_ = false;  ///< the dispatcher wants the current connection closed
    CallMessage call_;
    std::vector<char> input_;
    std::vector<char> replies_;
    std::size_t gathered_ = 0;  ///< bytes of `replies_` that are to be sent

    Descriptor epoll_;
    Descriptor wake_;   ///< an eventfd in the epoll instance, readable while connections are queued
    Descriptor timer_;  ///< a timerfd in the epoll instance, which runs while replies wait
    Descriptor spare_;  ///< to be given up when no other descriptor is left
    bool isAwake_ = false;

    SVCXPRT transport_{};
    struct {
        SVCXPRT_EXT known;
        std::array<char, 64> later;  ///< in case the library adds to it
    } extension_{};
    std::array<char, MAX_AUTH_BYTES> verifier_{};
};

}  // namespace rte
