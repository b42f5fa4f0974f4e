#pragma once

#include "oltmgrd/platform/host.h"
#include "onuqos/entity/onuQos.h"

namespace fuzz {

/// A small GPON OLT that the real module runs on the stand-in platform: PON ports 1 and 2, ONUs 101, 102 and
/// 103 on the one and 201 on the other. There is one in a process, started as the management process starts
/// its own, but with no transports to serve.
///
/// Each line of its log has to be one line, whatever names it holds.
class Olt {
public:
    static Olt& instance();

    /// Empties everything.
    void startEmpty();

    /// Empties everything and makes T-CONT profiles "gold", "silver" and "tin", flow profiles "hsi", "voip"
    /// and "iptv", and a service profile that names "tin" and "iptv".
    void startWithProfiles();

    onuQos& module() { return module_; }

    /// What the module's tables hold now. Requires that the lock is obtained, that no family has more
    /// profiles than there may be, and that each record bears its key.
    onuQosTables tables() const;

    /// Requires that the hardware layer has the profiles of `tables` and agrees on what the module has told
    /// it of them. Only where no platform call was refused.
    static void requireMirrored(const onuQosTables& tables);

private:
    Olt();

    static void configure();

    onuQos& module_ = singleton<onuQos>::instance();
};

/// The stand-in as the management process sees it.
oltmgrd::Host& host();

}  // namespace fuzz
