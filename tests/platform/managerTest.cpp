#include "standin/manager.h"

#include <boost/bind/bind.hpp>
#include <memory>
#include <stdexcept>
#include <string>

#include "BLLManager.h"
#include "platformTest.h"
#include "standin/error.h"

namespace {

using standin::EntityState;

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

    bool start() override {
        if (throws) {
            throw std::runtime_error("no hardware");
        }
        return note("+");
    }

    bool applyDefaultSettings() override { return note("d:"); }

    bool stop() override { return note("-"); }

    void getDependencies(std::list<std::string>& names) override { names = dependencies_; }

    bool works = true;
    bool throws = false;

private:
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
        for (const auto& entity : standin::manager::entities()) {
            if (entity.name == name) {
                return entity.state;
            }
        }
        throw std::out_of_range(name);
    }

    static std::string startProblem() {
        try {
            standin::manager::startAll();
            return "";
        } catch (const standin::Error& error) {
            return error.what();
        }
    }

    std::string journal_;
    std::vector<std::unique_ptr<Probe>> probes_;
};

TEST_F(ManagerTest, OwnEntitiesAreThereFromTheStart) {
    EXPECT_EQ(standin::manager::dependencyOrder(),
              (std::vector<std::string>{"interfaces", "zqbridge", "servprofile", "ports"}));
}

TEST_F(ManagerTest, StartsInDependencyOrderAndStopsInReverse) {
    add("roof", {"wall", "ports"});
    add("wall", {"ground"});
    add("ground");
    EXPECT_EQ(startProblem(), "");
    EXPECT_EQ(journal_, "c:ground +ground c:wall +wall c:roof +roof ");
    EXPECT_EQ(stateOf("roof"), EntityState::started);
    journal_.clear();
    EXPECT_EQ(startProblem(), "");
    EXPECT_EQ(standin::manager::applyDefaultSettings(), std::vector<std::string>{});
    EXPECT_TRUE(standin::manager::stopAll().empty());
    EXPECT_EQ(journal_, "d:ground d:wall d:roof -roof -wall -ground ");
    EXPECT_EQ(stateOf("ground"), EntityState::stopped);
    EXPECT_EQ(stateOf("ports"), EntityState::stopped);
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
    journal_.clear();
    EXPECT_EQ(standin::manager::stopAll(), std::vector<std::string>{"wall"});
    EXPECT_EQ(journal_, "-wall -ground ");
    wall.works = true;
    wall.throws = true;
    EXPECT_EQ(startProblem(), "entity \"wall\" did not start: no hardware");
}

TEST_F(ManagerTest, DefaultSettingsOfOneAndOfAllTellWhoFailed) {
    add("ground").works = false;
    add("wall");
    EXPECT_FALSE(standin::manager::applyDefaultSettings("ground"));
    EXPECT_TRUE(standin::manager::applyDefaultSettings("wall"));
    EXPECT_THROW(standin::manager::applyDefaultSettings("cellar"), standin::Error);
    EXPECT_EQ(standin::manager::applyDefaultSettings(), std::vector<std::string>{"ground"});
    EXPECT_EQ(journal_, "d:ground d:wall d:ground d:wall ");
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

TEST_F(ManagerTest, ForgetsEntitiesThatAreDestroyed) {
    Probe& probe = add("passing");
    singleton<BLLManager>::instance().registerEntity(probe);
    EXPECT_EQ(standin::manager::entities().size(), 5);
    probes_.clear();
    EXPECT_EQ(standin::manager::entities().size(), 4);
}

struct Listener {
    std::string heard;

    void applyStart() { heard += "start "; }

    void applyStop(int reason) { heard += "stop" + std::to_string(reason) + " "; }

    void message(const std::string& name, const std::string& argument, std::ostringstream* reply) {
        *reply << name << "(" << argument << ")";
    }
};

TEST_F(ManagerTest, RaisesItsEvents) {
    Listener listener;
    BLLManager& manager = singleton<BLLManager>::instance();
    const auto onStart = boost::bind(&Listener::applyStart, &listener);
    const auto onStop = boost::bind(&Listener::applyStop, &listener, boost::placeholders::_1);
    const auto onMessage = boost::bind(&Listener::message, &listener, boost::placeholders::_1,
                                       boost::placeholders::_2, boost::placeholders::_3);
    manager.configurationApplyStartEvent().appendPost(onStart);
    manager.configurationApplyStopEvent().appendPost(onStop);
    manager.externalMessageEvent().appendPost(onMessage);
    EXPECT_TRUE(standin::manager::raiseConfigurationApplyStart());
    EXPECT_TRUE(standin::manager::raiseConfigurationApplyStop(4));
    EXPECT_EQ(listener.heard, "start stop4 ");
    EXPECT_EQ(standin::manager::sendExternalMessage("dump", "17"), "dump(17)");
    manager.configurationApplyStartEvent().unsubscribePost(onStart);
    manager.configurationApplyStopEvent().unsubscribePost(onStop);
    manager.externalMessageEvent().unsubscribePost(onMessage);
    EXPECT_EQ(standin::manager::sendExternalMessage("dump", "17"), "");
}

}  // namespace
