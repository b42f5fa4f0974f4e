#pragma once

#include <signal.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "oltmgrd/files/descriptor.h"

namespace oltmgrd {

/// Takes SIGTERM, SIGINT and SIGHUP on a thread of its own, whatever the others do. The first of SIGTERM and
/// SIGINT asks for a stop; a second one ends the process at once, as it does where nothing takes it;
/// SIGHUP does nothing by then.
class Signals {
public:
    struct Actions {
        std::function<void()> hangUp;
        std::function<void()> giveUp;  ///< for a stop that is not over `limit` after it was asked for
        std::chrono::milliseconds limit;
    };

    /// Blocks the signals in the calling thread, and so in those that it starts. To be called before there
    /// are others.
    static void block();

    /// The actions are called on the thread.
    explicit Signals(Actions actions);
    ~Signals() { end(); }
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    bool isStopAskedFor();
    void awaitStop();

    /// The stop is over: no action is called any more.
    void end();

private:
    void run();

    const Actions actions_;
    Descriptor signals_, ending_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isStopAskedFor_ = false;
    std::thread thread_;
};

}  // namespace oltmgrd
