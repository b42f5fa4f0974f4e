#include "oltmgrd/configuration/restore.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "oltmgrd/configuration/restoreCheck.h"
#include "oltmgrd/configuration/restoreProfiles.h"
#include "oltmgrd/configuration/snapshot.h"
#include "standin/hardware.h"

namespace oltmgrd {
namespace {

using Interface = onuQosClassInterface;

/// A beginning that no name of the configuration has, for the names that restoring needs for itself.
std::string unusedPrefix(const ConfigurationDocument& document) {
    for (unsigned int attempt = 0;; ++attempt) {
        const std::string prefix = "restore" + std::to_string(attempt) + "~";
        const auto isUsed = [&](std::string_view name) { return name.starts_with(prefix); };
        const auto bindingUses = [&](const SavedBinding& binding) {
            return isUsed(binding.service) || isUsed(binding.flowProfile) || isUsed(binding.tcontProfile);
        };
        if (std::ranges::none_of(document.tcontProfiles, isUsed, &SavedProfile::name) &&
            std::ranges::none_of(document.flowProfiles, isUsed, &SavedProfile::name) &&
            std::ranges::none_of(document.bindings, bindingUses)) {
            return prefix;
        }
    }
}

/// Rebuilds the profiles and bindings of a document. The bindings are applied in the order of their first
/// application, each to profiles that bear the names and hold the values that they had then.
class Restoring {
public:
    Restoring(const onuQosClassInterface& module, const ConfigurationDocument& document,
              RestoreReport& report)
        : module_(module),
          document_(document),
          report_(report),
          prefix_(unusedPrefix(document)),
          tconts_(module, document, prefix_, report.lost),
          flows_(module, document, prefix_, report.lost) {}

    void run() {
        planErasures(document_.tcontProfiles, &SavedBinding::tcont, &Erasure::tcont);
        planErasures(document_.flowProfiles, &SavedBinding::flow, &Erasure::flow);
        planExtras();
        restoreAppliedAlso();
        for (std::size_t i = 0; i < document_.bindings.size(); ++i) {
            removeExtras(i);
            const SavedBinding& binding = document_.bindings[i];
            if (carryOut(described(binding), [&] { bind(i); })) {
                report_.bindings += 1;
            } else {
                lostBindings_.insert(i);
            }
            services_.push_back(applied(binding));  // a step that fails late leaves the binding in place
        }
        removeExtras(document_.bindings.size());
        finishProfiles();
    }

    /// The bindings in order, with the serials of their profiles.
    std::vector<AppliedService> takeServices() {
        const auto tconts = serials(tconts_, document_.tcontProfiles.size(), standin::hardware::tContProfile);
        const auto flows = serials(flows_, document_.flowProfiles.size(), standin::hardware::flowProfile);
        for (AppliedService& service : services_) {
            service.tcontSerial = service.tcontSerial == kDeleted ? kGone : tconts[service.tcontSerial];
            service.flowSerial = service.flowSerial == kDeleted ? kGone : flows[service.flowSerial];
        }
        return std::move(services_);
    }

    const RestoredProfiles& tconts() const { return tconts_; }
    const RestoredProfiles& flows() const { return flows_; }
    const std::set<std::size_t>& lostBindings() const { return lostBindings_; }

private:
    static constexpr std::size_t kNoMore = static_cast<std::size_t>(-1);

    /// From which applied sets an interface is taken again once a binding stands.
    struct Erasure {
        bool tcont = false;
        bool flow = false;
    };

    std::size_t tcontOf(const SavedBinding& binding) const {
        return binding.tcont == kDeleted ? tconts_.extra() : binding.tcont;
    }
    std::size_t flowOf(const SavedBinding& binding) const {
        return binding.flow == kDeleted ? flows_.extra() : binding.flow;
    }

    /// False when `work` was refused; that is reported as a loss of `entry`.
    template <typename Work>
    bool carryOut(const std::string& entry, Work work) {
        try {
            work();
            return true;
        } catch (const Refused& refusal) {
            report_.lost.push_back(entry + ": " + refusal.what());
            return false;
        }
    }

