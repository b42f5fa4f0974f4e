#pragma once

namespace standin {

/// Returns the stand-in to the state of a fresh process by making its state anew: interfaces, features,
/// service profiles, alarms, the hardware layer, faults, counts and trace, the log's level and destination,
/// the lock's deadline, and the memory of threads that ended.
///
/// What belongs to others stays: registered entities with their states, handlers appended to events, threads
/// that run, locks that are held. For tests, between cases, while no platform operation runs.
[[gnu::visibility("default")]] void reset();

}  // namespace standin
