#pragma once

#include <span>

#include "oltmgrd/control/commands.h"

namespace oltmgrd {

// The handlers of the control commands, by subject; the rows say what each command does.

std::span<const Handler> processHandlers();        // processCommands.cpp
std::span<const Handler> serviceHandlers();        // serviceCommands.cpp
std::span<const Handler> configurationHandlers();  // configurationCommands.cpp
std::span<const Handler> platformHandlers();       // platformCommands.cpp

inline constexpr bool kAtOnce = false;  ///< for `Handler::waits`

}  // namespace oltmgrd