    Result apply(std::uint32_t interface, const std::string& service, const std::string& flow,
                 const std::string& tcont, std::uint32_t virtualPort, TermPoint point) {
        return call<&Interface::onuQosServiceApply>(module_, interface, service, flow, tcont, virtualPort,
                                                    static_cast<servprofile::onuTermPointType>(point.type),
                                                    point.id);
    }

    /// The name of services that are applied only for what they leave behind.
    std::string passingService() const { return prefix_; }

    /// Finds the last binding of each profile on each interface where the profile is not applied in the end.
    template <typename Profile>
    void planErasures(const std::vector<Profile>& profiles, std::size_t SavedBinding::*use,
                      bool Erasure::*erased) {
        std::map<std::pair<std::size_t, std::uint32_t>, std::size_t> last;
        for (std::size_t i = 0; i < document_.bindings.size(); ++i) {
            const SavedBinding& binding = document_.bindings[i];
            const std::size_t place = binding.*use;
            if (place != kDeleted &&
                std::ranges::binary_search(profiles[place].appliedNot, binding.interface)) {
                last[{place, binding.interface}] = i;
            }
        }
        for (const auto& [profile, i] : last) {
            erasures_[i].*erased = true;
        }
    }

    /// Finds how many bindings have to be there before the extra profiles are not needed any more.
    void planExtras() {
        for (std::size_t i = 0; i < document_.bindings.size(); ++i) {
            if (document_.bindings[i].tcont == kDeleted || document_.bindings[i].pushedTContId) {
                extraTContUses_ = i + 1;
            }
            if (document_.bindings[i].flow == kDeleted) {
                extraFlowUses_ = i + 1;
            }
        }
    }

    /// Puts the interfaces without a binding into the applied sets: a passing service puts them in, and its
    /// removal does not find the profile, which has another name by then. It finds the extra T-CONT profile
    /// instead, which takes the same rates off the port as were put on it.
    void restoreAppliedAlso() {
        for (std::size_t place = 0; place < document_.tcontProfiles.size(); ++place) {
            const auto& interfaces = document_.tcontProfiles[place].appliedAlso;
            if (!interfaces.empty()) {
                carryOut(tconts_.described(place), [&] { applyTContAlso(place, interfaces); });
            }
        }
        for (std::size_t place = 0; place < document_.flowProfiles.size(); ++place) {
            const auto& interfaces = document_.flowProfiles[place].appliedAlso;
            if (!interfaces.empty()) {
                carryOut(flows_.described(place), [&] { applyFlowAlso(place, interfaces); });
            }
        }
        removeExtras(0);
    }

    void applyTContAlso(std::size_t place, const std::vector<std::uint32_t>& interfaces) {
        const std::string name = prefix_ + "tcont";
        tconts_.make(tconts_.extra());
        flows_.make(flows_.extra());
        tconts_.make(place);
        tconts_.moveTo(place, name);
        const auto passed = applyPassing(interfaces, flows_.nameOf(flows_.extra()), name);
        tconts_.moveTo(tconts_.extra(), name);
        removePassing(passed);
        tconts_.moveHome(tconts_.extra());
    }

    void applyFlowAlso(std::size_t place, const std::vector<std::uint32_t>& interfaces) {
        const std::string name = prefix_ + "flow";
        tconts_.make(tconts_.extra());
        flows_.make(place);
        flows_.moveTo(place, name);
        const auto passed = applyPassing(interfaces, name, tconts_.nameOf(tconts_.extra()));
        flows_.moveHome(place);
        removePassing(passed);
    }

    /// The interfaces on which the service could be applied. The check at the end finds the others.
    std::vector<std::uint32_t> applyPassing(const std::vector<std::uint32_t>& interfaces,
                                            const std::string& flow, const std::string& tcont) {
        std::vector<std::uint32_t> passed;
        for (const std::uint32_t interface : interfaces) {
            if (apply(interface, passingService(), flow, tcont, 0, {}) == onuQos::onuQosResOk) {
                passed.push_back(interface);
            }
        }
        return passed;
    }

