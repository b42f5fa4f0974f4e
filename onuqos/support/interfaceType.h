#pragma once

#include <optional>

#include "Interfaces.h"
#include "onuqos/rules/failedStep.h"
#include "onuqos/support/platformObject.h"

/// Keeps for whoever asked which step failed.
inline void noteFailure(rules::FailedStep* failed, const char* name,
                        std::optional<int> answer = std::nullopt) {
    if (failed != nullptr) {
        *failed = {.name = name, .answer = answer};
    }
}

/// The type of an interface; nothing when the platform does not tell it.
inline std::optional<Interfaces::interfaceType> interfaceTypeOf(unsigned int intf,
                                                                rules::FailedStep* failed = nullptr) {
    Interfaces::interfaceType type{};
    const int answer = platformObject<Interfaces>().interfaceGetTypeById(intf, &type);
    if (answer != 0) {
        noteFailure(failed, "interfaceGetTypeById", answer);
        return std::nullopt;
    }
    return type;
}
