#include "oltmgrd/files/timeText.h"

#include <array>
#include <ctime>

namespace oltmgrd {

std::string timeText(std::chrono::system_clock::time_point time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time - seconds).count();
    const std::time_t whole = std::chrono::system_clock::to_time_t(seconds);
    std::tm parts{};
    ::gmtime_r(&whole, &parts);
    std::array<char, 32> date{};
    std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    const std::string fraction = std::to_string(1000 + milliseconds).substr(1);
    return std::string(date.data()) + "." + fraction + "Z";
}

}  // namespace oltmgrd
