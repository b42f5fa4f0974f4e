#pragma once

#include <chrono>
#include <cstddef>

namespace standin {

/// The business-logic lock behind `BLLManager::exclusiveLock_t` and `sharedLock_t`. Threads that wait are
/// served in the order of their arrival, readers that arrived one after the other together.
namespace lock {

#pragma GCC visibility push(default)

inline constexpr std::chrono::milliseconds kDefaultDeadline{30'000};

inline constexpr std::chrono::milliseconds kLongestDeadline{24 * 3'600'000};

/// How long an acquisition that begins from now on waits before it gives up: 0, not at all, to
/// `kLongestDeadline`; the nearer end for anything beyond.
void setDeadline(std::chrono::milliseconds deadline);

std::chrono::milliseconds deadline();

/// How many threads wait for the lock now.
std::size_t waiting();

#pragma GCC visibility pop

}  // namespace lock
}  // namespace standin
