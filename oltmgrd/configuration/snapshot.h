#pragma once

#include <optional>

#include "oltmgrd/configuration/document.h"
#include "oltmgrd/module/module.h"
#include "oltmgrd/platform/host.h"
#include "oltmgrd/services/serviceSide.h"

namespace oltmgrd {

/// The configuration at one moment. Takes the service side's lock, then the platform's shared one; nothing
/// when that is not obtained.
std::optional<ConfigurationDocument> captureConfiguration(const onuQosClassInterface& module,
                                                          ServiceSide& services, const Host& host);

}  // namespace oltmgrd
