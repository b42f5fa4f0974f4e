#include "standin/alarms.h"

#include <string>

#include "Diagnostics.h"
#include "platformTest.h"

namespace {

class AlarmsTest : public PlatformTest {
protected:
    static void report(Diagnostics::alarmAction action, unsigned int code, unsigned int interface) {
        EXPECT_TRUE(Diagnostics::reportAlarm(action, code, interface, Diagnostics::boardObjDefault,
                                             Diagnostics::objIds_t("port", 1, 3, 11)));
    }

    static std::string text(const std::vector<standin::Alarm>& alarms) {
        std::string text;
        for (const standin::Alarm& alarm : alarms) {
            text += (alarm.action == Diagnostics::Report ? "+" : "-") + std::to_string(alarm.code) + "/" +
                    std::to_string(alarm.interface) + " ";
        }
        return text;
    }
};

TEST_F(AlarmsTest, AreActiveFromReportToRetreat) {
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
    EXPECT_EQ(alarms.active[0].board, 0);
    EXPECT_EQ(alarms.active[0].time, alarms.history[3].time);
}

TEST_F(AlarmsTest, HistoryIsBounded) {
    for (unsigned int code = 0; code <= standin::alarms::kHistoryKept; ++code) {
        report(Diagnostics::Retreat, code, 1);
    }
    const auto history = standin::alarms::snapshot().history;
    ASSERT_EQ(history.size(), standin::alarms::kHistoryKept);
    EXPECT_EQ(history.front().code, 1);
    EXPECT_EQ(history.back().code, standin::alarms::kHistoryKept);
}

}  // namespace
