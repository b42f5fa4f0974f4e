#include <gmock/gmock.h>
#include <netinet/in.h>
#include <pthread.h>

#include <chrono>

#include "moduleTest.h"
#include "rpc/portmapper.h"
#include "standin/threads.h"

using portmapper::Call;
using testing::ElementsAre;
using testing::IsEmpty;

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
    void newInterfaces(bool onuEquipment = true) {
        static unsigned int used = 0;
        base_ = used += 100;
        standin::Inventory platform;
        platform.ports = {{.interface = port(), .olt = port()}};
        platform.onus = {{.interface = onu(1), .parent = port(), .port = 1},
                         {.interface = onu(2), .parent = port(), .port = 2}};
        platform.others = {{.interface = base_ + 40, .type = 7}};
        platform.features = {{5, onuEquipment}};
        standin::configure(platform);
    }

    unsigned int onu(unsigned int number) const { return base_ + 20 * number - 10; }
    unsigned int port() const { return base_ + 20; }

    /// The interfaces of this test that have records.
    std::vector<unsigned int> known() const {
        onuQosTables tables;
        EXPECT_EQ(module_.onuQosTablesGet(tables), onuQos::onuQosResOk);
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

    /// How often each of the five events of the platform reaches the module.
    std::vector<std::size_t> reactions() {
        const auto onuEvents = [] { return standin::hardware::snapshot().onuEvents.size(); };
        bool applying = false;
        std::vector<std::size_t> reached;
        standin::manager::raiseConfigurationApplyStart();
        module_.tContProfileConsApplyStateGet(&applying);
        reached.push_back(applying ? 1 : 0);
        module_.configurationApplyStart();
        standin::manager::raiseConfigurationApplyStop(3);
        module_.tContProfileConsApplyStateGet(&applying);
        reached.push_back(applying ? 0 : 1);
        module_.configurationApplyStop();
        std::size_t before = onuEvents();
        standin::interfaces::raiseOnuConfigEvent(onu(1), true, false);
        reached.push_back(onuEvents() - before);
        before = onuEvents();
        standin::interfaces::raiseEvent(onu(1), Interfaces::interfaceEventUp);
        reached.push_back(onuEvents() - before);
        standin::manager::sendExternalMessage("onuQosOMApiDebug", "1");
        reached.push_back(standin::hardware::snapshot().debug ? 1 : 0);
        standin::manager::sendExternalMessage("onuQosOMApiDebug", "0");
        log_.clear();
        return reached;
    }

    onuQos& module_ = singleton<onuQos>::instance();
    standin::LogCapture log_;
    unsigned int base_ = 0;
};

