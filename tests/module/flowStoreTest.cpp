#include <gmock/gmock.h>

#include "moduleTest.h"

namespace {

using enum onuQos::onuQosRes;
using testing::ElementsAre;
using Lines = std::vector<std::string>;

const std::string kLongest(64, 'n');

onuQos::onuFlowProfileInfo infoOf(const std::string& name, const onuQos::onuFlowProfileRule& rule,
                                  const onuQos::onuFlowProfileAction& action,
                                  const std::set<std::uint32_t>& intfs = {}) {
    return {.name = name, .rule = rule, .action = action, .appliedIntfSet = intfs};
}

class FlowStoreTest : public ModuleTest {
protected:
    Res actionSet(const std::string& name, onuQos::onuFlowProfileAction action) {
        return module_.onuFlowProfileActionSet(name, action, onuQos::onuFlowProfileActionTypeAll,
                                               onuQos::onuFlowProfileOperationSet);
    }

    Res ruleSet(const std::string& name, onuQos::onuFlowProfileRule rule) {
        return module_.onuFlowProfileRuleSet(name, rule, onuQos::onuFlowProfileRuleTypeAll,
                                             onuQos::onuFlowProfileOperationAdd);
    }

    onuQos::onuFlowProfileInfo stored(const std::string& name) const {
        return tables().onuFlowProfileMap.at(name);
    }
};

}  // namespace

TEST_F(FlowStoreTest, pushesWholeProfilesAndKeepsThemByName) {
    const std::string peak = std::to_string(onuQos::ONUFLOW_PROFILE_US_PEAK_RATE_DEF);
    EXPECT_THAT(traceOf([this] { makeFlow("b"); }),
                ElementsAre("onuFlowProfileCreate({b, {4294967295, []}, {128, " + peak + ", 0, 0}})"));
    makeFlow("c");
    makeFlow("a");
    EXPECT_EQ(module_.onuFlowProfileCreate(kLongest), onuQosResOk);

    Lines names;
    onuQos::onuFlowProfileInfo info;
    for (Res res = module_.onuFlowProfileFirstGet(info); res == onuQosResOk;
         res = module_.onuFlowProfileNextGet(info.name, info)) {
        names.push_back(info.name);
    }
    EXPECT_THAT(names, ElementsAre("a", "b", "c", kLongest));
    EXPECT_EQ(module_.onuFlowProfileNextGet(kLongest, info), onuQosResNoMore);
    EXPECT_EQ(info.name, kLongest);

    EXPECT_EQ(module_.onuFlowProfileGet("a", info), onuQosResOk);
    onuQos::onuFlowProfileAction defaults;
    EXPECT_EQ(module_.onuFlowProfileActionDefaultGet(defaults), onuQosResOk);
    EXPECT_EQ(info, infoOf("a", {}, defaults));
    EXPECT_EQ(module_.onuFlowProfileExist("a"), onuQosResOk);
    EXPECT_TRUE(module_.onuFlowProfileExists("a"));

    for (const auto& name : names) {
        EXPECT_EQ(module_.onuFlowProfileDelete(name), onuQosResOk);
    }
    EXPECT_EQ(module_.onuFlowProfileFirstGet(info), onuQosResNoMore);
    EXPECT_EQ(module_.onuFlowProfileNextGet("a", info), onuQosResNoMore);
    expectMirrorAgrees();
    EXPECT_EQ(logLines(), Lines{});
}

TEST_F(FlowStoreTest, holds256Profiles) {
    for (int i = 0; i < 256; ++i) {
        makeFlow(std::to_string(i));
    }
    EXPECT_EQ(module_.onuFlowProfileCreate("one more"), onuQosResTableFull);
    EXPECT_EQ(module_.onuFlowProfileCreate("255"), onuQosResExists);
    EXPECT_EQ(module_.onuFlowProfileDelete("17"), onuQosResOk);
    EXPECT_EQ(module_.onuFlowProfileCreate("one more"), onuQosResOk);
    EXPECT_THAT(
        logLines(),
        ElementsAre(
            refusalLine("onuFlowProfileCreate", "onuFlowProfileMap.size() failed for profile: one more"),
            refusalLine("onuFlowProfileCreate", "onuFlowProfileMap.find() failed for profile: 255")));
}

