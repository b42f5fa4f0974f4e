#include <algorithm>
#include <cstdlib>
#include <random>
#include <thread>

#include "oltmgrd/configuration/store.h"
#include "restoreTest.h"
#include "scratch.h"
#include "standin/operations.h"

namespace {

using oltmgrd::ConfigurationStore;
using standin::Operation;
using enum onuQos::onuQosRes;

// More of it, or the same again: ONUQOS_SEED=7 ONUQOS_ROUNDS=100000.
unsigned int setting(const char* name, unsigned int byDefault) {
    const char* value = std::getenv(name);
    return value == nullptr ? byDefault : static_cast<unsigned int>(std::stoul(value));
}

constexpr unsigned int kOnus[] = {101, 102, 103, 201, 202, 203};
constexpr unsigned int kPorts[] = {1, 2};
constexpr unsigned int kProfiles = 4;

// What comes before is left alone: locks, whose failing lets a setter change a bound profile, and the
// features, which round rates.
constexpr auto kFirstFailing = static_cast<unsigned int>(Operation::interfaceListGet);

/// What the sums of a port are made of, at one moment: the overheads of its ONUs, and the rates and overheads
/// of their T-CONTs.
void expectSums(const onuQosTables& tables) {
    std::map<std::uint32_t, std::pair<std::uint32_t, std::uint32_t>> sums;
    for (const auto& [onu, info] : tables.onuQosOnuCacMap) {
        auto& [fixed, assured] = sums[onu / 100];
        if (info.configured) {
            fixed += info.fixedOverhead;
            assured += info.assuredOverhead;
        }
        for (const auto& [name, tcont] : info.onuQosTContIntfCacInfoMap) {
            const tContProfileInfo& profile = tables.tContProfileMap.at(name);
            fixed += profile.fixedRate + tcont.fixedOverhead;
            assured += profile.assuredRate + tcont.assuredOverhead;
        }
    }
    for (const unsigned int port : kPorts) {
        const onuQosOltCacInfo& shown = tables.onuQosOltCacMap.at(port);
        EXPECT_EQ(std::pair(shown.fixedAlloc, shown.assuredAlloc), sums[port]) << "port " << port;
    }
}

class StressTest : public RestoreTest {
protected:
    void run(bool faults);

    /// The applied sets hold what the bindings made of them; where no step failed.
    void expectAppliedSets() const;

    const unsigned int seed_ = setting("ONUQOS_SEED", 1);

private:
    using Below = std::function<unsigned int(unsigned int)>;

    /// Runs `work` again and again in a thread of its own.
    void start(std::function<void(const Below&)> work) {
        threads_.emplace_back([this, work = std::move(work), seed = seed_ + threads_.size()] {
            std::mt19937 random(seed);
            const Below below = [&random](unsigned int limit) { return unsigned(random() % limit); };
            for (unsigned int round = 0; round < rounds_; ++round) {
                work(below);
            }
        });
    }

    void join() {
        for (auto& thread : threads_) {
            thread.join();
        }
    }

    /// Binds and unbinds on an ONU that no other thread binds on, and notes what the applied sets must hold.
    void changeBinding(unsigned int onu, const Below& below) {
        Model& model = models_.at(onu);
        const std::string service = "s" + std::to_string(below(4));
        if (below(2) == 0) {
            const Pair pair{"f" + std::to_string(below(kProfiles)), "t" + std::to_string(below(kProfiles))};
            const Res res = ModuleTest::bind(onu, service, pair.first, pair.second, below(4));
            if (res == onuQosResOk && model.services.emplace(service, pair).second) {
                model.flows.insert(pair.first);
                model.tconts.insert(pair.second);
            }
            return;
        }
        const Res res = module_.onuQosServiceRemove(onu, service);
        if (const auto node = model.services.extract(service); res == onuQosResOk && !node.empty()) {
            model.flows.erase(node.mapped().first);
            model.tconts.erase(node.mapped().second);
        }
    }

    /// Brings the ports up to date, after which each alarm must be raised where its port is over-committed.
    void expectAlarms() {
        for (const unsigned int port : kPorts) {
            EXPECT_EQ(module_.onuQosOltCacStateUpdate(port), onuQosResOk);
            const bool violation = tables().onuQosOltCacMap.at(port).cacViolation;
            EXPECT_EQ(tables().onuQosOltCacAlarmMap.at(port), violation) << "port " << port;
            const auto active = standin::alarms::snapshot().active;
            EXPECT_EQ(std::ranges::count(active, port, &standin::Alarm::interface), violation ? 1 : 0);
        }
    }

    using Pair = std::pair<std::string, std::string>;  // flow profile, T-CONT profile

    struct Model {
        std::map<std::string, Pair> services;
        std::set<std::string> flows;
        std::set<std::string> tconts;
    };

