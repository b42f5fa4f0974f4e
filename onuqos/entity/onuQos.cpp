#include "onuqos/entity/onuQos.h"

#include <cstdlib>

#include "BLLManager.h"
#include "Features.h"
#include "Ports.h"
#include "onuqos/entity/onuQosClassInterface.h"
#include "onuqos/rules/classLimits.h"
#include "onuqos/rules/flowRules.h"
#include "onuqos/support/features.h"
#include "onuqos/support/log.h"
#include "onuqos/support/platformObject.h"
#include "onuqos/support/sharedSingletons.h"
#include "servprofile.h"
#include "zqbridge.h"

template class singleton<onuQos>;

std::uint32_t onuQos::TCONT_RATE_GRANULARITY;
std::uint32_t onuQos::TCONT_PROFILE_RATE_MIN;
std::uint32_t onuQos::TCONT_PROFILE_RATE_MAX;
std::uint32_t onuQos::OLT_TOTAL_RATE_MAX;
std::uint32_t onuQos::OLT_FIXED_RATE_MAX;
std::uint32_t onuQos::ONUFLOW_PROFILE_US_PEAK_RATE_DEF;
std::uint32_t onuQos::ONUFLOW_PROFILE_PEAK_RATE_MAX;
std::uint32_t onuQos::ONUFLOW_PROFILE_GUAR_RATE_MAX;

namespace {

/// Runs when the library is loaded. The manager comes first so that it outlives the entity.
const bool kRegistered = [] {
    if (!platformSingletonsAreShared()) {
        std::abort();
    }
    platformObject<BLLManager>();
    platformObject<BLLManager>().registerEntity(singleton<onuQos>::instance());
    return true;
}();

}  // namespace

onuQos::onuQos() : BLEntity("onuqos"), rpcProxy(rpcOnuqosStart, "onuqos_mng") {
    const rules::ClassLimits& limits = rules::classLimits(getOltPortBw());
    TCONT_RATE_GRANULARITY = limits.tContRateGranularity;
    TCONT_PROFILE_RATE_MIN = limits.tContRateMin;
    TCONT_PROFILE_RATE_MAX = limits.rateMax;
    OLT_TOTAL_RATE_MAX = OLT_FIXED_RATE_MAX = limits.totalMax;
    ONUFLOW_PROFILE_US_PEAK_RATE_DEF = limits.rateMax;
    ONUFLOW_PROFILE_PEAK_RATE_MAX = ONUFLOW_PROFILE_GUAR_RATE_MAX = limits.rateMax;
}

onuQos::~onuQos() = default;

void onuQos::applyConfiguration(boost::shared_ptr<Storage::Setting>) {}

void onuQos::saveConfiguration(boost::shared_ptr<Storage::Setting>) const {}

void onuQos::getDependencies(std::list<std::string>& names) {
    names = {platformObject<Interfaces>().entityName(), platformObject<zqbridge>().entityName(),
             platformObject<servprofile>().entityName(), platformObject<Ports>().entityName()};
}

bool onuQos::getOltPortBw() const {
    return isActive(kTenGFeature) || isActive(kHighRateFeature);
}

void onuQos::getOnuQosPortRanges(onuQosRanges_t& ranges) const {
    ranges = {.guarRateUsMin = rules::kFlowRateMin,
              .guarRateUsMax = ONUFLOW_PROFILE_GUAR_RATE_MAX,
              .peakRateUsMin = rules::kFlowRateMin,
              .peakRateUsMax = ONUFLOW_PROFILE_PEAK_RATE_MAX,
              .fixedRateMin = TCONT_PROFILE_RATE_MIN,
              .fixedRateMax = TCONT_PROFILE_RATE_MAX,
              .assuredRateMin = TCONT_PROFILE_RATE_MIN,
              .assuredRateMax = TCONT_PROFILE_RATE_MAX,
              .maximumRateMin = TCONT_PROFILE_RATE_MIN,
              .maximumRateMax = TCONT_PROFILE_RATE_MAX,
              .onuFlowRateGranularity = rules::kFlowRateStep,
              .tContRateGranularity = TCONT_RATE_GRANULARITY};
}

