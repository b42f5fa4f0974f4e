#pragma once

#include <span>

#include "oltmgrd/platform/host.h"

namespace oltmgrd {

/// The control commands that the stand-in alone has: what its hardware layer holds, faults and overrides.
std::span<const HostCommand> standinCommands();

}  // namespace oltmgrd
