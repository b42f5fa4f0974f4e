#include "moduleTest.h"
#include "onuqos/rules/admission.h"
#include "onuqos/rules/limits.h"
#include "onuqos/rules/overhead.h"
#include "onuqos/rules/portLedger.h"

// Bandwidth admission control: the functions of rates and sums, the accounting, the checks and the alarm.

namespace {

using Overhead = rules::RatePair;
constexpr std::uint32_t kMost = 0xFFFFFFFF;

/// `percent` of `rate`, truncated, and up to the next multiple of 64.
std::uint32_t share(std::uint64_t rate, std::uint64_t percent) {
    const std::uint64_t truncated = rate * percent / 100;
    return static_cast<std::uint32_t>(truncated + (64 - truncated % 64) % 64);
}

class CacTest : public ModuleTest {
protected:
    onuQosOltCacInfo port(unsigned int intf = 1) const { return tables().onuQosOltCacMap.at(intf); }

    static onuQosOltCacInfo sums(std::uint32_t fixed, std::uint32_t assured, bool violation = false) {
        return {.fixedAlloc = fixed, .assuredAlloc = assured, .cacViolation = violation};
    }

    /// Lets the platform report these rates free on port 1, bytes per second.
    static void setFree(unsigned int fixed, unsigned int total) {
        standin::ports::overrideAvailable(1, standin::ports::Available{fixed, total});
    }

    /// Binds a T-CONT profile to an ONU as its only one; every ONU has its own service.
    void bindOnly(unsigned int onu, const std::string& tCont) {
        EXPECT_EQ(bind(onu, "s", "f", tCont, 1), onuQosResOk);
    }

    void remove(unsigned int onu) { EXPECT_EQ(module_.onuQosServiceRemove(onu, "s"), onuQosResOk); }

    /// The reports of port 1's alarm so far: "+" for a report, "-" for a retreat.
    static std::string reports() {
        std::string text;
        for (const auto& alarm : standin::alarms::snapshot().history) {
            EXPECT_EQ(std::tuple(alarm.code, alarm.interface, alarm.board, alarm.text),
                      std::tuple(1600570U, 1U, 0, ""));
            EXPECT_THAT(alarm.numbers, ElementsAre(1, 3, 11));
            text += alarm.action == Diagnostics::Report ? "+" : "-";
        }
        return text;
    }
};

}  // namespace

TEST(CacFunctions, overheadsOnBothSidesOfEachBoundary) {
    struct Boundary {
        std::uint32_t at, below, above;
    };
    constexpr Boundary kFixed[] = {{512, 400, 225}, {1024, 225, 138}, {2048, 138, 94}, {4032, 94, 51},
                                   {8000, 51, 29},  {16000, 29, 19},  {32000, 19, 13}, {64000, 13, 10},
                                   {128000, 10, 9}, {256000, 9, 8}};
    for (const auto& [at, below, above] : kFixed) {
        EXPECT_EQ(rules::tContOverhead(at - 1, 0), (Overhead{share(at - 1, below), 0})) << at;
        EXPECT_EQ(rules::tContOverhead(at, 0), (Overhead{share(at, above), 0})) << at;
    }
    constexpr Boundary kAssured[] = {{2048, 50, 44},  {4032, 44, 26}, {8000, 26, 16}, {16000, 16, 12},
                                     {32000, 12, 10}, {64000, 10, 8}, {512000, 8, 7}};
    for (const auto& [at, below, above] : kAssured) {
        EXPECT_EQ(rules::tContOverhead(0, at - 1), (Overhead{0, share(at - 1, below)})) << at;
        EXPECT_EQ(rules::tContOverhead(0, at), (Overhead{0, share(at, above)})) << at;
    }
    EXPECT_EQ(rules::tContOverhead(2048, 2048), (Overhead{1984, 960}));
    EXPECT_EQ(rules::tContOverhead(1, 1), (Overhead{64, 0})) << "half a kbit/s is truncated";
    EXPECT_EQ(rules::tContOverhead(kMost, 0), (Overhead{42949696, 0})) << "the product has 32 bits";

    struct Row {
        std::uint32_t alloc, fixed, assured;
    };
    constexpr Row kRows[] = {{0, 256, 960},     {511, 256, 960},   {512, 512, 1216},   {1023, 512, 1216},
                             {1024, 960, 1664}, {2047, 960, 1664}, {2048, 1920, 2432}, {kMost, 1920, 2432}};
    for (const auto& [alloc, fixed, assured] : kRows) {
        EXPECT_EQ(rules::onuOverhead(false, alloc, 700), (Overhead{fixed, 1216})) << alloc;
        EXPECT_EQ(rules::onuOverhead(false, 1500, alloc), (Overhead{960, assured})) << alloc;
        EXPECT_EQ(rules::onuOverhead(true, alloc, alloc), (Overhead{1920, 11520})) << alloc;
    }
}

