#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace oltmgrd {

/// Limits how many lines a second are written, each log level apart, and counts those that are not.
class LogRate {
public:
    using Clock = std::chrono::steady_clock;

    /// Lines that may come at once after a pause.
    static constexpr double kBurst = 2000;
    /// Levels beyond share the last one's limit.
    static constexpr std::size_t kLevels = 10;

    /// 0 lines a second stand for no limit.
    explicit LogRate(std::uint32_t linesPerSecond) : linesPerSecond_(linesPerSecond) {}

    bool admits(int level, Clock::time_point now);

    /// Lines of a level that were refused since this was asked last.
    std::uint64_t takeSuppressed(std::size_t level);

private:
    struct Level {
        double tokens = kBurst;
        std::optional<Clock::time_point> filled;
        std::uint64_t suppressed = 0;
    };

    double linesPerSecond_;
    std::array<Level, kLevels> levels_;
};

}  // namespace oltmgrd
