#include "standin/hardware.h"

#include <string>

#include "Diagnostics.h"
#include "Ports.h"
#include "onuQosOMApi.h"
#include "platformTest.h"
#include "standin/alarms.h"
#include "standin/error.h"
#include "standin/interfaces.h"

namespace {

using Om = onuQosOMApi;

class HardwareTest : public PlatformTest {
protected:
    HardwareTest() { standin::configure(smallOlt()); }

    int apply(unsigned int interface, const std::string& tContProfile, unsigned int virtualPort,
              unsigned int tContId) {
        return api_.onuQosServiceApply({1, 2, 3}, interface, "flow-" + tContProfile, "flow", tContProfile,
                                       virtualPort, tContId, Om::onuQosOMApiUniType6, 9);
    }

    int remove(unsigned int interface, const std::string& tContProfile, unsigned int virtualPort) {
        return api_.onuQosServiceRemove({}, interface, "flow-" + tContProfile, virtualPort);
    }

    Om api_;
};

TEST_F(HardwareTest, SerialsFollowProfilesThroughRenamesAndAreNotGivenAgain) {
    api_.onuTContProfileCreate({.name = "a"});
    api_.onuTContProfileCreate({.name = "b"});
    api_.onuFlowProfileCreate({"f", {}, {}});
    api_.tContProfileRename("a", "c");
    api_.tContProfileRename("unknown", "d");
    api_.onuTContProfileDelete("b");
    api_.onuTContProfileCreate({.name = "b"});
    api_.flowProfileRename("f", "g");
    EXPECT_EQ(standin::hardware::tContProfile("c")->serial, 1);
    EXPECT_EQ(standin::hardware::tContProfile("b")->serial, 3);
    EXPECT_EQ(standin::hardware::flowProfile("g")->serial, 1);
    EXPECT_EQ(standin::hardware::tContProfile("a"), std::nullopt);
    api_.tContProfileRename("c", "b");
    EXPECT_EQ(standin::hardware::snapshot().tContProfiles.size(), 1);
    EXPECT_EQ(standin::hardware::tContProfile("b")->serial, 1);
}

TEST_F(HardwareTest, ABindingPushedAgainIsReplacedAndClearedConfigurationGoesOnCounting) {
    api_.addOnuIntf(101);
    apply(101, "gold", 10, 1);
    apply(101, "gold", 10, 5);
    const standin::Binding stored{101, "flow-gold", 10, {1, 2, 3}, "flow", "gold", 5, 6, 9, 2};
    EXPECT_EQ(standin::hardware::snapshot().bindings, std::vector{stored});
    std::string name = "untouched";
    EXPECT_NE(api_.flowIdToServiceName(101, 1, name), 0);
    EXPECT_EQ(name, "untouched");
    EXPECT_EQ(api_.flowIdToServiceName(101, 2, name), 0);
    EXPECT_EQ(name, "flow-gold");
    api_.onuTContProfileCreate({.name = "gold"});
    EXPECT_EQ(api_.onuQosClearConfig(), 0);
    standin::Hardware left;
    left.onus = {101};
    EXPECT_EQ(standin::hardware::snapshot(), left);
    api_.onuTContProfileCreate({.name = "gold"});
    apply(101, "gold", 10, 1);
    EXPECT_EQ(standin::hardware::tContProfile("gold")->serial, 2);
    EXPECT_EQ(standin::hardware::snapshot().bindings.at(0).flowId, 3);
}

TEST_F(HardwareTest, KeepsTheLastOnuEvents) {
    for (unsigned int i = 0; i <= standin::hardware::kOnuEventsKept; ++i) {
        i % 2 == 0 ? api_.onuReadyHandler({1, 2, 3}, i, false) : api_.onuStateHandler({4, 5, 6}, i, true);
    }
    using enum standin::OnuEvent::Kind;
    const auto events = standin::hardware::snapshot().onuEvents;
    ASSERT_EQ(events.size(), standin::hardware::kOnuEventsKept);
    EXPECT_EQ(events[0], (standin::OnuEvent{state, {4, 5, 6}, 1, true}));
    EXPECT_EQ(events[1], (standin::OnuEvent{ready, {1, 2, 3}, 2, false}));
}

class DbaTest : public HardwareTest {
protected:
    DbaTest() {
        auto inventory = smallOlt();
        inventory.ports[0].capacityFixed = 1000 * 125;
        inventory.ports[0].capacityTotal = 2000 * 125;
        standin::configure(inventory);
        api_.onuTContProfileCreate({.name = "gold", .fixedRate = 100, .assuredRate = 50});
        api_.onuTContProfileCreate({.name = "silver", .fixedRate = 0, .assuredRate = 300});
    }

