#include <gmock/gmock.h>

#include "moduleTest.h"

namespace {

using enum onuQos::onuQosRes;
using testing::ElementsAre;
using Lines = std::vector<std::string>;

class CacAccountingTest : public ModuleTest {
protected:
    static bool tenG() { return onuQos::TCONT_PROFILE_RATE_MAX == 9953280; }
    static unsigned int pick(unsigned int gpon, unsigned int other) { return tenG() ? other : gpon; }

    onuQosOltCacInfo port(unsigned int intf = 1) const { return tables().onuQosOltCacMap.at(intf); }

    static onuQosOltCacInfo sums(std::uint32_t fixed, std::uint32_t assured, bool violation = false) {
        return {.fixedAlloc = fixed, .assuredAlloc = assured, .cacViolation = violation};
    }

    /// Lets the platform report these rates free on port 1, bytes per second.
    static void setFree(unsigned int fixed, unsigned int total) {
        standin::ports::overrideAvailable(1, standin::ports::Available{fixed, total});
    }

    /// Binds a T-CONT profile to an ONU as its only one; every ONU has its own service.
    Res bindOnly(unsigned int onu, const std::string& tCont) { return bind(onu, "s", "f", tCont, 1); }

    /// The reports of port 1's alarm so far: "+" for a report, "-" for a retreat.
    static std::string reports() {
        std::string text;
        for (const auto& alarm : standin::alarms::snapshot().history) {
            EXPECT_EQ(alarm.code, 1600570U);
            EXPECT_EQ(alarm.interface, 1U);
            EXPECT_EQ(alarm.board, 0);
            EXPECT_EQ(alarm.text, "");
            EXPECT_THAT(alarm.numbers, ElementsAre(1, 3, 11));
            text += alarm.action == Diagnostics::Report ? "+" : "-";
        }
        return text;
    }
};

}  // namespace

TEST_F(CacAccountingTest, removalTakesOffWhatWasAddedInWhateverOrder) {
    makeFlow("f");
    makeRates("t", 2048, 2048);
    makeTCont("zero");
    EXPECT_EQ(bindOnly(101, "t"), onuQosResOk);
    EXPECT_EQ(port(), sums(2048 + 1984 + 1920, 2048 + 960 + 11520));
    EXPECT_EQ(bindOnly(102, "zero"), onuQosResOk);  // on a port that holds more than 2048 of each
    EXPECT_EQ(port(), sums(5952 + 1920, 14528 + 2432));
    EXPECT_EQ(bindOnly(201, "zero"), onuQosResOk);  // the first of its own port
    EXPECT_EQ(port(2), sums(1920, 11520));
    EXPECT_EQ(module_.onuQosServiceRemove(101, "s"), onuQosResOk);
    EXPECT_EQ(port(), sums(1920, 2432));
    EXPECT_EQ(bindOnly(101, "zero"), onuQosResOk);  // now the second
    EXPECT_EQ(port(), sums(1920 + 960, 2432 + 2432));
    EXPECT_EQ(module_.onuQosServiceRemove(102, "s"), onuQosResOk);
    EXPECT_EQ(port(), sums(960, 2432));
    EXPECT_EQ(bindOnly(103, "zero"), onuQosResOk);
    EXPECT_EQ(port(), sums(960 + 512, 2432 + 2432));
    EXPECT_EQ(module_.onuQosServiceRemove(101, "s"), onuQosResOk);
    EXPECT_EQ(module_.onuQosServiceRemove(103, "s"), onuQosResOk);
    EXPECT_EQ(port(), sums(0, 0));
    EXPECT_EQ(tables().onuQosOnuCacMap.at(101), onuQosOnuCacInfo{});

    EXPECT_EQ(module_.onuQosCalcAllocRatesOnTContChange(101, "t", true), onuQosResOk);
    const onuQosTables once = tables();
    EXPECT_EQ(module_.onuQosCalcAllocRatesOnTContChange(101, "t", true), onuQosResError);
    EXPECT_EQ(tables(), once);
    EXPECT_EQ(module_.onuQosCalcAllocRatesOnOnuChange(101, true), onuQosResOk);
    EXPECT_EQ(module_.onuQosCalcAllocRatesOnOnuChange(101, true), onuQosResError);
    EXPECT_THAT(logLines(),
                ElementsAre(refusalLine("onuQosCalcAllocRatesOnTContChange",
                                        "onuQosTContIntfCacInfoMap.find() failed for ONU intf: 101"),
                            refusalLine("onuQosCalcAllocRatesOnOnuChange",
                                        "onuQosOnuCacMap[intf].configured() failed for ONU intf: 101")));
}

