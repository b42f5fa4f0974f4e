#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "rte/BLL/core/pageBuffer.h"
#include "rte/BLL/core/peerQueue.h"
#include "rte/BLL/core/recordReader.h"

namespace rte {

using Clock = std::chrono::steady_clock;

/// The socket of a client's connection, and what is half done at it. Nothing here waits: what the socket does
/// not give or take at once is left for later. Memory is held only for
/// - a record of which not all has come,
/// - input that was read and not looked at yet,
/// - replies that the socket did not take.
class Connection {
public:
    /// Takes the descriptor of a non-blocking socket over.
    Connection(int descriptor, const sockaddr_in& peer, Clock::time_point now);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    int descriptor() const { return descriptor_; }
    const sockaddr_in& peer() const { return peer_; }

    /// What a step at the socket came to: it moved bytes, there were none to move, or the connection is lost.
    enum class Step { moved, nothing, lost };

    /// Makes input available: what was put aside, else what one read of the socket into `scratch` gives.
    Step takeInput(std::span<char> scratch);

    /// Whether the socket holds input.
    bool hasUnread() const;

    /// The next whole record of the available input, until the following call of any operation on input.
    std::optional<std::span<const char>> nextRecord();

    /// Whether available input was not looked at yet.
    bool hasInput() const { return !input_.empty(); }

    /// Whether the stream of records is broken: a record was too long, or there was no memory for one.
    bool hasFailed() const { return reader_.hasFailed(); }

    /// Keeps the available input that was not looked at, so that `scratch` can be used for another
    /// connection. False if there is no memory for it.
    bool putAside(Clock::time_point now);

    /// Whether input was put aside.
    bool hasAside() const { return !aside_.empty(); }

    /// Whether the client has closed its end: no input comes beyond what there is.
    bool hasEnded() const { return ended_; }

    /// Sends `replies`; what the socket does not take waits.
    Step send(std::span<const char> replies, Clock::time_point now);

    /// Sends replies that wait.
    Step sendWaiting(Clock::time_point now);
    bool isWaiting() const { return !waiting_.empty(); }

    /// How long replies have waited without the client taking any, by its own end of the connection too.
    Clock::duration stalled(const PeerQueue& peers, Clock::time_point now);

    /// Memory held, bytes.
    std::size_t held() const { return reader_.held() + aside_.held() + waiting_.held(); }

    /// What an unfinished record costs: the bytes it holds times the seconds since it began.
    double unfinishedCost(Clock::time_point now) const;

private:
    int descriptor_;
    sockaddr_in peer_;
    RecordReader reader_;
    std::optional<Clock::time_point> unfinishedSince_;
    std::span<const char> input_;  ///< available: of `aside_` or the scratch, and not looked at yet
    PageBuffer aside_;
    std::size_t asideTaken_ = 0;  ///< bytes of `aside_` that were looked at in earlier turns
    bool ended_ = false;
    PageBuffer waiting_;
    std::size_t waitingSent_ = 0;  ///< bytes of `waiting_` that the socket has taken since

    Clock::time_point progressAt_;  ///< when the client was last seen to take anything
    int queuedAtSocket_ = 0;
    std::uint32_t unreadAtPeer_ = 0;
};

}  // namespace rte