    /// Free fixed and total bandwidth in kbit/s, as the platform's own port answers: "900/1850".
    static std::string freeOn(unsigned int port) {
        OltPort::OltPortAvailableBanwith available;
        OltPort* const own = singleton<Ports>::instance().getGponImpl().getOltPort(port - 1);
        EXPECT_EQ(own->getAvailableBandwith(&available), 0);
        return std::to_string(available.fixed / 125) + "/" + std::to_string(available.total / 125);
    }
};

TEST_F(DbaTest, CountsEachOnusTContOnce) {
    struct Step {
        const char* what;
        bool add;
        unsigned int onu;
        const char* profile;
        unsigned int virtualPort;
        unsigned int tContId;
        const char* left;
    };
    constexpr Step kSteps[] = {
        {"a first T-CONT", true, 101, "gold", 1, 1, "900/1850"},
        {"the same T-CONT by another binding", true, 101, "gold", 2, 1, "900/1850"},
        {"another T-CONT of the ONU", true, 101, "silver", 3, 2, "900/1550"},
        {"another ONU", true, 102, "gold", 1, 1, "800/1400"},
        {"an ONU of another port", true, 201, "gold", 1, 1, "800/1400"},
        {"an ONU without a port", true, 999, "gold", 1, 1, "800/1400"},
        {"an unknown profile", true, 102, "lead", 2, 3, "800/1400"},
        {"one of two bindings of a T-CONT", false, 101, "gold", 1, 1, "800/1400"},
        {"a binding that is not there", false, 101, "gold", 1, 1, "800/1400"},
        {"the other one", false, 101, "gold", 2, 1, "900/1550"},
        {"pushed again with another T-CONT id", true, 102, "gold", 1, 7, "900/1550"},
        {"the last of an ONU", false, 102, "gold", 1, 7, "1000/1700"},
    };
    for (const Step& step : kSteps) {
        step.add ? apply(step.onu, step.profile, step.virtualPort, step.tContId)
                 : remove(step.onu, step.profile, step.virtualPort);
        EXPECT_EQ(freeOn(1), step.left) << step.what;
    }
    EXPECT_EQ(freeOn(2), "9918364/9918314");
}

TEST_F(DbaTest, KeepsTheRatesOfTheFirstPushAndNeverGoesBelowNothing) {
    apply(101, "gold", 1, 1);
    api_.onuTContProfileParmsSet("gold", {.name = {}, .fixedRate = 900}, Om::onuQosOMApiTContParmRates);
    apply(101, "gold", 2, 1);
    EXPECT_EQ(freeOn(1), "900/1850");
    standin::ports::overrideAvailable(1, standin::ports::Available{124, 250});
    EXPECT_EQ(freeOn(1), "0/2");
    EXPECT_EQ(standin::ports::available(1), (standin::ports::Available{124, 250}));
    standin::ports::overrideAvailable(1, std::nullopt);
    EXPECT_THROW(standin::ports::overrideAvailable(101, std::nullopt), standin::Error);
    api_.onuTContProfileDelete("gold");
    remove(101, "gold", 1);
    remove(101, "gold", 2);
    EXPECT_EQ(freeOn(1), "1000/2000");
    api_.onuTContProfileCreate({.name = "huge", .fixedRate = 4'000'000'000, .assuredRate = 4'000'000'000});
    apply(101, "huge", 1, 1);
    apply(102, "huge", 1, 1);
    EXPECT_EQ(freeOn(1), "0/0");
    remove(101, "huge", 1);
    remove(102, "huge", 1);
    EXPECT_EQ(freeOn(1), "1000/2000");
}

using AlarmsTest = PlatformTest;

TEST_F(AlarmsTest, AreActiveFromReportToRetreatAndRememberedInABoundedHistory) {
    const auto report = [](Diagnostics::alarmAction action, unsigned int code, unsigned int interface) {
        EXPECT_TRUE(Diagnostics::reportAlarm(action, code, interface, Diagnostics::boardObjDefault,
                                             Diagnostics::objIds_t("port", 1, 3, 11)));
    };
    const auto text = [](const std::vector<standin::Alarm>& alarms) {
        std::string text;
        for (const standin::Alarm& alarm : alarms) {
            text += (alarm.action == Diagnostics::Report ? "+" : "-") + std::to_string(alarm.code) + "/" +
                    std::to_string(alarm.interface) + " ";
        }
        return text;
    };
    report(Diagnostics::Report, 7, 2);
    report(Diagnostics::Report, 7, 1);
    report(Diagnostics::Report, 8, 1);
    report(Diagnostics::Report, 7, 2);
    report(Diagnostics::Retreat, 7, 1);
    report(Diagnostics::Retreat, 9, 1);
    const standin::Alarms alarms = standin::alarms::snapshot();
    EXPECT_EQ(text(alarms.active), "+7/2 +8/1 ");
    EXPECT_EQ(text(alarms.history), "+7/2 +7/1 +8/1 +7/2 -7/1 -9/1 ");
    EXPECT_EQ(alarms.active[0].text, "port");
    EXPECT_EQ(alarms.active[0].numbers, (std::vector{1, 3, 11}));
    EXPECT_EQ(alarms.active[0].time, alarms.history[3].time);
    for (unsigned int code = 0; code <= standin::alarms::kHistoryKept; ++code) {
        report(Diagnostics::Retreat, code, 1);
    }
    EXPECT_EQ(standin::alarms::snapshot().history.size(), standin::alarms::kHistoryKept);
    EXPECT_EQ(standin::alarms::snapshot().history.front().code, 1);
}

}  // namespace
