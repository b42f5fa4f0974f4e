#pragma once

#include <chrono>
#include <string>

namespace oltmgrd {

/// In UTC with milliseconds, as ISO 8601 has it.
std::string timeText(std::chrono::system_clock::time_point time);

}  // namespace oltmgrd
