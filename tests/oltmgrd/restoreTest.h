#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../module/moduleTest.h"
#include "oltmgrd/configuration/restore.h"
#include "oltmgrd/configuration/snapshot.h"
#include "oltmgrd/platform/standin/host.h"
#include "oltmgrd/services/serviceSide.h"
#include "onuqos/entity/onuQosClassInterface.h"

/// The module with the platform's service side, which can be saved, emptied and restored.
class RestoreTest : public ModuleTest {
protected:
    using Res = onuQos::onuQosRes;

    RestoreTest() { services_.emplace(interface(), *host_); }

    static const onuQosClassInterface& interface() { return *onuQosClassInterfaceGet(); }

    oltmgrd::ServiceSide& services() { return *services_; }

    Res bind(unsigned int onu, const std::string& service, const std::string& flow, const std::string& tcont,
             unsigned int virtualPort, oltmgrd::TermPoint point = {}) {
        oltmgrd::AppliedService applied;
        applied.interface = onu;
        applied.service = service;
        applied.flowProfile = flow;
        applied.tcontProfile = tcont;
        applied.virtualPort = virtualPort;
        applied.termPoint = point;
        return services_->apply(applied);
    }

    /// The configuration as a file of it would be read.
    oltmgrd::ConfigurationDocument saved();

    /// Empties everything and restores `document`.
    oltmgrd::RestoreReport restore(const oltmgrd::ConfigurationDocument& document);

    /// What the hardware layer and the tables hold, without what restoring cannot bring back after removals:
    /// flow ids, which are only counted up, the sums of the ports and the overheads in them.
    Snapshot comparable() const;

    /// Saves, restores, and expects everything to be as it was; true if so.
    void expectRestored();

    std::unique_ptr<oltmgrd::Host> host_ = oltmgrd::standinHost();

private:
    std::optional<oltmgrd::ServiceSide> services_;
};
