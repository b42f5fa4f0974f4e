#include <gmock/gmock.h>

#include "refusedCalls.h"

namespace {

using enum onuQos::onuQosRes;
using testing::ElementsAre;
using Lines = std::vector<std::string>;
using enum Refusal::Leaves;

class CacTest : public ModuleTest {
protected:
    /// Asks for two values that must stay as they are unless the answer is Ok; then it is the second.
    template <typename Ask>
    static std::function<int()> two(Ask ask) {
        return [ask] {
            unsigned int first = 7, second = 8;
            const int res = ask(first, second);
            if (res != onuQosResOk) {
                return first == 7 && second == 8 ? res : -1;
            }
            return static_cast<int>(second);
        };
    }
};

void nothing() {}

}  // namespace

TEST_F(CacTest, eachRefusedCallOfQuestions) {
    const auto available = [this](unsigned int& a, unsigned int& b) {
        return module_.onuQosOltActualAvailRatesGet(1, a, b);
    };
    const auto speed = [this](unsigned int& a, unsigned int& b) {
        return module_.onuQosOltIntfCacSpeedGet(1, a, b);
    };
    const auto speedCalls = [](const char* last) {
        return Calls{{"sharedLock", before, {lockLine("onuQosOltIntfCacSpeedGet")}}} + typeCalls() +
               Calls{{"interfacePhyStateGet", before}, {last, before}};
    };
    const auto notFit = [](const std::string& operation) {
        return Lines{refusalLine(operation, "onuQosRatesOverheadGet() failed for intf: 101")};
    };
    const std::string est = "onuQosEstCacOnServiceApply";
    const RefusedChange changes[] = {
        {nothing,
         [this] {
             oltPortBw wanted{7};
             const int res = module_.getOltPortBwIntf(1, wanted);
             return res == 0 || wanted == 7 ? res : -1;
         },
         classCalls()},
        {nothing, two([this](auto& a, auto& b) { return module_.onuQosPonLinkDistanceGet(1, a, b); }),
         distanceCalls()},
        {nothing, two([this](auto& a, auto&) { return module_.onuQosGetOltMaxFixedRate(1, a); }),
         maxFixedCalls()},
        {nothing, two(available), actualCalls()},
        {nothing, two(speed), speedCalls("interfaceAccessSpeedGet")},
        {[] { standin::interfaces::setLinkUp(1, false); }, two(speed),
         speedCalls("interfaceEthPhyCapabilityGet")},
        {nothing, two([this](auto& a, auto& b) { return module_.onuQosRatesOverheadGet(101, 9, 9, a, b); }),
         ratesOverheadCalls()},
        {nothing, two([this](auto& a, auto& b) { return module_.onuQosOnuOverheadGet(101, a, b); }),
         onuOverheadCalls()},
        {nothing, two([this](auto& a, auto& b) { return module_.onuQosOltEstAvailRatesGet(1, a, b); }),
         estimateCalls()},
        {nothing, [this] { return module_.onuQosEstCacOnServiceApply(101, 0, 0); },
         within(onuCalls("sharedLock", est), {}, false) + within(ratesOverheadCalls(), notFit(est), false)},
        {nothing, [this] { return module_.onuQosActualCacOnServiceApply(101, 0, 0); }, admissionCalls()},
    };
    for (const RefusedChange& change : changes) {
        refuseEachCall(change);
    }
}

