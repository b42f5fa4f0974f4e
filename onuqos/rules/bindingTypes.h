#pragma once

#include <cstdint>
#include <string>

/// A service binding of an ONU. The names are those at the time of binding: renaming or deleting a profile
/// does not touch them.
struct onuQosServiceIntfInfo {
    std::string onuFlowProfileName;
    std::string tContProfileName;
    std::uint32_t virtualPortId = 0;

    bool operator==(const onuQosServiceIntfInfo&) const = default;
};
