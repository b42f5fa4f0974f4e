#pragma once

#include <onuqos.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <list>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "BLEntity.h"
#include "Interfaces.h"
#include "onuQosOMApi.h"
#include "rte/BLL/core/rpcProxy.h"
#include "servprofile.h"
#include "singleton.h"

// The class interface of the module, declared once more and by itself: a program that knows nothing else of
// the module links to it, so names, arguments, const-ness, static members and the order of the members agree.

enum onuTContProfileType : std::int32_t {};
enum onuTContProfileRateType : std::int32_t {};
enum onuTContProfileSrdbaType : std::int32_t {};
enum onuTContProfileDbaCtrlMode : std::int32_t {};
enum oltPortBw : std::int32_t {};

struct onuTContProfileRates {
    bool fixedRateConfigurable;
    bool assuredRateConfigurable;
    bool maximumRateConfigurable;
    std::uint32_t fixedRateDefault;
    std::uint32_t assuredRateDefault;
    std::uint32_t maximumRateDefault;
};

struct onuTContProfileSrdba {
    bool allocTypeConfigurable;
    bool weightConfigurable;
    bool priorityConfigurable;
    onuTContProfileDbaCtrlMode allocTypeDefault;
    std::uint32_t weightDefault;
    std::uint32_t priorityDefault;
};

struct tContProfileInfo {
    std::string name;
    std::uint32_t tContId;
    onuTContProfileType tContType;
    std::uint32_t fixedRate;
    std::uint32_t assuredRate;
    std::uint32_t maximumRate;
    onuTContProfileDbaCtrlMode dbaAllocType;
    std::uint32_t dbaWeight;
    std::uint32_t dbaPriority;
    std::set<std::uint32_t> appliedIntfs;
};

struct onuQosServiceIntfInfo {
    std::string onuFlowProfileName;
    std::string tContProfileName;
    std::uint32_t virtualPortId;
};

struct onuQosOltCacInfo {
    std::uint32_t fixedAlloc;
    std::uint32_t assuredAlloc;
    bool cacViolation;
};

struct onuQosTContIntfCacInfo {
    std::uint32_t fixedOverhead;
    std::uint32_t assuredOverhead;
};

struct onuQosOnuCacInfo {
    bool configured;
    std::uint32_t fixedOverhead;
    std::uint32_t assuredOverhead;
    std::map<std::string, onuQosTContIntfCacInfo> onuQosTContIntfCacInfoMap;
};

struct onuQosRanges_t {
    std::uint32_t guarRateUsMin, guarRateUsMax, peakRateUsMin, peakRateUsMax;
    std::uint32_t fixedRateMin, fixedRateMax, assuredRateMin, assuredRateMax, maximumRateMin, maximumRateMax;
    std::uint32_t onuFlowRateGranularity, tContRateGranularity;
};

class onuQos : public BLEntity, public singleton<onuQos> {
public:
    enum onuQosRes : std::int32_t {};
    enum onuFlowProfileRuleType : std::int32_t {};
    enum onuFlowProfileActionType : std::int32_t {};
    enum onuFlowProfileOperation : std::int32_t {};

    struct onuFlowProfileRule {
        std::uint32_t cPcp;
        std::vector<std::uint16_t> cVlan;
    };

    struct onuFlowProfileAction {
        std::uint32_t guarRateUs;
        std::uint32_t peakRateUs;
        std::uint32_t flowPriorityUs;
        std::uint32_t flowPriorityDs;
    };

    struct onuFlowProfileInfo {
        std::string name;
        onuFlowProfileRule rule;
        onuFlowProfileAction action;
        std::set<std::uint32_t> appliedIntfSet;
    };

    using Name = const std::string&;
    using Intf = unsigned int;
    using Rate = unsigned int;

    static std::uint32_t TCONT_RATE_GRANULARITY;
    static std::uint32_t TCONT_PROFILE_RATE_MIN;
    static std::uint32_t TCONT_PROFILE_RATE_MAX;
    static std::uint32_t OLT_TOTAL_RATE_MAX;
    static std::uint32_t OLT_FIXED_RATE_MAX;
    static std::uint32_t ONUFLOW_PROFILE_US_PEAK_RATE_DEF;
    static std::uint32_t ONUFLOW_PROFILE_PEAK_RATE_MAX;
    static std::uint32_t ONUFLOW_PROFILE_GUAR_RATE_MAX;

    onuQos();
    void applyConfiguration(boost::shared_ptr<Storage::Setting>) override;
    void saveConfiguration(boost::shared_ptr<Storage::Setting>) const override;
    bool start() override;
    bool applyDefaultSettings() override;
    bool stop() override;
    void getDependencies(std::list<std::string>&) override;
    ~onuQos() override;

