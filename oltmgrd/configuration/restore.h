#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "oltmgrd/configuration/document.h"
#include "oltmgrd/module/module.h"
#include "oltmgrd/services/serviceSide.h"

namespace oltmgrd {

/// What became of a restored configuration.
struct RestoreReport {
    std::size_t profiles = 0;  ///< of both families
    std::size_t serviceProfiles = 0;
    std::size_t bindings = 0;
    std::chrono::microseconds duration{};
    std::vector<std::string> lost;         ///< entries that are not as they were saved, with the reason
    std::vector<std::string> differences;  ///< what else differs from the time of saving
};

/// Rebuilds a saved configuration in a module that holds none, through the module's own operations. An entry
/// that is refused is reported and the others are restored all the same. To be called while a configuration
/// apply is in progress and before anything else uses the module; the platform must not have service
/// profiles, since those keep profiles from being renamed. `services` remembers the bindings afterwards.
RestoreReport restoreConfiguration(const onuQosClassInterface& module, const ConfigurationDocument& document,
                                   ServiceSide& services, Host& host);

}  // namespace oltmgrd
