#include "oltmgrd/control/server.h"

#include <unistd.h>

#include <algorithm>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <utility>
#include <vector>

#include "oltmgrd/control/session.h"

namespace oltmgrd {
namespace {

// The process has few descriptors to spare beside those of its RPC clients.
constexpr std::size_t kSessionsMax = 64;
constexpr std::size_t kPoolThreads = 8;
constexpr std::chrono::milliseconds kAcceptRetry{50};

using Error = boost::system::error_code;

}  // namespace

ControlServer::ControlServer(int descriptor, const CommandTable& commands)
    : commands_(commands),
      acceptor_(io_, boost::asio::local::stream_protocol(), ::dup(descriptor)),
      acceptTimer_(io_),
      pool_(kPoolThreads) {}

ControlServer::~ControlServer() {
    io_.stop();
    if (thread_.joinable()) {
        thread_.join();
    }
    pool_.join();
}

void ControlServer::start() {
    accept();
    thread_ = std::thread([this] {
        io_.run();
        ended_.set_value();
    });
}

bool ControlServer::stop(std::chrono::milliseconds limit) {
    boost::asio::post(io_, [this] {
        stopping_ = true;
        Error ignored;
        acceptor_.close(ignored);
        acceptTimer_.cancel();
        for (const auto& session : std::vector(sessions_.begin(), sessions_.end())) {
            session->closeWhenIdle();
        }
    });
    const bool isIdle = ended_.get_future().wait_for(limit) == std::future_status::ready;
    if (!isIdle) {
        io_.stop();
    }
    return working_ == 0;
}

void ControlServer::runInPool(std::function<void()> work) {
    ++working_;
    boost::asio::post(pool_, [this, run = std::move(work), guard = boost::asio::make_work_guard(io_)] {
        run();
        --working_;
    });
}

void ControlServer::accept() {
    acceptor_.async_accept([this](const Error& error, boost::asio::local::stream_protocol::socket socket) {
        if (stopping_) {
            return;
        }
        if (error) {
            retryAccept();
            return;
        }
        if (sessions_.size() >= kSessionsMax) {
            evictIdle();
        }
        const auto session = std::make_shared<ControlSession>(std::move(socket), *this);
        // With every place taken by a request under way the newcomer is let go.
        if (sessions_.size() < kSessionsMax) {
            sessions_.insert(session);
            session->read();
        }
        accept();
    });
}

/// Without descriptors the connection stays where it is, and asking again at once would only burn time.
void ControlServer::retryAccept() {
    acceptTimer_.expires_after(kAcceptRetry);
    acceptTimer_.async_wait([this](const Error& error) {
        if (!error && !stopping_) {
            accept();
        }
    });
}

/// Closes the connection that has not asked for anything for the longest time.
void ControlServer::evictIdle() {
    std::shared_ptr<ControlSession> oldest;
    for (const auto& session : sessions_) {
        if (!session->isCarryingOut() && (!oldest || session->lastRequest() < oldest->lastRequest())) {
            oldest = session;
        }
    }
    if (oldest) {
        oldest->close();
    }
}

}  // namespace oltmgrd
