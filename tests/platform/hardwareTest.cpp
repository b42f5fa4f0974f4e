#include "standin/hardware.h"

#include <string>

#include "Diagnostics.h"
#include "Ports.h"
#include "onuQosOMApi.h"
#include "platformTest.h"
#include "standin/alarms.h"

namespace {

using Om = onuQosOMApi;

class DbaTest : public PlatformTest {
protected:
    DbaTest() {
        auto inventory = smallOlt();
        inventory.ports[0].capacityFixed = 1000 * 125;
        inventory.ports[0].capacityTotal = 2000 * 125;
        standin::configure(inventory);
        api_.onuTContProfileCreate({.name = "gold", .fixedRate = 100, .assuredRate = 50});
        api_.onuTContProfileCreate({.name = "silver", .fixedRate = 0, .assuredRate = 300});
    }

    int apply(unsigned int interface, const std::string& tContProfile, unsigned int virtualPort,
              unsigned int tContId) {
        return api_.onuQosServiceApply({1, 2, 3}, interface, "flow-" + tContProfile, "flow", tContProfile,
                                       virtualPort, tContId, Om::onuQosOMApiUniType6, 9);
    }

    int remove(unsigned int interface, const std::string& tContProfile, unsigned int virtualPort) {
        return api_.onuQosServiceRemove({}, interface, "flow-" + tContProfile, virtualPort);
    }

    /// Free fixed and total bandwidth in kbit/s, as the platform's own port answers: "900/1850".
    static std::string freeOn(unsigned int port) {
        OltPort::OltPortAvailableBanwith available;
        OltPort* const own = singleton<Ports>::instance().getGponImpl().getOltPort(port - 1);
        EXPECT_EQ(own->getAvailableBandwith(&available), 0);
        return std::to_string(available.fixed / 125) + "/" + std::to_string(available.total / 125);
    }

    Om api_;
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
    apply(101, "gold", 1, 1);
    api_.onuQosClearConfig();
    EXPECT_EQ(freeOn(1), "1000/2000");
    apply(101, "gold", 1, 1);
    EXPECT_EQ(freeOn(1), "1000/2000") << "its profile is gone";
}

TEST_F(DbaTest, KeepsTheRatesOfTheFirstPushAndNeverGoesBelowNothing) {
    apply(101, "gold", 1, 1);
    api_.onuTContProfileParmsSet("gold", {.name = {}, .fixedRate = 900}, Om::onuQosOMApiTContParmRates);
    apply(101, "gold", 2, 1);
    EXPECT_EQ(freeOn(1), "900/1850");
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

TEST(History, OfAlarmsAndOnuEventsIsBounded) {
    standin::reset();
    for (unsigned int i = 0; i <= standin::alarms::kHistoryKept; ++i) {
        Diagnostics::reportAlarm(i == 0 ? Diagnostics::Report : Diagnostics::Retreat, i, 1,
                                 Diagnostics::boardObjDefault, Diagnostics::objIds_t("", 1, 3, 11));
    }
    Diagnostics::reportAlarm(Diagnostics::Report, 0, 1, Diagnostics::boardObjDefault, {});
    const standin::Alarms alarms = standin::alarms::snapshot();
    ASSERT_EQ(alarms.active.size(), 1) << "whatever the history forgets";
    EXPECT_TRUE(alarms.active[0].numbers.empty()) << "as it was reported last";
    EXPECT_EQ(alarms.history.size(), standin::alarms::kHistoryKept);
    EXPECT_EQ(alarms.history.front().code, 2);
    for (unsigned int i = 0; i <= standin::hardware::kOnuEventsKept; ++i) {
        onuQosOMApi().onuReadyHandler({}, i, true);
    }
    const auto events = standin::hardware::snapshot().onuEvents;
    EXPECT_EQ(events.size(), standin::hardware::kOnuEventsKept);
    EXPECT_EQ(events.front().interface, 1);
}

}  // namespace
