#include <atomic>
#include <boost/bind/bind.hpp>
#include <boost/function.hpp>
#include <string>
#include <vector>

#include "Notification.h"
#include "platformTest.h"

namespace {

using boost::placeholders::_1;
using Event = Notification::Event<boost::function<bool()>, boost::function<void(int)>>;

struct Listener {
    std::vector<int> heard;

    void hear(int value) { heard.push_back(value); }

    void hearTwice(int value) { heard.insert(heard.end(), 2, value); }
};

TEST(Event, RunsHandlersInOrderAndUnsubscribesByWhatWasBound) {
    Event event;
    Listener one;
    Listener other;
    event.appendPost(boost::bind(&Listener::hear, &one, _1));
    event.appendPost(boost::bind(&Listener::hearTwice, &one, _1));
    event.appendPost(boost::bind(&Listener::hear, &one, _1));
    event.appendPost(boost::bind(&Listener::hear, &other, _1));
    EXPECT_TRUE(event.raise(1));
    EXPECT_EQ(one.heard, (std::vector{1, 1, 1, 1}));

    event.unsubscribePost(boost::bind(&Listener::hear, &one, _1));
    EXPECT_TRUE(event.raise(2));
    EXPECT_EQ(one.heard, (std::vector{1, 1, 1, 1, 2, 2}));
    EXPECT_EQ(other.heard, (std::vector{1, 2}));
}

TEST(Event, PreHandlersVetoWithOrWithoutTheArguments) {
    Event event;
    Notification::Event<boost::function<bool(int)>, boost::function<void(int)>> informed;
    Listener listener;
    bool agrees = false;
    event.appendPre([&agrees] { return agrees; });
    event.appendPost(boost::bind(&Listener::hear, &listener, _1));
    informed.appendPre([](int value) { return value > 1; });
    informed.appendPost(boost::bind(&Listener::hear, &listener, _1));
    EXPECT_FALSE(event.raise(1));
    EXPECT_FALSE(informed.raise(1));
    EXPECT_TRUE(listener.heard.empty());
    agrees = true;
    EXPECT_TRUE(event.raise(2));
    EXPECT_TRUE(informed.raise(3));
    EXPECT_EQ(listener.heard, (std::vector{2, 3}));
}

TEST(Event, HandlersMayChangeTheListsThatTheyAreOn) {
    Event event;
    Listener listener;
    event.appendPost([&](int) {
        event.unsubscribePost(boost::bind(&Listener::hear, &listener, _1));
        event.appendPost(boost::bind(&Listener::hearTwice, &listener, _1));
    });
    event.appendPost(boost::bind(&Listener::hear, &listener, _1));
    event.raise(1);
    EXPECT_EQ(listener.heard, (std::vector{1}));
    event.raise(2);
    EXPECT_EQ(listener.heard, (std::vector{1, 2, 2}));
}

TEST(Event, TakesAppendUnsubscribeAndRaiseFromManyThreads) {
    struct Counter {
        std::atomic<int> heard{0};

        void hear(int) { ++heard; }
    };
    constexpr int kRounds = 500;
    Event event;
    Counter lasting;
    event.appendPost(boost::bind(&Counter::hear, &lasting, _1));
    std::vector<std::future<void>> threads;
    std::vector<Counter> passing(3);
    for (Counter& counter : passing) {
        threads.push_back(std::async(std::launch::async, [&event, &counter] {
            for (int round = 0; round < kRounds; ++round) {
                event.appendPost(boost::bind(&Counter::hear, &counter, _1));
                event.raise(round);
                event.unsubscribePost(boost::bind(&Counter::hear, &counter, _1));
            }
        }));
    }
    for (auto& thread : threads) {
        thread.get();
    }
    EXPECT_EQ(lasting.heard, kRounds * 3);
    const int before = passing[0].heard;
    EXPECT_GE(before, kRounds);
    event.raise(0);
    EXPECT_EQ(passing[0].heard, before);
}

}  // namespace