TEST_F(CacAccountingTest, anOnuCountsOnThePortWhereItsLastEventLeftIt) {
    makeFlow("f");
    makeTCont("zero");
    EXPECT_EQ(bindOnly(101, "zero"), onuQosResOk);
    unsigned int fixed = 0, assured = 0;
    const auto overhead = [&](unsigned int onu) {
        EXPECT_EQ(module_.onuQosOnuOverheadGet(onu, fixed, assured), onuQosResOk);
        return fixed;
    };
    EXPECT_EQ(overhead(201), 1920U);
    standin::Inventory moved = inventory();
    moved.onus[0].parent = 2;
    standin::configure(moved);
    EXPECT_EQ(overhead(201), 1920U) << "asked once, remembered";
    module_.interfaceStateChange(101, Interfaces::interfaceEventUp);
    EXPECT_EQ(overhead(201), 256U) << "no longer the first on port 2, which holds nothing";
    EXPECT_EQ(overhead(102), 1920U) << "the first on port 1 now";
    EXPECT_EQ(overhead(101), 1920U) << "itself does not count";

    // While its parent cannot be had, every ONU after it in the order of the indexes has to wait.
    module_.interfaceStateChange(101, Interfaces::interfaceEventDown);
    fail("interfaceParentGet", 1, 1, 1);
    EXPECT_EQ(module_.onuQosOnuOverheadGet(201, fixed, assured), onuQosResError);
    EXPECT_THAT(logLines(), ElementsAre(refusalLine("onuQosOnuOverheadGet",
                                                    "interfaceParentGet() failed for ONU intf: 101")));
    EXPECT_EQ(overhead(201), 256U);
}

TEST_F(CacAccountingTest, checksAdmitWhatJustFits) {
    makeFlow("f");
    makeTCont("zero");
    // Rates of which the sum with the overhead meets the class limit, on an empty port and on one that holds
    // 1920 and 11520.
    const unsigned int mostFixed = pick(1148736, 9183744);
    const unsigned int mostAssured = pick(1159424, 9269568);
    const unsigned int mostAssuredBeside = pick(1146880, 9257024);
    const auto estimate = [this](unsigned int fixed, unsigned int assured) {
        return module_.onuQosEstCacOnServiceApply(101, fixed, assured);
    };
    EXPECT_TRUE(estimate(mostFixed, 0));
    EXPECT_TRUE(estimate(0, mostAssured));
    EXPECT_EQ(logLines(), Lines{});
    const std::string estimated =
        refusalLine("onuQosEstCacOnServiceApply", "estimated CAC check() failed for intf: 101");
    EXPECT_FALSE(estimate(mostFixed + 1, 0));
    EXPECT_FALSE(estimate(0, mostAssured + 1));
    EXPECT_FALSE(estimate(mostFixed, 1));
    EXPECT_THAT(logLines(), ElementsAre(estimated, estimated, estimated));
    EXPECT_EQ(bindOnly(102, "zero"), onuQosResOk);
    EXPECT_TRUE(estimate(0, mostAssuredBeside));
    EXPECT_FALSE(estimate(0, mostAssuredBeside + 1));
    EXPECT_FALSE(estimate(mostFixed, 0));
    logLines();

    // 2048 and 2048 take 4032 and 3008 with their overheads; the platform counts bytes per second.
    const auto actual = [this] { return module_.onuQosActualCacOnServiceApply(101, 2048, 2048); };
    setFree(4032 * 125, 7040 * 125);
    EXPECT_TRUE(actual());
    EXPECT_EQ(logLines(), Lines{});
    setFree(4032 * 125 - 1, 7040 * 125);
    EXPECT_FALSE(actual());
    setFree(4032 * 125, 7040 * 125 - 1);
    EXPECT_FALSE(actual());
    const std::string refused =
        refusalLine("onuQosActualCacOnServiceApply", "actual CAC check() failed for intf: 101");
    EXPECT_THAT(logLines(), ElementsAre(refused, refused));
}