    void configurationApplyStart();
    void configurationApplyStop();
    onuQosRes tContProfileConsApplyStateGet(bool*);
    bool getOltPortBw() const;

    onuQosRes onuQosOnuIntfInit(Intf);
    onuQosRes onuQosOltIntfInit(Intf);
    bool onuQosIsIntfConfigurable(Intf) const;
    void interfaceStateChange(int, Interfaces::interfaceEvent_t);
    void onuConfigEventHandler(Intf, bool, bool);

    void externalMessage(Name, Name, std::ostringstream*);
    void onuQosDump(Intf, std::ostringstream*);

    void onuTContProfileRatesSet();
    void onuTContProfileSrDbaConfSet();
    bool tContProfileIsRateConfigurable(onuTContProfileType, onuTContProfileRateType);
    bool tContProfileIsSrdbaConfigurable(onuTContProfileType, onuTContProfileSrdbaType);
    onuQosRes tContProfileDefaultTypeGet(onuTContProfileType, tContProfileInfo&);
    onuQosRes tContProfileDefaultGet(tContProfileInfo&);
    void tContProfileDefaultSet(tContProfileInfo&);
    onuQosRes onuQosTContProfileParmsMaskSet(tContProfileInfo, unsigned int&);
    unsigned int onuQosRoundRateTcont(Rate, onuTContProfileRateType) const;

    onuQosRes tContProfileCreate(Name);
    onuQosRes tContProfileDelete(Name);
    onuQosRes tContProfileRename(Name, Name);
    onuQosRes tContProfileGet(Name, tContProfileInfo&) const;
    onuQosRes tContProfileExist(Name);
    bool tContProfileExists(Name) const;
    onuQosRes tContProfileFirstGet(tContProfileInfo&) const;
    onuQosRes tContProfileNextGet(Name, tContProfileInfo&) const;
    bool tContProfileIsApplied(Name) const;
    bool tContProfileIsPartOfService(Name) const;
    bool profileIsAppliedTCont(Name) const;
    bool profileAppliedIntfGetTCont(Name, std::set<std::uint32_t>&) const;
    onuQosRes tContProfileToOMApi(const tContProfileInfo&, onuQosOMApi::onuQosOMApiTContProfileInfo&) const;

    onuQosRes tContProfileCreateAndSet(Name, const tContProfileInfo&, unsigned int);
    onuQosRes tContProfileCopy(Name, Name);

    onuQosRes tContProfileIdSet(Name, unsigned int);
    onuQosRes tContProfileTypeSet(Name, onuTContProfileType);
    onuQosRes tContProfileFixedRateSet(Name, Rate);
    onuQosRes tContProfileAssuredRateSet(Name, Rate);
    onuQosRes tContProfileMaximumRateSet(Name, Rate);
    onuQosRes tContProfileAllocTypeSet(Name, onuTContProfileDbaCtrlMode);
    onuQosRes tContProfileSrdbaWeightSet(Name, unsigned int);
    onuQosRes tContProfileSrdbaPrioritySet(Name, unsigned int);

    onuQosRes onuFlowProfileCreate(Name);
    onuQosRes onuFlowProfileDelete(Name);
    onuQosRes onuFlowProfileRename(Name, Name);
    onuQosRes onuFlowProfileCopy(Name, Name);
    onuQosRes onuFlowProfileGet(Name, onuFlowProfileInfo&) const;
    onuQosRes onuFlowProfileFirstGet(onuFlowProfileInfo&) const;
    onuQosRes onuFlowProfileNextGet(Name, onuFlowProfileInfo&) const;
    onuQosRes onuFlowProfileExist(Name);
    bool onuFlowProfileExists(Name) const;
    bool onuFlowProfileIsApplied(Name) const;
    bool onuFlowProfileIsPartOfService(Name) const;
    bool profileIsAppliedOnuFlow(Name) const;
    bool profileAppliedIntfGetOnuFlow(Name, std::set<std::uint32_t>&) const;
    void onuFlowProfileRuleDefaultSet(onuFlowProfileRule&) const;
    void onuFlowProfileActionDefaultSet(onuFlowProfileAction&) const;
    onuQosRes onuFlowProfileActionDefaultGet(onuFlowProfileAction&) const;
    std::uint32_t onuQosRoundRateOnuFlow(std::uint32_t) const;
    onuQosRes onuFlowProfileToOMApi(const onuFlowProfileInfo&,
                                    onuQosOMApi::onuQosOMApiFlowProfileInfo&) const;