    void removePassing(const std::vector<std::uint32_t>& interfaces) {
        for (const std::uint32_t interface : interfaces) {
            require(call<&Interface::onuQosServiceRemove>(module_, interface, passingService()),
                    "removing a passing service of interface " + std::to_string(interface));
        }
    }

    void bind(std::size_t index) {
        const SavedBinding& binding = document_.bindings[index];
        const std::size_t tcont = tcontOf(binding);
        const std::size_t flow = flowOf(binding);
        flows_.make(flow);
        tconts_.shapeTo(tcont, binding.shape);
        flows_.moveTo(flow, binding.flowProfile);
        tconts_.moveTo(tcont, binding.tcontProfile);
        clearConflicts(binding);

        const auto erasure = erasures_.find(index);
        const bool passes = erasure != erasures_.end() || binding.pushedTermPoint || binding.pushedTContId;
        if (binding.pushedTermPoint || binding.pushedTContId) {
            applyFirstOfEqual(binding);
        }
        const Result result = apply(binding.interface, binding.service, binding.flowProfile,
                                    binding.tcontProfile, binding.virtualPort, binding.termPoint);
        if (result == onuQos::onuQosResOk) {
            noteName(binding);
        }
        if (passes) {
            passOver(binding, erasure == erasures_.end() ? Erasure{} : erasure->second);
        }
        require(result, "applying");
    }

    /// Of equal bindings only the first is pushed, with its own termination point and the id that the profile
    /// of that name had at the time. A passing service stands in for it.
    void applyFirstOfEqual(const SavedBinding& binding) {
        if (binding.pushedTContId) {
            TContShape pushed = binding.shape;
            pushed.tContId = *binding.pushedTContId;
            tconts_.shapeTo(tconts_.extra(), pushed);
            tconts_.moveTo(tconts_.extra(), binding.tcontProfile);
        }
        require(apply(binding.interface, passingService(), binding.flowProfile, binding.tcontProfile,
                      binding.virtualPort, binding.pushedTermPoint.value_or(binding.termPoint)),
                "applying");
        tconts_.shapeTo(tcontOf(binding), binding.shape);
        tconts_.moveTo(tcontOf(binding), binding.tcontProfile);
    }

    /// Applies an equal binding and removes it, which takes the interface out of the applied sets of those
    /// profiles that still bear the names of the binding.
    void passOver(const SavedBinding& binding, Erasure erasure) {
        require(apply(binding.interface, passingService(), binding.flowProfile, binding.tcontProfile,
                      binding.virtualPort, binding.termPoint),
                "applying a passing service");
        if (!erasure.tcont) {
            tconts_.moveHome(tcontOf(binding));
        }
        if (!erasure.flow) {
            flows_.moveHome(flowOf(binding));
        }
        require(call<&Interface::onuQosServiceRemove>(module_, binding.interface, passingService()),
                "removing a passing service");
    }

    /// Sends profiles home that stand in the way of a binding as they did not at the time: those with its
    /// T-CONT id that bear a name under which the ONU has another T-CONT profile bound.
    void clearConflicts(const SavedBinding& binding) {
        const auto names = tcontNames_.find(binding.interface);
        if (names == tcontNames_.end()) {
            return;
        }
        for (const std::string& name : names->second) {
            const auto bearer = tconts_.bearerOf(name);
            if (name != binding.tcontProfile && bearer &&
                tconts_.shapeOf(*bearer).tContId == binding.shape.tContId) {
                tconts_.moveHome(*bearer);
            }
        }
    }

    void noteName(const SavedBinding& binding) {
        auto& names = tcontNames_[binding.interface];
        if (std::ranges::find(names, binding.tcontProfile) == names.end()) {
            names.push_back(binding.tcontProfile);
        }
    }

    /// Deletes the extra profiles once no binding from `index` on needs them: there may be no room for them
    /// beside the saved ones.
    void removeExtras(std::size_t index) {
        removeExtra(tconts_, extraTContUses_, index);
        removeExtra(flows_, extraFlowUses_, index);
    }

