#include <netinet/in.h>
#include <pthread.h>

#include <chrono>

#include "moduleTest.h"
#include "rpc/portmapper.h"
#include "standin/threads.h"

using portmapper::Call;

/// Starts and stops of the one module of the process. Its records outlive a stop, so each test, and each
/// start that is to succeed, has interfaces of its own.
class Lifecycle : public testing::Test {
protected:
    Lifecycle() { newInterfaces(); }

    ~Lifecycle() override {
        standin::faults::clearAll();
        module_.stop();
    }

    /// In the order of the interface list: an ONU, the port that it belongs to, another ONU, something else.
    void newInterfaces() {
        static unsigned int used = 0;
        base_ = used += 100;
        standin::Inventory platform;
        platform.ports = {{.interface = port(), .olt = port()}};
        platform.onus = {{.interface = onu(1), .parent = port(), .port = 1},
                         {.interface = onu(2), .parent = port(), .port = 2}};
        platform.others = {{.interface = base_ + 40, .type = 7}};
        platform.features = {{5, true}};
        standin::configure(platform);
    }

    unsigned int onu(unsigned int number) const { return base_ + 20 * number - 10; }
    unsigned int port() const { return base_ + 20; }

    /// The interfaces of this test that have records.
    std::vector<unsigned int> known() const {
        onuQosTables tables;
        EXPECT_EQ(module_.onuQosTablesGet(tables), onuQosResOk);
        std::vector<unsigned int> interfaces;
        for (unsigned int intf = base_; intf < base_ + 100; ++intf) {
            const bool isOnu = tables.onuQosOnuCacMap.contains(intf);
            const bool isPort = tables.onuQosOltCacMap.contains(intf);
            EXPECT_EQ(tables.onuQosServiceIntfMap.contains(intf), isOnu);
            EXPECT_EQ(tables.onuQosOltCacAlarmMap.contains(intf), isPort);
            if (isOnu || isPort) {
                interfaces.push_back(intf);
            }
        }
        return interfaces;
    }

    /// How often each of the five events of the platform reaches the module: "11111".
    std::string reactions() {
        const auto onuEvents = [] { return standin::hardware::snapshot().onuEvents.size(); };
        bool applying = false;
        standin::manager::raiseConfigurationApplyStart();
        module_.tContProfileConsApplyStateGet(&applying);
        std::string reached = applying ? "1" : "0";
        module_.configurationApplyStart();
        standin::manager::raiseConfigurationApplyStop(3);
        module_.tContProfileConsApplyStateGet(&applying);
        reached += applying ? "0" : "1";
        module_.configurationApplyStop();
        std::size_t before = onuEvents();
        standin::interfaces::raiseOnuConfigEvent(onu(1), true, false);
        reached += std::to_string(onuEvents() - before);
        before = onuEvents();
        standin::interfaces::raiseEvent(onu(1), Interfaces::interfaceEventUp);
        reached += std::to_string(onuEvents() - before);
        standin::manager::sendExternalMessage("onuQosOMApiDebug", "1");
        reached += standin::hardware::snapshot().debug ? "1" : "0";
        standin::manager::sendExternalMessage("onuQosOMApiDebug", "0");
        log_.clear();
        return reached;
    }

    onuQos& module_ = singleton<onuQos>::instance();
    standin::LogCapture log_;
    unsigned int base_ = 0;
};

TEST_F(Lifecycle, loadingRegistersTheEntity) {
    const auto entities = standin::manager::entities();
    EXPECT_EQ(std::ranges::count(entities, standin::Entity{"onuqos", standin::EntityState::registered}), 1);
    EXPECT_EQ(reactions(), "00000");
    EXPECT_FALSE(module_.tContProfileIsRateConfigurable(tContType5, tContRateFixed)) << "filled by the start";
    EXPECT_EQ(standin::manager::dependencyOrder().back(), "onuqos");
}

