#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "onuqos/rules/result.h"
#include "onuqos/support/interfaceType.h"
#include "onuqos/support/log.h"
#include "zqOMApi.h"

/// What the platform tells of an ONU. `failed` gets the step that failed, where there is one to get it.

/// Whether an interface is an ONU: `error` when the platform does not tell, `wrongIntf` when it is not.
inline rules::Result onuTypeCheck(unsigned int intf, rules::FailedStep* failed = nullptr) {
    const auto type = interfaceTypeOf(intf, failed);
    if (!type) {
        return rules::Result::error;
    }
    if (*type != Interfaces::interfaceTypeOnu) {
        noteFailure(failed, "interfaceGetTypeById");
        return rules::Result::wrongIntf;
    }
    return rules::Result::ok;
}

/// The parent of an ONU; nothing, with a line, when the platform does not tell.
inline std::optional<std::uint32_t> onuParentOf(At at, unsigned int onuIntf,
                                                rules::FailedStep* failed = nullptr) {
    Interfaces::Interface parent{};
    const int answer = platformObject<Interfaces>().interfaceParentGet(onuIntf, parent);
    if (answer != 0) {
        noteFailure(failed, "interfaceParentGet", answer);
        logError(at, "ONUQOS ERROR - interfaceParentGet() failed for ONU intf: ", onuIntf);
        return std::nullopt;
    }
    return parent.intf;
}

/// The hardware layer's handle of an ONU; nothing, with a line that names the service, when there is none.
inline std::optional<zqOMApiInterface_s> onuHandleOf(At at, unsigned int onuIntf, const std::string& service,
                                                     rules::FailedStep* failed = nullptr) {
    zqOMApiInterface_s handle{};
    const int answer = platformObject<Interfaces>().interfaceGetOMApiInterfaceById(onuIntf, handle);
    if (answer != 0) {
        noteFailure(failed, "interfaceGetOMApiInterfaceById", answer);
        logError(at, "ONUQOS ERROR - interfaceGetOMApiInterfaceById() failed for intf: ", onuIntf,
                 ", profile: ", service);
        return std::nullopt;
    }
    return handle;
}
