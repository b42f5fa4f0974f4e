#include "oltmgrd/configuration/restore.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "common/text.h"
#include "oltmgrd/configuration/profileSteps.h"
#include "oltmgrd/configuration/restorePlan.h"

namespace oltmgrd {
namespace {

using common::inQuotes;

std::string reason(Result result) {
    const std::string name(resultName(result));
    switch (result) {
        case onuQos::onuQosResWrongIntf:
            return "there is no such ONU (" + name + ")";
        case onuQos::onuQosResNotFound:
            return "a profile of it could not be made (" + name + ")";
        case onuQos::onuQosResError:
        case onuQos::onuQosResOMApiRefused:
            return "the platform refused a step; the log says which (" + name + ")";
        default:
            return "the module refused a step (" + name + ")";
    }
}

/// The profiles of one family while a plan is carried out.
template <typename Values>
class Profiles {
public:
    using Planned = PlannedProfile<Values>;

    Profiles(const onuQosClassInterface& module, const std::vector<Planned>& planned, RestoreReport& report)
        : module_(module), planned_(planned), report_(report), isMade_(planned.size()) {
        while (std::ranges::find(planned, otherName_, &Planned::name) != planned.end()) {
            otherName_ += "~";
        }
    }

    const Planned& operator[](std::size_t place) const { return planned_[place]; }

    void make(std::size_t place) {
        if (isMade_[place]) {
            return;
        }
        isMade_[place] = true;
        const Planned& profile = planned_[place];
        // Renaming reaches names that creating refuses, and that bindings have already.
        const bool isRenamed =
            profile.name.empty() || profile.name.size() > kProfileNameMax || profile.passes;
        Result result = makeProfile(module_, isRenamed ? otherName_ : profile.name, profile.values);
        if (isRenamed && rename(otherName_, profile.name) != onuQos::onuQosResOk) {
            erase(otherName_);
            result = onuQos::onuQosResError;
        }
        require(result, place);
        report_.profiles += result == onuQos::onuQosResOk && !profile.passes ? 1 : 0;
    }

    /// Deletes a profile that passes; an empty name cannot be deleted.
    void letPass(std::size_t place) {
        const std::string& name = planned_[place].name;
        if (planned_[place].passes) {
            const bool isRenamed = rename(name, otherName_) == onuQos::onuQosResOk;
            require(erase(isRenamed ? otherName_ : name), place);
            isMade_[place] = false;
        }
    }

private:
    static constexpr bool kAreFlows = std::is_same_v<Values, FlowValues>;

    Result rename(const std::string& name, const std::string& to) {
        constexpr auto kRename = kAreFlows ? &onuQosClassInterface::onuFlowProfileRename
                                           : &onuQosClassInterface::tContProfileRename;
        return call<kRename>(module_, name, to);
    }

    Result erase(const std::string& name) {
        constexpr auto kDelete = kAreFlows ? &onuQosClassInterface::onuFlowProfileDelete
                                           : &onuQosClassInterface::tContProfileDelete;
        return call<kDelete>(module_, name);
    }

    void require(Result result, std::size_t place) {
        if (result != onuQos::onuQosResOk) {
            report_.lost.push_back((kAreFlows ? "flow profile " : "T-CONT profile ") +
                                   inQuotes(planned_[place].name) + ": " + reason(result));
        }
    }

    const onuQosClassInterface& module_;
    const std::vector<Planned>& planned_;
    RestoreReport& report_;
    std::string otherName_ = "restoring";
    std::vector<bool> isMade_;
};

void carryOut(const RestorePlan& plan, const onuQosClassInterface& module,
              const ConfigurationDocument& document, ServiceSide& services, RestoreReport& report) {
    Profiles<FlowValues> flows(module, plan.flows, report);
    Profiles<TContValues> tconts(module, plan.tconts, report);
    for (const bool passes : {true, false}) {
        for (std::size_t i = 0; i < plan.bindings.size(); ++i) {
            const auto& [flow, tcont, termPoint] = plan.bindings[i];
            if ((flows[flow].passes || tconts[tcont].passes) != passes) {
                continue;
            }
            flows.make(flow);
            tconts.make(tcont);
            const SavedBinding& saved = document.bindings[i];
            const Result result = services.apply({.interface = saved.interface,
                                                  .service = saved.service,
                                                  .flowProfile = flows[flow].name,
                                                  .tcontProfile = tconts[tcont].name,
                                                  .virtualPort = saved.virtualPort,
                                                  .termPoint = termPoint,
                                                  .order = i + 1});
            if (result == onuQos::onuQosResOk) {
                report.bindings += 1;
            } else {
                report.lost.push_back(described(saved) + ": " + reason(result));
            }
            flows.letPass(flow);
            tconts.letPass(tcont);
        }
    }
    for (std::size_t i = 0; i < document.flowProfiles.size(); ++i) {
        flows.make(i);
    }
    for (std::size_t i = 0; i < document.tcontProfiles.size(); ++i) {
        tconts.make(i);
    }
}

std::string change(std::uint32_t before, std::uint32_t now) {
    return std::to_string(now) + " instead of " + std::to_string(before);
}

/// Adds the service profiles; the module's profiles that they name can be neither renamed nor deleted now.
void addServiceProfiles(const ConfigurationDocument& document, Host& host, RestoreReport& report) {
    for (const ServiceProfile& profile : document.serviceProfiles) {
        try {
            host.addServiceProfile(profile);
            report.serviceProfiles += 1;
        } catch (const HostError& error) {
            report.lost.push_back("service profile " + inQuotes(profile.name) + ": " + error.what());
        }
    }
}

}  // namespace

RestoreReport restoreConfiguration(const onuQosClassInterface& module, const ConfigurationDocument& document,
                                   ServiceSide& services, Host& host) {
    const auto begin = std::chrono::steady_clock::now();
    RestoreReport report;
    RestorePlan plan = planRestore(document);
    report.differences = std::move(plan.differences);
    carryOut(plan, module, document, services, report);
    addServiceProfiles(document, host, report);
    report.duration =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    return report;
}

void comparePorts(const ConfigurationDocument& document, const onuQosClassInterface& module,
                  RestoreReport& report) {
    onuQosTables tables;
    if (call<&onuQosClassInterface::onuQosTablesGet>(module, tables) != onuQos::onuQosResOk) {
        report.lost.emplace_back("what was restored could not be read back: the lock was not obtained");
        return;
    }
    const auto told = [&](const SavedPort& port, const std::string& text) {
        report.differences.push_back("port " + std::to_string(port.interface) + ": " + text);
    };
    for (const SavedPort& before : document.ports) {
        const auto found = tables.onuQosOltCacMap.find(before.interface);
        if (found == tables.onuQosOltCacMap.end()) {
            told(before, "is not in the inventory any more");
            continue;
        }
        const auto& [interface, now] = *found;
        if (now.fixedAlloc != before.fixedAlloc || now.assuredAlloc != before.assuredAlloc) {
            told(before, "commits " + change(before.fixedAlloc, now.fixedAlloc) + " kbit/s fixed and " +
                             change(before.assuredAlloc, now.assuredAlloc) +
                             " kbit/s assured: its services are accounted for anew, in their order");
        }
        if (const bool isRaised = tables.onuQosOltCacAlarmMap.at(interface);
            isRaised != before.alarm.value_or(isRaised)) {
            told(before, std::string("its alarm is ") + (isRaised ? "raised" : "not raised") +
                             " now: it is decided anew");
        }
    }
}

}  // namespace oltmgrd