TEST_F(Lifecycle, startMakesTheRecordsServesAndListens) {
    portmapper::calls.clear();
    ASSERT_TRUE(module_.start());
    EXPECT_THAT(known(), ElementsAre(onu(1), port(), onu(2)));
    EXPECT_TRUE(module_.tContProfileIsRateConfigurable(tContType5, tContRateFixed));
    EXPECT_EQ(reactions(), "11111");
    ASSERT_TRUE(standin::threads::awaitEnd("onuqos_mng", std::chrono::seconds(30)));
    const unsigned long program = 0x20000026;
    EXPECT_THAT(portmapper::calls,
                ElementsAre(Call{"unset", program, 1, 0, 0},
                            Call{"set", program, 1, IPPROTO_UDP, portmapper::portOf(IPPROTO_UDP)},
                            Call{"set", program, 1, IPPROTO_TCP, portmapper::portOf(IPPROTO_TCP)}));

    EXPECT_FALSE(module_.start()) << "the proxy's thread has ended and is not joined";
    EXPECT_EQ(reactions(), "11111") << "subscribed once";

    EXPECT_TRUE(module_.stop());
    EXPECT_EQ(reactions(), "00000");
    EXPECT_THAT(known(), ElementsAre(onu(1), port(), onu(2)));
    EXPECT_TRUE(module_.stop());

    EXPECT_FALSE(module_.start()) << "interfaces that have records already cannot be initialised again";
}

TEST_F(Lifecycle, startWithoutAThreadDoesNothing) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_getattr_default_np(&attributes), 0);
    std::size_t stack = 0;
    pthread_attr_getstacksize(&attributes, &stack);
    pthread_attr_setstacksize(&attributes, std::size_t{1} << 50);  // more than there are addresses
    ASSERT_EQ(pthread_setattr_default_np(&attributes), 0);
    EXPECT_FALSE(module_.start());
    pthread_attr_setstacksize(&attributes, stack);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(reactions(), "00000");
    EXPECT_THAT(known(), IsEmpty());
}

// Every platform call of a start, refused in turn; without the ONU equipment its event has no handler. The
// initialisation of an interface begins with its lock.
TEST_F(Lifecycle, aRefusedInitialisationEndsTheStart) {
    using enum standin::Operation;
    standin::calls::traceStart();
    EXPECT_TRUE(module_.start());
    const auto calls = standin::calls::traceStop();
    EXPECT_TRUE(module_.stop());
    std::map<standin::Operation, std::uint64_t> occurrences;
    for (const auto& [call, arguments] : calls) {
        if (call == registerThread) {
            continue;  // by the thread of the proxy, before or after the trace ended
        }
        const std::uint64_t occurrence = occurrences[call]++;
        SCOPED_TRACE(std::string(name(call)) + " no. " + std::to_string(occurrence + 1));
        newInterfaces();
        log_.clear();
        standin::faults::set(call, {.answer = call == isActive ? 0 : 1, .times = 1, .after = occurrence});
        const bool goesOn = call == interfaceListGet || call == isActive;
        EXPECT_EQ(module_.start(), goesOn);
        EXPECT_TRUE(standin::faults::list().empty()) << "the call was not made";
        const std::vector<unsigned int> all{onu(1), port(), onu(2)};
        const std::size_t initialised = call == isActive ? 3 : std::max(occurrences[exclusiveLock], 1UL) - 1;
        EXPECT_EQ(known(), std::vector(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(initialised)));
        const Lines lines = logLines(log_);
        EXPECT_EQ(lines.empty(), goesOn);
        if (!lines.empty()) {
            EXPECT_EQ(lines.back(),
                      refusalLine("start", std::string(initialised == 1 ? "onuQosOltIntfInit()"
                                                                        : "onuQosOnuIntfInit()") +
                                               " failed for intf: " + std::to_string(all.at(initialised))));
        }
        EXPECT_EQ(reactions(), call == isActive ? "11011" : "11111");
        EXPECT_TRUE(module_.stop());
        EXPECT_EQ(reactions(), "00000");
    }
    EXPECT_EQ(occurrences[exclusiveLock], 3U);
    EXPECT_EQ(occurrences[getAvailableBandwith], 1U);
}
