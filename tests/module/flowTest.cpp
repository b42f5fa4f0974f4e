#include "moduleTest.h"
#include "onuqos/rules/flowParms.h"

// ONU flow profiles: rule and action operations, create-and-set and copy.

namespace {

using Info = onuQos::onuFlowProfileInfo;
using Operation = onuQos::onuFlowProfileOperation;

constexpr auto kAdd = onuQos::onuFlowProfileOperationAdd;
constexpr auto kSet = onuQos::onuFlowProfileOperationSet;
constexpr auto kDelete = onuQos::onuFlowProfileOperationDelete;
constexpr auto kNoOperation = Operation{7};
constexpr std::uint32_t kNone = 0xFFFFFFFF;
constexpr std::uint32_t kEverything = 0x7E;

constexpr auto kOk = onuQosResOk, kError = onuQosResError, kOutOfRange = onuQosResOutOfRange;
constexpr auto kCrossed = onuQosResGuarAbovePeak;

Info infoOf(const Rule& rule, const Action& action, const std::string& name = "p") {
    return {.name = name, .rule = rule, .action = action, .appliedIntfSet = {}};
}

const Info kWanted = infoOf({3, {20, 10}}, {300, 600, 1, 2}, "not used");

std::string refusal(const std::string& operation, const std::string& text) {
    return refusalLine(operation, text + " failed for profile: p");
}

std::string createRefusal(const std::string& text) {
    return refusalLine("onuFlowProfileCreateAndSet", text);
}

class FlowTest : public ModuleTest {
protected:
    /// Starts again with a profile "p" of this rule and action, the rule not pushed, rates crossed or not.
    void makeProfile(const Rule& rule, const Action& action = {128, kHighest, 0, 0}) {
        startAgain();
        makeFlow("p");
        EXPECT_EQ(ruleSet("p", rule), onuQosResOk);
        module_.configurationApplyStart();
        EXPECT_EQ(actionSet("p", action), onuQosResOk);
        module_.configurationApplyStop();
        logLines();
    }

    Res createAndSet(const Info& info, std::uint32_t mask) {
        return module_.onuFlowProfileCreateAndSet("p", info, mask);
    }

    Lines trace(const Info& info, std::uint32_t mask) {
        return traceOf([&] { EXPECT_EQ(createAndSet(info, mask), onuQosResOk); });
    }

    Info profile(const std::string& name = "p") const { return tables().onuFlowProfileMap.at(name); }
};

}  // namespace