TEST_F(CacAccountingTest, whatManagementSeesOfAPort) {
    makeFlow("f");
    makeRates("big", 0, pick(1000000, 8000000));
    unsigned int values[4];
    bool violation = true;
    const auto see = [&] {
        EXPECT_EQ(module_.onuQosCacOltGet(1, values[0], values[1], values[2], values[3], violation),
                  onuQosResOk);
        return std::vector<unsigned int>(values, values + 4);
    };
    const unsigned int all = onuQos::OLT_TOTAL_RATE_MAX;
    const unsigned int maxFixed = pick(358024, 2427072);  // over 20 km
    EXPECT_THAT(see(), ElementsAre(maxFixed, all, all, all));
    EXPECT_FALSE(violation);
    setFree(124999, 2000000);
    EXPECT_THAT(see(), ElementsAre(999, 16000, 999, 16000));
    setFree(0xFFFFFFFF, 124999);
    EXPECT_THAT(see(), ElementsAre(maxFixed, 999, 34359738, 999)) << "each by the platform's of its kind";
    standin::ports::setDistances(1, 0, 54);
    standin::ports::overrideAvailable(1, std::nullopt);
    EXPECT_THAT(see(), ElementsAre(0, all, all, all));
    standin::ports::setDistances(1, 0, 20);

    EXPECT_EQ(bindOnly(101, "big"), onuQosResOk);
    setFree(0xFFFFFFFF, 0xFFFFFFFF);
    const unsigned int left = pick(157184, 1345024);
    EXPECT_THAT(see(), ElementsAre(left, left, 34359738, 34359738)) << "the fixed by the assured";
    unsigned int fixed = 0, assured = 0;
    EXPECT_EQ(module_.onuQosOltEstAvailRatesGet(1, fixed, assured), onuQosResOk);
    EXPECT_EQ(fixed, maxFixed - 1920);
    EXPECT_EQ(assured, left);
    fail("getAvailableBandwith");
    EXPECT_THAT(see(), ElementsAre(left, left, 0xFFFFFFFF, 0xFFFFFFFF));
    logLines();
    standin::ports::setDistances(1, 0, 54);
    module_.onuQosOltPortDistanceChangedEventHandler(1);
    EXPECT_THAT(see(), ElementsAre(0, left, 34359738, 34359738));
    EXPECT_TRUE(violation);
    EXPECT_EQ(logLines(), Lines{});
}

