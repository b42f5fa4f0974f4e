#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include "oltmgrd/control/commands.h"

namespace oltmgrd {

class ControlSession;

/// Serves the control channel: a JSON object a line each way, several connections at once. The requests of a
/// connection are carried out one after the other; those that may wait run on a pool of threads, so that they
/// hold up nothing but their own connection.
class ControlServer {
public:
    /// `descriptor` is a listening socket, of which the server takes a duplicate. `commands` outlives this.
    ControlServer(int descriptor, const CommandTable& commands);
    ~ControlServer();
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    void start();

    /// Takes no more requests and waits for those under way, but no longer than `limit`. False when some were
    /// not finished; the object must not be destroyed then.
    bool stop(std::chrono::milliseconds limit);

private:
    friend class ControlSession;

    void accept();
    void evictIdle();
    void retryAccept();
    /// Has `work` run in the pool; the server's thread does not end before it.
    void runInPool(std::function<void()> work);

    const CommandTable& commands_;
    boost::asio::io_context io_;
    boost::asio::local::stream_protocol::acceptor acceptor_;
    boost::asio::steady_timer acceptTimer_;
    boost::asio::thread_pool pool_;
    std::set<std::shared_ptr<ControlSession>> sessions_;
    std::atomic<unsigned int> working_ = 0;  // requests in the pool
    bool stopping_ = false;
    std::promise<void> ended_;
    std::thread thread_;
};

}  // namespace oltmgrd
