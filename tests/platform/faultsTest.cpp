#include "standin/faults.h"

#include "BLLManager.h"
#include "Features.h"
#include "onuQosOMApi.h"
#include "platformTest.h"
#include "standin/calls.h"
#include "standin/features.h"
#include "standin/hardware.h"
#include "standin/threads.h"

using standin::Operation;

namespace {

class FaultsTest : public PlatformTest {
protected:
    static std::string isActiveAnswers(int calls) {
        std::string answers;
        for (int i = 0; i < calls; ++i) {
            answers += isActive(5) ? '1' : '0';
        }
        return answers;
    }
};

TEST_F(FaultsTest, SkipsThenFailsThenIsSpent) {
    EXPECT_EQ(standin::operationNamed("isActive"), Operation::isActive);
    EXPECT_EQ(standin::operationNamed("isactive"), std::nullopt);
    standin::faults::set(Operation::isActive, {.answer = 1, .times = 2, .after = 3});
    EXPECT_EQ(isActiveAnswers(4), "0001");
    EXPECT_EQ(
        standin::faults::list(),
        (std::map<Operation, standin::Fault>{{Operation::isActive, {.answer = 1, .times = 1, .after = 0}}}));
    EXPECT_EQ(isActiveAnswers(3), "100");
    EXPECT_TRUE(standin::faults::list().empty());
    EXPECT_EQ(standin::calls::count(Operation::isActive), 7);
}

TEST_F(FaultsTest, IsReplacedAndCleared) {
    standin::features::set(5, true);
    standin::faults::set(Operation::isActive, {.answer = 0, .times = 9});
    standin::faults::set(Operation::isActive, {.answer = 0, .times = 1, .after = 1});
    EXPECT_EQ(isActiveAnswers(3), "101");
    standin::faults::set(Operation::isActive, {.answer = 0, .times = 9});
    standin::faults::set(Operation::isActive, {.times = 0});
    EXPECT_EQ(isActiveAnswers(1), "1");
    standin::faults::set(Operation::isActive, {.answer = 0});
    standin::faults::set(Operation::getOltPort);
    standin::faults::clear(Operation::isActive);
    EXPECT_EQ(isActiveAnswers(1), "1");
    EXPECT_EQ(standin::faults::list().size(), 1);
    standin::faults::clearAll();
    EXPECT_TRUE(standin::faults::list().empty());
}

// The operations that answer are refused in turn by the module's tests; these only lose the call.
TEST_F(FaultsTest, LosesCallsThatHaveNoAnswer) {
    const auto threads = [] {
        elsewhere([] { singleton<BLLManager>::instance().registerThread("worker"); });
        return standin::threads::list().size();
    };
    const auto debug = [] {
        onuQosOMApi().onuQosOMApiDebug(true);
        return standin::hardware::snapshot().debug;
    };
    standin::faults::set(Operation::registerThread);
    standin::faults::set(Operation::onuQosOMApiDebug, {.answer = 7});
    EXPECT_EQ(threads(), 0);
    EXPECT_FALSE(debug());
    EXPECT_EQ(threads(), 1);
    EXPECT_TRUE(debug());
}

}  // namespace
