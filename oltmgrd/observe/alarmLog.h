#pragma once

#include <deque>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/platform/host.h"
#include "onuqos/rules/portLedger.h"

namespace oltmgrd {

/// An alarm with what its port held at that moment; nothing where the module did not answer for the
/// interface.
struct StampedAlarm {
    HostAlarm alarm;
    std::optional<onuQosPortLedger> port{};
};

struct StampedAlarms {
    std::vector<StampedAlarm> active;   ///< in the order in which they became active
    std::vector<StampedAlarm> history;  ///< oldest first
};

/// The alarms that were reported to this process. Operations may be called from any thread.
class AlarmLog {
public:
    static constexpr std::size_t kHistoryKept = 4096;

    void note(StampedAlarm alarm);

    /// A consistent copy.
    StampedAlarms snapshot() const;

private:
    mutable std::mutex mutex_;  // a leaf
    std::vector<StampedAlarm> active_;
    std::deque<StampedAlarm> history_;
};

/// With a name, a severity and a sentence where the alarm is a known one, else with null.
Json toJson(const StampedAlarm& alarm);

}  // namespace oltmgrd
