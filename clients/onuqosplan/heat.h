#pragma once

#include <cstddef>
#include <string>

#include "clients/onuqosplan/olt.h"

namespace onuqosplan {

inline constexpr std::size_t kLeastWidth = 60;

/// A map of what the ports use of the alarm's limits, at most `width` columns wide (60 at the least), with
/// escape sequences for colours where `colour`. Every colour is told by a sign too.
std::string heatText(const Olt& olt, std::size_t width, bool colour);

Json heatJson(const Olt& olt);

}  // namespace onuqosplan
