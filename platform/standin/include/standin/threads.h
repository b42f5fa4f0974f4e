#pragma once

#include <pthread.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

struct Thread {
    std::string name;
    std::optional<pthread_t> handle;  ///< while the thread runs, which it may have ceased to do by now

    bool running() const { return handle.has_value(); }
};

/// The threads that registered with `BLLManager`. May be called from any thread. A thread that registers
/// under several names is listed under each.
namespace threads {

#pragma GCC visibility push(default)

/// How many ended threads are remembered.
inline constexpr std::size_t kEndedKept = 256;

/// In order of registration: all that run and the last `kEndedKept` that ended.
std::vector<Thread> list();

/// Waits until a thread registered as `name` runs; false if none does within `limit`.
bool awaitRunning(std::string_view name, std::chrono::milliseconds limit);

/// Waits until a thread has registered as `name` and none of that name runs any more; false if that has not
/// come about within `limit`.
bool awaitEnd(std::string_view name, std::chrono::milliseconds limit);

/// Sends `signal` to every running thread registered as `name`; how many there were.
std::size_t sendSignal(std::string_view name, int signal);

#pragma GCC visibility pop

}  // namespace threads
}  // namespace standin
