#pragma once

#include <optional>

namespace rules {

/// A step that failed: a platform operation, a record that is missing, or an operation of the module.
struct FailedStep {
    const char* name = nullptr;   ///< null when none did
    std::optional<int> answer{};  ///< nothing where the step has none: a lock, an object, a record
};

}  // namespace rules