TEST(CacFunctions, maxFixedRateOverDistances) {
    constexpr std::uint32_t kRows[][4] = {
        {0, 0, 578024, 4227072}, {1, 55, 39024, 0}, {0, 46, 72024, 87072},      {0, 47, 61024, 0},
        {3, 60, 6024, 0},        {2, 60, 0, 0},     {8, 60, 61024, 47072},      {7, 60, 50024, 0},
        {0, kMost, 0, 0},        {20, 19, 0, 0},    {kMost, 0, 567024, 4137072}};
    for (const auto& [min, max, gpon, tenG] : kRows) {
        EXPECT_EQ(rules::maxFixedRate(oltPortBwGpon, min, max), gpon) << min << " to " << max;
        EXPECT_EQ(rules::maxFixedRate(oltPortBw10G, min, max), tenG) << min << " to " << max;
    }
}

TEST(CacFunctions, verdictsHoldTheNumbersThatDecided) {
    using enum rules::Limit;
    const auto expect = [](const rules::LimitVerdict& verdict, rules::Limit binding,
                           std::uint64_t missingFixed, std::uint64_t missingTotal) {
        EXPECT_EQ(verdict.binding, binding);
        EXPECT_EQ(verdict.missingFixed, missingFixed);
        EXPECT_EQ(verdict.missingTotal, missingTotal);
    };
    expect(rules::portVerdict({.fixedAlloc = 101, .assuredAlloc = 50}, 100, 100), fixed, 1, 51);
    expect(rules::portVerdict({.fixedAlloc = 2, .assuredAlloc = kMost}, 100, 150), total, 0, kMost - 148ULL);
    expect(rules::portVerdict({.fixedAlloc = 100, .assuredAlloc = 0}, 100, 100), none, 0, 0);

    const auto actual = rules::actualAdmission(7, {.fixed = 1100032, .assured = 2048},
                                               {.fixed = 1156672, .assured = 1156672});
    EXPECT_EQ(actual.port, 7);
    EXPECT_EQ(actual.rate, (rules::RatePair{1100032, 2048}));
    EXPECT_EQ(actual.overhead, (rules::RatePair{88064, 960}));
    EXPECT_EQ(actual.fixedBand.from, 256000);
    EXPECT_EQ(actual.fixedBand.value, 8);
    EXPECT_EQ(actual.assuredBand.value, 44);
    EXPECT_EQ(actual.fixedDemand, 1188096);
    EXPECT_EQ(actual.totalDemand, 1188096 + 3008);
    EXPECT_EQ(actual.fixedFree, 1156672);
    expect(actual.limits, fixed, 31424, 34432);

    const auto estimated =
        rules::estimatedAdmission(7, {.fixedAlloc = 100, .assuredAlloc = 7}, {.fixed = 1024}, 2560, 2567);
    EXPECT_EQ(estimated.fixedDemand, 1024 + 1472 + 100);
    EXPECT_EQ(estimated.totalDemand, 1024 + 1472 + 107);
    expect(estimated.limits, fixed, 36, 36);
    // The sums of the estimated check are 32 bits wide.
    EXPECT_TRUE(
        rules::estimatedAdmission(7, {.fixedAlloc = kMost, .assuredAlloc = 7}, {.fixed = 1}, 100, 150));
}

