#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "Diagnostics.h"

namespace standin {

/// An alarm as it was reported or retreated.
struct Alarm {
    Diagnostics::alarmAction action = Diagnostics::Report;
    unsigned int code = 0;
    unsigned int interface = 0;
    int board = 0;
    std::string text;          ///< the texts of its objects, joined
    std::vector<int> numbers;  ///< the numbers of its objects, in order
    std::chrono::system_clock::time_point time;
};

struct Alarms {
    /// One for each (code, interface, board) that was reported and not retreated since, as last reported, in
    /// the order in which they became active.
    std::vector<Alarm> active;
    /// Every report and retreat, oldest first; the last `alarms::kHistoryKept` of them.
    std::vector<Alarm> history;
};

namespace alarms {

#pragma GCC visibility push(default)

inline constexpr std::size_t kHistoryKept = 4096;

/// A consistent copy. May be called from any thread.
Alarms snapshot();

/// Calls `tell` at every report and retreat that is accepted, on the thread that makes it; null for nobody.
void onChange(std::function<void(const Alarm&)> tell);

#pragma GCC visibility pop

}  // namespace alarms
}  // namespace standin
