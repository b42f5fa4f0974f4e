#pragma once

#include <vector>

#include "oltmgrd/files/jsonFields.h"
#include "standin/inventory.h"

namespace oltmgrd {

/// The member "serviceProfiles" of an inventory or a configuration; none when it is missing. Throws
/// `JsonError`, also for a name that is empty or used twice and for texts that a service profile cannot hold.
std::vector<standin::ServiceProfile> readServiceProfiles(JsonFields& top);

Json serviceProfileToJson(const standin::ServiceProfile& profile);

}  // namespace oltmgrd
