#include <algorithm>
#include <utility>

#include "oltmgrd/configuration/restoreProfiles.h"

namespace oltmgrd {
namespace {

using Interface = onuQosClassInterface;

std::vector<std::string> namesOf(const std::vector<SavedFlowProfile>& profiles) {
    std::vector<std::string> names;
    for (const SavedFlowProfile& profile : profiles) {
        names.push_back(profile.name);
    }
    return names;
}

}  // namespace

RestoredFlowProfiles::RestoredFlowProfiles(const onuQosClassInterface& module,
                                           const ConfigurationDocument& document, const std::string& prefix,
                                           std::vector<std::string>& lost)
    : RestoredProfiles(module, "flow", namesOf(document.flowProfiles), prefix, lost), document_(document) {}

Result RestoredFlowProfiles::create(const std::string& name) {
    return call<&Interface::onuFlowProfileCreate>(module(), name);
}

Result RestoredFlowProfiles::erase(const std::string& name) {
    return call<&Interface::onuFlowProfileDelete>(module(), name);
}

Result RestoredFlowProfiles::rename(const std::string& oldName, const std::string& newName) {
    return call<&Interface::onuFlowProfileRename>(module(), oldName, newName);
}

void RestoredFlowProfiles::dress(std::size_t place) {
    const SavedFlowProfile& saved = document_.flowProfiles[place];
    setRule(place, saved);
    // While a configuration apply is in progress the guaranteed rate may be above the peak rate.
    onuQos::onuFlowProfileAction action{.guarRateUs = saved.guarRateUs,
                                        .peakRateUs = saved.peakRateUs,
                                        .flowPriorityUs = saved.flowPriorityUs,
                                        .flowPriorityDs = saved.flowPriorityDs};
    attempt(place,
            call<&Interface::onuFlowProfileActionSet>(module(), nameOf(place), action,
                                                      onuQos::onuFlowProfileActionTypeAll,
                                                      onuQos::onuFlowProfileOperationSet),
            "rates and priorities");
}

void RestoredFlowProfiles::setRule(std::size_t place, const SavedFlowProfile& saved) {
    // An id that no stored list holds.
    constexpr std::uint16_t kNoVlan = 0;

    const auto set = [&](onuQos::onuFlowProfileRule rule, onuQos::onuFlowProfileRuleType type,
                         onuQos::onuFlowProfileOperation operation, const char* attribute) {
        attempt(place,
                call<&Interface::onuFlowProfileRuleSet>(module(), nameOf(place), rule, type, operation),
                attribute);
    };
    const bool isSorted = std::ranges::is_sorted(saved.cVlan);
    onuQos::onuFlowProfileRule quiet;
    if (!saved.cPcpPushed) {
        quiet.cPcp = saved.cPcp;
    }
    if (!saved.cVlanPushed || !isSorted) {
        quiet.cVlan = saved.cVlan;
    }
    if (saved.cVlanPushed && !isSorted) {
        quiet.cVlan.push_back(kNoVlan);
    }
    // Storing the whole rule keeps the list as it is and pushes nothing; taking an id out pushes the rest in
    // its order.
    set(quiet, onuQos::onuFlowProfileRuleTypeAll, onuQos::onuFlowProfileOperationSet, "rule");
    if (saved.cVlanPushed && !isSorted) {
        set({.cVlan = {kNoVlan}}, onuQos::onuFlowProfileRuleTypeCVlan, onuQos::onuFlowProfileOperationDelete,
            "VLAN list");
    } else if (saved.cVlanPushed && !saved.cVlan.empty()) {
        set({.cVlan = saved.cVlan}, onuQos::onuFlowProfileRuleTypeCVlan, onuQos::onuFlowProfileOperationSet,
            "VLAN list");
    }
    if (saved.cPcpPushed && saved.cPcp != kNoPcp) {
        set({.cPcp = saved.cPcp, .cVlan = {}}, onuQos::onuFlowProfileRuleTypeCPcp,
            onuQos::onuFlowProfileOperationSet, "PCP");
    }
}

}  // namespace oltmgrd