    onuQosRes onuFlowProfileRuleSet(Name, onuFlowProfileRule&, onuFlowProfileRuleType,
                                    onuFlowProfileOperation);
    onuQosRes onuFlowProfileRuleCheck(Name, const onuFlowProfileRule&, onuFlowProfileRuleType,
                                      onuFlowProfileOperation);
    onuQosRes onuFlowProfileRuleToOMApi(const onuFlowProfileRule&,
                                        onuQosOMApi::onuQosOMApiFlowProfileRule&) const;
    onuQosRes onuFlowProfileActionSet(Name, onuFlowProfileAction&, onuFlowProfileActionType,
                                      onuFlowProfileOperation);
    onuQosRes onuFlowProfileActionCheck(Name, const onuFlowProfileAction&, onuFlowProfileActionType,
                                        onuFlowProfileOperation);
    onuQosRes onuFlowProfileActionToOMApi(const onuFlowProfileAction&,
                                          onuQosOMApi::onuQosOMApiFlowProfileAction&) const;
    onuQosRes onuFlowProfileCreateAndSet(Name, const onuFlowProfileInfo&, std::uint32_t);

    onuQosRes getOltPortBwIntf(Intf, oltPortBw&) const;
    onuQosRes onuQosGetOltMaxFixedRate(Intf, Rate&) const;
    onuQosRes onuQosPonLinkDistanceGet(Intf, unsigned int&, unsigned int&) const;
    onuQosRes onuQosOltActualAvailRatesGet(Intf, Rate&, Rate&) const;
    onuQosRes onuQosOltIntfCacSpeedGet(Intf, Rate&, Rate&) const;
    onuQosRes onuQosRatesOverheadGet(Intf, Rate, Rate, Rate&, Rate&);
    onuQosRes onuQosOnuOverheadGet(Intf, Rate&, Rate&);

    bool onuQosEstCacOnServiceApply(Intf, Rate, Rate);
    bool onuQosActualCacOnServiceApply(Intf, Rate, Rate);
    onuQosRes onuQosFlowCacOnServiceApply(Intf, Name, Name);
    onuQosRes onuQosCalcAllocRatesOnTContChange(Intf, Name, bool);
    onuQosRes onuQosCalcAllocRatesOnOnuChange(Intf, bool);
    onuQosRes onuQosOltEstAvailRatesGet(Intf, Rate&, Rate&) const;
    onuQosRes onuQosCacOltGet(Intf, Rate&, Rate&, Rate&, Rate&, bool&);
    onuQosRes onuQosOltCacStateUpdate(Intf);
    onuQosRes onuQosOltCacAlarm(Intf, bool);
    void onuQosOltPortDistanceChangedEventHandler(Intf);

    onuQosRes onuQosServiceApply(Intf, Name, Name, Name, unsigned int, servprofile::onuTermPointType, short);
    onuQosRes onuQosServiceRemove(Intf, Name);
    onuQosRes flowIdToServiceName(Intf, unsigned int, std::string&) const;
    void onuQosOMApiServiceNameGen(Name, Name, std::string&) const;

    bool onuFlowProfileRuleTypeSet(rpcOnuFlowProfileRuleType, onuFlowProfileRuleType&) const;
    bool onuFlowProfileActionTypeSet(rpcOnuFlowProfileActionType, onuFlowProfileActionType&) const;
    bool onuFlowProfileResTypeSet(onuQosRes, rpcOnuFlowProfileRes&);
    bool tContProfileResTypeSet(onuQosRes, rpcTContProfileRes&);
    void getOnuQosPortRanges(onuQosRanges_t&) const;

    std::map<std::string, onuFlowProfileInfo> onuFlowProfileMap;
    std::map<std::string, tContProfileInfo> tContProfileMap;
    std::map<std::uint32_t, std::map<std::string, onuQosServiceIntfInfo>> onuQosServiceIntfMap;
    std::map<onuTContProfileType, onuTContProfileRates> onuTContProfileRatesMap;
    std::map<onuTContProfileType, onuTContProfileSrdba> onuTContProfileSrdbaMap;
    std::map<std::uint32_t, onuQosOltCacInfo> onuQosOltCacMap;
    std::map<std::uint32_t, onuQosOnuCacInfo> onuQosOnuCacMap;
    std::map<std::uint32_t, bool> onuQosOltCacAlarmMap;
    RPCProxy rpcProxy;
    onuQosOMApi OMApi;
};

extern template class singleton<onuQos>;
