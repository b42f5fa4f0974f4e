#include <algorithm>
#include <utility>

#include "oltmgrd/configuration/restoreProfiles.h"

namespace oltmgrd {
namespace {

using Interface = onuQosClassInterface;

constexpr TContShape kFreshShape;

std::vector<std::string> namesOf(const std::vector<SavedTContProfile>& profiles) {
    std::vector<std::string> names;
    for (const SavedTContProfile& profile : profiles) {
        names.push_back(profile.name);
    }
    return names;
}

struct RateStep {
    decltype(&onuQos::tContProfileFixedRateSet) Interface::*set;
    const char* name;
    std::uint32_t rate;
};

RateStep fixed(std::uint32_t rate) {
    return {&Interface::tContProfileFixedRateSet, "fixed rate", rate};
}

RateStep assured(std::uint32_t rate) {
    return {&Interface::tContProfileAssuredRateSet, "assured rate", rate};
}

RateStep maximum(std::uint32_t rate) {
    return {&Interface::tContProfileMaximumRateSet, "maximum rate", rate};
}

/// The order in which the rates of `wanted` are set, from its type's defaults, so that every step keeps the
/// rules of the type.
std::vector<RateStep> rateSteps(const TContShape& wanted) {
    switch (wanted.tContType) {
        case tContType1:
            return {fixed(wanted.fixedRate)};
        case tContType2:
            return {assured(wanted.assuredRate)};
        case tContType3:
            return {maximum(wanted.maximumRate), assured(wanted.assuredRate)};
        case tContType4:
            return {maximum(wanted.maximumRate)};
        default:
            break;
    }
    // Fixed and assured rate together are 0 or at least 256, and the maximum lies 256 above. A fixed rate
    // below 256 is only reached beside an assured rate that makes up the sum already.
    if (wanted.fixedRate == 0 || wanted.fixedRate >= 256) {
        return {maximum(wanted.maximumRate), fixed(wanted.fixedRate), assured(wanted.assuredRate)};
    }
    const std::uint32_t first = std::max<std::uint32_t>(wanted.assuredRate, 256);
    const std::uint32_t room = std::max(wanted.maximumRate, wanted.fixedRate + first + 256);
    return {maximum(room), assured(first), fixed(wanted.fixedRate), assured(wanted.assuredRate),
            maximum(wanted.maximumRate)};
}

}  // namespace

RestoredTContProfiles::RestoredTContProfiles(const onuQosClassInterface& module,
                                             const ConfigurationDocument& document, const std::string& prefix,
                                             std::vector<std::string>& lost)
    : RestoredProfiles(module, "T-CONT", namesOf(document.tcontProfiles), prefix, lost),
      document_(document),
      shapes_(document.tcontProfiles.size() + 1) {}

Result RestoredTContProfiles::create(const std::string& name) {
    return call<&Interface::tContProfileCreate>(module(), name);
}

Result RestoredTContProfiles::erase(const std::string& name) {
    return call<&Interface::tContProfileDelete>(module(), name);
}

Result RestoredTContProfiles::rename(const std::string& oldName, const std::string& newName) {
    return call<&Interface::tContProfileRename>(module(), oldName, newName);
}

/// The allocation type cannot be set once the profile has type 1, and a new profile has type 5.
void RestoredTContProfiles::dress(std::size_t place) {
    const SavedTContProfile& saved = document_.tcontProfiles[place];
    const std::string& name = nameOf(place);
    if (saved.weightPushed) {
        attempt(place, call<&Interface::tContProfileSrdbaWeightSet>(module(), name, saved.dbaWeight),
                "SR-DBA weight");
    }
    const SavedTContProfile fresh;
    if (saved.dbaPriority != fresh.dbaPriority) {
        attempt(place, call<&Interface::tContProfileSrdbaPrioritySet>(module(), name, saved.dbaPriority),
                "SR-DBA priority");
    }
    if (!saved.allocTypePushed) {
        return;
    }
    // Setting what is set already is not pushed.
    for (const onuTContProfileDbaCtrlMode mode : {tContDbaMode1, tContDbaMode2}) {
        if (mode <= saved.dbaAllocType) {
            attempt(place, call<&Interface::tContProfileAllocTypeSet>(module(), name, mode),
                    "DBA allocation type");
        }
    }
}

void RestoredTContProfiles::shapeTo(std::size_t place, const TContShape& wanted) {
    make(place);
    TContShape& shape = shapes_[place];
    if (shape == wanted) {
        return;
    }
    moveHome(place);
    const std::string& name = nameOf(place);
    attempt(place, call<&Interface::tContProfileIdSet>(module(), name, wanted.tContId), "T-CONT id");
    if (shape.tContType == wanted.tContType && shape != kFreshShape) {
        // Only a change of the type brings the rates back to the type's defaults.
        const auto other = wanted.tContType == tContType4 ? tContType5 : tContType4;
        attempt(place, call<&Interface::tContProfileTypeSet>(module(), name, other), "T-CONT type");
    }
    attempt(place,
            call<&Interface::tContProfileTypeSet>(module(), name,
                                                  static_cast<onuTContProfileType>(wanted.tContType)),
            "T-CONT type");
    for (const RateStep& step : rateSteps(wanted)) {
        const Result result = (module().entity.*(module().*step.set))(name, step.rate);
        attempt(place, result, std::string(step.name) + " " + std::to_string(step.rate));
    }
    shape = wanted;
}

}  // namespace oltmgrd
