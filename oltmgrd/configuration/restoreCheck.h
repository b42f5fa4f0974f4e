#pragma once

#include <cstddef>
#include <set>

#include "oltmgrd/configuration/document.h"
#include "oltmgrd/configuration/restore.h"
#include "oltmgrd/configuration/restoreProfiles.h"

namespace oltmgrd {

/// Adds to `report` where what was restored is not what was saved. Entries that were lost already are passed
/// over; `lostBindings` are places in `saved.bindings`.
void compareRestored(const ConfigurationDocument& saved, const ConfigurationDocument& restored,
                     const RestoredProfiles& tconts, const RestoredProfiles& flows,
                     const std::set<std::size_t>& lostBindings, RestoreReport& report);

}  // namespace oltmgrd
