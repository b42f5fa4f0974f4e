#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "onuqos/rules/result.h"
#include "onuqos/support/interfaceType.h"
#include "onuqos/support/log.h"
#include "zqOMApi.h"

/// What the platform tells of an ONU.

/// Whether an interface is an ONU: `error` when the platform does not tell, `wrongIntf` when it is not.
inline rules::Result onuTypeCheck(unsigned int intf) {
    const auto type = interfaceTypeOf(intf);
    if (!type) {
        return rules::Result::error;
    }
    return *type == Interfaces::interfaceTypeOnu ? rules::Result::ok : rules::Result::wrongIntf;
}

/// The parent of an ONU; nothing, with a line, when the platform does not tell.
inline std::optional<std::uint32_t> onuParentOf(At at, unsigned int onuIntf) {
    Interfaces::Interface parent{};
    if (platformObject<Interfaces>().interfaceParentGet(onuIntf, parent) != 0) {
        logError(at, "ONUQOS ERROR - interfaceParentGet() failed for ONU intf: ", onuIntf);
        return std::nullopt;
    }
    return parent.intf;
}

/// The hardware layer's handle of an ONU; nothing, with a line that names the service, when there is none.
inline std::optional<zqOMApiInterface_s> onuHandleOf(At at, unsigned int onuIntf,
                                                     const std::string& service) {
    zqOMApiInterface_s handle{};
    if (platformObject<Interfaces>().interfaceGetOMApiInterfaceById(onuIntf, handle) != 0) {
        logError(at, "ONUQOS ERROR - interfaceGetOMApiInterfaceById() failed for intf: ", onuIntf,
                 ", profile: ", service);
        return std::nullopt;
    }
    return handle;
}
