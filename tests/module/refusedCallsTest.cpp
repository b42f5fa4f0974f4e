#include <regex>

#include "moduleTest.h"

// Every platform call of every operation, refused in turn. What is checked of each: its answer, that the log
// names what was refused and who was in need of it, what is left, and that the same call works afterwards.

namespace {

struct Operation {
    std::string name;  ///< as the line of its lock has it; empty if it takes none of its own
    std::function<void()> prepare;
    std::function<int()> run;
    int refused = onuQosResError;
    std::map<std::string, int> answers = {};  ///< answers other than `refused`, by a piece of the log
    /// What is left where it is neither the former nor the wanted state, in the order of the refused calls.
    Lines passes = {};
    std::function<std::string()> describe = {};
    bool mends = true;        ///< repeated, it reaches the wanted state also from there
    std::string goesOn = {};  ///< a call that counts as answered, beside those of `goesOn`
};

const std::string kLock = "Error obtaining exclusive lock in onuQos::";
const std::string kFile = "onuQos.cpp::";

std::string operationOf(const std::string& line) {
    const auto from = line.starts_with(kLock) ? kLock.size() : kFile.size();
    return line.substr(from, line.find_first_of(".:", from) - from);
}

bool tells(const std::string& line, std::string_view of) {
    return line.find(of, kFile.size() + operationOf(line).size()) != std::string::npos;
}

/// Whether an operation does its work without this answer: questions whose refusal counts as "no".
bool goesOn(const Operation& operation, const std::string& call, const Lines& lines) {
    static const std::set<std::string> kLocks{"tContProfileIsApplied", "tContProfileIsPartOfService",
                                              "onuFlowProfileIsApplied", "onuFlowProfileIsPartOfService"};
    if (lines.size() == 1 && kLocks.contains(operationOf(lines[0]))) {
        return operationOf(lines[0]) != operation.name;
    }
    return call.starts_with("isActive") || call == operation.goesOn ||
           (call.starts_with("serviceProfileFind") && !operation.name.ends_with("IsPartOfService"));
}

/// The first line tells of the refusal, each further one of the operation that failed for it.
void expectTold(standin::Operation call, const Lines& lines) {
    using enum standin::Operation;
    static const std::set kSilent{isActive,
                                  interfaceGetTypeById,
                                  interfacePhyStateGet,
                                  interfaceAccessSpeedGet,
                                  interfaceEthPhyCapabilityGet,
                                  serviceProfileFind,
                                  tContProfileRename,
                                  flowIdToServiceName};
    const bool lock = call == exclusiveLock || call == sharedLock;
    if (!kSilent.contains(call)) {
        ASSERT_FALSE(lines.empty());
        EXPECT_TRUE(lock ? lines[0] == lockLine(operationOf(lines[0])) : tells(lines[0], name(call)))
            << lines[0];
    }
    static const std::regex kSubject("^Error obtaining|(profile: |name=|intf: |rv: )(p|q|1|[12]0[1-3])");
    EXPECT_THAT(lines, testing::Each(testing::ResultOf(
                           [](const std::string& line) { return std::regex_search(line, kSubject); }, true)));
    for (std::size_t i = 1; i < lines.size(); ++i) {
        std::string failed = operationOf(lines[i - 1]);
        failed = failed.substr(0, failed.rfind("ToOMApi"));  // conversions are told of as what they are for
        EXPECT_TRUE(tells(lines[i], failed) || tells(lines[i], operationOf(lines[i]))) << lines[i];
    }
}

class RefusedCalls : public ModuleTest {
protected:
    void refuseInTurn(const std::vector<Operation>& operations);

    /// The answer of a question, which is to leave its output alone unless it is Ok.
    template <typename Output, typename Ask>
    static std::function<int()> reads(Ask ask) {
        return [ask] {
            Output output{};
            const int answer = ask(output);
            EXPECT_NE(answer == onuQosResOk, output == Output{}) << "answered and not written, or written";
            return answer;
        };
    }

