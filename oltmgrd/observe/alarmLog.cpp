#include "oltmgrd/observe/alarmLog.h"

#include <algorithm>

#include "common/name.h"
#include "oltmgrd/files/timeText.h"
#include "oltmgrd/observe/portLedger.h"

namespace oltmgrd {
namespace {

/// What operators call an alarm.
struct Meaning {
    std::uint32_t code;
    const char* name;
    const char* severity;  ///< as in ITU-T X.733
    const char* description;
};

constexpr Meaning kMeanings[] = {
    {1600570, "pon-port-over-committed", "major",
     "the services of the PON port commit more than it can carry over its distances"},
};

bool isSame(const HostAlarm& alarm, const HostAlarm& other) {
    return alarm.code == other.code && alarm.interface == other.interface && alarm.board == other.board;
}

}  // namespace

void AlarmLog::note(StampedAlarm alarm) {
    const std::lock_guard guard(mutex_);
    const auto found = std::ranges::find_if(
        active_, [&alarm](const StampedAlarm& other) { return isSame(alarm.alarm, other.alarm); });
    if (!alarm.alarm.reported) {
        if (found != active_.end()) {
            active_.erase(found);
        }
    } else if (found != active_.end()) {
        *found = alarm;
    } else {
        active_.push_back(alarm);
    }
    history_.push_back(std::move(alarm));
    if (history_.size() > kHistoryKept) {
        history_.pop_front();
    }
}

StampedAlarms AlarmLog::snapshot() const {
    const std::lock_guard guard(mutex_);
    return {.active = active_, .history = {history_.begin(), history_.end()}};
}

Json toJson(const StampedAlarm& stamped) {
    const HostAlarm& alarm = stamped.alarm;
    const auto* meaning = std::ranges::find(kMeanings, alarm.code, &Meaning::code);
    const auto known = [&](const char* Meaning::*text) {
        return meaning == std::end(kMeanings) ? Json() : Json(meaning->*text);
    };
    return {{"action", alarm.reported ? "report" : "retreat"},
            {"code", alarm.code},
            {"interface", alarm.interface},
            {"board", alarm.board},
            {"text", common::nameToJson(alarm.text)},
            {"numbers", alarm.numbers},
            {"time", timeText(alarm.time)},
            {"name", known(&Meaning::name)},
            {"severity", known(&Meaning::severity)},
            {"description", known(&Meaning::description)},
            {"port", stamped.port ? figuresJson(*stamped.port) : Json()}};
}

}  // namespace oltmgrd