TEST_F(FlowStoreTest, refusalsSayWhyAndChangeNothing) {
    makeFlow("a");
    makeFlow("b");
    makeFlow("bound");
    makeTCont("t");
    EXPECT_EQ(bind(101, "s", "bound", "t", 1), onuQosResOk);
    standin::serviceProfiles::add({.name = "s", .tContProfile = "a", .flowProfile = "a"});
    onuQos::onuFlowProfileInfo info;
    std::set<std::uint32_t> intfs{7};
    onuQos::onuFlowProfileRule rule;
    onuQos::onuFlowProfileAction action;
    const auto set = [&](bool ruleToo, const std::string& name, int type) -> int {
        return ruleToo ? module_.onuFlowProfileRuleSet(name, rule, onuQos::onuFlowProfileRuleType{type},
                                                       onuQos::onuFlowProfileOperationSet)
                       : module_.onuFlowProfileActionSet(name, action, onuQos::onuFlowProfileActionType{type},
                                                         onuQos::onuFlowProfileOperationSet);
    };
    const std::string tooLong = kLongest + "n";

    struct Row {
        const char* what;
        std::function<int()> act;
        int answer;
        Lines log;
    };
    // clang-format off
    const Row rows[] = {
        {"create nothing", [&] { return module_.onuFlowProfileCreate(""); }, onuQosResError, {}},
        {"create a long name", [&] { return module_.onuFlowProfileCreate(tooLong); }, onuQosResBadName,
         {refusalLine("onuFlowProfileCreate", "profileName.length() failed for profile: " + tooLong)}},
        {"create again", [&] { return module_.onuFlowProfileCreate("a"); }, onuQosResExists,
         {refusalLine("onuFlowProfileCreate", "onuFlowProfileMap.find() failed for profile: a")}},
        {"delete nothing", [&] { return module_.onuFlowProfileDelete(""); }, onuQosResError,
         {refusalLine("onuFlowProfileDelete", "profileName.empty() failed for profile: ")}},
        {"delete unknown", [&] { return module_.onuFlowProfileDelete("x"); }, onuQosResNotFound,
         {refusalLine("onuFlowProfileDelete", "onuFlowProfileMap.find() failed for profile: x")}},
        {"delete in service", [&] { return module_.onuFlowProfileDelete("a"); }, onuQosResPartOfService,
         {refusalLine("onuFlowProfileDelete", "onuFlowProfileIsPartOfService() failed for profile: a")}},
        {"rename unknown", [&] { return module_.onuFlowProfileRename("x", "b"); }, onuQosResNotFound,
         {refusalLine("onuFlowProfileRename", "onuFlowProfileMap.find() failed for profile: x")}},
        {"rename onto another", [&] { return module_.onuFlowProfileRename("a", "b"); }, onuQosResExists,
         {refusalLine("onuFlowProfileRename", "onuFlowProfileMap.find() failed for profile: b")}},
        {"rename onto itself", [&] { return module_.onuFlowProfileRename("b", "b"); }, onuQosResExists,
         {refusalLine("onuFlowProfileRename", "onuFlowProfileMap.find() failed for profile: b")}},
        {"rename in service", [&] { return module_.onuFlowProfileRename("a", "x"); }, onuQosResPartOfService,
         {refusalLine("onuFlowProfileRename", "onuFlowProfileIsPartOfService() failed for profile: a")}},
        {"copy unknown", [&] { return module_.onuFlowProfileCopy("x", "b"); }, onuQosResNotFound,
         {refusalLine("onuFlowProfileCopy", "onuFlowProfileMap.find() failed for profile: x")}},
        {"copy onto another", [&] { return module_.onuFlowProfileCopy("a", "b"); }, onuQosResExists,
         {refusalLine("onuFlowProfileCopy", "onuFlowProfileMap() failed for profile: b")}},
        {"copy to nothing", [&] { return module_.onuFlowProfileCopy("a", ""); }, onuQosResError,
         {refusalLine("onuFlowProfileCopy", "onuFlowProfileCreate() failed for profile: ")}},
        {"copy to a long name", [&] { return module_.onuFlowProfileCopy("a", tooLong); }, onuQosResBadName,
         {refusalLine("onuFlowProfileCreate", "profileName.length() failed for profile: " + tooLong),
         refusalLine("onuFlowProfileCopy", "onuFlowProfileCreate() failed for profile: " + tooLong)}},
        {"get nothing", [&] { return module_.onuFlowProfileGet("", info); }, onuQosResError, {}},
        {"get unknown", [&] { return module_.onuFlowProfileGet("x", info); }, onuQosResNotFound, {}},
        {"after nothing", [&] { return module_.onuFlowProfileNextGet("", info); }, onuQosResError, {}},
        {"after unknown", [&] { return module_.onuFlowProfileNextGet("x", info); }, onuQosResNotFound, {}},
        {"nothing exists", [&] { return module_.onuFlowProfileExist(""); }, onuQosResError, {}},
        {"unknown exists", [&] { return module_.onuFlowProfileExist("x"); }, onuQosResNotFound, {}},
        {"unknown applied", [&] { return module_.profileIsAppliedOnuFlow("x"); }, false,
         {errorLine("profileIsAppliedOnuFlow", "profile doesn't exist: x")}},
        {"unknown applied where", [&] { return module_.profileAppliedIntfGetOnuFlow("x", intfs); },
         false, {}},
        {"rule of nothing", [&] { return set(true, "", 0); }, onuQosResError,
         {refusalLine("onuFlowProfileRuleSet", "profileName.empty() failed for profile: ")}},
        {"rule of unknown", [&] { return set(true, "x", 0); }, onuQosResNotFound,
         {refusalLine("onuFlowProfileRuleSet", "onuFlowProfileMap.find() failed for profile: x")}},
        {"rule while bound, no such type", [&] { return set(true, "bound", 9); }, onuQosResApplied,
         {refusalLine("onuFlowProfileRuleSet", "onuFlowProfileIsApplied() failed for profile: bound")}},
        {"no rule type", [&] { return set(true, "a", -1); }, onuQosResError, {}},
        {"no such rule type", [&] { return set(true, "a", 3); }, onuQosResError, {}},
        {"action of nothing", [&] { return set(false, "", 0); }, onuQosResError,
         {refusalLine("onuFlowProfileActionSet", "profileName.empty() failed for profile: ")}},
        {"action of unknown", [&] { return set(false, "x", 0); }, onuQosResNotFound,
         {refusalLine("onuFlowProfileActionSet", "onuFlowProfileMap.find() failed for profile: x")}},
        {"action while bound, no type", [&] { return set(false, "bound", -1); }, onuQosResApplied,
         {refusalLine("onuFlowProfileActionSet", "onuFlowProfileIsApplied() failed for profile: bound")}},
        {"no action type", [&] { return set(false, "a", -1); }, onuQosResOk, {}},
        {"no such action type", [&] { return set(false, "a", 5); }, onuQosResOk, {}},
    };
    // clang-format on
    const Snapshot before = snapshot();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.act(), row.answer);
        EXPECT_EQ(logLines(), row.log);
        EXPECT_EQ(snapshot(), before);
    }
    EXPECT_EQ(info, onuQos::onuFlowProfileInfo{});
    EXPECT_EQ(intfs, std::set<std::uint32_t>{7});
    EXPECT_EQ(module_.onuFlowProfileDelete("bound"), onuQosResOk) << "a binding does not protect it";
}