    const std::function<void()> nothing = [] {};
    const std::function<void()> defaults = [this] { makeTCont("p"), makeFlow("p"); };
    const std::function<void()> profiles = [this] {
        makeRates("p", 2048, 2048);
        makeFlow("p");
        EXPECT_EQ(ruleSet("p", {3, {5, 6}}, onuQos::onuFlowProfileRuleTypeCVlan), onuQosResOk);
        EXPECT_EQ(ruleSet("p", {3, {}}, onuQos::onuFlowProfileRuleTypeCPcp), onuQosResOk);
        EXPECT_EQ(actionSet("p", {256, 512, 1, 2}), onuQosResOk);
    };
    const std::function<void()> bound = [this] {
        profiles();
        EXPECT_EQ(bind(101, "s", "p", "p", 10), onuQosResOk);
    };

    std::string flowText() const {
        const auto [name, rule, action, intfs] = tables().onuFlowProfileMap.at("p");
        const auto [guar, peak, up, down] = action;
        return testing::PrintToString(std::tuple(rule.cPcp, rule.cVlan, guar, peak, up, down));
    }
};

void RefusedCalls::refuseInTurn(const std::vector<Operation>& operations) {
    for (const Operation& operation : operations) {
        const auto startOver = [&] {
            startAgain();
            operation.prepare();
            ASSERT_THAT(logLines(), IsEmpty());
        };
        startOver();
        const Snapshot untouched = snapshot();
        int done = 0;
        const auto calls = callsOf([&] { done = operation.run(); });
        EXPECT_THAT(logLines(), IsEmpty());
        const Snapshot after = snapshot();
        EXPECT_TRUE(after == untouched || calls.at(0).operation == standin::Operation::exclusiveLock)
            << operation.name;
        Lines passed;
        std::map<standin::Operation, std::uint64_t> occurrences;
        for (const auto& [refused, arguments] : calls) {
            const std::uint64_t occurrence = occurrences[refused]++;
            const std::string call = std::string(name(refused)) + " no. " + std::to_string(occurrence + 1);
            SCOPED_TRACE(std::to_string(&operation - operations.data()) + ". " + operation.name + ", " +
                         call);
            startOver();
            const Snapshot before = snapshot();
            standin::faults::set(refused, {.answer = 1, .times = 1, .after = occurrence});
            const int answer = operation.run();
            EXPECT_TRUE(standin::faults::list().empty()) << "the call was not made again";
            const Lines lines = logLines();
            const Snapshot left = snapshot();
            expectTold(refused, lines);
            EXPECT_TRUE(occurrences.size() > 1 || occurrence > 0 || operation.name.empty() ||
                        lines.at(0) == lockLine(operation.name))
                << "not the first call";
            expectMirrorAgrees();
            if (goesOn(operation, call, lines)) {
                EXPECT_EQ(answer, done);
                EXPECT_EQ(left, after);
                continue;
            }
            int expected = operation.refused;
            for (const auto& [piece, other] : operation.answers) {
                expected = testing::PrintToString(lines).find(piece) != std::string::npos ? other : expected;
            }
            EXPECT_EQ(answer, expected);
            if (!(left == before)) {
                const std::string text = operation.describe ? operation.describe() : "changed";
                if (passed.empty() || passed.back() != text) {
                    passed.push_back(text);
                }
            }
            if (left == before || operation.mends) {
                EXPECT_EQ(operation.run(), done);
                EXPECT_EQ(tables(), after.tables);
                logLines();
            }
        }
        EXPECT_EQ(passed, operation.passes) << operation.name;
    }
}

tContProfileInfo wantedTCont(unsigned int id, onuTContProfileType type, unsigned int fixed,
                             unsigned int assured, unsigned int maximum) {
    return {"", id, type, fixed, assured, maximum, tContDbaMode0, 0, 0, {}};
}

}  // namespace

