#include <gmock/gmock.h>

#include "moduleTest.h"

namespace {

using enum onuQos::onuQosRes;
using testing::ElementsAre;
using Lines = std::vector<std::string>;
using Vlans = std::vector<std::uint16_t>;
using Rule = onuQos::onuFlowProfileRule;
using Action = onuQos::onuFlowProfileAction;

constexpr auto kAdd = onuQos::onuFlowProfileOperationAdd;
constexpr auto kSet = onuQos::onuFlowProfileOperationSet;
constexpr auto kDelete = onuQos::onuFlowProfileOperationDelete;
constexpr auto kNoOperation = onuQos::onuFlowProfileOperation{7};
constexpr std::uint32_t kNone = 0xFFFFFFFF;

std::string refusal(const std::string& operation, const std::string& text) {
    return errorLine(operation, "ONUQOS ERROR - " + text + " failed for profile: p");
}

class FlowSettersTest : public ModuleTest {
protected:
    /// Starts again with a profile "p" of this rule and action, the rule not pushed.
    void makeProfile(Rule rule, Action action = {.guarRateUs = 128, .peakRateUs = peakMax()}) {
        startAgain();
        makeFlow("p");
        EXPECT_EQ(module_.onuFlowProfileRuleSet("p", rule, onuQos::onuFlowProfileRuleTypeAll, kAdd), 0);
        module_.configurationApplyStart();
        EXPECT_EQ(module_.onuFlowProfileActionSet("p", action, onuQos::onuFlowProfileActionTypeAll, kSet), 0);
        module_.configurationApplyStop();
        logLines();
    }

    onuQos::onuFlowProfileInfo profile() const { return tables().onuFlowProfileMap.at("p"); }

    static std::uint32_t peakMax() { return onuQos::ONUFLOW_PROFILE_PEAK_RATE_MAX; }
};

}  // namespace

