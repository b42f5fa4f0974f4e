#include <gmock/gmock.h>

#include "moduleTest.h"

using testing::ElementsAre;
using testing::IsEmpty;

class ApplyDefaults : public ModuleTest {
protected:
    /// A profile of each family, bound on both ports, and the alarms of both ports raised.
    void fill() {
        makeTCont("gold");
        makeFlow("hsi");
        for (const unsigned int port : {1U, 2U}) {
            ASSERT_EQ(bind(100 * port + 1, "internet", "hsi", "gold", 10), onuQos::onuQosResOk);
            ASSERT_EQ(module_.onuQosOltCacAlarm(port, true), onuQos::onuQosResOk);
        }
    }

    /// The tables that an empty module has on the fixture's inventory, with these alarms.
    static onuQosTables emptyTables(bool alarm1, bool alarm2) {
        onuQosTables empty;
        for (const auto& onu : inventory().onus) {
            empty.onuQosServiceIntfMap[onu.interface];
            empty.onuQosOnuCacMap[onu.interface];
        }
        empty.onuQosOltCacMap = {{1, {}}, {2, {}}};
        empty.onuQosOltCacAlarmMap = {{1, alarm1}, {2, alarm2}};
        return empty;
    }
};

TEST_F(ApplyDefaults, emptiesAllAndClearsTheRaisedAlarms) {
    fill();
    const auto trace = traceOf([this] { EXPECT_TRUE(module_.applyDefaultSettings()); });
    EXPECT_EQ(std::ranges::count(trace, "onuQosClearConfig()"), 1);
    EXPECT_EQ(tables(), emptyTables(false, false));
    expectMirrorAgrees();
    EXPECT_THAT(standin::alarms::snapshot().active, IsEmpty());
    EXPECT_EQ(standin::alarms::snapshot().history.size(), 4U);
    EXPECT_TRUE(module_.tContProfileIsRateConfigurable(tContType1, tContRateFixed)) << "the rules stay";
    makeTCont("gold");
    EXPECT_FALSE(module_.tContProfileIsApplied("gold"));
    EXPECT_TRUE(module_.applyDefaultSettings());
    EXPECT_EQ(standin::alarms::snapshot().history.size(), 4U) << "nothing is raised any more";
    EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(ApplyDefaults, changesNothingWithoutTheLock) {
    fill();
    const Snapshot before = snapshot();
    fail("exclusiveLock");
    EXPECT_FALSE(module_.applyDefaultSettings());
    EXPECT_THAT(logLines(), ElementsAre(lockLine("applyDefaultSettings")));
    EXPECT_EQ(snapshot(), before);
}

TEST_F(ApplyDefaults, stopsAtTheFirstRefusal) {
    fill();
    fail("onuQosClearConfig");
    EXPECT_FALSE(module_.applyDefaultSettings());
    EXPECT_THAT(logLines(),
                ElementsAre(errorLine("applyDefaultSettings", "ONUQOS ERROR - OMApi.onuQosClearConfig()")));
    EXPECT_EQ(tables(), emptyTables(true, true));
    EXPECT_EQ(standin::hardware::snapshot().bindings.size(), 2U);
    EXPECT_EQ(standin::alarms::snapshot().active.size(), 2U);

    const std::string alarm1 =
        errorLine("applyDefaultSettings", "ONUQOS ERROR - onuQosOltCacAlarm() failed for OLT 1");
    for (const std::string refused : {"reportAlarm", "interfaceSlotPortIntfGet", "interfaceGetTypeById"}) {
        fail(refused);
        EXPECT_FALSE(module_.applyDefaultSettings());
        EXPECT_EQ(logLines().back(), alarm1) << refused;
        EXPECT_EQ(tables(), emptyTables(true, true));
    }
    fail("exclusiveLock", 1, 1, 1);
    EXPECT_FALSE(module_.applyDefaultSettings());
    EXPECT_THAT(logLines(), ElementsAre(lockLine("onuQosOltCacAlarm"), alarm1));
    fail("reportAlarm", 1, 1, 1);
    EXPECT_FALSE(module_.applyDefaultSettings());
    EXPECT_EQ(tables(), emptyTables(false, true)) << "the first port's alarm is cleared by then";
}

TEST_F(ApplyDefaults, theEndOfAnApplyBringsEveryPortUpToDate) {
    bool applying = true;
    EXPECT_EQ(module_.tContProfileConsApplyStateGet(&applying), onuQos::onuQosResOk);
    EXPECT_FALSE(applying);
    module_.configurationApplyStart();
    module_.tContProfileConsApplyStateGet(&applying);
    EXPECT_TRUE(applying);
    // A failing port does not keep the next one, nor the flag.
    ASSERT_EQ(module_.onuQosOltCacAlarm(1, true), onuQos::onuQosResOk);
    ASSERT_EQ(module_.onuQosOltCacAlarm(2, true), onuQos::onuQosResOk);
    fail("exclusiveLock");
    module_.configurationApplyStop();
    EXPECT_THAT(logLines(),
                ElementsAre(lockLine("onuQosOltCacStateUpdate"),
                            errorLine("configurationApplyStop",
                                      "ONUQOS ERROR - onuQosOltCacStateUpdate() failed for OLT intf: 1")));
    EXPECT_EQ(tables(), emptyTables(true, false));
    EXPECT_EQ(module_.tContProfileConsApplyStateGet(&applying), onuQos::onuQosResOk);
    EXPECT_FALSE(applying);
}
