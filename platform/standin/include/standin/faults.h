#pragma once

#include <cstdint>
#include <map>

#include "standin/operations.h"

namespace standin {

/// A failure that a platform operation gives instead of doing its work: the next `after` calls go through,
/// the `times` calls after those fail, and then the fault is spent.
///
/// A call that a fault hits is counted and traced like any other and changes nothing. What it answers:
///
/// - operations that return int: `answer`, also when that is 0 (the call is then lost unnoticed), with their
///   outputs untouched;
/// - `exclusiveLock`, `sharedLock`: the lock is not obtained, nested acquisitions included;
/// - `reportAlarm`, `serviceProfileFind`: false;
/// - `getOltPort`: null; `getGponImpl`: throws `Ports::nullImplException`;
/// - `isActive`: true if `answer` is not 0, false if it is;
/// - `interfaceListGet`: an empty list;
/// - operations that return nothing (`registerEntity`, `registerThread`, `onuStateHandler`,
///   `onuReadyHandler`, `onuQosOMApiDump`, `onuQosOMApiDebug`): the call is lost.
struct Fault {
    int answer = 1;
    std::uint64_t times = 1;
    std::uint64_t after = 0;

    friend bool operator==(const Fault&, const Fault&) = default;
};

/// The table of faults. May be called from any thread.
namespace faults {

#pragma GCC visibility push(default)

/// Arms `fault` for `operation` in place of the one that was armed. A fault with no `times` disarms.
void set(Operation operation, const Fault& fault = {});

void clear(Operation operation);
void clearAll();

/// The armed faults, each with what is left of `times` and `after`.
std::map<Operation, Fault> list();

#pragma GCC visibility pop

}  // namespace faults
}  // namespace standin
