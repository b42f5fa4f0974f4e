#include "Features.h"
#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/tContRules.h"
#include "onuqos/support/features.h"
#include "onuqos/tcont/rates.h"

void onuQos::onuTContProfileRatesSet() {
    for (const auto& [type, rates] : rules::kTContRateRules) {
        onuTContProfileRatesMap.emplace(type, rates);
    }
}

void onuQos::onuTContProfileSrDbaConfSet() {
    for (const auto& [type, srdba] : rules::kTContSrdbaRules) {
        onuTContProfileSrdbaMap.emplace(type, srdba);
    }
}

bool onuQos::tContProfileIsRateConfigurable(onuTContProfileType type, onuTContProfileRateType rate) {
    const auto rates = rowOf(onuTContProfileRatesMap, type);
    for (const rules::TContRateKind& kind : rules::kTContRateKinds) {
        if (kind.type == rate) {
            return rates.*kind.configurable;
        }
    }
    return false;
}

bool onuQos::tContProfileIsSrdbaConfigurable(onuTContProfileType type, onuTContProfileSrdbaType parm) {
    const auto srdba = rowOf(onuTContProfileSrdbaMap, type);
    switch (parm) {
        case tContSrdbaAllocType:
            return srdba.allocTypeConfigurable;
        case tContSrdbaWeight:
            return srdba.weightConfigurable;
        case tContSrdbaPriority:
            return srdba.priorityConfigurable;
        default:
            return false;
    }
}

onuQos::onuQosRes onuQos::tContProfileDefaultTypeGet(onuTContProfileType type, tContProfileInfo& info) {
    const auto rates = rowOf(onuTContProfileRatesMap, type);
    const auto srdba = rowOf(onuTContProfileSrdbaMap, type);
    info.tContId = kTContIdDefault;
    info.tContType = tContType5;  // whatever was asked: the mask tells other types by it
    info.fixedRate = rates.fixedRateDefault;
    info.assuredRate = rates.assuredRateDefault;
    info.maximumRate = rates.maximumRateDefault;
    info.dbaAllocType = srdba.allocTypeDefault;
    info.dbaWeight = srdba.weightDefault;
    info.dbaPriority = srdba.priorityDefault;
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::tContProfileDefaultGet(tContProfileInfo& info) {
    return tContProfileDefaultTypeGet(tContType5, info);
}

void onuQos::tContProfileDefaultSet(tContProfileInfo& info) {
    tContProfileDefaultTypeGet(tContType5, info);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the record by value
onuQos::onuQosRes onuQos::onuQosTContProfileParmsMaskSet(tContProfileInfo info, unsigned int& mask) {
    tContProfileInfo defaults;
    tContProfileDefaultTypeGet(info.tContType, defaults);
    const auto rates = rowOf(onuTContProfileRatesMap, info.tContType);
    const auto srdba = rowOf(onuTContProfileSrdbaMap, info.tContType);

    unsigned int differing = 0;
    const auto note = [&differing](tContProfileParm parm, bool configurable, bool differs) {
        differing |= configurable && differs ? parm : 0U;
    };
    note(tContParmId, true, info.tContId != defaults.tContId);
    note(tContParmType, true, info.tContType != defaults.tContType);
    for (const rules::TContRateKind& kind : rules::kTContRateKinds) {
        note(kind.parm, rates.*kind.configurable, info.*kind.stored != defaults.*kind.stored);
    }
    note(tContParmAllocType, srdba.allocTypeConfigurable, info.dbaAllocType != defaults.dbaAllocType);
    note(tContParmWeight, srdba.weightConfigurable, info.dbaWeight != defaults.dbaWeight);
    note(tContParmPriority, srdba.priorityConfigurable, info.dbaPriority != defaults.dbaPriority);
    mask = differing;
    return onuQosResOk;
}

unsigned int onuQos::onuQosRoundRateTcont(unsigned int rate, onuTContProfileRateType type) const {
    const bool highRate = isActive(kHighRateFeature) || isActive(kTenGFeature);
    return rules::tContRateRounded(rules::classLimits(highRate), type, rate);
}