TEST_F(CacTest, removalTakesOffWhatWasAddedInWhateverOrder) {
    makeFlow("f");
    makeRates("t", 2048, 2048);
    makeTCont("zero");
    bindOnly(101, "t");
    EXPECT_EQ(port(), sums(2048 + 1984 + 1920, 2048 + 960 + 11520));
    bindOnly(102, "zero");  // on a port that holds more than 2048 of each
    EXPECT_EQ(port(), sums(5952 + 1920, 14528 + 2432));
    remove(101);
    EXPECT_EQ(port(), sums(1920, 2432));
    remove(102);
    EXPECT_EQ(port(), sums(0, 0));

    for (const bool add : {true, false}) {
        module_.onuQosCalcAllocRatesOnTContChange(101, "t", add);
        module_.onuQosCalcAllocRatesOnOnuChange(101, add);
        const onuQosTables once = tables();
        EXPECT_EQ(module_.onuQosCalcAllocRatesOnTContChange(101, "t", add), onuQosResError);
        EXPECT_EQ(module_.onuQosCalcAllocRatesOnOnuChange(101, add), onuQosResError);
        EXPECT_EQ(tables(), once);
    }
    EXPECT_EQ(module_.onuQosCalcAllocRatesOnTContChange(101, "x", true), onuQosResNotFound);
}

TEST_F(CacTest, theOverheadOfAnOnuAsksTheOthersInOrderAndRemembersNothing) {
    makeFlow("f");
    makeTCont("zero");
    bindOnly(102, "zero");
    unsigned int fixed = 0, assured = 0;
    const auto asked = [&](unsigned int onu, Res expected = onuQosResOk) {
        Lines trace =
            traceOf([&] { EXPECT_EQ(module_.onuQosOnuOverheadGet(onu, fixed, assured), expected); });
        std::erase_if(trace, [](const std::string& line) { return !line.starts_with("interfaceParentGet"); });
        std::string onus;
        for (const std::string& line : trace) {
            onus += line.substr(line.find('('));
        }
        return onus;
    };
    for (const char* time : {"first", "second"}) {
        SCOPED_TRACE(time);
        EXPECT_EQ(asked(103), "(103)(101)(102)") << "the first configured one of the port ends the walk";
        EXPECT_EQ(fixed, 960U) << "of a further ONU on a port that holds 1920";
        EXPECT_EQ(assured, 2432U);
    }
    EXPECT_EQ(asked(201), "(201)(101)(102)(103)(202)(203)");
    EXPECT_EQ(assured, 11520U) << "the first of port 2";
    EXPECT_EQ(asked(102), "(102)(101)(103)(201)(202)(203)") << "itself does not count";

    standin::Inventory moved = inventory();
    moved.onus[1].parent = 2;
    standin::configure(moved);
    EXPECT_EQ(asked(201), "(201)(101)(102)") << "without an event that tells of it";
    EXPECT_EQ(assured, 960U) << "of a further ONU on a port that holds nothing";
    EXPECT_EQ(asked(103), "(103)(101)(102)(201)(202)(203)");

    fail("interfaceParentGet", 1, 1, 1);
    EXPECT_EQ(asked(201, onuQosResError), "(201)(101)") << "an answer that is missing ends the walk";
    EXPECT_THAT(logLines(), ElementsAre(refusalLine("onuQosOnuOverheadGet",
                                                    "interfaceParentGet() failed for ONU intf: 101")));
}

