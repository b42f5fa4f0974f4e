#include "standin/manager.h"

#include <atomic>
#include <boost/bind/bind.hpp>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>

#include "BLLManager.h"
#include "platformTest.h"
#include "standin/error.h"
#include "standin/faults.h"
#include "standin/lock.h"

namespace {

using namespace std::chrono_literals;
using standin::EntityState;
using Names = std::vector<std::string>;

/// An entity that notes what it is asked to do.
class Probe : public BLEntity {
public:
    Probe(std::string& journal, const std::string& name, std::list<std::string> dependencies)
        : BLEntity(name), journal_(journal), dependencies_(std::move(dependencies)) {
        singleton<BLLManager>::instance().registerEntity(*this);
    }

    void applyConfiguration(boost::shared_ptr<Storage::Setting> setting) override {
        note(setting ? "c:" : "null:");
    }
    void saveConfiguration(boost::shared_ptr<Storage::Setting>) const override {}
    bool start() override { return throws ? throw std::runtime_error("no hardware") : note("+"); }
    bool applyDefaultSettings() override { return note(othersRead() ? "unlocked:" : "d:"); }
    bool stop() override { return note("-"); }
    void getDependencies(std::list<std::string>& names) override { names = dependencies_; }

    bool works = true;
    bool throws = false;

private:
    /// Whether another thread obtains the shared lock.
    static bool othersRead() {
        return std::async(std::launch::async, [] { return BLLManager::sharedLock_t().obtained(); }).get();
    }

    bool note(const std::string& what) {
        journal_ += what + entityName() + " ";
        return works;
    }

    std::string& journal_;
    std::list<std::string> dependencies_;
};

class ManagerTest : public PlatformTest {
protected:
    ManagerTest() { standin::manager::startAll(); }

    ~ManagerTest() override {
        probes_.clear();
        standin::manager::stopAll();
    }

    Probe& add(const std::string& name, std::list<std::string> dependencies = {}) {
        return *probes_.emplace_back(std::make_unique<Probe>(journal_, name, std::move(dependencies)));
    }

    static EntityState stateOf(const std::string& name) {
        const auto entities = standin::manager::entities();
        return std::ranges::find(entities, name, &standin::Entity::name)->state;
    }

    static std::string startProblem() {
        try {
            standin::manager::startAll();
            return "";
        } catch (const standin::Error& error) {
            return error.what();
        }
    }

    std::string takeJournal() { return std::exchange(journal_, ""); }

    std::string journal_;
    std::vector<std::unique_ptr<Probe>> probes_;
};

TEST_F(ManagerTest, StartsInDependencyOrderAndStopsInReverse) {
    EXPECT_EQ(standin::manager::dependencyOrder(), (Names{"interfaces", "zqbridge", "servprofile", "ports"}));
    add("roof", {"wall", "ports"});
    add("wall", {"ground"});
    Probe& ground = add("ground");
    EXPECT_EQ(startProblem(), "");
    EXPECT_EQ(takeJournal(), "c:ground +ground c:wall +wall c:roof +roof ");
    EXPECT_EQ(stateOf("roof"), EntityState::started);
    EXPECT_EQ(startProblem(), "");
    EXPECT_EQ(takeJournal(), "") << "started once";
    ground.works = false;
    standin::lock::setDeadline(0ms);
    EXPECT_EQ(standin::manager::applyDefaultSettings(), Names{"ground"});
    standin::faults::set(standin::Operation::exclusiveLock, {});
    EXPECT_THROW(standin::manager::applyDefaultSettings(), standin::Error) << "without the lock, no entity";
    EXPECT_EQ(standin::manager::stopAll(), Names{"ground"});
    EXPECT_EQ(takeJournal(), "d:ground d:wall d:roof -roof -wall -ground ");
    EXPECT_EQ(stateOf("ground"), EntityState::failed);
    EXPECT_EQ(stateOf("ports"), EntityState::stopped);
    probes_.clear();
    EXPECT_EQ(standin::manager::entities().size(), 4) << "forgotten when destroyed";
}

TEST_F(ManagerTest, StopsAtAFailedStartAndUndoesIt) {
    add("ground");
    Probe& wall = add("wall", {"ground"});
    add("roof", {"wall"});
    wall.works = false;
    EXPECT_EQ(startProblem(), "entity \"wall\" did not start: the log says why");
    EXPECT_EQ(stateOf("ground"), EntityState::started);
    EXPECT_EQ(stateOf("wall"), EntityState::failed);
    EXPECT_EQ(stateOf("roof"), EntityState::registered);
    takeJournal();
    EXPECT_EQ(standin::manager::stopAll(), Names{"wall"});
    EXPECT_EQ(takeJournal(), "-wall -ground ");
    wall.throws = true;
    EXPECT_EQ(startProblem(), "entity \"wall\" did not start: no hardware");
}

TEST_F(ManagerTest, NamesWhatIsWrongWithDependencies) {
    add("a", {"b"});
    EXPECT_EQ(startProblem(),
              "entity \"a\" depends on \"b\", which is not registered: load the module that provides it");
    add("b", {"c"});
    add("c", {"ports", "b"});
    EXPECT_EQ(startProblem(), R"(entities depend on each other in a circle: "b" -> "c" -> "b")");
    probes_.pop_back();
    add("b");
    EXPECT_EQ(startProblem(), "two entities are named \"b\": rename one of them");
    probes_.clear();
    add("self", {"self"});
    EXPECT_EQ(startProblem(), R"(entities depend on each other in a circle: "self" -> "self")");
    EXPECT_EQ(journal_, "");
}

using boost::placeholders::_1;
using Event = Notification::Event<boost::function<bool()>, boost::function<void(int)>>;

struct Listener {
    std::vector<int> heard = {};

    void hear(int value) { heard.push_back(value); }
    void hearTwice(int value) { heard.insert(heard.end(), 2, value); }
};

TEST(Event, RunsHandlersInOrderAndUnsubscribesByWhatWasBound) {
    Event event;
    Listener one, other;
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
    EXPECT_FALSE(event.raise(1) || informed.raise(1));
    agrees = true;
    EXPECT_TRUE(event.raise(2) && informed.raise(3));
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
    threads.clear();  // joins them
    EXPECT_EQ(lasting.heard, kRounds * 3);
    EXPECT_GE(passing[0].heard, kRounds);
}

}  // namespace