TEST_F(CacTest, eachRefusedCallOfAccountingAndState) {
    const auto t = [this] { makeRates("t", 2048, 2048); };
    const auto over = [this] {
        makeRates("t", 2048, 2048);
        EXPECT_EQ(module_.onuQosCalcAllocRatesOnTContChange(101, "t", true), onuQosResOk);
        standin::ports::setDistances(1, 0, 54);
    };
    Calls overCalls = updateCalls(true);
    for (std::size_t i = updateCalls(true).size() - alarmCalls(true).size(); i < overCalls.size(); ++i) {
        overCalls[i].leaves = other;
        overCalls[i].left = "violation 1, alarm 0";
    }
    const auto update = [this] { return module_.onuQosOltCacStateUpdate(1); };
    const RefusedChange changes[] = {
        {t, [this] { return module_.onuQosCalcAllocRatesOnTContChange(101, "t", true); },
         accountTContCalls(true)},
        {nothing, [this] { return module_.onuQosCalcAllocRatesOnOnuChange(101, true); },
         accountOnuCalls(true)},
        {nothing, update, updateCalls(false)},
        {over, update, overCalls,
         [this] {
             return "violation " + std::to_string(tables().onuQosOltCacMap.at(1).cacViolation) + ", alarm " +
                    std::to_string(tables().onuQosOltCacAlarmMap.at(1));
         }},
        {nothing, [this] { return module_.onuQosOltCacAlarm(1, true); }, alarmCalls(true)},
    };
    for (const RefusedChange& change : changes) {
        refuseEachCall(change);
    }
}

