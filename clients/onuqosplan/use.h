#pragma once

#include <cstdint>

#include "clients/onuqosplan/olt.h"

namespace onuqosplan {

/// How much of a limit is used, kbit/s.
struct Use {
    std::uint64_t used = 0;
    std::uint64_t limit = 0;

    /// Rounded down; of a limit of 0, anything is all of it.
    std::uint64_t percent() const { return limit != 0 ? used * 100 / limit : (used != 0 ? 100 : 0); }
    bool isOver() const { return used > limit; }
    /// Above 85 %, where the end is in sight.
    bool isHigh() const { return used * 100 > limit * 85; }
};

/// What a port uses of the limits of the alarm.
struct PortUse {
    Use fixed, total;

    /// "over", "high" or "ok".
    const char* state() const {
        return fixed.isOver() || total.isOver() ? "over" : fixed.isHigh() || total.isHigh() ? "high" : "ok";
    }
};

inline PortUse useOf(const rules::PortState& port) {
    return {.fixed = {.used = port.held.fixedAlloc, .limit = port.fixedMax()},
            .total = {.used = std::uint64_t{port.held.fixedAlloc} + port.held.assuredAlloc,
                      .limit = port.totalMax}};
}

inline Json useJson(const rules::PortState& port) {
    const PortUse use = useOf(port);
    const auto json = [](const Use& of) {
        return Json{{"used", of.used}, {"limit", of.limit}, {"percent", of.percent()}};
    };
    return {{"fixed", json(use.fixed)}, {"total", json(use.total)}, {"state", use.state()}};
}

}  // namespace onuqosplan