onuQos::onuQosRes onuQos::onuQosTablesGet(onuQosTables& tables) const {
    const ReadLock lock("onuQosTablesGet");
    if (!lock) {
        return onuQosResError;
    }
    tables = {.onuFlowProfileMap = onuFlowProfileMap,
              .tContProfileMap = tContProfileMap,
              .onuQosServiceIntfMap = onuQosServiceIntfMap,
              .onuQosOltCacMap = onuQosOltCacMap,
              .onuQosOnuCacMap = onuQosOnuCacMap,
              .onuQosOltCacAlarmMap = onuQosOltCacAlarmMap};
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosProfilesGet(const std::string& onuFlowProfileName,
                                            const std::string& tContProfileName,
                                            onuFlowProfileInfo& onuFlowProfile,
                                            tContProfileInfo& tContProfile) const {
    const ReadLock lock("onuQosProfilesGet");
    if (!lock) {
        return onuQosResError;
    }
    const auto flow = onuFlowProfileMap.find(onuFlowProfileName);
    const auto tCont = tContProfileMap.find(tContProfileName);
    if (flow == onuFlowProfileMap.end() || tCont == tContProfileMap.end()) {
        return onuQosResNotFound;
    }
    const onuFlowProfileInfo& storedFlow = flow->second;
    onuFlowProfile = {
        .name = storedFlow.name, .rule = storedFlow.rule, .action = storedFlow.action, .appliedIntfSet = {}};
    const tContProfileInfo& storedTCont = tCont->second;
    tContProfile = {.name = storedTCont.name,
                    .tContId = storedTCont.tContId,
                    .tContType = storedTCont.tContType,
                    .fixedRate = storedTCont.fixedRate,
                    .assuredRate = storedTCont.assuredRate,
                    .maximumRate = storedTCont.maximumRate,
                    .dbaAllocType = storedTCont.dbaAllocType,
                    .dbaWeight = storedTCont.dbaWeight,
                    .dbaPriority = storedTCont.dbaPriority,
                    .appliedIntfs = {}};
    return onuQosResOk;
}

const onuQosClassInterface* onuQosClassInterfaceGet() {
    static const onuQosClassInterface table{
        .entity = singleton<onuQos>::instance(),
        .onuQosServiceApply = &onuQos::onuQosServiceApply,
        .onuQosServiceRemove = &onuQos::onuQosServiceRemove,
        .flowIdToServiceName = &onuQos::flowIdToServiceName,
        .onuQosOltPortDistanceChangedEventHandler = &onuQos::onuQosOltPortDistanceChangedEventHandler,
        .tContProfileConsApplyStateGet = &onuQos::tContProfileConsApplyStateGet,
        .onuQosTablesGet = &onuQos::onuQosTablesGet,
        .onuQosProfilesGet = &onuQos::onuQosProfilesGet,
        .tContProfileCreate = &onuQos::tContProfileCreate,
        .tContProfileDelete = &onuQos::tContProfileDelete,
        .tContProfileRename = &onuQos::tContProfileRename,
        .tContProfileGet = &onuQos::tContProfileGet,
        .tContProfileIdSet = &onuQos::tContProfileIdSet,
        .tContProfileTypeSet = &onuQos::tContProfileTypeSet,
        .tContProfileFixedRateSet = &onuQos::tContProfileFixedRateSet,
        .tContProfileAssuredRateSet = &onuQos::tContProfileAssuredRateSet,
        .tContProfileMaximumRateSet = &onuQos::tContProfileMaximumRateSet,
        .tContProfileAllocTypeSet = &onuQos::tContProfileAllocTypeSet,
        .tContProfileSrdbaWeightSet = &onuQos::tContProfileSrdbaWeightSet,
        .tContProfileSrdbaPrioritySet = &onuQos::tContProfileSrdbaPrioritySet,
        .tContProfileCreateAndSet = &onuQos::tContProfileCreateAndSet,
        .onuFlowProfileCreate = &onuQos::onuFlowProfileCreate,
        .onuFlowProfileDelete = &onuQos::onuFlowProfileDelete,
        .onuFlowProfileRename = &onuQos::onuFlowProfileRename,
        .onuFlowProfileCopy = &onuQos::onuFlowProfileCopy,
        .onuFlowProfileGet = &onuQos::onuFlowProfileGet,
        .onuFlowProfileRuleSet = &onuQos::onuFlowProfileRuleSet,
        .onuFlowProfileActionSet = &onuQos::onuFlowProfileActionSet,
        .onuFlowProfileCreateAndSet = &onuQos::onuFlowProfileCreateAndSet,
        .onuQosServiceApplyExplained = &onuQos::onuQosServiceApply,
        .onuQosServiceCheck = &onuQos::onuQosServiceCheck,
        .onuQosPortLedgerGet = &onuQos::onuQosPortLedgerGet,
        .onuQosCacOltGet = &onuQos::onuQosCacOltGet};
    return &table;
}