TEST_F(FlowTest, ruleOperations) {
    constexpr auto kPcp = onuQos::onuFlowProfileRuleTypeCPcp;
    constexpr auto kVlan = onuQos::onuFlowProfileRuleTypeCVlan;
    constexpr auto kAll = onuQos::onuFlowProfileRuleTypeAll;
    const Lines badPcp{refusal("onuFlowProfileRuleSet", "rule.cPcp()")};
    const Lines badVlan{refusal("onuFlowProfileRuleSet", "rule.cVlan()")};
    struct Row {
        const char* what;
        Rule stored;
        onuQos::onuFlowProfileRuleType type;
        Operation operation;
        Rule given;
        Res res;
        Rule then;
        std::string pushed = {};  ///< the rule in the push; none if empty
        Lines log = {};
        std::optional<Rule> givenBack = {};  ///< where it differs from `given`
    };
    // clang-format off
    const Row rows[] = {
        // VLANs; the PCP given with them does not count
        {"set sorts", {}, kVlan, kSet, {9, {4094, 1}}, kOk, {kNone, {1, 4094}}, "{4294967295, [1, 4094]}", {}, Rule{9, {1, 4094}}},
        {"set replaces", {3, {8}}, kVlan, kSet, {kNone, {7}}, kOk, {3, {7}}, "{3, [7]}"},
        {"set of the same", {3, {8}}, kVlan, kSet, {3, {8}}, kOk, {3, {8}}, "{3, [8]}"},
        {"set clears", {3, {8}}, kVlan, kSet, {3, {}}, kOk, {3, {}}, "{3, []}"},
        {"set keeps doubles", {}, kVlan, kSet, {3, {8, 8}}, kOk, {kNone, {8, 8}}, "{4294967295, [8, 8]}"},
        {"0", {3, {8}}, kVlan, kSet, {3, {5, 0}}, kError, {3, {8}}, {}, badVlan, Rule{3, {0, 5}}},
        {"4095", {3, {8}}, kVlan, kAdd, {3, {4095, 5}}, kError, {3, {8}}, {}, badVlan, Rule{3, {5, 4095}}},
        {"add goes first", {3, {5, 10}}, kVlan, kAdd, {3, {7}}, kOk, {3, {7, 5, 10}}, "{3, [7, 5, 10]}"},
        {"add of known", {3, {10, 5}}, kVlan, kAdd, {3, {10, 6}}, kOk, {3, {6, 10, 5}}, "{3, [6, 10, 5]}", {}, Rule{3, {6, 10}}},
        {"add drops stored doubles", {3, {5, 10, 5}}, kVlan, kAdd, {3, {7, 7}}, kOk, {3, {7, 7, 5, 10}}, "{3, [7, 7, 5, 10]}"},
        {"add nothing", {3, {5}}, kVlan, kAdd, {3, {}}, kOk, {3, {5}}},
        {"delete", {3, {5, 10, 5}}, kVlan, kDelete, {kNone, {99, 5}}, kOk, {3, {10}}, "{3, [10]}"},
        {"delete of none stored", {3, {5}}, kVlan, kDelete, {3, {4095, 0}}, kOk, {3, {5}}, "{3, [5]}"},
        {"delete nothing", {3, {5}}, kVlan, kDelete, {3, {}}, kOk, {3, {5}}},
        {"delete from nothing", {3, {}}, kVlan, kDelete, {3, {5}}, kOk, {3, {}}},
        {"other operations delete", {3, {5, 6}}, kVlan, kNoOperation, {3, {5}}, kOk, {3, {6}}, "{3, [6]}"},
        // PCP; the VLANs given with it go along in the push and are not stored
        {"set", {kNone, {5}}, kPcp, kSet, {7, {9}}, kOk, {7, {5}}, "{7, [9]}"},
        {"add sets", {3, {}}, kPcp, kAdd, {0, {}}, kOk, {0, {}}, "{0, []}"},
        {"set of the same", {3, {}}, kPcp, kSet, {3, {}}, kOk, {3, {}}},
        {"set 8", {3, {}}, kPcp, kSet, {8, {}}, kOutOfRange, {3, {}}, {}, badPcp},
        {"set none clears", {3, {}}, kPcp, kSet, {kNone, {}}, kOk, {kNone, {}}, "{4294967295, []}"},
        {"add none", {3, {}}, kPcp, kAdd, {kNone, {}}, kOutOfRange, {3, {}}, {}, badPcp},
        {"delete clears", {3, {}}, kPcp, kDelete, {5, {}}, kOk, {kNone, {}}, "{4294967295, []}", {}, Rule{kNone, {}}},
        {"other operations do nothing", {3, {}}, kPcp, kNoOperation, {9, {}}, kOk, {3, {}}},
        // both, without a push and whatever the operation
        {"all", {3, {5}}, kAll, kDelete, {4, {4095, 0, 7, 7}}, kOk, {4, {4095, 0, 7, 7}}},
        {"all without PCP", {3, {5}}, kAll, kNoOperation, {kNone, {5}}, kOk, {kNone, {5}}},
        {"all of a bad PCP", {3, {5}}, kAll, kAdd, {8, {6}}, kOutOfRange, {3, {5}}, {}, badPcp},
        {"no type", {3, {5}}, onuQos::onuFlowProfileRuleTypeNone, kSet, {4, {}}, kError, {3, {5}}},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.type) + ": " + row.what);
        makeProfile(row.stored);
        Rule given = row.given;
        const auto trace = traceOf(
            [&] { EXPECT_EQ(module_.onuFlowProfileRuleSet("p", given, row.type, row.operation), row.res); });
        EXPECT_EQ(trace, row.pushed.empty() ? Lines{}
                                            : Lines{"onuFlowProfileRuleSet(p, " + row.pushed + ", " +
                                                    std::to_string(row.type) + ")"});
        EXPECT_EQ(profile().rule, row.then);
        EXPECT_EQ(given, row.givenBack.value_or(row.given));
        EXPECT_EQ(logLines(), row.log);
    }
}

