#pragma once

#include <memory>

#include "oltmgrd/platform/host.h"

namespace oltmgrd {

/// The stand-in platform of this process; to be made once.
std::unique_ptr<Host> standinHost();

}  // namespace oltmgrd
