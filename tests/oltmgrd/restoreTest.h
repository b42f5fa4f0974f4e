#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
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
    using Document = oltmgrd::ConfigurationDocument;

    RestoreTest() { services_.emplace(interface(), *host_); }

    static const onuQosClassInterface& interface() { return *onuQosClassInterfaceGet(); }

    oltmgrd::ServiceSide& services() { return *services_; }

    Res bind(unsigned int onu, const std::string& service, const std::string& flow, const std::string& tcont,
             unsigned int virtualPort, oltmgrd::TermPoint point = {}) {
        const Res res = services_->apply({.interface = onu,
                                          .service = service,
                                          .flowProfile = flow,
                                          .tcontProfile = tcont,
                                          .virtualPort = virtualPort,
                                          .termPoint = point});
        noteBound();
        return res;
    }

    Res remove(unsigned int onu, const std::string& service) {
        const Res res = services_->remove(onu, service);
        noteBound();
        return res;
    }

    /// The configuration as a file of it would be read.
    Document saved();

    /// Empties everything and restores `document`.
    oltmgrd::RestoreReport restore(const Document& document);

    /// Saves and restores. Expects every service to be bound to profiles that hold what its own held when it
    /// was bound, but for the T-CONT id; every profile to be there as it was; the hardware layer to agree;
    /// each difference to be told and nothing else. Expects a second restart to change nothing and to have
    /// nothing to tell. Returns what the first one told.
    std::vector<std::string> expectRestored();

    void noteBound();

    std::unique_ptr<oltmgrd::Host> host_ = oltmgrd::standinHost();

private:
    /// What a service is bound to: equal ones to the same as the first.
    struct Bound {
        oltmgrd::FlowValues flow;
        oltmgrd::TContValues tcont;
    };

    void expectBound(const Document& after);

    std::optional<oltmgrd::ServiceSide> services_;
    std::map<std::pair<std::uint32_t, std::string>, Bound> bound_;  // by ONU and service
};