TEST_F(FlowSettersTest, ruleOperations) {
    constexpr auto kPcp = onuQos::onuFlowProfileRuleTypeCPcp;
    constexpr auto kVlan = onuQos::onuFlowProfileRuleTypeCVlan;
    constexpr auto kAll = onuQos::onuFlowProfileRuleTypeAll;
    const Lines badPcp{refusal("onuFlowProfileRuleSet", "rule.cPcp()")};
    const Lines badVlan{refusal("onuFlowProfileRuleSet", "rule.cVlan()")};

    struct Row {
        const char* what;
        Rule stored;
        onuQos::onuFlowProfileRuleType type;
        onuQos::onuFlowProfileOperation operation;
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
        {"set sorts", {}, kVlan, kSet, {9, {4094, 1}}, onuQosResOk, {kNone, {1, 4094}},
         "{4294967295, [1, 4094]}", {}, Rule{9, {1, 4094}}},
        {"set replaces", {3, {8}}, kVlan, kSet, {kNone, {7}}, onuQosResOk, {3, {7}}, "{3, [7]}"},
        {"set of the same", {3, {8}}, kVlan, kSet, {3, {8}}, onuQosResOk, {3, {8}}, "{3, [8]}"},
        {"set clears", {3, {8}}, kVlan, kSet, {3, {}}, onuQosResOk, {3, {}}, "{3, []}"},
        {"set keeps doubles", {}, kVlan, kSet, {3, {8, 8}}, onuQosResOk, {kNone, {8, 8}},
         "{4294967295, [8, 8]}"},
        {"0", {3, {8}}, kVlan, kSet, {3, {5, 0}}, onuQosResError, {3, {8}}, {}, badVlan, Rule{3, {0, 5}}},
        {"4095", {3, {8}}, kVlan, kAdd, {3, {4095, 5}}, onuQosResError, {3, {8}}, {}, badVlan,
         Rule{3, {5, 4095}}},
        {"add goes first", {3, {5, 10}}, kVlan, kAdd, {3, {7}}, onuQosResOk, {3, {7, 5, 10}},
         "{3, [7, 5, 10]}"},
        {"add of known", {3, {10, 5}}, kVlan, kAdd, {3, {10, 6}}, onuQosResOk, {3, {6, 10, 5}},
         "{3, [6, 10, 5]}", {}, Rule{3, {6, 10}}},
        {"add nothing", {3, {5}}, kVlan, kAdd, {3, {}}, onuQosResOk, {3, {5}}},
        {"delete", {3, {5, 10, 5}}, kVlan, kDelete, {kNone, {99, 5}}, onuQosResOk, {3, {10}}, "{3, [10]}"},
        {"delete of none stored", {3, {5}}, kVlan, kDelete, {3, {4095, 0}}, onuQosResOk, {3, {5}},
         "{3, [5]}"},
        {"delete nothing", {3, {5}}, kVlan, kDelete, {3, {}}, onuQosResOk, {3, {5}}},
        {"delete from nothing", {3, {}}, kVlan, kDelete, {3, {5}}, onuQosResOk, {3, {}}},
        {"other operations delete", {3, {5, 6}}, kVlan, kNoOperation, {3, {5}}, onuQosResOk, {3, {6}},
         "{3, [6]}"},
        // PCP; the VLANs given with it go along in the push and are not stored
        {"set", {kNone, {5}}, kPcp, kSet, {7, {9}}, onuQosResOk, {7, {5}}, "{7, [9]}"},
        {"add sets", {3, {}}, kPcp, kAdd, {0, {}}, onuQosResOk, {0, {}}, "{0, []}"},
        {"set of the same", {3, {}}, kPcp, kSet, {3, {}}, onuQosResOk, {3, {}}},
        {"set 8", {3, {}}, kPcp, kSet, {8, {}}, onuQosResOutOfRange, {3, {}}, {}, badPcp},
        {"set none clears", {3, {}}, kPcp, kSet, {kNone, {}}, onuQosResOk, {kNone, {}}, "{4294967295, []}"},
        {"add none", {3, {}}, kPcp, kAdd, {kNone, {}}, onuQosResOutOfRange, {3, {}}, {}, badPcp},
        {"add none to none", {}, kPcp, kAdd, {kNone, {}}, onuQosResOk, {}},
        {"delete clears", {3, {}}, kPcp, kDelete, {5, {}}, onuQosResOk, {kNone, {}}, "{4294967295, []}", {},
         Rule{kNone, {}}},
        {"delete of none", {}, kPcp, kDelete, {5, {}}, onuQosResOk, {}},
        {"other operations do nothing", {3, {}}, kPcp, kNoOperation, {9, {}}, onuQosResOk, {3, {}}},
        // both, without a push and whatever the operation
        {"all", {3, {5}}, kAll, kDelete, {4, {4095, 0, 7, 7}}, onuQosResOk, {4, {4095, 0, 7, 7}}},
        {"all without PCP", {3, {5}}, kAll, kNoOperation, {kNone, {5}}, onuQosResOk, {kNone, {5}}},
        {"all of a bad PCP", {3, {5}}, kAll, kAdd, {8, {6}}, onuQosResOutOfRange, {3, {5}}, {}, badPcp},
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

TEST_F(FlowSettersTest, actionOperations) {
    constexpr auto kGuar = onuQos::onuFlowProfileActionTypeGuarRateUs;
    constexpr auto kPeak = onuQos::onuFlowProfileActionTypePeakRateUs;
    constexpr auto kUs = onuQos::onuFlowProfileActionTypeFlowPriorityUs;
    constexpr auto kDs = onuQos::onuFlowProfileActionTypeFlowPriorityDs;
    constexpr auto kAll = onuQos::onuFlowProfileActionTypeAll;
    const std::uint32_t max = peakMax();
    const Action was{.guarRateUs = 256, .peakRateUs = 512, .flowPriorityUs = 1, .flowPriorityDs = 2};

    struct Row {
        const char* what;
        onuQos::onuFlowProfileActionType type;
        onuQos::onuFlowProfileOperation operation;
        Action given;
        Res res;
        Action then;
        std::vector<int> pushed = {};          ///< field types, in order
        bool applying = false;                 ///< during a configuration apply
        std::optional<Action> givenBack = {};  ///< where it differs from `given`
    };
    // clang-format off
    const Row rows[] = {
        {"guaranteed rounds up", kGuar, kSet, {130, 0, 9, 9}, onuQosResOk, {192, 512, 1, 2}, {0}, false,
         Action{192, 0, 9, 9}},
        {"rounds before the domain", kGuar, kAdd, {65, 0, 0, 0}, onuQosResOk, {128, 512, 1, 2}, {0}, false,
         Action{128, 0, 0, 0}},
        {"guaranteed too low", kGuar, kSet, {64, 0, 0, 0}, onuQosResOutOfRange, was},
        {"guaranteed wraps to 0", kGuar, kSet, {0xFFFFFFFF, 0, 0, 0}, onuQosResOutOfRange, was, {}, false,
         Action{0, 0, 0, 0}},
        {"guaranteed at the highest", kGuar, kSet, {max, 0, 0, 0}, onuQosResOk, {max, 512, 1, 2}, {0}, true},
        {"guaranteed above the highest", kGuar, kSet, {max + 64, 0, 0, 0}, onuQosResOutOfRange, was, {},
         true},
        {"guaranteed at the peak", kGuar, kSet, {512, 0, 0, 0}, onuQosResOk, {512, 512, 1, 2}, {0}},
        {"guaranteed above the peak", kGuar, kSet, {513, 9999, 0, 0}, onuQosResGuarAbovePeak, was, {}, false,
         Action{576, 9999, 0, 0}},
        {"guaranteed above the peak", kGuar, kSet, {576, 0, 0, 0}, onuQosResOk, {576, 512, 1, 2}, {0}, true},
        {"guaranteed as it is", kGuar, kSet, {255, 0, 0, 0}, onuQosResOk, was, {}, false,
         Action{256, 0, 0, 0}},
        {"guaranteed back", kGuar, kDelete, {999, 7, 7, 7}, onuQosResOk, {128, 512, 1, 2}, {0}, false,
         Action{128, 7, 7, 7}},
        {"peak at the guaranteed", kPeak, kSet, {0, 256, 0, 0}, onuQosResOk, {256, 256, 1, 2}, {1}},
        {"peak below the guaranteed", kPeak, kSet, {0, 192, 0, 0}, onuQosResGuarAbovePeak, was},
        {"peak below the guaranteed", kPeak, kSet, {0, 192, 0, 0}, onuQosResOk, {256, 192, 1, 2}, {1}, true},
        {"the domain comes first", kPeak, kSet, {0, 1, 0, 0}, onuQosResOutOfRange, was, {}, false,
         Action{0, 64, 0, 0}},
        {"peak too high", kPeak, kAdd, {0, max + 1, 0, 0}, onuQosResOutOfRange, was, {}, false,
         Action{0, max + 64, 0, 0}},
        {"peak back", kPeak, kNoOperation, {0, 1, 0, 0}, onuQosResOk, {256, max, 1, 2}, {1}, false,
         Action{0, max, 0, 0}},
        {"priority up", kUs, kSet, {0, 0, 7, 0}, onuQosResOk, {256, 512, 7, 2}, {2}},
        {"priority up too high", kUs, kSet, {0, 0, 8, 0}, onuQosResOutOfRange, was},
        {"priority up as it is", kUs, kAdd, {0, 0, 1, 0}, onuQosResOk, was},
        {"priority down", kDs, kAdd, {0, 0, 0, 7}, onuQosResOk, {256, 512, 1, 7}, {3}},
        {"priority down too high", kDs, kSet, {0, 0, 0, 0xFFFFFFFF}, onuQosResOutOfRange, was},
        {"priority down back", kDs, kDelete, {9, 9, 9, 9}, onuQosResOk, {256, 512, 1, 0}, {3}, false,
         Action{9, 9, 9, 0}},
        {"all but what is as it is", kAll, kSet, {256, 640, 1, 3}, onuQosResOk, {256, 640, 1, 3}, {1, 3}},
        {"all up to the first bad one", kAll, kAdd, {192, 320, 8, 3}, onuQosResOutOfRange, {192, 320, 1, 2},
         {0, 1}},
        {"guaranteed is held against the old peak", kAll, kSet, {640, 1280, 3, 3}, onuQosResGuarAbovePeak,
         was},
        {"all back", kAll, kDelete, {1, 1, 9, 9}, onuQosResOk, {128, max, 0, 0}, {0, 1, 2, 3}, false,
         Action{128, max, 0, 0}},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        makeProfile({}, was);
        row.applying ? module_.configurationApplyStart() : module_.configurationApplyStop();
        Action given = row.given;
        const auto trace = traceOf([&] {
            EXPECT_EQ(module_.onuFlowProfileActionSet("p", given, row.type, row.operation), row.res);
        });
        std::vector<int> pushed;
        for (const auto& call : trace) {
            EXPECT_EQ(call.rfind("onuFlowProfileActionSet(p, {", 0), 0U) << call;
            pushed.push_back(call.at(call.size() - 2) - '0');
        }
        EXPECT_EQ(pushed, row.pushed);
        EXPECT_EQ(profile().action, row.then);
        EXPECT_EQ(given, row.givenBack.value_or(row.given));
        EXPECT_EQ(logLines(), Lines{});
        expectMirrorAgrees();
    }
}

TEST_F(FlowSettersTest, eachRefusedCallOfRuleAndActionSet) {
    const auto rule = [this](int type, onuQos::onuFlowProfileOperation operation, Rule given) {
        return [=, this]() mutable {
            return module_.onuFlowProfileRuleSet("p", given, onuQos::onuFlowProfileRuleType{type}, operation);
        };
    };
    const auto action = [this](int type, onuQos::onuFlowProfileOperation operation, Action given) {
        return [=, this]() mutable {
            return module_.onuFlowProfileActionSet("p", given, onuQos::onuFlowProfileActionType{type},
                                                   operation);
        };
    };
    using enum Refusal::Leaves;
    const auto prepare = [this] {
        makeFlow("p");
        Rule stored{3, {5, 6}};
        EXPECT_EQ(module_.onuFlowProfileRuleSet("p", stored, onuQos::onuFlowProfileRuleTypeCVlan, kSet), 0);
        EXPECT_EQ(module_.onuFlowProfileRuleSet("p", stored, onuQos::onuFlowProfileRuleTypeCPcp, kSet), 0);
        Action action{.guarRateUs = 256, .peakRateUs = 512, .flowPriorityUs = 1, .flowPriorityDs = 2};
        EXPECT_EQ(module_.onuFlowProfileActionSet("p", action, onuQos::onuFlowProfileActionTypeAll, kSet), 0);
    };
    const std::string ruleSet = "onuFlowProfileRuleSet";
    const std::string actionSet = "onuFlowProfileActionSet";
    const Lines pushed{refusal(ruleSet, "OMApi.onuFlowProfileRuleSet()")};
    const Lines converted{lockLine("onuFlowProfileRuleToOMApi")};
    const Lines convertedToo{converted[0], refusal(ruleSet, "onuFlowProfileRuleToOMApi()")};
    const auto calls = [&](const std::string& operation, const Lines& notConverted, const Lines& refused) {
        return std::vector<Refusal>{{"exclusiveLock", before, {lockLine(operation)}},
                                    {"sharedLock", done, {lockLine("onuFlowProfileIsApplied")}},
                                    {"sharedLock", before, notConverted},
                                    {operation, before, refused}};
    };
    const Lines actionPushed{refusal(actionSet, "OMApi.onuFlowProfileActionSet()")};
    const Lines actionConverted{lockLine("onuFlowProfileActionToOMApi")};
    const RefusedChange changes[] = {
        {prepare, rule(0, kSet, {4, {}}), calls(ruleSet, converted, pushed)},
        {prepare, rule(0, kDelete, {}), calls(ruleSet, convertedToo, pushed)},
        {prepare, rule(1, kAdd, {0, {9}}), calls(ruleSet, convertedToo, pushed)},
        {prepare, rule(1, kDelete, {0, {5}}),
         calls(ruleSet, convertedToo, {refusal(ruleSet, "onuFlowProfileRuleSet()")})},
        {prepare, action(0, kSet, {320, 0, 0, 0}), calls(actionSet, actionConverted, actionPushed)},
        {prepare, action(3, kDelete, {}),
         calls(actionSet, {actionConverted[0], refusal(actionSet, "onuFlowProfileActionToOMApi()")},
               actionPushed)},
    };
    for (const RefusedChange& change : changes) {
        refuseEachCall(change);
    }

    // Of several fields those before the refusal stay.
    startAgain();
    prepare();
    fail(actionSet, 1, 1, 2);
    EXPECT_EQ(action(4, kAdd, {320, 640, 3, 4})(), onuQosResError);
    EXPECT_EQ(profile().action, (Action{320, 640, 1, 2}));
    EXPECT_EQ(logLines(), actionPushed);
    EXPECT_EQ(action(4, kAdd, {320, 640, 3, 4})(), onuQosResOk);
    EXPECT_EQ(profile().action, (Action{320, 640, 3, 4}));
    expectMirrorAgrees();
}
