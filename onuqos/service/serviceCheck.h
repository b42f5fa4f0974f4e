#pragma once

#include <optional>
#include <string>

#include "onuQosOMApi.h"
#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/bindingRules.h"
#include "zqOMApi.h"

/// A request to bind a service, and the operation whose log lines tell of it.
struct ServiceRequest {
    const char* operation;
    unsigned int onuIntf;
    const std::string& serviceName;
    onuQosServiceIntfInfo binding;
    servprofile::onuTermPointType termPointType;
    short termPointId;
};

/// What a request that is accepted is carried out with.
struct CheckedService {
    rules::BindingVerdict needs{};
    onuQosOMApi::onuQosOMApiUniType uniType{};  ///< this and the next where the platform is to be told
    zqOMApiInterface_s handle{};
    bool accepted = false;  ///< else refused, or bound already: the verdict says which
};
