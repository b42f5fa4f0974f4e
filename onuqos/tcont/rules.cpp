#include "tcont/rules.h"

#include "Features.h"
#include "entity/features.h"
#include "entity/onuQos.h"
#include "tcont/rates.h"

static_assert(tContType3RatesAgree(256, 512) && !tContType3RatesAgree(256, 511));
static_assert(tContType5GuaranteeValid(0, 0) && !tContType5GuaranteeValid(100, 155) &&
              tContType5GuaranteeValid(100, 156));
static_assert(tContType5MaximumAgrees(256, 0, 512) && !tContType5MaximumAgrees(256, 0, 511));
static_assert(roundUp(0, 64) == 0 && roundUp(64, 64) == 64 && roundUp(65, 64) == 128);

namespace {

/// The row of a type; zeros for a type without one.
template <typename Row>
Row rowOf(const std::map<onuTContProfileType, Row>& table, onuTContProfileType type) {
    const auto found = table.find(type);
    return found == table.end() ? Row{} : found->second;
}

}  // namespace

void onuQos::onuTContProfileRatesSet() {
    for (const auto& [type, rates] : kTContRateRules) {
        onuTContProfileRatesMap.emplace(type, rates);
    }
}

void onuQos::onuTContProfileSrDbaConfSet() {
    for (const auto& [type, srdba] : kTContSrdbaRules) {
        onuTContProfileSrdbaMap.emplace(type, srdba);
    }
}

onuTContProfileRates onuQos::tContProfileRatesOf(onuTContProfileType type) const {
    return rowOf(onuTContProfileRatesMap, type);
}

bool onuQos::tContProfileIsRateConfigurable(onuTContProfileType type, onuTContProfileRateType rate) {
    const auto rates = tContProfileRatesOf(type);
    for (const TContRate* row : kTContRates) {
        if (row->type == rate) {
            return rates.*row->configurable;
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
    const auto rates = tContProfileRatesOf(type);
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
    const auto rates = tContProfileRatesOf(info.tContType);
    const auto srdba = rowOf(onuTContProfileSrdbaMap, info.tContType);

    unsigned int differing = 0;
    const auto note = [&differing](tContProfileParm parm, bool configurable, bool differs) {
        differing |= configurable && differs ? parm : 0U;
    };
    note(tContParmId, true, info.tContId != defaults.tContId);
    note(tContParmType, true, info.tContType != defaults.tContType);
    for (const TContRate* row : kTContRates) {
        note(row->parm, rates.*row->configurable, info.*row->rate != defaults.*row->rate);
    }
    note(tContParmAllocType, srdba.allocTypeConfigurable, info.dbaAllocType != defaults.dbaAllocType);
    note(tContParmWeight, srdba.weightConfigurable, info.dbaWeight != defaults.dbaWeight);
    note(tContParmPriority, srdba.priorityConfigurable, info.dbaPriority != defaults.dbaPriority);
    mask = differing;
    return onuQosResOk;
}

unsigned int onuQos::onuQosRoundRateTcont(unsigned int rate, onuTContProfileRateType type) const {
    const bool highRate = isActive(kHighRateFeature) || isActive(kTenGFeature);
    return roundUp(rate, tContRateStep(highRate, type, rate));
}
