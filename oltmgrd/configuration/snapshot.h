#pragma once

#include <vector>

#include "oltmgrd/configuration/document.h"
#include "oltmgrd/services/serviceSide.h"
#include "onuqos/entity/onuQos.h"
#include "standin/hardware.h"

namespace oltmgrd {

/// What a configuration is made of, all of one moment.
struct ConfigurationState {
    onuQosTables tables;
    standin::Hardware hardware;
    std::vector<ServiceProfile> serviceProfiles;
    std::vector<AppliedService> services;  ///< in order of application
};

/// Takes the service side's lock, then the platform's shared one. False when that is not obtained.
bool captureConfiguration(const onuQosClassInterface& module, ServiceSide& services, const Host& host,
                          ConfigurationState& state);

ConfigurationDocument documentOf(const ConfigurationState& state);

}  // namespace oltmgrd
