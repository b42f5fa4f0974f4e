#pragma once

#include <string>
#include <vector>

/// Alarm reporting. May be called from any thread, with or without the business-logic lock.
class [[gnu::visibility("default")]] Diagnostics {
public:
    enum alarmAction : int { Report = 0, Retreat = 1 };

    /// Which part of the board an alarm concerns; the numbers are the platform's.
    enum boardObj_t : int { boardObjDefault = 0 };

    /// The objects that an alarm concerns: a text and the numbers that identify them in the alarm catalogue.
    struct alarmObjs {
        std::string text;
        std::vector<int> numbers;
    };

    /// The object list of an alarm: one text and the three numbers of type int that follow it.
    class [[gnu::visibility("default")]] objIds_t : public std::vector<alarmObjs> {
    public:
        explicit objIds_t(char const* text, ...);
    };

    /// Raises (`Report`) or clears (`Retreat`) the alarm `code` of interface `intf`; true on success.
    static bool reportAlarm(alarmAction action, unsigned int const& code, unsigned int const& intf,
                            boardObj_t board, std::vector<alarmObjs> const& objects);
};
