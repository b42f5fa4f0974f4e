#include "standin/calls.h"

#include <utility>

#include "call.h"
#include "standin/faults.h"
#include "state.h"

namespace standin {

constinit std::array<CallSlot, kOperationCount> callSlots;

namespace {

/// What is watched for: the armed faults and the trace.
struct Watch {
    std::map<Operation, Fault> faults;
    bool tracing = false;
    std::vector<Call> trace;
};

CallSlot& slotOf(std::size_t operation) {
    return callSlots[operation];
}

/// Brings the slots in line with `watch`, whose mutex the caller holds.
void markWatched(const Watch& watch) {
    for (std::size_t i = 0; i < kOperationCount; ++i) {
        const bool watched = watch.tracing || watch.faults.contains(static_cast<Operation>(i));
        slotOf(i).watched.store(watched, std::memory_order_relaxed);
    }
}

/// Changes what is watched for.
template <typename Change>
auto watchWith(Change change) {
    return state<Watch>().with([&change](Watch& watch) {
        auto result = change(watch);
        markWatched(watch);
        return result;
    });
}

// Runs when the library is loaded.
[[maybe_unused]] const bool resetsCounts = [] {
    atReset([] {
        watchWith([](Watch& watch) { return std::exchange(watch, {}); });
        for (CallSlot& slot : callSlots) {
            slot.count.store(0, std::memory_order_relaxed);
        }
    });
    return true;
}();

/// Spends one call of `fault`; whether it fails.
bool spend(Fault& fault) {
    if (fault.after > 0) {
        --fault.after;
        return false;
    }
    --fault.times;
    return true;
}

}  // namespace

std::optional<int> watchedCall(Operation operation, const std::function<std::string()>& arguments) {
    return state<Watch>().with([&](Watch& watch) -> std::optional<int> {
        if (watch.tracing) {
            watch.trace.push_back({operation, arguments()});
        }
        const auto fault = watch.faults.find(operation);
        if (fault == watch.faults.end() || !spend(fault->second)) {
            return std::nullopt;
        }
        const int answer = fault->second.answer;
        if (fault->second.times == 0) {
            watch.faults.erase(fault);
            markWatched(watch);
        }
        return answer;
    });
}

namespace faults {

void set(Operation operation, const Fault& fault) {
    watchWith([&](Watch& watch) {
        if (fault.times == 0) {
            return watch.faults.erase(operation) > 0;
        }
        return watch.faults.insert_or_assign(operation, fault).second;
    });
}

void clear(Operation operation) {
    watchWith([&](Watch& watch) { return watch.faults.erase(operation); });
}

void clearAll() {
    watchWith([](Watch& watch) { return std::exchange(watch.faults, {}); });
}

std::map<Operation, Fault> list() {
    return state<Watch>().with([](const Watch& watch) { return watch.faults; });
}

}  // namespace faults

namespace calls {

std::uint64_t count(Operation operation) {
    return slotOf(static_cast<std::size_t>(operation)).count.load(std::memory_order_relaxed);
}

std::array<std::uint64_t, kOperationCount> counts() {
    std::array<std::uint64_t, kOperationCount> all{};
    for (std::size_t i = 0; i < kOperationCount; ++i) {
        all[i] = slotOf(i).count.load(std::memory_order_relaxed);
    }
    return all;
}

void traceStart() {
    watchWith([](Watch& watch) {
        watch.tracing = true;
        return std::exchange(watch.trace, {});
    });
}

std::vector<Call> traceTake() {
    return state<Watch>().with([](Watch& watch) { return std::exchange(watch.trace, {}); });
}

std::vector<Call> traceStop() {
    return watchWith([](Watch& watch) {
        watch.tracing = false;
        return std::exchange(watch.trace, {});
    });
}

}  // namespace calls
}  // namespace standin
