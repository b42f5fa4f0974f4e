#pragma once

#include <span>

#include "oltmgrd/control/commands.h"

namespace oltmgrd {

// The handlers of the control commands, by subject; the rows say what each command does.

std::span<const Handler> processHandlers();        // processCommands.cpp
std::span<const Handler> serviceHandlers();        // serviceCommands.cpp
std::span<const Handler> serviceListHandlers();    // serviceListCommand.cpp
std::span<const Handler> configurationHandlers();  // configurationCommands.cpp
std::span<const Handler> platformHandlers();       // platformCommands.cpp
std::span<const Handler> portHandlers();           // portCommands.cpp

/// Refuse the command where no loaded module binds services.
const onuQosClassInterface& moduleOf(const CommandContext& context);
ServiceSide& servicesOf(const CommandContext& context);

inline constexpr bool kAtOnce = false;  ///< for `Handler::waits`

}  // namespace oltmgrd
