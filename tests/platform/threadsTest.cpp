#include "standin/threads.h"

#include <csignal>
#include <string>

#include "BLLManager.h"
#include "platformTest.h"

using namespace std::chrono_literals;

namespace {

void enter(const std::string& name) {
    singleton<BLLManager>::instance().registerThread(name);
}

std::string listed() {
    std::string text;
    for (const standin::Thread& thread : standin::threads::list()) {
        text += thread.name + (thread.running() ? "+ " : "- ");
    }
    return text;
}

using ThreadsTest = PlatformTest;

TEST_F(ThreadsTest, AreListedUntilTheLastOfTheNameEndsAndRememberedAfterwards) {
    EXPECT_FALSE(standin::threads::awaitEnd("worker", 0ms));
    EXPECT_FALSE(standin::threads::awaitRunning("worker", 0ms));
    std::promise<void> leave;
    std::thread worker([&leave] {
        enter("worker");
        enter("worker");
        enter("second name");
        leave.get_future().wait();
    });
    EXPECT_TRUE(standin::threads::awaitRunning("second name", kLongEnough));
    EXPECT_EQ(listed(), "worker+ second name+ ");
    EXPECT_NE(pthread_equal(*standin::threads::list().at(0).handle, worker.native_handle()), 0);
    for (std::size_t i = 0; i < standin::threads::kEndedKept + 2; ++i) {
        std::thread(enter, i == 0 ? "passing" : "worker").join();
    }
    EXPECT_FALSE(standin::threads::awaitEnd("worker", 1ms)) << "one of many runs";
    EXPECT_EQ(standin::threads::list().size(), standin::threads::kEndedKept + 2);
    EXPECT_EQ(listed().find("passing"), std::string::npos) << "the oldest is forgotten";
    leave.set_value();
    EXPECT_TRUE(standin::threads::awaitEnd("worker", kLongEnough));
    EXPECT_FALSE(standin::threads::awaitRunning("worker", 0ms));
    worker.join();
    standin::reset();
    EXPECT_EQ(listed(), "");
}

TEST_F(ThreadsTest, SignalsReachTheThreadsOfAName) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGUSR1);
    std::promise<int> received;
    std::thread worker([&] {
        pthread_sigmask(SIG_BLOCK, &set, nullptr);
        enter("worker");
        int signal = 0;
        sigwait(&set, &signal);
        received.set_value(signal);
    });
    ASSERT_TRUE(standin::threads::awaitRunning("worker", kLongEnough));
    EXPECT_EQ(standin::threads::sendSignal("nobody", SIGUSR1), 0);
    EXPECT_EQ(standin::threads::sendSignal("worker", SIGUSR1), 1);
    EXPECT_EQ(received.get_future().get(), SIGUSR1);
    worker.join();
    EXPECT_EQ(standin::threads::sendSignal("worker", SIGUSR1), 0);
}

}  // namespace
