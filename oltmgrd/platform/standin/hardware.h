#pragma once

#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/platform/hardwareView.h"

namespace oltmgrd {

/// The stand-in's mirror as every platform would show it.
HardwareView standinHardware();

/// All that the mirror holds and counts, as `hardware-get` answers it.
Json standinHardwareJson();

}  // namespace oltmgrd
