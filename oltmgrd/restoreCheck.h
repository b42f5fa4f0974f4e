#pragma once

#include "configurationDocument.h"
#include "restore.h"
#include "restoreProfiles.h"

namespace oltmgrd {

/// Adds to `report` where what was restored is not what was saved. Profiles that were lost already are passed
/// over, and so are bindings that are missing.
void compareRestored(const ConfigurationDocument& saved, const ConfigurationDocument& restored,
                     const RestoredProfiles& tconts, const RestoredProfiles& flows, RestoreReport& report);

}  // namespace oltmgrd