TEST_F(FlowTest, actionOperations) {
    enum { kGuar, kPeak, kUs, kDs, kAll };
    const Action was{256, 512, 1, 2};
    struct Row {
        const char* what;
        int type;
        Operation operation;
        Action given;
        Res res;
        Action then;
        std::vector<int> pushed = {};          ///< field types, in order
        bool applying = false;                 ///< during a configuration apply
        std::optional<Action> givenBack = {};  ///< where it differs from `given`
    };
    // clang-format off
    const Row rows[] = {
        {"guaranteed rounds up", kGuar, kSet, {130, 0, 9, 9}, kOk, {192, 512, 1, 2}, {0}, false, Action{192, 0, 9, 9}},
        {"rounds before the domain", kGuar, kAdd, {65, 0, 0, 0}, kOk, {128, 512, 1, 2}, {0}, false, Action{128, 0, 0, 0}},
        {"guaranteed too low", kGuar, kSet, {64, 0, 0, 0}, kOutOfRange, was},
        {"guaranteed wraps to 0", kGuar, kSet, {0xFFFFFFFF, 0, 0, 0}, kOutOfRange, was, {}, false, Action{0, 0, 0, 0}},
        {"guaranteed at the highest", kGuar, kSet, {kHighest, 0, 0, 0}, kOk, {kHighest, 512, 1, 2}, {0}, true},
        {"guaranteed above the highest", kGuar, kSet, {kHighest + 64, 0, 0, 0}, kOutOfRange, was, {}, true},
        {"guaranteed at the peak", kGuar, kSet, {512, 0, 0, 0}, kOk, {512, 512, 1, 2}, {0}},
        {"guaranteed above the peak", kGuar, kSet, {513, 9999, 0, 0}, kCrossed, was, {}, false, Action{576, 9999, 0, 0}},
        {"guaranteed above the peak", kGuar, kSet, {576, 0, 0, 0}, kOk, {576, 512, 1, 2}, {0}, true},
        {"guaranteed as it is", kGuar, kSet, {255, 0, 0, 0}, kOk, was, {}, false, Action{256, 0, 0, 0}},
        {"guaranteed back", kGuar, kDelete, {999, 7, 7, 7}, kOk, {128, 512, 1, 2}, {0}, false, Action{128, 7, 7, 7}},
        {"peak at the guaranteed", kPeak, kSet, {0, 256, 0, 0}, kOk, {256, 256, 1, 2}, {1}},
        {"peak below the guaranteed", kPeak, kSet, {0, 192, 0, 0}, kCrossed, was},
        {"peak below the guaranteed", kPeak, kSet, {0, 192, 0, 0}, kOk, {256, 192, 1, 2}, {1}, true},
        {"the domain comes first", kPeak, kSet, {0, 1, 0, 0}, kOutOfRange, was, {}, false, Action{0, 64, 0, 0}},
        {"peak too high", kPeak, kAdd, {0, kHighest + 1, 0, 0}, kOutOfRange, was, {}, false, Action{0, kHighest + 64, 0, 0}},
        {"priority up", kUs, kSet, {0, 0, 7, 0}, kOk, {256, 512, 7, 2}, {2}},
        {"priority up too high", kUs, kSet, {0, 0, 8, 0}, kOutOfRange, was},
        {"priority down", kDs, kAdd, {0, 0, 0, 7}, kOk, {256, 512, 1, 7}, {3}},
        {"priority down too high", kDs, kSet, {0, 0, 0, 0xFFFFFFFF}, kOutOfRange, was},
        {"priority down back", kDs, kNoOperation, {9, 9, 9, 9}, kOk, {256, 512, 1, 0}, {3}, false, Action{9, 9, 9, 0}},
        {"all but what is as it is", kAll, kSet, {256, 640, 1, 3}, kOk, {256, 640, 1, 3}, {1, 3}},
        {"all up to the first bad one", kAll, kAdd, {192, 320, 8, 3}, kOutOfRange, {192, 320, 1, 2}, {0, 1}},
        {"guaranteed is held against the old peak", kAll, kSet, {640, 1280, 3, 3}, kCrossed, was},
        {"all back", kAll, kDelete, {1, 1, 9, 9}, kOk, {128, kHighest, 0, 0}, {0, 1, 2, 3}, false, Action{128, kHighest, 0, 0}},
        {"no type", -1, kSet, {9, 9, 9, 9}, kOk, was},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        makeProfile({}, was);
        row.applying ? module_.configurationApplyStart() : module_.configurationApplyStop();
        Action given = row.given;
        const auto type = onuQos::onuFlowProfileActionType{row.type};
        const auto trace = traceOf(
            [&] { EXPECT_EQ(module_.onuFlowProfileActionSet("p", given, type, row.operation), row.res); });
        std::vector<int> pushed;
        for (const auto& call : trace) {
            EXPECT_THAT(call, testing::StartsWith("onuFlowProfileActionSet(p, {"));
            pushed.push_back(call.at(call.size() - 2) - '0');
        }
        EXPECT_EQ(pushed, row.pushed);
        EXPECT_EQ(profile().action, row.then);
        EXPECT_EQ(given, row.givenBack.value_or(row.given));
        EXPECT_THAT(logLines(), IsEmpty());
        expectMirrorAgrees();
    }
}

