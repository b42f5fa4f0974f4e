#include "standin/threads.h"

#include <csignal>

#include <algorithm>
#include <condition_variable>
#include <mutex>

#include "BLLManager.h"
#include "call.h"
#include "state.h"

namespace standin {
namespace {

using Records = std::vector<Thread>;

/// The registered threads. A thread's end waits for the mutex, so a handle in it is good while it is held.
struct ThreadTable {
    std::mutex mutex;
    std::condition_variable changed;
    Records records;

    template <typename Condition>
    bool await(std::chrono::milliseconds limit, Condition condition) {
        std::unique_lock guard(mutex);
        return changed.wait_for(guard, limit, [&] { return condition(std::as_const(records)); });
    }
};

ThreadTable& threadTable() {
    return lasting<ThreadTable>();
}

auto runs(std::string_view name) {
    return [name](const Thread& thread) { return thread.name == name && thread.running(); };
}

auto isOf(pthread_t handle) {
    return [handle](const Thread& thread) {
        return thread.handle && pthread_equal(*thread.handle, handle) != 0;
    };
}

void forgetEnded(Records& records, std::size_t kept) {
    auto ended = static_cast<std::size_t>(std::ranges::count(records, false, &Thread::running));
    std::erase_if(records, [&](const Thread& thread) { return !thread.running() && ended-- > kept; });
}

/// Notices the end of the thread that registered.
struct EndNotice {
    ~EndNotice() {
        ThreadTable& table = threadTable();
        const std::lock_guard guard(table.mutex);
        for (Thread& thread : table.records) {
            if (isOf(pthread_self())(thread)) {
                thread.handle.reset();
            }
        }
        forgetEnded(table.records, threads::kEndedKept);
        table.changed.notify_all();
    }

    void arm() {}
};

thread_local EndNotice endNotice;

// Runs when the library is loaded.
[[maybe_unused]] const bool resetsEnded = [] {
    atReset([] {
        ThreadTable& table = threadTable();
        const std::lock_guard guard(table.mutex);
        forgetEnded(table.records, 0);
    });
    return true;
}();

}  // namespace

namespace threads {

std::vector<Thread> list() {
    ThreadTable& table = threadTable();
    const std::lock_guard guard(table.mutex);
    return table.records;
}

bool awaitRunning(std::string_view name, std::chrono::milliseconds limit) {
    return threadTable().await(
        limit, [name](const Records& records) { return std::ranges::any_of(records, runs(name)); });
}

bool awaitEnd(std::string_view name, std::chrono::milliseconds limit) {
    return threadTable().await(limit, [name](const Records& records) {
        return std::ranges::find(records, name, &Thread::name) != records.end() &&
               std::ranges::none_of(records, runs(name));
    });
}

std::size_t sendSignal(std::string_view name, int signal) {
    ThreadTable& table = threadTable();
    const std::lock_guard guard(table.mutex);
    std::size_t sent = 0;
    for (const Thread& thread : table.records) {
        if (runs(name)(thread)) {
            pthread_kill(*thread.handle, signal);
            ++sent;
        }
    }
    return sent;
}

}  // namespace threads
}  // namespace standin

void BLLManager::registerThread(const std::string& name) {
    using namespace standin;
    if (call(Operation::registerThread, name)) {
        return;
    }
    endNotice.arm();
    ThreadTable& table = threadTable();
    const std::lock_guard guard(table.mutex);
    const bool known = std::ranges::any_of(table.records, [&name](const Thread& thread) {
        return thread.name == name && isOf(pthread_self())(thread);
    });
    if (!known) {
        table.records.push_back({name, pthread_self()});
        table.changed.notify_all();
    }
}
