#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "standin/operations.h"

namespace standin {

/// A call of a platform operation with its inputs in the order of declaration, separated by ", ". Names stand
/// as they are, bools are "true" or "false", a hardware handle is "slot/port/onu" and a record is its fields
/// in braces. `onuTContProfileParmsSet` has "gold, {, 0, 0, 256, 0, 256, 0, 0, 0}, 6", for example, and a
/// VLAN list within a record is in brackets: "{7, [10, 11]}". Operations without inputs have "".
struct Call {
    Operation operation{};
    std::string arguments;

    friend bool operator==(const Call&, const Call&) = default;
};

/// What the platform was asked. May be called from any thread; covers the calls of all threads. Calls that a
/// fault hits are included.
namespace calls {

#pragma GCC visibility push(default)

/// How often `operation` has been called since the start of the process or the last `reset`.
std::uint64_t count(Operation operation);

/// `count` of every operation, in the order of the enumeration.
std::array<std::uint64_t, kOperationCount> counts();

/// Begins to record calls, with an empty record.
void traceStart();

/// Returns the calls recorded since `traceStart` or the last `traceTake`, oldest first, and goes on.
std::vector<Call> traceTake();

/// Like `traceTake`, and ends the recording.
std::vector<Call> traceStop();

#pragma GCC visibility pop

}  // namespace calls
}  // namespace standin
