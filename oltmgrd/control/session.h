#pragma once

#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "oltmgrd/control/commands.h"

namespace oltmgrd {

class ControlServer;

/// A connection of the control channel. Used by the server's thread only.
class ControlSession : public std::enable_shared_from_this<ControlSession> {
public:
    using Clock = std::chrono::steady_clock;

    ControlSession(boost::asio::local::stream_protocol::socket socket, ControlServer& server);

    /// Waits for the next request.
    void read();
    /// Closes the connection, unless a request is under way: then once it is answered.
    void closeWhenIdle();
    void close();

    /// Whether a request is under way that is not being answered yet.
    bool isCarryingOut() const { return phase_ == Phase::carryingOut; }
    /// When its last request arrived.
    Clock::time_point lastRequest() const { return lastRequest_; }

private:
    enum class Phase : std::uint8_t { reading, carryingOut, answering };

    void take(std::string line);
    void carryOut(const Request& request);
    void answer(std::string line);
    void refuseOverlong();
    void drain();

    ControlServer& server_;
    boost::asio::local::stream_protocol::socket socket_;
    boost::asio::steady_timer drainTimer_;
    std::string received_;
    std::string answer_;
    Clock::time_point lastRequest_ = Clock::now();
    Phase phase_ = Phase::reading;
    bool closing_ = false;  // once the request under way is answered
};

}  // namespace oltmgrd
