#pragma once

#include <string>
#include <vector>

#include "oltmgrd/files/jsonFields.h"

namespace oltmgrd {

/// A service profile of the platform. Each text has at most 64 bytes, none of them NUL; an empty one names
/// nothing.
struct ServiceProfile {
    std::string name;
    std::string tcontProfile;
    std::string flowProfile;

    friend bool operator==(const ServiceProfile&, const ServiceProfile&) = default;
};

/// The member "serviceProfiles" of an inventory or a configuration; none when it is missing. Throws
/// `JsonError`, also for a name that is empty or used twice and for texts that a service profile cannot hold.
std::vector<ServiceProfile> readServiceProfiles(JsonFields& top);

Json serviceProfileToJson(const ServiceProfile& profile);

}  // namespace oltmgrd