TEST_F(CacTest, refusesInterfacesOfOtherKindsAndWithoutRecords) {
    // 103 hangs on something that is no port, ports 1 and 2 are what the fixture made them.
    standin::Inventory platform = inventory();
    platform.onus[2].parent = 90;
    platform.others = {{.interface = 90, .type = 5}};
    startAgain(platform);
    makeFlow("t");
    makeTCont("t");
    unsigned int a = 0, b = 0, c = 0, d = 0;
    bool violation = false;
    oltPortBw bandwidthClass{};
    using Ask = std::function<int(unsigned int)>;
    const Ask tCont = [&](auto i) { return module_.onuQosCalcAllocRatesOnTContChange(i, "t", true); };
    const Ask onu = [&](auto i) { return module_.onuQosCalcAllocRatesOnOnuChange(i, true); };
    const Ask est = [&](auto i) { return module_.onuQosEstCacOnServiceApply(i, 0, 0); };
    const Ask actual = [&](auto i) { return module_.onuQosActualCacOnServiceApply(i, 0, 0); };
    const Ask rates = [&](auto i) { return module_.onuQosRatesOverheadGet(i, 0, 0, a, b); };
    const Ask overhead = [&](auto i) { return module_.onuQosOnuOverheadGet(i, a, b); };
    const Ask estimate = [&](auto i) { return module_.onuQosOltEstAvailRatesGet(i, a, b); };
    const Ask update = [&](auto i) { return module_.onuQosOltCacStateUpdate(i); };
    const Ask alarm = [&](auto i) { return module_.onuQosOltCacAlarm(i, true); };
    const Ask bandwidth = [&](auto i) { return module_.getOltPortBwIntf(i, bandwidthClass); };
    const Ask cac = [&](auto i) { return module_.onuQosCacOltGet(i, a, b, c, d, violation); };
    const auto noPort = [](const std::string& operation) {
        return Lines{refusalLine(operation, "onuQosOltCacMap.find() failed for OLT intf: 90")};
    };
    const auto cacFails = [](const std::string& intf) {
        return refusalLine("onuQosCacOltGet", "onuQosOltEstAvailRatesGet failed for OLT intf: " + intf);
    };

    constexpr int kError = onuQosResError;
    constexpr int kWrong = onuQosResWrongIntf;
    constexpr int kPort90 = 3;  ///< makes 90 a port, without records
    constexpr int kOnu2 = 4;    ///< makes 2 an ONU, without records
    struct Row {
        Ask ask;
        unsigned int intf;
        int answer;
        Lines log;
        int as = 0;
    };
    // clang-format off
    const Row rows[] = {
        {tCont, 1, kWrong, {}},
        {tCont, 999, kError, {}},
        {tCont, 2, kError, {refusalLine("onuQosCalcAllocRatesOnTContChange",
         "onuQosOnuCacMap.find() failed for ONU intf: 2")}, kOnu2},
        {tCont, 103, kError, noPort("onuQosCalcAllocRatesOnTContChange")},
        {onu, 1, kWrong, {}},
        {onu, 999, kError, {}},
        {onu, 2, kError, {refusalLine("onuQosCalcAllocRatesOnOnuChange",
         "onuQosOnuCacMap.find() failed for ONU intf: 2")}, kOnu2},
        {onu, 103, kError, noPort("onuQosCalcAllocRatesOnOnuChange")},
        {est, 1, false, {}},
        {est, 999, false, {}},
        {est, 103, false, noPort("onuQosEstCacOnServiceApply")},
        {actual, 1, false, {}},
        {actual, 103, false, noPort("onuQosActualCacOnServiceApply")},
        {rates, 1, kWrong, {}},
        {rates, 999, kError, {}},
        {rates, 103, kError, noPort("onuQosRatesOverheadGet")},
        {overhead, 1, kWrong, {}},
        {overhead, 999, kError, {}},
        {overhead, 103, kError, noPort("onuQosOnuOverheadGet")},
        {estimate, 101, kWrong, {}},
        {estimate, 999, kError, {}},
        {estimate, 90, kError, noPort("onuQosOltEstAvailRatesGet"), kPort90},
        {update, 101, kError, {}},
        {update, 90, kError, noPort("onuQosOltCacStateUpdate"), kPort90},
        {alarm, 101, kError, {}},
        {alarm, 90, kError,
         {refusalLine("onuQosOltCacAlarm", "onuQosOltCacAlarmMap.find() failed for OLT intf: 90")}, kPort90},
        {bandwidth, 101, kError, {}},
        {cac, 101, kError, {cacFails("101")}},
        {cac, 90, kError, {noPort("onuQosOltEstAvailRatesGet")[0], cacFails("90")}, kPort90},
        {[&](auto i) {return module_.onuQosPonLinkDistanceGet(i, a, b); }, 101, kError, {}},
        {[&](auto i) {return module_.onuQosOltActualAvailRatesGet(i, a, b); }, 101, kError, {}},
        {[&](auto i) {return module_.onuQosOltIntfCacSpeedGet(i, a, b); }, 101, kError, {}},
        {[&](auto i) {return module_.onuQosCalcAllocRatesOnTContChange(i, "x", true); }, 101,
         onuQosResNotFound,
         {refusalLine("onuQosCalcAllocRatesOnTContChange", "tContProfileMap.find() failed for profile: x")}},
        {[&](auto i) {return module_.onuQosCalcAllocRatesOnTContChange(i, "t", false); }, 101, kError,
         {refusalLine("onuQosCalcAllocRatesOnTContChange",
         "onuQosTContIntfCacInfoMap.find() failed for ONU intf: 101")}},
        {[&](auto i) {return module_.onuQosCalcAllocRatesOnOnuChange(i, false); }, 101, kError,
         {refusalLine("onuQosCalcAllocRatesOnOnuChange",
         "onuQosOnuCacMap[intf].configured() failed for ONU intf: 101")}},
        {[&](auto i) {return module_.onuQosFlowCacOnServiceApply(i, "f", "x"); }, 101, onuQosResNotFound,
         {refusalLine("onuQosFlowCacOnServiceApply", "onuFlowProfileMap.find() failed for intf: 101")}},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows) + ", interface " + std::to_string(row.intf));
        if (row.as != 0) {
            standin::interfaces::overrideType(row.intf, row.as);
        }
        const Snapshot before = snapshot();
        EXPECT_EQ(row.ask(row.intf), row.answer);
        EXPECT_EQ(logLines(), row.log);
        EXPECT_EQ(snapshot(), before);
    }

    standin::Inventory odd = inventory();
    odd.ports[0].technology = 3;
    startAgain(odd);
    EXPECT_EQ(bandwidth(1), kError);
    EXPECT_THAT(logLines(), ElementsAre(errorLine("getOltPortBwIntf", "unknown tech_type: 3 for intf: 1")));
}