// clang-format off
TEST_F(RefusedCalls, ofTContProfiles) {
    onuQos& m = module_;
    using Info = tContProfileInfo;
    using Om = onuQosOMApi::onuQosOMApiTContProfileInfo;
    const auto text = [this] { return tContText("p"); };
    refuseInTurn({
        {"tContProfileCreate", nothing, [&] { return m.tContProfileCreate("p"); }},
        {"tContProfileDelete", profiles, [&] { return m.tContProfileDelete("p"); }},
        {"tContProfileRename", profiles, [&] { return m.tContProfileRename("p", "q"); }},
        {"tContProfileIdSet", profiles, [&] { return m.tContProfileIdSet("p", 2); }},
        {"tContProfileTypeSet", profiles, [&] { return m.tContProfileTypeSet("p", tContType1); }},
        {"tContProfileFixedRateSet", profiles, [&] { return m.tContProfileFixedRateSet("p", 512); }},
        {"tContProfileAllocTypeSet", profiles, [&] { return m.tContProfileAllocTypeSet("p", tContDbaMode1); }},
        {"tContProfileSrdbaWeightSet", profiles, [&] { return m.tContProfileSrdbaWeightSet("p", 2); }},
        // A profile that is new is taken back, one that existed keeps the steps that were done.
        {"tContProfileCreateAndSet", nothing,
         [&] { return m.tContProfileCreateAndSet("p", wantedTCont(2, tContType3, 0, 512, 1024), 2 + 4 + 16 + 32); }},
        {"tContProfileCopy", profiles, [&] { return m.tContProfileCopy("p", "q"); }},
        {.name = "tContProfileCreateAndSet", .prepare = defaults,
         .run = [&] { return m.tContProfileCreateAndSet("p", wantedTCont(3, tContType5, 256, 256, 1024), 2 + 8 + 16 + 32); },
         .passes = {"3 5 0/0/256 2 1 0", "3 5 0/0/1024 2 1 0", "3 5 256/0/1024 2 1 0"}, .describe = text},
        {"tContProfileGet", profiles, reads<Info>([&](auto& info) { return m.tContProfileGet("p", info); })},
        {"tContProfileFirstGet", profiles, reads<Info>([&](auto& info) { return m.tContProfileFirstGet(info); })},
        {"tContProfileNextGet", [&] { makeTCont("o"), profiles(); },
         reads<Info>([&](auto& info) { return m.tContProfileNextGet("o", info); })},
        {"tContProfileToOMApi", nothing,
         [&] { Om om; return m.tContProfileToOMApi(wantedTCont(1, tContType1, 1, 1, 1), om); }},
        {"tContProfileExist", profiles, [&] { return m.tContProfileExist("p"); }},
        {"tContProfileExists", profiles, [&] { return m.tContProfileExists("p"); }, false},
        {"tContProfileIsApplied", bound, [&] { return m.tContProfileIsApplied("p"); }, false},
        {"profileIsAppliedTCont", bound, [&] { return m.profileIsAppliedTCont("p"); }, false},
        {"profileAppliedIntfGetTCont", bound,
         [&] { std::set<std::uint32_t> intfs; return m.profileAppliedIntfGetTCont("p", intfs); }, false},
        {"tContProfileIsPartOfService", profiles, [&] { return m.tContProfileIsPartOfService("p"); }, false},
    });
}