TEST_F(Lifecycle, loadingRegistersTheEntity) {
    std::vector<standin::Entity> mine;
    for (const auto& entity : standin::manager::entities()) {
        if (entity.name == "onuqos") {
            mine.push_back(entity);
        }
    }
    EXPECT_THAT(mine, ElementsAre(standin::Entity{"onuqos", standin::EntityState::registered}));
    EXPECT_EQ(module_.entityName(), "onuqos");
    std::list<std::string> names{"left over"};
    module_.getDependencies(names);
    EXPECT_THAT(names, ElementsAre("interfaces", "zqbridge", "servprofile", "ports"));
    EXPECT_THAT(reactions(), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_FALSE(module_.tContProfileIsRateConfigurable(tContType5, tContRateFixed)) << "filled by the start";
    EXPECT_EQ(standin::manager::dependencyOrder().back(), "onuqos");
}

TEST_F(Lifecycle, startMakesTheRecordsServesAndListens) {
    portmapper::clear();
    ASSERT_TRUE(module_.start());
    EXPECT_THAT(known(), ElementsAre(onu(1), port(), onu(2)));
    EXPECT_TRUE(module_.tContProfileIsRateConfigurable(tContType5, tContRateFixed));
    EXPECT_THAT(reactions(), ElementsAre(1, 1, 1, 1, 1));
    ASSERT_TRUE(standin::threads::awaitEnd("onuqos_mng", std::chrono::seconds(30)));
    const unsigned long program = 0x20000026;
    EXPECT_THAT(portmapper::calls(),
                ElementsAre(Call{"unset", program, 1, 0, 0},
                            Call{"set", program, 1, IPPROTO_UDP, portmapper::portOf(IPPROTO_UDP)},
                            Call{"set", program, 1, IPPROTO_TCP, portmapper::portOf(IPPROTO_TCP)}));

    EXPECT_FALSE(module_.start()) << "the proxy's thread has ended and is not joined";
    EXPECT_THAT(reactions(), ElementsAre(1, 1, 1, 1, 1)) << "subscribed once";
    EXPECT_EQ(portmapper::calls().size(), 3U);

    EXPECT_TRUE(module_.stop());
    EXPECT_THAT(reactions(), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_THAT(known(), ElementsAre(onu(1), port(), onu(2)));
    EXPECT_TRUE(module_.stop());

    // Interfaces that have records already cannot be initialised again.
    EXPECT_FALSE(module_.start());
    EXPECT_THAT(logLines(log_),
                ElementsAre(errorLine("onuQosOnuIntfInit",
                                      "ONUQOS ERROR - onuQosServiceIntfMap.find() failed for intf: " +
                                          std::to_string(onu(1))),
                            errorLine("start", "ONUQOS ERROR - onuQosOnuIntfInit() failed for intf: " +
                                                   std::to_string(onu(1)))));
}

TEST_F(Lifecycle, withoutOnuEquipmentItsEventIsLeftAlone) {
    newInterfaces(false);
    ASSERT_TRUE(module_.start());
    EXPECT_THAT(reactions(), ElementsAre(1, 1, 0, 1, 1));
    EXPECT_TRUE(module_.stop());
    EXPECT_THAT(reactions(), ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(Lifecycle, startWithoutInterfacesSucceeds) {
    standin::configure({});
    EXPECT_TRUE(module_.start());
    EXPECT_THAT(known(), IsEmpty());
    EXPECT_TRUE(module_.tContProfileIsRateConfigurable(tContType5, tContRateFixed));
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
    EXPECT_THAT(reactions(), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_THAT(known(), IsEmpty());
}

// Every platform call of a start, refused in turn.
TEST_F(Lifecycle, aRefusedInitialisationEndsTheStart) {
    struct Row {
        standin::Operation call;
        std::size_t initialised;  ///< interfaces, of the three; all when the start goes on
    };
    const auto isOfThread = [](const standin::Call& call) {
        return call.operation == standin::Operation::registerThread;
    };
    standin::calls::traceStart();
    ASSERT_TRUE(module_.start());
    module_.stop();
    std::vector<standin::Call> calls = standin::calls::traceStop();
    std::erase_if(calls, isOfThread);
    ASSERT_EQ(calls.back().operation, standin::Operation::isActive) << "of the stop";
    calls.pop_back();

    using enum standin::Operation;
    const std::vector<Row> rows = {
        {interfaceListGet, 0},     {isActive, 3},
        {exclusiveLock, 0},        {interfaceGetTypeById, 0},
        {addOnuIntf, 0},           {exclusiveLock, 1},
        {interfaceGetTypeById, 1}, {interfaceGetTypeById, 1},
        {getGponImpl, 1},          {interfaceGetOltById, 1},
        {getOltPort, 1},           {getAvailableBandwith, 1},
        {exclusiveLock, 2},        {interfaceGetTypeById, 2},
        {addOnuIntf, 2},
    };
    ASSERT_EQ(calls.size(), rows.size());
    std::map<standin::Operation, std::uint64_t> occurrences;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE("call " + std::to_string(i) + ", " + std::string(name(calls[i].operation)));
        ASSERT_EQ(calls[i].operation, rows[i].call);
        newInterfaces();
        log_.clear();
        const std::uint64_t occurrence = occurrences[rows[i].call]++;
        const int answer = rows[i].call == isActive ? 0 : 1;
        standin::faults::set(rows[i].call, {.answer = answer, .times = 1, .after = occurrence});
        const bool goesOn = rows[i].call == interfaceListGet || rows[i].call == isActive;
        EXPECT_EQ(module_.start(), goesOn);
        const auto lines = logLines(log_);
        const std::vector<unsigned int> all{onu(1), port(), onu(2)};
        EXPECT_EQ(known(),
                  std::vector(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(rows[i].initialised)));
        if (goesOn) {
            EXPECT_THAT(lines, IsEmpty());
        } else {
            const std::string which =
                rows[i].initialised == 1 ? "onuQosOltIntfInit()" : "onuQosOnuIntfInit()";
            ASSERT_FALSE(lines.empty());
            EXPECT_EQ(lines.back(), errorLine("start", "ONUQOS ERROR - " + which + " failed for intf: " +
                                                           std::to_string(all.at(rows[i].initialised))));
        }
        EXPECT_THAT(reactions(), ElementsAre(1, 1, rows[i].call == isActive ? 0 : 1, 1, 1));
        EXPECT_TRUE(module_.stop());
        EXPECT_THAT(reactions(), ElementsAre(0, 0, 0, 0, 0));
    }
}
