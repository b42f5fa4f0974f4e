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
    std::vector<std::string> lost;         ///< what could not be restored, with the reason
    std::vector<std::string> differences;  ///< what is otherwise than it was saved, with the reason
};

/// Restores a saved configuration in a module that holds none, through the operations that clients use, as
/// `planRestore` plans it. What is refused is reported and the rest is restored all the same. To be called
/// while a configuration apply is in progress and before anything else uses the module; the platform must not
/// have service profiles, since those keep profiles from being renamed. `services` remembers the bindings
/// afterwards.
RestoreReport restoreConfiguration(const onuQosClassInterface& module, const ConfigurationDocument& document,
                                   ServiceSide& services, Host& host);

/// Adds to `report` what the PON ports commit otherwise than it was saved. To be called once the
/// configuration apply is over, which decides their alarms.
void comparePorts(const ConfigurationDocument& document, const onuQosClassInterface& module,
                  RestoreReport& report);

}  // namespace oltmgrd