TEST_F(FlowStoreTest, renameMovesTheWholeRecordAndCopyOnlyWhatWasSet) {
    const onuQos::onuFlowProfileRule rule{.cPcp = 5, .cVlan = {30, 10}};
    const onuQos::onuFlowProfileAction action{
        .guarRateUs = 256, .peakRateUs = 512, .flowPriorityUs = 1, .flowPriorityDs = 2};
    makeFlow("a");
    EXPECT_EQ(ruleSet("a", rule), onuQosResOk);
    EXPECT_EQ(actionSet("a", action), onuQosResOk);
    makeTCont("t");
    EXPECT_EQ(bind(101, "s", "a", "t", 1), onuQosResOk);

    EXPECT_THAT(traceOf([this] { EXPECT_EQ(module_.onuFlowProfileRename("a", ""), onuQosResOk); }),
                ElementsAre("serviceProfileFind()", "flowProfileRename(a, )"));
    EXPECT_EQ(stored(""), infoOf("", rule, action, {101}));
    EXPECT_FALSE(module_.onuFlowProfileExists("a"));

    const std::string peak = std::to_string(onuQos::ONUFLOW_PROFILE_US_PEAK_RATE_DEF);
    EXPECT_THAT(traceOf([this] { EXPECT_EQ(module_.onuFlowProfileCopy("", "b"), onuQosResOk); }),
                ElementsAre("onuFlowProfileCreate({b, {4294967295, []}, {128, " + peak + ", 0, 0}})",
                            "onuFlowProfileActionSet(b, {256, 512, 1, 2}, 0)",
                            "onuFlowProfileActionSet(b, {256, 512, 1, 2}, 1)",
                            "onuFlowProfileActionSet(b, {256, 512, 1, 2}, 2)",
                            "onuFlowProfileActionSet(b, {256, 512, 1, 2}, 3)"));
    EXPECT_EQ(stored("b"), infoOf("b", rule, action));
    expectMirrorAgrees({.unpushedPcps = {"", "b"}, .unpushedVlans = {"", "b"}});
    EXPECT_EQ(logLines(), Lines{});
}

