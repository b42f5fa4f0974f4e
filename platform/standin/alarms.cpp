#include "standin/alarms.h"

#include <algorithm>
#include <cstdarg>
#include <deque>
#include <memory>
#include <utility>

#include "call.h"
#include "state.h"

namespace standin {
namespace {

struct AlarmTable {
    std::vector<Alarm> active;
    std::deque<Alarm> history;

    void note(const Alarm& alarm) {
        const auto found = std::ranges::find_if(active, [&alarm](const Alarm& other) {
            return other.code == alarm.code && other.interface == alarm.interface &&
                   other.board == alarm.board;
        });
        if (alarm.action == Diagnostics::Retreat) {
            if (found != active.end()) {
                active.erase(found);
            }
        } else if (found != active.end()) {
            *found = alarm;
        } else {
            active.push_back(alarm);
        }
        history.push_back(alarm);
        if (history.size() > alarms::kHistoryKept) {
            history.pop_front();
        }
    }
};

using Tell = std::function<void(const Alarm&)>;

struct Observer {
    std::shared_ptr<const Tell> tell;
};

}  // namespace

void alarms::onChange(std::function<void(const Alarm&)> tell) {
    auto shared = tell ? std::make_shared<const Tell>(std::move(tell)) : nullptr;
    state<Observer>().with([&shared](Observer& observer) { observer.tell.swap(shared); });
}

Alarms alarms::snapshot() {
    return state<AlarmTable>().with([](const AlarmTable& table) {
        return Alarms{.active = table.active, .history = {table.history.begin(), table.history.end()}};
    });
}

}  // namespace standin

// NOLINTNEXTLINE(cert-dcl50-cpp): the interface is declared so
Diagnostics::objIds_t::objIds_t(char const* text, ...) {
    alarmObjs object{.text = text, .numbers = std::vector<int>(3)};
    std::va_list numbers;
    va_start(numbers, text);
    std::ranges::generate(object.numbers, [&numbers] { return va_arg(numbers, int); });
    va_end(numbers);
    push_back(std::move(object));
}

bool Diagnostics::reportAlarm(alarmAction action, unsigned int const& code, unsigned int const& intf,
                              boardObj_t board, std::vector<alarmObjs> const& objects) {
    using namespace standin;
    if (call(Operation::reportAlarm, action, code, intf, board, objects)) {
        return false;
    }
    Alarm alarm{.action = action,
                .code = code,
                .interface = intf,
                .board = board,
                .text = {},
                .numbers = {},
                .time = std::chrono::system_clock::now()};
    for (const alarmObjs& object : objects) {
        alarm.text += object.text;
        alarm.numbers.insert(alarm.numbers.end(), object.numbers.begin(), object.numbers.end());
    }
    state<AlarmTable>().with([&alarm](AlarmTable& table) { table.note(alarm); });
    if (const auto tell = state<Observer>().with([](const Observer& observer) { return observer.tell; })) {
        (*tell)(alarm);
    }
    return true;
}
