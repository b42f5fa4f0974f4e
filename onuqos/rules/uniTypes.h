#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

/// What a binding ends at on the ONU: the termination point of the service side, and the hardware layer's
/// kind of user-network interface. The numbers of both are the platform's.
namespace rules {

/// By termination point type, from 0.
inline constexpr std::array<int, 3> kUniTypes{7, 6, 1};

constexpr std::optional<int> uniTypeOf(int termPointType) {
    const auto index = static_cast<std::size_t>(termPointType);
    return index < kUniTypes.size() ? std::optional(kUniTypes[index]) : std::nullopt;
}

constexpr std::optional<int> termPointTypeOf(int uniType) {
    const auto* const found = std::ranges::find(kUniTypes, uniType);
    return found != kUniTypes.end() ? std::optional(static_cast<int>(found - kUniTypes.begin()))
                                    : std::nullopt;
}

static_assert(uniTypeOf(2) == 1 && !uniTypeOf(3) && !uniTypeOf(-1) && termPointTypeOf(6) == 1 &&
              !termPointTypeOf(2));

}  // namespace rules