TEST_F(RefusedCalls, ofOnuFlowProfiles) {
    onuQos& m = module_;
    using Info = onuQos::onuFlowProfileInfo;
    constexpr auto kAdd = onuQos::onuFlowProfileOperationAdd;
    constexpr auto kSet = onuQos::onuFlowProfileOperationSet;
    constexpr auto kDelete = onuQos::onuFlowProfileOperationDelete;
    const auto text = [this] { return flowText(); };
    const auto createAndSet = [&] {
        return m.onuFlowProfileCreateAndSet("p", {"", {4, {20, 10}}, {320, 640, 3, 4}, {}}, 0x7E);
    };
    refuseInTurn({
        {"onuFlowProfileCreate", nothing, [&] { return m.onuFlowProfileCreate("p"); }},
        {"onuFlowProfileDelete", profiles, [&] { return m.onuFlowProfileDelete("p"); }},
        {"onuFlowProfileRename", profiles, [&] { return m.onuFlowProfileRename("p", "q"); }},
        {"onuFlowProfileRuleSet", profiles, [&] { return ruleSet("p", {4, {}}, 0, kSet); }},
        {"onuFlowProfileRuleSet", profiles, [&] { return ruleSet("p", {}, 0, kDelete); }},
        {"onuFlowProfileRuleSet", profiles, [&] { return ruleSet("p", {0, {9}}, 1, kAdd); }},
        {"onuFlowProfileRuleSet", profiles, [&] { return ruleSet("p", {0, {5}}, 1, kDelete); }},
        {"onuFlowProfileActionSet", profiles, [&] { return actionSet("p", {320, 0, 0, 0}, 0, kSet); }},
        {"onuFlowProfileActionSet", profiles, [&] { return actionSet("p", {}, 3, kDelete); }},
        {.name = "onuFlowProfileActionSet", .prepare = profiles, .run = [&] { return actionSet("p", {320, 640, 3, 4}); },
         .passes = {"(3, { 5, 6 }, 320, 512, 1, 2)", "(3, { 5, 6 }, 320, 640, 1, 2)", "(3, { 5, 6 }, 320, 640, 3, 2)"},
         .describe = text},
        {"onuFlowProfileCreateAndSet", nothing, createAndSet},
        {.name = "onuFlowProfileCreateAndSet", .prepare = profiles, .run = createAndSet,
         .passes = {"(3, { 10, 20 }, 256, 512, 1, 2)", "(4, { 10, 20 }, 256, 512, 1, 2)", "(4, { 10, 20 }, 256, 512, 3, 2)",
                    "(4, { 10, 20 }, 256, 512, 3, 4)", "(4, { 10, 20 }, 256, 640, 3, 4)"}, .describe = text},
        // The other reads are the same templates as those of the T-CONT profiles.
        {"onuFlowProfileGet", profiles, reads<Info>([&](auto& info) { return m.onuFlowProfileGet("p", info); })},
        {"onuFlowProfileIsApplied", bound, [&] { return m.onuFlowProfileIsApplied("p"); }, false},
    });

    // A copy stays as far as it got.
    startAgain();
    profiles();
    fail("onuFlowProfileActionSet", 1, 1, 1);
    EXPECT_EQ(m.onuFlowProfileCopy("p", "q"), onuQosResError);
    EXPECT_EQ(tables().onuFlowProfileMap.at("q").action, (Action{256, kHighest, 0, 0}));
}