TEST_F(FlowTest, settersCheckNameAndUseBeforeTheValue) {
    makeFlow("p");
    makeTCont("t");
    EXPECT_EQ(bind(101, "s", "p", "t", 1), onuQosResOk);
    const Snapshot before = snapshot();
    const std::tuple<std::string, std::string, Res> rows[] = {
        {"", "profileName.empty()", kError},
        {"x", "onuFlowProfileMap.find()", onuQosResNotFound},
        {"p", "onuFlowProfileIsApplied()", onuQosResApplied}};
    for (const auto& [name, check, res] : rows) {
        EXPECT_EQ(ruleSet(name, {9, {0}}, 9), res);
        EXPECT_EQ(actionSet(name, {1, 0, 9, 9}, -1), res);
        EXPECT_THAT(
            logLines(),
            ElementsAre(refusalLine("onuFlowProfileRuleSet", check + " failed for profile: " + name),
                        refusalLine("onuFlowProfileActionSet", check + " failed for profile: " + name)));
    }
    EXPECT_EQ(createAndSet(kWanted, 0), onuQosResApplied);
    EXPECT_THAT(logLines(),
                ElementsAre(createRefusal("onuFlowProfileCreateAndSet: ONU Flow profile applied error: p")));
    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(module_.onuFlowProfileCreateAndSet("", kWanted, 0), onuQosResError);
    EXPECT_THAT(logLines(), ElementsAre(createRefusal("onuFlowProfileCreate error: name=")));
}