TEST_F(FlowStoreTest, aCopyOfCrossedRatesStopsWhereTheRuleForbidsThem) {
    makeFlow("a");
    module_.configurationApplyStart();
    EXPECT_EQ(actionSet("a", {.guarRateUs = 640, .peakRateUs = 320, .flowPriorityUs = 3}), onuQosResOk);
    module_.configurationApplyStop();
    EXPECT_EQ(module_.onuFlowProfileCopy("a", "b"), onuQosResGuarAbovePeak);
    EXPECT_THAT(logLines(), ElementsAre(refusalLine("onuFlowProfileCopy",
                                                    "onuFlowProfileActionSet() failed for profile: b")));
    EXPECT_EQ(stored("b").action,
              (onuQos::onuFlowProfileAction{640, onuQos::ONUFLOW_PROFILE_US_PEAK_RATE_DEF, 0, 0}));
    expectMirrorAgrees();
}

TEST_F(FlowStoreTest, eachRefusedCallOfStoreOperations) {
    const auto rename = [this] { return module_.onuFlowProfileRename("p", "q"); };
    const auto get = [this] {
        onuQos::onuFlowProfileInfo info;
        return module_.onuFlowProfileGet("p", info) + module_.onuFlowProfileFirstGet(info) +
               module_.onuFlowProfileNextGet("p", info) + module_.onuFlowProfileExist("p");
    };
    const auto ask = [this] {
        std::set<std::uint32_t> intfs;
        return module_.onuFlowProfileExists("p") * 8 + module_.profileIsAppliedOnuFlow("p") * 4 +
               module_.profileAppliedIntfGetOnuFlow("p", intfs) * 2 + module_.onuFlowProfileIsApplied("p");
    };
    const auto p = [this] { makeFlow("p"); };
    const auto bound = [this] {
        makeFlow("p");
        makeTCont("t");
        bind(101, "s", "p", "t", 1);
    };
    using enum Refusal::Leaves;
    const RefusedChange changes[] = {
        {[] {},
         [this] { return module_.onuFlowProfileCreate("p"); },
         {{"exclusiveLock", before, {lockLine("onuFlowProfileCreate")}},
          {"sharedLock",
           before,
           {lockLine("onuFlowProfileToOMApi"),
            refusalLine("onuFlowProfileCreate", "onuFlowProfileToOMApi() failed for profile: p")}},
          {"onuFlowProfileCreate",
           before,
           {refusalLine("onuFlowProfileCreate", "OMApi.onuFlowProfileCreate() failed for profile: p")}}}},
        {p,
         [this] { return module_.onuFlowProfileDelete("p"); },
         {{"exclusiveLock", before, {lockLine("onuFlowProfileDelete")}},
          {"sharedLock", done, {lockLine("onuFlowProfileIsPartOfService")}},
          {"serviceProfileFind", done},
          {"onuFlowProfileDelete",
           before,
           {refusalLine("onuFlowProfileDelete", "OMApi.onuFlowProfileDelete() failed for profile: p")}}}},
        {p,
         rename,
         {{"exclusiveLock", before, {lockLine("onuFlowProfileRename")}},
          {"sharedLock", done, {lockLine("onuFlowProfileIsPartOfService")}},
          {"serviceProfileFind", done},
          {"flowProfileRename",
           before,
           {refusalLine("onuFlowProfileRename", "OMApi.flowProfileRename() failed for profile: p")}}}},
        {p,
         get,  // NoMore of NextGet and one Error
         {{"sharedLock", before, {lockLine("onuFlowProfileGet")}, onuQosResNoMore + 1},
          {"sharedLock", before, {lockLine("onuFlowProfileFirstGet")}, onuQosResNoMore + 1},
          {"sharedLock", before, {lockLine("onuFlowProfileNextGet")}, onuQosResError},
          {"sharedLock", before, {lockLine("onuFlowProfileExist")}, onuQosResNoMore + 1}}},
        {bound,
         ask,
         {{"sharedLock", before, {lockLine("onuFlowProfileExists")}, 7},
          {"sharedLock", before, {lockLine("profileIsAppliedOnuFlow")}, 11},
          {"sharedLock", before, {lockLine("profileAppliedIntfGetOnuFlow")}, 13},
          {"sharedLock", before, {lockLine("onuFlowProfileIsApplied")}, 14}}},
    };
    for (const RefusedChange& change : changes) {
        refuseEachCall(change);
    }
}

TEST_F(FlowStoreTest, ratesRoundUpToMultiplesOf64Modulo32Bits) {
    const std::pair<std::uint32_t, std::uint32_t> rows[] = {
        {0, 0}, {1, 64}, {64, 64}, {65, 128}, {0xFFFFFFC0, 0xFFFFFFC0}, {0xFFFFFFC1, 0}, {0xFFFFFFFF, 0}};
    for (const auto& [rate, rounded] : rows) {
        EXPECT_EQ(module_.onuQosRoundRateOnuFlow(rate), rounded) << rate;
    }
}