    const ScratchDirectory directory_;
    ConfigurationStore store_{interface(), services(), *host_, directory_.path("saved")};
    const unsigned int rounds_ = setting("ONUQOS_ROUNDS", 400);
    std::map<unsigned int, Model> models_ = [] {
        std::map<unsigned int, Model> models;
        for (const unsigned int onu : kOnus) {
            models[onu];
        }
        return models;
    }();
    std::vector<std::thread> threads_;
};

void StressTest::expectAppliedSets() const {
    const onuQosTables now = tables();
    for (const auto& [onu, model] : models_) {
        for (unsigned int i = 0; i < kProfiles; ++i) {
            const std::string flow = "f" + std::to_string(i);
            const std::string tcont = "t" + std::to_string(i);
            EXPECT_EQ(now.onuFlowProfileMap.at(flow).appliedIntfSet.contains(onu), model.flows.contains(flow))
                << flow << " on " << onu;
            EXPECT_EQ(now.tContProfileMap.at(tcont).appliedIntfs.contains(onu), model.tconts.contains(tcont))
                << tcont << " on " << onu;
        }
    }
}

/// Everything at once; with `faults`, platform calls are refused in between.
void StressTest::run(bool faults) {
    for (unsigned int i = 0; i < kProfiles; ++i) {
        makeRates("t" + std::to_string(i), 256U << i, 512U << i, i + 1);
        makeFlow("f" + std::to_string(i));
    }
    // Is more than its port bears at 54 km, whatever the threads have bound by then.
    makeRates("stays", 256, 0, kProfiles + 1);
    makeFlow("stays");
    ASSERT_EQ(bind(kOnus[0], "stays", "stays", "stays", 9), onuQosResOk);
    start([&](const Below& below) { changeBinding(kOnus[below(3)], below); });
    start([&](const Below& below) { changeBinding(kOnus[3 + below(3)], below); });
    start([&](const Below& below) {  // changes that bindings forbid or let through
        const std::string digit = std::to_string(below(kProfiles));
        module_.tContProfileMaximumRateSet("t" + digit, 1'000'000 + 1024 * below(8));
        module_.tContProfileSrdbaWeightSet("t" + digit, below(9));
        onuQos::onuFlowProfileRule rule{.cPcp = below(8),
                                        .cVlan = {static_cast<std::uint16_t>(1 + below(4094)), 3, 2}};
        module_.onuFlowProfileRuleSet("f" + digit, rule, onuQos::onuFlowProfileRuleTypeCVlan,
                                      onuQos::onuFlowProfileOperationSet);
    });
    start([&](const Below& below) {  // profiles that come and go
        const std::string name = "own" + std::to_string(below(3));
        onuQos::onuFlowProfileInfo flow;
        flow.action.flowPriorityDs = below(8);
        module_.onuFlowProfileCreateAndSet(name, flow, 0x40);
        module_.onuFlowProfileDelete("own" + std::to_string(below(3)));
        module_.tContProfileCopy("t0", name);
        module_.tContProfileRename(name, "renamed" + std::to_string(below(2)));
        module_.tContProfileDelete("renamed" + std::to_string(below(2)));
    });
    start([&](const Below& below) {
        module_.interfaceStateChange(static_cast<int>(kOnus[below(6)]), Interfaces::interfaceEventUp);
        module_.onuConfigEventHandler(kOnus[below(6)], below(2) == 0, false);
        standin::ports::setDistances(1 + below(2), 0, below(2) == 0 ? 20 : 54);
        module_.onuQosOltPortDistanceChangedEventHandler(1 + below(2));
    });
    start([&](const Below& below) {
        below(4) == 0 ? module_.configurationApplyStart() : module_.configurationApplyStop();
        if (faults) {
            const unsigned int failing = kFirstFailing + below(standin::kOperationCount - kFirstFailing);
            standin::faults::set(static_cast<Operation>(failing), {.answer = 1, .after = below(20)});
        }
    });
    start([&](const Below&) {
        std::ostringstream dump;
        module_.externalMessage("onuQosDump", "", &dump);
        expectSums(tables());
    });
    start([&](const Below& below) {
        if (below(20) == 0) {
            store_.save("", true);
            EXPECT_NO_THROW(oltmgrd::loadConfiguration(directory_.path("saved")));
        }
    });
    join();
    EXPECT_GT(standin::calls::count(Operation::onuQosServiceRemove), 10U) << "bindings came and went";
    EXPECT_GT(standin::alarms::snapshot().history.size(), 1U) << "ports were over-committed at times";

    module_.configurationApplyStop();
    standin::faults::clearAll();
    expectSums(tables());
    expectMirrorAgrees();
    expectAlarms();
    for (const std::string& line : logLines()) {
        EXPECT_EQ(line.find("Error obtaining"), std::string::npos) << line;
    }
}

TEST_F(StressTest, EverythingAtOnceLeavesTheTablesInAgreement) {
    SCOPED_TRACE("ONUQOS_SEED=" + std::to_string(seed_));
    run(false);
    expectAppliedSets();
}

TEST_F(StressTest, RefusedStepsLeaveSumsMirrorAndAlarmsInAgreement) {
    SCOPED_TRACE("ONUQOS_SEED=" + std::to_string(seed_));
    run(true);
}

}  // namespace