TEST_F(FlowTest, createAndSetNeverCrossesTheRatesOnItsWay) {
    const std::string peak = std::to_string(kHighest);
    EXPECT_THAT(trace(kWanted, kEverything | 0x81),
                ElementsAre("onuFlowProfileCreate({p, {4294967295, []}, {128, " + peak + ", 0, 0}})",
                            "onuFlowProfileRuleSet(p, {4294967295, [10, 20]}, 1)",
                            "onuFlowProfileRuleSet(p, {3, [10, 20]}, 0)",
                            "onuFlowProfileActionSet(p, {300, 600, 1, 2}, 2)",
                            "onuFlowProfileActionSet(p, {300, 600, 1, 2}, 3)",
                            "onuFlowProfileActionSet(p, {300, 640, 1, 2}, 1)",
                            "onuFlowProfileActionSet(p, {320, 600, 1, 2}, 0)"));
    EXPECT_EQ(profile(), infoOf({3, {10, 20}}, {320, 640, 1, 2}));
    EXPECT_THAT(
        trace(infoOf({kNone, {}}, {1000, 2000, 1, 2}), kEverything),
        ElementsAre("onuFlowProfileRuleSet(p, {3, []}, 1)", "onuFlowProfileRuleSet(p, {4294967295, []}, 0)",
                    "onuFlowProfileActionSet(p, {1000, 2048, 1, 2}, 1)",
                    "onuFlowProfileActionSet(p, {1024, 2000, 1, 2}, 0)"));
    constexpr auto kBothRates = ONUFLOW_PARM_GUAR_RATE_US | ONUFLOW_PARM_PEAK_RATE_US;
    EXPECT_THAT(trace(infoOf({}, {512, 1024, 0, 0}), kBothRates),
                ElementsAre("onuFlowProfileActionSet(p, {512, 1024, 1, 2}, 1)",
                            "onuFlowProfileActionSet(p, {512, 1024, 1, 2}, 0)"));
    EXPECT_THAT(trace(infoOf({}, {200, 511, 0, 0}), kBothRates),
                ElementsAre("onuFlowProfileActionSet(p, {256, 511, 1, 2}, 0)",
                            "onuFlowProfileActionSet(p, {200, 512, 1, 2}, 1)"));
    EXPECT_THAT(trace(infoOf({}, {0, 256, 0, 0}), ONUFLOW_PARM_PEAK_RATE_US),
                ElementsAre("onuFlowProfileActionSet(p, {256, 256, 1, 2}, 1)"));
    EXPECT_EQ(profile(), infoOf({}, {256, 256, 1, 2}));
    EXPECT_THAT(trace(kWanted, 0x81), IsEmpty());
    expectMirrorAgrees();
    EXPECT_THAT(logLines(), IsEmpty());

    // Of rates that are crossed already only what mends them is accepted.
    makeProfile({}, {640, 320, 0, 0});
    EXPECT_EQ(createAndSet(kWanted, ONUFLOW_PARM_FLOW_PRIORITY_US), onuQosResGuarAbovePeak);
    EXPECT_EQ(createAndSet(infoOf({}, {0, 640, 0, 0}), ONUFLOW_PARM_PEAK_RATE_US), onuQosResOk);
    EXPECT_EQ(createAndSet(kWanted, ONUFLOW_PARM_FLOW_PRIORITY_US), onuQosResOk);
    expectMirrorAgrees();
}

TEST_F(FlowTest, createAndSetChecksEverythingAsGivenBeforeItChangesAnything) {
    const auto above = std::to_string(kHighest + 1);
    struct Row {
        Info info;
        std::uint32_t mask;
        Res res;
        std::string log;
        bool againstStored = false;  ///< a new profile has the widest range of rates
    };
    const auto withRule = [](const Rule& rule) { return infoOf(rule, {}); };
    const auto withAction = [](const Action& action) { return infoOf({8, {0}}, action); };
    // clang-format off
    const Row rows[] = {
        {withRule({9, {5, 0}}), kEverything, kOutOfRange, "cVlan domain error: 5"},
        {withRule({8, {}}), kEverything, kOutOfRange, "cPcp domain error: 8"},
        {withAction({127, 0, 8, 8}), 0x78, kOutOfRange, "guarRateUs domain error: 127"},
        {withAction({kHighest + 1, 0, 0, 0}), 8, kOutOfRange, "guarRateUs domain error: " + above},
        {withAction({128, 127, 8, 8}), 0x78, kOutOfRange, "peakRateUs domain error: 127"},
        {withAction({0, kHighest + 1, 0, 0}), 0x10, kOutOfRange, "peakRateUs domain error: " + above},
        {withAction({2000, 1000, 8, 9}), 0x78, kOutOfRange, "flowPriorityUs domain error: 8"},
        {withAction({2000, 1000, 7, 9}), 0x78, kOutOfRange, "flowPriorityDs domain error: 9"},
        {withAction({2000, 1000, 0, 0}), 0x18, kCrossed, "guarRateUs=2000 bigger than peakRateUs=1000"},
        {withAction({641, 0, 0, 0}), 8, kCrossed, "guarRateUs=641 bigger than peakRateUs=640", true},
        {withAction({0, 319, 0, 0}), 0x10, kCrossed, "guarRateUs=320 bigger than peakRateUs=319", true},
    };
    // clang-format on
    for (const bool existing : {true, false}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.log + (existing ? " of an existing profile" : " of a new profile"));
            startAgain();
            if (existing) {
                EXPECT_EQ(createAndSet(kWanted, kEverything), onuQosResOk);
            }
            module_.configurationApplyStart();  // relaxes nothing here
            const Snapshot before = snapshot();
            if (existing || !row.againstStored) {
                EXPECT_EQ(createAndSet(row.info, row.mask), row.res);
                EXPECT_EQ(snapshot(), before);
                EXPECT_THAT(logLines(), ElementsAre(createRefusal("onuFlowProfileCreateAndSet: " + row.log)));
            }
        }
    }
}

