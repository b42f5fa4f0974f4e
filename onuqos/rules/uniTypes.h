#pragma once

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

static_assert(uniTypeOf(2) == 1 && !uniTypeOf(3) && !uniTypeOf(-1));

}  // namespace rules