TEST_F(CacAccountingTest, theAlarmIsReportedOnceATransition) {
    makeFlow("f");
    const unsigned int fixed = pick(93696, 93184);
    makeRates("t", fixed, 0);
    EXPECT_EQ(bindOnly(101, "t"), onuQosResOk);
    EXPECT_EQ(reports(), "");
    if (!tenG()) {
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
    EXPECT_THAT(
        logLines(),
        ElementsAre(
            errorLine("onuQosOltCacAlarm", "reportAlarm Report failed for errorCode: 1600570, intf: 1"),
            refusalLine("onuQosOltCacStateUpdate",
                        "onuQosOltCacAlarm() failed for OLT intf: 1reportAlarm: True"),
            errorLine("onuQosOltPortDistanceChangedEventHandler",
                      "ONUQOS::onuQosOltPortDistanceChangedEventHandler - onuQosOltCacStateUpdate() "
                      "failed for intf: 1")));
    EXPECT_EQ(reports(), "");
    module_.onuQosOltPortDistanceChangedEventHandler(1);
    EXPECT_EQ(reports(), "+");
    EXPECT_EQ(module_.onuQosOltCacStateUpdate(1), onuQosResOk);
    EXPECT_EQ(module_.onuQosOltCacAlarm(1, true), onuQosResOk);
    EXPECT_EQ(reports(), "+");
    standin::ports::setDistances(1, 0, 20);
    fail("reportAlarm");
    EXPECT_EQ(module_.onuQosOltCacStateUpdate(1), onuQosResError);
    EXPECT_FALSE(port().cacViolation);
    EXPECT_TRUE(tables().onuQosOltCacAlarmMap.at(1));
    EXPECT_THAT(logLines(),
                ElementsAre(errorLine("onuQosOltCacAlarm",
                                      "reportAlarm Retreat failed for errorCode: 1600570, intf: 1"),
                            refusalLine("onuQosOltCacStateUpdate",
                                        "onuQosOltCacAlarm() failed for OLT intf: 1reportAlarm: False")));
    EXPECT_EQ(module_.onuQosOltCacStateUpdate(1), onuQosResOk);
    EXPECT_EQ(reports(), "+-");
    standin::ports::setDistances(1, 0, 54);
    EXPECT_EQ(module_.onuQosOltCacStateUpdate(1), onuQosResOk);
    EXPECT_EQ(module_.onuQosServiceRemove(101, "s"), onuQosResOk);  // the port is empty again
    EXPECT_EQ(reports(), "+-+-");
}

TEST_F(CacAccountingTest, sumsThatHaveWrappedCountAs64Bits) {
    makeFlow("f");
    makeTCont("t");
    makeRates("other", 0, 8192);
    makeRates("fixed", 8192, 0);
    EXPECT_EQ(bindOnly(101, "t"), onuQosResOk);
    EXPECT_EQ(bindOnly(102, "fixed"), onuQosResOk);
    EXPECT_EQ(port(), sums(1920 + 8192 + 2432 + 1920, 11520 + 2432));
    // A profile of other rates takes the name; they are what the removal takes off.
    EXPECT_EQ(module_.tContProfileDelete("t"), onuQosResOk);
    EXPECT_EQ(module_.tContProfileRename("other", "t"), onuQosResOk);
    EXPECT_EQ(module_.onuQosServiceRemove(101, "s"), onuQosResOk);
    EXPECT_EQ(port(), sums(12544, 0U - 5760, true));
    unsigned int fixed = 0, assured = 0;
    EXPECT_EQ(module_.onuQosOltEstAvailRatesGet(1, fixed, assured), onuQosResOk);
    EXPECT_EQ(assured, 0U);
    EXPECT_TRUE(module_.onuQosEstCacOnServiceApply(102, 0, 0)) << "this one adds in 32 bits";
}

TEST_F(CacAccountingTest, theFlowQuestionLooksTheSecondNameUpInBothStores) {
    makeFlow("f");
    makeTCont("t");
    makeFlow("both");
    makeTCont("both", tContType5, 2);
    const auto ask = [this](const char* first, const char* second, unsigned int onu = 101) {
        return module_.onuQosFlowCacOnServiceApply(onu, first, second);
    };
    EXPECT_EQ(ask("f", "t"), onuQosResNotFound);
    EXPECT_EQ(ask("f", "f"), onuQosResNotFound);
    EXPECT_EQ(ask("f", "both"), onuQosResOk);
    EXPECT_EQ(bindOnly(101, "t"), onuQosResOk);
    EXPECT_EQ(ask("f", "both"), onuQosResExists);
    EXPECT_EQ(ask("both", "both"), onuQosResOk);
    const unsigned int unknown = 900'000 + static_cast<unsigned int>(tables().onuQosServiceIntfMap.size());
    EXPECT_EQ(ask("f", "both", unknown), onuQosResOk);
    EXPECT_TRUE(tables().onuQosServiceIntfMap.contains(unknown)) << "with a binding table from then on";
    EXPECT_THAT(
        logLines(),
        ElementsAre(
            refusalLine("onuQosFlowCacOnServiceApply", "onuFlowProfileMap.find() failed for intf: 101"),
            refusalLine("onuQosFlowCacOnServiceApply", "tContProfileMap.find() failed for intf: 101")));
}
