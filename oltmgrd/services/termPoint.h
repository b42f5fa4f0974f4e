#pragma once

#include <cstdint>

namespace oltmgrd {

/// Where a service ends on its ONU.
struct TermPoint {
    std::int32_t type = 0;  ///< the module looks at it only when it pushes the binding: any number
    std::int16_t id = 0;

    friend bool operator==(const TermPoint&, const TermPoint&) = default;
};

}  // namespace oltmgrd