TEST_F(FlowTest, aRefusedPeakRateIsToldInTwoSpellings) {  // log readers match both
    fail("onuFlowProfileActionSet", 1, 1, 2);
    EXPECT_EQ(createAndSet(kWanted, kEverything), onuQosResError);
    EXPECT_EQ(logLines().back(), createRefusal("onuFlowProfileActionSet peakRateUs error: name=p"));
    makeFlow("p");
    fail("onuFlowProfileActionSet", 1, 1, 2);
    EXPECT_EQ(createAndSet(kWanted, kEverything), onuQosResError);
    EXPECT_EQ(logLines().back(), createRefusal("onuFlowProfileActionSet opeakRateUs error: name=p"));
    // A new profile that cannot be deleted again stays as far as it got.
    startAgain();
    fail("onuFlowProfileActionSet");
    fail("onuFlowProfileDelete");
    EXPECT_EQ(createAndSet(kWanted, kEverything), onuQosResError);
    EXPECT_EQ(profile(), infoOf({3, {10, 20}}, {128, kHighest, 0, 0}));
    expectMirrorAgrees();
}

TEST_F(FlowTest, aCopyIsMadeOfWhatWasSetAndItsRuleIsNotPushed) {
    const Rule rule{.cPcp = 5, .cVlan = {30, 10}};
    makeProfile(rule, {256, 512, 1, 2});
    makeTCont("t");
    EXPECT_EQ(bind(101, "s", "p", "t", 1), onuQosResOk);
    EXPECT_THAT(traceOf([this] { EXPECT_EQ(module_.onuFlowProfileCopy("p", "b"), onuQosResOk); }),
                ElementsAre("onuFlowProfileCreate({b, {4294967295, []}, {128, " + std::to_string(kHighest) +
                                ", 0, 0}})",
                            "onuFlowProfileActionSet(b, {256, 512, 1, 2}, 0)",
                            "onuFlowProfileActionSet(b, {256, 512, 1, 2}, 1)",
                            "onuFlowProfileActionSet(b, {256, 512, 1, 2}, 2)",
                            "onuFlowProfileActionSet(b, {256, 512, 1, 2}, 3)"));
    EXPECT_EQ(profile("b"), infoOf(rule, {256, 512, 1, 2}, "b"));
    expectMirrorAgrees({"p", "b"});
    EXPECT_EQ(module_.onuFlowProfileCopy("p", ""), onuQosResError);
    EXPECT_THAT(logLines(), ElementsAre(refusalLine("onuFlowProfileCopy",
                                                    "onuFlowProfileCreate() failed for profile: ")));

    makeProfile({}, {640, 320, 3, 0});
    EXPECT_EQ(module_.onuFlowProfileCopy("p", "b"), onuQosResGuarAbovePeak)
        << "where the rule forbids crossed rates";
    EXPECT_THAT(logLines(), ElementsAre(refusalLine("onuFlowProfileCopy",
                                                    "onuFlowProfileActionSet() failed for profile: b")));
    EXPECT_EQ(profile("b").action, (Action{640, kHighest, 0, 0}));
    expectMirrorAgrees();
}