    void removeExtra(RestoredProfiles& profiles, std::size_t& uses, std::size_t index) {
        if (uses <= index) {
            uses = kNoMore;
            carryOut("a profile that was deleted while bound", [&] { profiles.remove(profiles.extra()); });
        }
    }

    /// Makes the profiles that no binding needed, and gives all their names and values of today.
    void finishProfiles() {
        for (std::size_t place = 0; place < document_.tcontProfiles.size(); ++place) {
            const SavedTContProfile& saved = document_.tcontProfiles[place];
            finish(tconts_, place, saved.name, [&] { tconts_.shapeTo(place, saved.shape); });
        }
        for (std::size_t place = 0; place < document_.flowProfiles.size(); ++place) {
            finish(flows_, place, document_.flowProfiles[place].name, [&] { flows_.make(place); });
        }
    }

    template <typename Make>
    void finish(RestoredProfiles& profiles, std::size_t place, const std::string& name, Make make) {
        try {
            make();
            profiles.moveTo(place, name);
            report_.profiles += profiles.isLost(place) ? 0 : 1;
        } catch (const Refused& refusal) {
            profiles.lose(place, refusal.what());
        }
    }

    template <typename Find>
    static std::vector<std::uint64_t> serials(const RestoredProfiles& profiles, std::size_t count,
                                              Find find) {
        std::vector<std::uint64_t> serials;
        for (std::size_t place = 0; place < count; ++place) {
            const auto profile = find(profiles.nameOf(place));
            serials.push_back(profile ? profile->serial : 0);
        }
        return serials;
    }

    static AppliedService applied(const SavedBinding& binding) {
        return {.interface = binding.interface,
                .service = binding.service,
                .flowProfile = binding.flowProfile,
                .tcontProfile = binding.tcontProfile,
                .virtualPort = binding.virtualPort,
                .termPoint = binding.termPoint,
                .flowSerial = binding.flow,  // its place for now
                .tcontSerial = binding.tcont,
                .shape = binding.shape};
    }

    const onuQosClassInterface& module_;
    const ConfigurationDocument& document_;
    RestoreReport& report_;
    std::string prefix_;
    RestoredTContProfiles tconts_;
    RestoredFlowProfiles flows_;
    std::size_t extraTContUses_ = 0;  // how many bindings have to be there before it is not needed
    std::size_t extraFlowUses_ = 0;
    std::unordered_map<std::size_t, Erasure> erasures_;                       // by binding
    std::unordered_map<std::uint32_t, std::vector<std::string>> tcontNames_;  // bound on each ONU
    std::vector<AppliedService> services_;
    std::set<std::size_t> lostBindings_;
};

/// Adds the service profiles; the module's profiles that they name can be neither renamed nor deleted now.
void addServiceProfiles(const ConfigurationDocument& document, Host& host, RestoreReport& report) {
    for (const ServiceProfile& profile : document.serviceProfiles) {
        try {
            host.addServiceProfile(profile);
            report.serviceProfiles += 1;
        } catch (const HostError& error) {
            report.lost.push_back("service profile " + quoted(profile.name) + ": " + error.what());
        }
    }
}

}  // namespace

RestoreReport restoreConfiguration(const onuQosClassInterface& module, const ConfigurationDocument& document,
                                   ServiceSide& services, Host& host) {
    const auto begin = std::chrono::steady_clock::now();
    RestoreReport report;
    Restoring restoring(module, document, report);
    restoring.run();

    services.adopt(restoring.takeServices());
    addServiceProfiles(document, host, report);

    ConfigurationState state;
    if (captureConfiguration(module, services, host, state)) {
        compareRestored(document, documentOf(state), restoring.tconts(), restoring.flows(),
                        restoring.lostBindings(), report);
    } else {
        report.lost.emplace_back("what was restored could not be read back: the lock was not obtained");
    }
    report.duration =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    return report;
}

}  // namespace oltmgrd
