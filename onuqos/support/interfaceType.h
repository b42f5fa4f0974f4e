#pragma once

#include <optional>

#include "Interfaces.h"
#include "onuqos/support/platformObject.h"

/// The type of an interface; nothing when the platform does not tell it.
inline std::optional<Interfaces::interfaceType> interfaceTypeOf(unsigned int intf) {
    Interfaces::interfaceType type{};
    if (platformObject<Interfaces>().interfaceGetTypeById(intf, &type) != 0) {
        return std::nullopt;
    }
    return type;
}
