#pragma once

#include "onuqos/entity/onuQos.h"

/// What the accounting of a binding changes beside its T-CONT.
struct AccountChange {
    bool add;       ///< to the port's sums; else taken off them
    bool onuToo;    ///< the binding is the first or the last of its ONU
    bool stateToo;  ///< the port's state and alarm follow
};

/// The caller holds the exclusive lock. What is done before a step fails stays.
onuQos::onuQosRes bindingAccount(onuQos& module, const char* operation, unsigned int onuIntf,
                                 const std::string& tContProfileName, const AccountChange& change);