TEST_F(CacTest, checksAdmitWhatJustFits) {
    makeFlow("f");
    makeTCont("zero");
    // Rates of which the sum with the overhead meets the class limit, on an empty port and on one that holds
    // 1920 and 11520.
    const unsigned int mostFixed = byClass(1148736U, 9183744U);
    const unsigned int mostAssured = byClass(1159424U, 9269568U);
    const unsigned int mostAssuredBeside = byClass(1146880U, 9257024U);
    const auto estimate = [this](unsigned int fixed, unsigned int assured) {
        return module_.onuQosEstCacOnServiceApply(101, fixed, assured);
    };
    EXPECT_TRUE(estimate(mostFixed, 0));
    EXPECT_TRUE(estimate(0, mostAssured));
    EXPECT_FALSE(estimate(mostFixed + 1, 0));
    EXPECT_THAT(logLines(), ElementsAre(refusalLine("onuQosEstCacOnServiceApply",
                                                    "estimated CAC check() failed for intf: 101")));
    EXPECT_FALSE(estimate(0, mostAssured + 1));
    EXPECT_FALSE(estimate(mostFixed, 1));
    bindOnly(102, "zero");
    EXPECT_TRUE(estimate(0, mostAssuredBeside));
    EXPECT_FALSE(estimate(0, mostAssuredBeside + 1));
    logLines();

    // 2048 and 2048 take 4032 and 3008 with their overheads; the platform counts bytes per second.
    const auto actual = [this] { return module_.onuQosActualCacOnServiceApply(101, 2048, 2048); };
    setFree(4032 * 125, 7040 * 125);
    EXPECT_TRUE(actual());
    EXPECT_THAT(logLines(), IsEmpty());
    setFree(4032 * 125 - 1, 7040 * 125);
    EXPECT_FALSE(actual());
    setFree(4032 * 125, 7040 * 125 - 1);
    EXPECT_FALSE(actual());
    EXPECT_EQ(logLines().back(),
              refusalLine("onuQosActualCacOnServiceApply", "actual CAC check() failed for intf: 101"));
    // 12960000 and 4284417024 with their overheads: their sum takes more than 32 bits.
    setFree(kMost, kMost);
    EXPECT_TRUE(module_.onuQosActualCacOnServiceApply(101, 12000000, 0));
    EXPECT_FALSE(module_.onuQosActualCacOnServiceApply(101, 12000000, 4244967296U));
}

