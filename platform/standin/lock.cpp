#include "standin/lock.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>

#include "BLLManager.h"
#include "call.h"
#include "state.h"

namespace standin {

using namespace std::chrono_literals;

namespace {

/// A readers-writer lock that serves waiting threads in the order of their arrival. Knows nothing of
/// re-entrancy: a thread acquires it once.
class QueuedLock {
public:
    enum class Mode : std::uint8_t { shared, exclusive };

    /// Whether the lock was obtained within `deadline`.
    bool acquire(Mode mode, std::chrono::milliseconds deadline) {
        std::unique_lock guard(mutex_);
        if (queue_.empty() && admits(mode)) {
            admit(mode);
            return true;
        }
        if (deadline <= 0ms) {
            return false;
        }
        Waiter self(mode);
        queue_.push_back(&self);
        if (self.turn.wait_for(guard, deadline, [&self] { return self.admitted; })) {
            return true;
        }
        // Those behind this thread may have waited for it alone.
        std::erase(queue_, &self);
        serveQueue();
        return false;
    }

    void release(Mode mode) {
        const std::lock_guard guard(mutex_);
        if (mode == Mode::exclusive) {
            written_ = false;
        } else {
            --readers_;
        }
        serveQueue();
    }

    /// Turns the caller's exclusive hold into a shared one, without a gap.
    void downgrade() {
        const std::lock_guard guard(mutex_);
        written_ = false;
        ++readers_;
        serveQueue();
    }

    std::size_t waiting() {
        const std::lock_guard guard(mutex_);
        return queue_.size();
    }

private:
    struct Waiter {
        explicit Waiter(Mode waitsFor) : mode(waitsFor) {}

        Mode mode;
        bool admitted = false;
        std::condition_variable turn;
    };

    bool admits(Mode mode) const { return !written_ && (mode == Mode::shared || readers_ == 0); }

    void admit(Mode mode) {
        if (mode == Mode::exclusive) {
            written_ = true;
        } else {
            ++readers_;
        }
    }

    /// Admits from the head of the queue whoever can be admitted.
    void serveQueue() {
        while (!queue_.empty() && admits(queue_.front()->mode)) {
            Waiter& first = *queue_.front();
            queue_.pop_front();
            admit(first.mode);
            first.admitted = true;
            first.turn.notify_one();
        }
    }

    std::mutex mutex_;
    std::deque<Waiter*> queue_;
    std::size_t readers_ = 0;
    bool written_ = false;
};

/// How deep the calling thread holds the lock. Its first acquisition alone reaches the `QueuedLock`: shared
/// if `exclusive` was 0 then.
struct Depth {
    std::size_t exclusive = 0;
    std::size_t shared = 0;
};

thread_local Depth depth;

std::atomic<std::int64_t> deadlineMilliseconds{lock::kDefaultDeadline.count()};

// Runs when the library is loaded.
[[maybe_unused]] const bool resetsDeadline = [] {
    atReset([] { lock::setDeadline(lock::kDefaultDeadline); });
    return true;
}();

QueuedLock& queuedLock() {
    return lasting<QueuedLock>();
}

bool acquireExclusive() {
    if (call(Operation::exclusiveLock)) {
        return false;
    }
    if (depth.exclusive == 0) {
        // A shared holder would wait for itself.
        if (depth.shared > 0 || !queuedLock().acquire(QueuedLock::Mode::exclusive, lock::deadline())) {
            return false;
        }
    }
    ++depth.exclusive;
    return true;
}

bool acquireShared() {
    if (call(Operation::sharedLock)) {
        return false;
    }
    if (depth.exclusive == 0 && depth.shared == 0 &&
        !queuedLock().acquire(QueuedLock::Mode::shared, lock::deadline())) {
        return false;
    }
    ++depth.shared;
    return true;
}

void releaseExclusive() {
    if (--depth.exclusive > 0) {
        return;
    }
    // A shared lock that was taken within the exclusive one may outlive it.
    if (depth.shared > 0) {
        queuedLock().downgrade();
    } else {
        queuedLock().release(QueuedLock::Mode::exclusive);
    }
}

void releaseShared() {
    if (--depth.shared == 0 && depth.exclusive == 0) {
        queuedLock().release(QueuedLock::Mode::shared);
    }
}

}  // namespace

namespace lock {

void setDeadline(std::chrono::milliseconds deadline) {
    deadlineMilliseconds.store(std::clamp(deadline, 0ms, kLongestDeadline).count(),
                               std::memory_order_relaxed);
}

std::chrono::milliseconds deadline() {
    return std::chrono::milliseconds(deadlineMilliseconds.load(std::memory_order_relaxed));
}

std::size_t waiting() {
    return queuedLock().waiting();
}

}  // namespace lock
}  // namespace standin

BLLManager::exclusiveLock_t::exclusiveLock_t() : obtained_(standin::acquireExclusive()) {}

BLLManager::exclusiveLock_t::~exclusiveLock_t() {
    if (obtained_) {
        standin::releaseExclusive();
    }
}

BLLManager::sharedLock_t::sharedLock_t() : obtained_(standin::acquireShared()) {}

BLLManager::sharedLock_t::~sharedLock_t() {
    if (obtained_) {
        standin::releaseShared();
    }
}
