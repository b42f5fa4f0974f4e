#pragma once

#include "oltmgrd/module/module.h"
#include "oltmgrd/services/profileValues.h"

namespace oltmgrd {

/// What the module's profiles hold beside their names.
inline TContValues valuesOf(const tContProfileInfo& profile) {
    return {.tContId = profile.tContId,
            .tContType = static_cast<std::uint32_t>(profile.tContType),
            .fixedRate = profile.fixedRate,
            .assuredRate = profile.assuredRate,
            .maximumRate = profile.maximumRate,
            .dbaAllocType = static_cast<std::uint32_t>(profile.dbaAllocType),
            .dbaWeight = profile.dbaWeight,
            .dbaPriority = profile.dbaPriority};
}

inline FlowValues valuesOf(const onuQos::onuFlowProfileInfo& profile) {
    return {.cPcp = profile.rule.cPcp,
            .cVlan = profile.rule.cVlan,
            .guarRateUs = profile.action.guarRateUs,
            .peakRateUs = profile.action.peakRateUs,
            .flowPriorityUs = profile.action.flowPriorityUs,
            .flowPriorityDs = profile.action.flowPriorityDs};
}

}  // namespace oltmgrd
