#pragma once

#include "onuqos/entity/onuQos.h"

/// What the accounting of a binding changes beside its T-CONT.
struct AccountChange {
    bool add;       ///< to the port's sums; else taken off them
    bool onuToo;    ///< the binding is the first or the last of its ONU
    bool stateToo;  ///< the port's state and alarm follow
};

/// How far the accounting came.
struct AccountOutcome {
    rules::FailedStep failed;  ///< with the module's result as answer, or the platform's
    bool tCont = false;
    bool onu = false;
    bool complete = false;  ///< but for the port's state

    bool done() const { return failed.name == nullptr; }
};

/// The caller holds the exclusive lock. What is done before a step fails stays.
AccountOutcome bindingAccount(onuQos& module, const char* operation, unsigned int onuIntf,
                              const std::string& tContProfileName, const AccountChange& change);
