#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "callText.h"
#include "standin/operations.h"

namespace standin {

/// What every call of one operation touches; a cache line each, since threads call different operations.
struct alignas(64) CallSlot {
    std::atomic<std::uint64_t> count{0};
    /// Whether a fault is armed for the operation or a trace runs.
    std::atomic<bool> watched{false};
};

extern std::array<CallSlot, kOperationCount> callSlots;

/// The part of `call` for an operation that is watched.
std::optional<int> watchedCall(Operation operation, const std::function<std::string()>& arguments);

/// The one gate through which every platform operation passes first: counts and traces the call. Answers
/// what a fault makes of it, and nothing if the operation is to do its work.
template <typename... Arguments>
[[nodiscard]] std::optional<int> call(Operation operation, const Arguments&... arguments) {
    CallSlot& slot = callSlots[static_cast<std::size_t>(operation)];
    slot.count.fetch_add(1, std::memory_order_relaxed);
    if (!slot.watched.load(std::memory_order_relaxed)) [[likely]] {
        return std::nullopt;
    }
    return watchedCall(operation, [&] { return callText(arguments...); });
}

}  // namespace standin