TEST_F(CacTest, whatManagementSeesOfAPort) {
    makeFlow("f");
    makeRates("big", 0, byClass(1000000U, 8000000U));
    unsigned int values[4];
    bool violation = true;
    const auto see = [&] {
        EXPECT_EQ(module_.onuQosCacOltGet(1, values[0], values[1], values[2], values[3], violation),
                  onuQosResOk);
        return std::vector<unsigned int>(values, values + 4);
    };
    const unsigned int all = byClass(1240640U, 9918464U);
    const unsigned int maxFixed = byClass(358024U, 2427072U);  // over 20 km
    EXPECT_THAT(see(), ElementsAre(maxFixed, all, all, all));
    EXPECT_FALSE(violation);
    setFree(124999, 2000000);
    EXPECT_THAT(see(), ElementsAre(999, 16000, 999, 16000));
    setFree(kMost, 124999);
    EXPECT_THAT(see(), ElementsAre(maxFixed, 999, 34359738, 999)) << "each by the platform's of its kind";
    standin::ports::setDistances(1, 0, 54);
    standin::ports::overrideAvailable(1, std::nullopt);
    EXPECT_THAT(see(), ElementsAre(0, all, all, all));
    standin::ports::setDistances(1, 0, 20);

    bindOnly(101, "big");
    setFree(kMost, kMost);
    const unsigned int left = byClass(157184U, 1345024U);
    EXPECT_THAT(see(), ElementsAre(left, left, 34359738, 34359738)) << "the fixed by the assured";
    unsigned int fixed = 0, assured = 0;
    EXPECT_EQ(module_.onuQosOltEstAvailRatesGet(1, fixed, assured), onuQosResOk);
    EXPECT_EQ(std::pair(fixed, assured), std::pair(maxFixed - 1920, left));
    fail("getAvailableBandwith");
    EXPECT_THAT(see(), ElementsAre(left, left, kMost, kMost));
    standin::ports::setDistances(1, 0, 54);
    fail("reportAlarm");
    module_.onuQosOltPortDistanceChangedEventHandler(1);
    logLines();
    EXPECT_THAT(see(), ElementsAre(0, left, 34359738, 34359738));
    EXPECT_TRUE(violation);
    EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(CacTest, aPortsDistancesAreFoundByItsIndexAndItsFreeBandwidthByItsOltNumber) {
    standin::Inventory crossed = inventory();
    std::swap(crossed.ports[0].olt, crossed.ports[1].olt);
    startAgain(crossed);
    standin::ports::setDistances(2, 0, 10);  // OLT port 1
    standin::ports::overrideAvailable(2, standin::ports::Available{0, 0});
    unsigned int est[2]{}, act[2]{};
    bool violation = true;
    EXPECT_EQ(module_.onuQosCacOltGet(1, est[0], est[1], act[0], act[1], violation), onuQosResOk);
    EXPECT_EQ(est[0], byClass(468024U, 3327072U)) << "over 10 km";
    EXPECT_EQ(act[1], byClass(1240640U, 9918464U)) << "its own";
}

TEST_F(CacTest, lineSpeedsAreTheLinksOrElseWhatThePhyIsCapableOf) {
    standin::Inventory platform = inventory();
    platform.ports[0].speed = dslSpeed_t{1999, 2000};
    platform.ports[0].phyCapability = standin::PhyCapability{5, 6};
    startAgain(platform);
    const auto speeds = [this] {
        unsigned int first = 0, second = 0;
        EXPECT_EQ(module_.onuQosOltIntfCacSpeedGet(1, first, second), onuQosResOk);
        return std::pair(first, second);
    };
    EXPECT_EQ(speeds(), std::pair(1999U, 2000U));
    standin::interfaces::setLinkUp(1, false);
    EXPECT_EQ(speeds(), std::pair(5000U, 6000U)) << "in Mbit/s there";
}

TEST_F(CacTest, theAlarmIsReportedOnceATransition) {
    makeFlow("f");
    makeRates("t", byClass(93696U, 93184U), 0);
    bindOnly(101, "t");
    if (!kTenG) {
        standin::ports::setDistances(1, 0, 43);  // 105024, to the last kbit/s what the port holds
        EXPECT_EQ(port(), sums(105024, 11520));
        EXPECT_EQ(module_.onuQosOltCacStateUpdate(1), onuQosResOk);
        EXPECT_FALSE(port().cacViolation);
    }
    standin::ports::setDistances(1, 0, 54);
    fail("reportAlarm");
    module_.onuQosOltPortDistanceChangedEventHandler(1);
    EXPECT_TRUE(port().cacViolation);
    EXPECT_FALSE(tables().onuQosOltCacAlarmMap.at(1));
    const std::string handler = "onuQosOltPortDistanceChangedEventHandler";
    EXPECT_THAT(
        logLines(),
        ElementsAre(
            errorLine("onuQosOltCacAlarm", "reportAlarm Report failed for errorCode: 1600570, intf: 1"),
            refusalLine("onuQosOltCacStateUpdate",
                        "onuQosOltCacAlarm() failed for OLT intf: 1reportAlarm: True"),
            errorLine(handler, "ONUQOS::" + handler + " - onuQosOltCacStateUpdate() failed for intf: 1")));
    EXPECT_EQ(reports(), "");
    for (int time = 0; time < 2; ++time) {
        module_.onuQosOltPortDistanceChangedEventHandler(1);
        EXPECT_EQ(reports(), "+");
    }
    fail("interfaceSlotPortIntfGet");
    EXPECT_EQ(module_.onuQosOltCacAlarm(1, true), onuQosResError) << "asked for where nothing changes, too";
    EXPECT_THAT(logLines(), ElementsAre(refusalLine("onuQosOltCacAlarm",
                                                    "interfaceSlotPortIntfGet() failed for OLT intf: 1")));
    standin::ports::setDistances(1, 0, 20);
    fail("reportAlarm");
    EXPECT_EQ(module_.onuQosOltCacStateUpdate(1), onuQosResError);
    EXPECT_FALSE(port().cacViolation);
    EXPECT_TRUE(tables().onuQosOltCacAlarmMap.at(1));
    EXPECT_EQ(logLines().front(),
              errorLine("onuQosOltCacAlarm", "reportAlarm Retreat failed for errorCode: 1600570, intf: 1"));
    EXPECT_EQ(module_.onuQosOltCacStateUpdate(1), onuQosResOk);
    EXPECT_EQ(reports(), "+-");
    standin::ports::setDistances(1, 0, 54);
    EXPECT_EQ(module_.onuQosOltCacStateUpdate(1), onuQosResOk);
    remove(101);  // the port is empty again
    EXPECT_EQ(reports(), "+-+-");
}

TEST_F(CacTest, sumsThatHaveWrappedCountAs64Bits) {
    makeFlow("f");
    makeTCont("t");
    makeRates("other", 0, 8192);
    makeRates("fixed", 8192, 0);
    bindOnly(101, "t");
    bindOnly(102, "fixed");
    EXPECT_EQ(port(), sums(1920 + 8192 + 2432 + 1920, 11520 + 2432));
    // A profile of other rates takes the name; they are what the removal takes off.
    EXPECT_EQ(module_.tContProfileDelete("t"), onuQosResOk);
    EXPECT_EQ(module_.tContProfileRename("other", "t"), onuQosResOk);
    remove(101);
    EXPECT_EQ(port(), sums(12544, 0U - 5760, true));
    unsigned int fixed = 0, assured = 0;
    EXPECT_EQ(module_.onuQosOltEstAvailRatesGet(1, fixed, assured), onuQosResOk);
    EXPECT_EQ(assured, 0U);
    EXPECT_TRUE(module_.onuQosEstCacOnServiceApply(102, 0, 0)) << "this one adds in 32 bits";
}

TEST_F(CacTest, theFlowQuestionLooksTheSecondNameUpInBothStores) {
    makeFlow("f");
    makeTCont("t");
    makeFlow("both");
    makeTCont("both", tContType5, 2);
    const auto ask = [this](const std::string& first, const std::string& second, unsigned int onu = 101) {
        return module_.onuQosFlowCacOnServiceApply(onu, first, second);
    };
    EXPECT_EQ(ask("f", "t"), onuQosResNotFound);
    EXPECT_EQ(ask("f", "f"), onuQosResNotFound);
    const auto notFound = [](const std::string& table) {
        return refusalLine("onuQosFlowCacOnServiceApply", table + ".find() failed for intf: 101");
    };
    EXPECT_THAT(logLines(), ElementsAre(notFound("onuFlowProfileMap"), notFound("tContProfileMap")));
    EXPECT_EQ(ask("f", "both"), onuQosResOk);
    bindOnly(101, "t");
    EXPECT_EQ(ask("f", "both"), onuQosResExists);
    EXPECT_EQ(ask("both", "both"), onuQosResOk);
    EXPECT_EQ(ask("f", "both", 900'000), onuQosResOk);
    EXPECT_TRUE(tables().onuQosServiceIntfMap.contains(900'000)) << "with a binding table from then on";
}

TEST_F(CacTest, theLedgerOfAPortIsReadWithoutAWalk) {
    standin::Inventory platform = inventory();
    platform.ports[0].technology = Interfaces::ponTechGpon;  // of a 10G OLT, too
    platform.ports[1].technology = 3;
    startAgain(platform);
    standin::ports::setDistances(1, 5, 40);
    makeFlow("f");
    makeRates("t", 8192, 0);
    onuQosPortLedger ledger;
    const auto read = [&] { EXPECT_EQ(module_.onuQosPortLedgerGet(1, ledger), onuQosResOk); };
    const auto calls = callsOf(read).size();
    for (const unsigned int onu : {101U, 102U, 103U}) {
        bindOnly(onu, "t");
    }
    EXPECT_EQ(callsOf(read).size(), calls) << "bindings cost no call";
    const onuQosPortLedger expected{.sums = port(),
                                    .bandwidthClass = kTenG ? oltPortBw10G : oltPortBwGpon,
                                    .limitTotal = byClass(1240640U, 9918464U),
                                    .line = onuQosPortLine{oltPortBwGpon, 5, 40, 578024 - 35 * 11000},
                                    .configuredOnus = 3};
    EXPECT_EQ(ledger, expected);
    EXPECT_EQ(module_.onuQosPortLedgerGet(2, ledger), onuQosResOk);
    EXPECT_EQ(ledger.line, std::nullopt) << "of a technology that is not known";
    remove(102);
    read();
    EXPECT_EQ(ledger.configuredOnus, 2U);
    EXPECT_TRUE(applyDefaults());
    read();
    EXPECT_EQ(ledger.configuredOnus, 0U);
    const onuQosPortLedger before = ledger;
    fail("sharedLock");
    EXPECT_EQ(module_.onuQosPortLedgerGet(2, ledger), onuQosResError);
    EXPECT_EQ(ledger, before);
}

TEST_F(CacTest, refusesInterfacesOfOtherKindsAndWithoutRecords) {
    // 103 hangs on an interface that counts as a port and has no records.
    standin::Inventory platform = inventory();
    platform.onus[2].parent = 90;
    platform.others = {{.interface = 90, .type = 5}};
    startAgain(platform);
    standin::interfaces::overrideType(90, 3);
    makeTCont("t");
    onuQos& m = module_;
    unsigned int a = 0, b = 0, c = 0, d = 0;
    bool violation = false;
    onuQosPortLedger ledger;
    oltPortBw bandwidthClass{};
    struct Question {
        std::function<int(unsigned int)> ask;
        unsigned int other;  ///< an interface of another type
        int answer = onuQosResError;
    };
    constexpr unsigned int kPort = 1, kOnu = 101;
    // clang-format off
    const Question questions[] = {
        {[&](auto i) { return m.onuQosCalcAllocRatesOnTContChange(i, "t", true); }, kPort, onuQosResWrongIntf},
        {[&](auto i) { return m.onuQosCalcAllocRatesOnOnuChange(i, true); }, kPort, onuQosResWrongIntf},
        {[&](auto i) { return m.onuQosRatesOverheadGet(i, 0, 0, a, b); }, kPort, onuQosResWrongIntf},
        {[&](auto i) { return m.onuQosOnuOverheadGet(i, a, b); }, kPort, onuQosResWrongIntf},
        {[&](auto i) { return !m.onuQosEstCacOnServiceApply(i, 0, 0); }, kPort},
        {[&](auto i) { return !m.onuQosActualCacOnServiceApply(i, 0, 0); }, kPort},
        {[&](auto i) { return m.onuQosOltEstAvailRatesGet(i, a, b); }, kOnu, onuQosResWrongIntf},
        {[&](auto i) { return m.onuQosPortLedgerGet(i, ledger); }, kOnu, onuQosResWrongIntf},
        {[&](auto i) { return m.onuQosOltCacStateUpdate(i); }, kOnu},
        {[&](auto i) { return m.onuQosOltCacAlarm(i, true); }, kOnu},
        {[&](auto i) { return m.onuQosCacOltGet(i, a, b, c, d, violation); }, kOnu},
    };
    // clang-format on
    const Snapshot before = snapshot();
    for (const auto& [ask, other, answer] : questions) {
        SCOPED_TRACE("question " + std::to_string(&ask - &questions[0].ask));
        EXPECT_EQ(ask(other), answer);
        logLines();
        EXPECT_EQ(ask(other == kPort ? 103 : 90), onuQosResError);
        EXPECT_THAT(logLines().at(0), testing::EndsWith("Map.find() failed for OLT intf: 90\n"));
    }
    EXPECT_EQ(m.getOltPortBwIntf(kOnu, bandwidthClass), onuQosResError);
    EXPECT_EQ(m.onuQosPonLinkDistanceGet(kOnu, a, b), onuQosResError);
    EXPECT_EQ(m.onuQosOltActualAvailRatesGet(kOnu, a, b), onuQosResError);
    EXPECT_EQ(m.onuQosOltIntfCacSpeedGet(kOnu, a, b), onuQosResError);
    logLines();
    standin::interfaces::overrideType(2, 4);
    EXPECT_EQ(m.onuQosCalcAllocRatesOnOnuChange(2, true), onuQosResError);
    EXPECT_THAT(logLines(), ElementsAre(refusalLine("onuQosCalcAllocRatesOnOnuChange",
                                                    "onuQosOnuCacMap.find() failed for ONU intf: 2")));
    EXPECT_EQ(snapshot(), before);

    standin::Inventory odd = inventory();
    odd.ports[0].technology = 3;
    startAgain(odd);
    EXPECT_EQ(m.getOltPortBwIntf(1, bandwidthClass), onuQosResError);
    EXPECT_THAT(logLines(), ElementsAre(errorLine("getOltPortBwIntf", "unknown tech_type: 3 for intf: 1")));
}