TEST_F(RefusedCalls, ofAdmission) {
    onuQos& m = module_;
    using Two = std::pair<unsigned int, unsigned int>;
    const auto linkDown = [] { standin::interfaces::setLinkUp(1, false); };
    const auto overCommitted = [this] {
        profiles();
        EXPECT_EQ(module_.onuQosCalcAllocRatesOnTContChange(101, "p", true), onuQosResOk);
        standin::ports::setDistances(1, 0, 54);
    };
    const auto text = [this] { return onuText(); };
    const auto speed = reads<Two>([&](Two& o) { return m.onuQosOltIntfCacSpeedGet(1, o.first, o.second); });
    unsigned int a = 0, b = 0, c = 0, d = 0;
    bool violation = false;
    refuseInTurn({
        {"getOltPortBwIntf", nothing, [&] { oltPortBw given{7}; const int res = m.getOltPortBwIntf(1, given);
                                            EXPECT_NE(res == onuQosResOk, given == 7); return res; }},
        {"", nothing, reads<Two>([&](Two& o) { return m.onuQosPonLinkDistanceGet(1, o.first, o.second); })},
        {"", nothing, reads<Two>([&](Two& o) { return m.onuQosGetOltMaxFixedRate(1, o.first); })},
        {"", nothing, reads<Two>([&](Two& o) { return m.onuQosOltActualAvailRatesGet(1, o.first, o.second); })},
        {"onuQosOltIntfCacSpeedGet", nothing, speed},
        {"onuQosOltIntfCacSpeedGet", linkDown, speed},
        {"onuQosRatesOverheadGet", nothing,
         reads<Two>([&](Two& o) { return m.onuQosRatesOverheadGet(101, 9, 9, o.first, o.second); })},
        {"onuQosOnuOverheadGet", nothing, reads<Two>([&](Two& o) { return m.onuQosOnuOverheadGet(101, o.first, o.second); })},
        {"onuQosOltEstAvailRatesGet", nothing,
         reads<Two>([&](Two& o) { return m.onuQosOltEstAvailRatesGet(1, o.first, o.second); })},
        {"onuQosEstCacOnServiceApply", nothing, [&] { return m.onuQosEstCacOnServiceApply(101, 0, 0); }, false},
        {"onuQosActualCacOnServiceApply", nothing, [&] { return m.onuQosActualCacOnServiceApply(101, 0, 0); }, false},
        {"onuQosFlowCacOnServiceApply", profiles, [&] { return m.onuQosFlowCacOnServiceApply(101, "p", "p"); }},
        {"onuQosCalcAllocRatesOnTContChange", profiles, [&] { return m.onuQosCalcAllocRatesOnTContChange(101, "p", true); }},
        {"onuQosCalcAllocRatesOnOnuChange", profiles, [&] { return m.onuQosCalcAllocRatesOnOnuChange(101, true); }},
        {"onuQosOltCacAlarm", nothing, [&] { return m.onuQosOltCacAlarm(1, true); }},
        {"onuQosOltCacStateUpdate", nothing, [&] { return m.onuQosOltCacStateUpdate(1); }},
        {.name = "onuQosOltCacStateUpdate", .prepare = overCommitted, .run = [&] { return m.onuQosOltCacStateUpdate(1); },
         .passes = {"| p | 4032 violation | 00"}, .describe = text},
    });
    fail("sharedLock");
    EXPECT_EQ(m.onuQosCacOltGet(1, a, b, c, d, violation), onuQosResError);
    EXPECT_THAT(logLines(), ElementsAre(lockLine("onuQosCacOltGet")));
}

TEST_F(RefusedCalls, ofServices) {
    const auto text = [this] { return onuText(); };
    const std::map<std::string, int> answers{{"onuQosIsIntfConfigurable() failed", onuQosResWrongIntf},
                                             {"onuQosActualCacOnServiceApply() failed", onuQosResRateError}};
    refuseInTurn({
        {.name = "onuQosServiceApply", .prepare = profiles, .run = [&] { return bind(101, "s", "p", "p", 10); },
         .answers = answers, .passes = {"s | | 0 | 00", "s | p | 4032 | 00", "s | p onu | 5952 | 00"}, .describe = text,
         .mends = false, .goesOn = "interfaceGetTypeById no. 1"},  // an ONU by its records
        {.name = "onuQosServiceRemove", .prepare = bound, .run = [&] { return module_.onuQosServiceRemove(101, "s"); },
         .answers = answers, .passes = {"| p onu | 5952 | 11", "| onu | 1920 | 11", "| | 0 | 11"},
         .describe = text, .mends = false, .goesOn = "interfaceGetTypeById no. 1"},
        {.name = "flowIdToServiceName", .prepare = bound,
         .run = reads<std::string>([&](std::string& service) { return module_.flowIdToServiceName(101, 1, service); })},
    });
}
// clang-format on
