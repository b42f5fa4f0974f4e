#include "oltmgrd/process/logRate.h"

#include <algorithm>
#include <utility>

namespace oltmgrd {

bool LogRate::admits(int level, Clock::time_point now) {
    if (linesPerSecond_ == 0) {
        return true;
    }
    Level& row = levels_.at(static_cast<std::size_t>(std::clamp<int>(level, 0, kLevels - 1)));
    const std::chrono::duration<double> passed = now - row.filled.value_or(now);
    row.filled = now;
    row.tokens = std::min(kBurst, row.tokens + passed.count() * linesPerSecond_);
    if (row.tokens < 1) {
        ++row.suppressed;
        return false;
    }
    row.tokens -= 1;
    return true;
}

std::uint64_t LogRate::takeSuppressed(std::size_t level) {
    return std::exchange(levels_.at(level).suppressed, 0);
}

}  // namespace oltmgrd
