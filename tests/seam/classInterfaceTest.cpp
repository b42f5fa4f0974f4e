#include "classInterface.h"

#include <gmock/gmock.h>

#include "minimalPlatform.h"

namespace {

using minimal::state;
using testing::ElementsAre;
using Pieces = std::vector<std::string>;

constexpr onuQos::onuQosRes kOk{0};
constexpr onuQos::onuQosRes kError{1};

onuQos& module() {
    return singleton<onuQos>::instance();
}

Pieces takeLog() {
    return std::exchange(state().log, {});
}

/// Linking asks the library for each member under its mangled name.
template <typename... Members>
void expectLinked(Members... members) {
    EXPECT_TRUE(((members != nullptr) && ...));
}

TEST(ClassInterface, HasEveryOperationUnderItsName) {
    expectLinked(
        &onuQos::configurationApplyStart, &onuQos::configurationApplyStop,
        &onuQos::tContProfileConsApplyStateGet, &onuQos::getOltPortBw, &onuQos::onuQosOnuIntfInit,
        &onuQos::onuQosOltIntfInit, &onuQos::onuQosIsIntfConfigurable, &onuQos::interfaceStateChange,
        &onuQos::onuConfigEventHandler, &onuQos::externalMessage, &onuQos::onuQosDump,
        &onuQos::onuTContProfileRatesSet, &onuQos::onuTContProfileSrDbaConfSet,
        &onuQos::tContProfileIsRateConfigurable, &onuQos::tContProfileIsSrdbaConfigurable,
        &onuQos::tContProfileDefaultTypeGet, &onuQos::tContProfileDefaultGet, &onuQos::tContProfileDefaultSet,
        &onuQos::onuQosTContProfileParmsMaskSet, &onuQos::onuQosRoundRateTcont, &onuQos::tContProfileCreate,
        &onuQos::tContProfileDelete, &onuQos::tContProfileRename, &onuQos::tContProfileGet,
        &onuQos::tContProfileExist, &onuQos::tContProfileExists, &onuQos::tContProfileFirstGet,
        &onuQos::tContProfileNextGet, &onuQos::tContProfileIsApplied, &onuQos::tContProfileIsPartOfService,
        &onuQos::profileIsAppliedTCont, &onuQos::profileAppliedIntfGetTCont, &onuQos::tContProfileToOMApi,
        &onuQos::tContProfileCreateAndSet, &onuQos::tContProfileCopy, &onuQos::tContProfileIdSet,
        &onuQos::tContProfileTypeSet, &onuQos::tContProfileFixedRateSet, &onuQos::tContProfileAssuredRateSet,
        &onuQos::tContProfileMaximumRateSet, &onuQos::tContProfileAllocTypeSet,
        &onuQos::tContProfileSrdbaWeightSet, &onuQos::tContProfileSrdbaPrioritySet,
        &onuQos::onuFlowProfileCreate, &onuQos::onuFlowProfileDelete, &onuQos::onuFlowProfileRename,
        &onuQos::onuFlowProfileCopy, &onuQos::onuFlowProfileGet, &onuQos::onuFlowProfileFirstGet,
        &onuQos::onuFlowProfileNextGet, &onuQos::onuFlowProfileExist, &onuQos::onuFlowProfileExists,
        &onuQos::onuFlowProfileIsApplied, &onuQos::onuFlowProfileIsPartOfService,
        &onuQos::profileIsAppliedOnuFlow, &onuQos::profileAppliedIntfGetOnuFlow,
        &onuQos::onuFlowProfileRuleDefaultSet, &onuQos::onuFlowProfileActionDefaultSet,
        &onuQos::onuFlowProfileActionDefaultGet, &onuQos::onuQosRoundRateOnuFlow,
        &onuQos::onuFlowProfileToOMApi, &onuQos::onuFlowProfileRuleSet, &onuQos::onuFlowProfileRuleCheck,
        &onuQos::onuFlowProfileRuleToOMApi, &onuQos::onuFlowProfileActionSet,
        &onuQos::onuFlowProfileActionCheck, &onuQos::onuFlowProfileActionToOMApi,
        &onuQos::onuFlowProfileCreateAndSet, &onuQos::getOltPortBwIntf, &onuQos::onuQosGetOltMaxFixedRate,
        &onuQos::onuQosPonLinkDistanceGet, &onuQos::onuQosOltActualAvailRatesGet,
        &onuQos::onuQosOltIntfCacSpeedGet, &onuQos::onuQosRatesOverheadGet, &onuQos::onuQosOnuOverheadGet,
        &onuQos::onuQosEstCacOnServiceApply, &onuQos::onuQosActualCacOnServiceApply,
        &onuQos::onuQosFlowCacOnServiceApply, &onuQos::onuQosCalcAllocRatesOnTContChange,
        &onuQos::onuQosCalcAllocRatesOnOnuChange, &onuQos::onuQosOltEstAvailRatesGet,
        &onuQos::onuQosCacOltGet, &onuQos::onuQosOltCacStateUpdate, &onuQos::onuQosOltCacAlarm,
        &onuQos::onuQosOltPortDistanceChangedEventHandler, &onuQos::onuQosServiceApply,
        &onuQos::onuQosServiceRemove, &onuQos::flowIdToServiceName, &onuQos::onuQosOMApiServiceNameGen,
        &onuQos::onuFlowProfileRuleTypeSet, &onuQos::onuFlowProfileActionTypeSet,
        &onuQos::onuFlowProfileResTypeSet, &onuQos::tContProfileResTypeSet, &onuQos::getOnuQosPortRanges);
}

TEST(ClassInterface, HasTheConstantsOfTheClass) {
    EXPECT_EQ(onuQos::TCONT_RATE_GRANULARITY, 64);
    EXPECT_EQ(onuQos::TCONT_PROFILE_RATE_MIN, 256);
    EXPECT_EQ(onuQos::TCONT_PROFILE_RATE_MAX, 1244160);
    EXPECT_EQ(onuQos::OLT_TOTAL_RATE_MAX, 1240640);
    EXPECT_EQ(onuQos::OLT_FIXED_RATE_MAX, 1240640);
    EXPECT_EQ(onuQos::ONUFLOW_PROFILE_US_PEAK_RATE_DEF, 1244160);
    EXPECT_EQ(onuQos::ONUFLOW_PROFILE_PEAK_RATE_MAX, 1244160);
    EXPECT_EQ(onuQos::ONUFLOW_PROFILE_GUAR_RATE_MAX, 1244160);
}

/// What the operations store is found in the members as they are declared here.
TEST(ClassInterface, HasItsMembersInTheDeclaredOrder) {
    onuQos& m = module();
    state().types = {{1, 3}, {101, 4}};
    m.onuTContProfileRatesSet();
    m.onuTContProfileSrDbaConfSet();
    ASSERT_EQ(m.onuQosOltIntfInit(1), kOk);
    ASSERT_EQ(m.onuQosOnuIntfInit(101), kOk);
    ASSERT_EQ(m.onuFlowProfileCreate("flow"), kOk);
    ASSERT_EQ(m.tContProfileCreate("tcont"), kOk);

    const onuQos::onuFlowProfileInfo& flow = m.onuFlowProfileMap.at("flow");
    EXPECT_EQ(flow.name, "flow");
    EXPECT_EQ(flow.rule.cPcp, 0xFFFFFFFF);
    EXPECT_TRUE(flow.rule.cVlan.empty());
    EXPECT_EQ(flow.action.guarRateUs, 128);
    EXPECT_EQ(flow.action.peakRateUs, 1244160);
    EXPECT_TRUE(flow.appliedIntfSet.empty());
    const tContProfileInfo& tCont = m.tContProfileMap.at("tcont");
    EXPECT_EQ(tCont.name, "tcont");
    EXPECT_EQ(tCont.tContId, 1);
    EXPECT_EQ(tCont.tContType, 5);
    EXPECT_EQ(tCont.fixedRate + tCont.assuredRate, 0);
    EXPECT_EQ(tCont.maximumRate, 256);
    EXPECT_EQ(tCont.dbaAllocType, 2);
    EXPECT_EQ(tCont.dbaWeight, 1);
    EXPECT_EQ(tCont.dbaPriority, 0);
    EXPECT_TRUE(tCont.appliedIntfs.empty());
    EXPECT_EQ(m.onuQosServiceIntfMap.size(), 1);
    EXPECT_TRUE(m.onuQosServiceIntfMap.at(101).empty());
    EXPECT_EQ(m.onuTContProfileRatesMap.size(), 5);
    EXPECT_EQ(m.onuTContProfileRatesMap.at(onuTContProfileType{3}).maximumRateDefault, 512);
    EXPECT_FALSE(m.onuTContProfileSrdbaMap.at(onuTContProfileType{1}).allocTypeConfigurable);
    EXPECT_EQ(m.onuTContProfileSrdbaMap.at(onuTContProfileType{2}).weightDefault, 1);
    EXPECT_EQ(m.onuQosOltCacMap.at(1).fixedAlloc, 0);
    EXPECT_FALSE(m.onuQosOnuCacMap.at(101).configured);
    EXPECT_TRUE(m.onuQosOnuCacMap.at(101).onuQosTContIntfCacInfoMap.empty());
    EXPECT_FALSE(m.onuQosOltCacAlarmMap.at(1));
    EXPECT_EQ(&m.OMApi, state().omApi) << "after the proxy, with nothing between";
}

/// Each text is written in the pieces that readers of the log know.
TEST(ClassInterface, WritesItsTextsInTheirPieces) {
    onuQos& m = module();
    takeLog();
    state().lockable = false;
    EXPECT_EQ(m.tContProfileCreate("gold"), kError);
    state().lockable = true;
    EXPECT_THAT(takeLog(), ElementsAre("level 1", "Error obtaining exclusive lock in ",
                                       "onuQos::tContProfileCreate.\n"));

    const auto line = [](Pieces pieces, const std::string& operation) {
        EXPECT_EQ(std::stoi(pieces.at(3)) > 0, true) << "the line of the source";
        pieces.at(3) = "LINE";
        EXPECT_EQ(Pieces(pieces.begin(), pieces.begin() + 7),
                  (Pieces{"level 1", "onuQos.cpp", ":", "LINE", ":", operation, ":"}));
        return Pieces(pieces.begin() + 7, pieces.end());
    };
    state().clearAnswer = 1;
    EXPECT_FALSE(m.applyDefaultSettings());
    state().clearAnswer = 0;
    EXPECT_THAT(line(takeLog(), "applyDefaultSettings"),
                ElementsAre("ONUQOS ERROR - OMApi.onuQosClearConfig()\n"));
    EXPECT_FALSE(m.profileIsAppliedTCont("no\nsuch"));
    EXPECT_THAT(line(takeLog(), "profileIsAppliedTCont"),
                ElementsAre("profile doesn't exist: ", "no\nsuch", "\n"));
    EXPECT_NE(m.onuQosServiceRemove(900, "s"), kOk);
    EXPECT_THAT(line(takeLog(), "onuQosServiceRemove"),
                ElementsAre("ONUQOS ERROR - onuQosIsIntfConfigurable() failed for intf: ", "900",
                            ", profile: ", "s", "\n"));
    tContProfileInfo wanted{};
    wanted.tContType = onuTContProfileType{1};
    wanted.assuredRate = 256;
    m.onuTContProfileRatesSet();
    EXPECT_NE(m.tContProfileCreateAndSet("t", wanted, 4 + 16), kOk);
    EXPECT_THAT(line(takeLog(), "tContProfileCreateAndSet"),
                ElementsAre("ONUQOS ERROR - tContProfileCreateAndSet: assuredRate not configurable", "\n"));
    state().types = {};
    m.onuConfigEventHandler(7, true, false);
    Pieces pieces = takeLog();
    const auto error = pieces.begin() + 6;
    EXPECT_EQ(Pieces(pieces.begin(), error),
              (Pieces{"level 3", "onuQos::onuConfigEventHandler(", "7", ",", "True", ")\n"}));
    EXPECT_THAT(line(Pieces(error, pieces.end()), "onuConfigEventHandler"),
                ElementsAre("ONUQOS ERROR - interfaceGetTypeById() failed for intf: ", "7", "\n"));
}

}  // namespace
