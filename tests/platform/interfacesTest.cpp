#include "standin/interfaces.h"

#include <boost/bind/bind.hpp>
#include <functional>
#include <string>

#include "Features.h"
#include "Interfaces.h"
#include "Ports.h"
#include "onuEquipment.h"
#include "platformTest.h"
#include "standin/error.h"
#include "standin/features.h"

namespace {

class InterfacesTest : public PlatformTest {
protected:
    InterfacesTest() {
        auto inventory = smallOlt();
        inventory.ports.push_back({.interface = 3,
                                   .olt = 9,
                                   .technology = 77,
                                   .linkUp = false,
                                   .speed = dslSpeed_t{1999, 2000},
                                   .phyCapability = PhyCapability{5, 6}});
        inventory.onus.push_back({.interface = 301, .parent = 42, .slot = 1, .port = 8});
        inventory.others = {{.interface = 50, .type = 6, .slot = 2, .port = 4}};
        inventory.features = {{5, true}, {13, false}};
        standin::configure(inventory);
    }

    using PhyCapability = standin::PhyCapability;

    template <typename... Values>
    static std::string joined(Values... values) {
        std::string text;
        ((text += (text.empty() ? "" : "/") + std::to_string(values)), ...);
        return text;
    }

    /// Everything that can be asked of an interface; "-" where there is no answer.
    static std::string answers(unsigned int intf);
};

std::string InterfacesTest::answers(unsigned int intf) {
    const Interfaces& registry = singleton<Interfaces>::instance();
    Interfaces::interfaceType type{};
    Interfaces::pon_tech_t technology{};
    Interfaces::Interface parent;
    unsigned int olt = 0;
    Interfaces::slot_port_s slotPort;
    zqOMApiInterface_s handle;
    bool up = false;
    dslSpeed_t speed;
    int upstream = 0;
    int downstream = 0;
    const auto answer = [](int result, const auto& text) {
        return (result == 0 ? text() : "-") + std::string(" ");
    };
    return answer(registry.interfaceGetTypeById(intf, &type), [&] { return joined(type); }) +
           answer(registry.interfaceGetTypePonTechnologyById(intf, &type, &technology),
                  [&] { return joined(type, technology); }) +
           answer(registry.interfaceParentGet(intf, parent),
                  [&] { return joined(parent.intf, parent.type); }) +
           answer(registry.interfaceGetOltById(intf, olt), [&] { return joined(olt); }) +
           answer(registry.interfaceSlotPortIntfGet(intf, slotPort),
                  [&] { return joined(slotPort.slot, slotPort.port); }) +
           answer(registry.interfaceGetOMApiInterfaceById(intf, handle),
                  [&] { return joined(handle.slot, handle.port, handle.onu); }) +
           answer(registry.interfacePhyStateGet(intf, up), [&] { return joined(up); }) +
           answer(registry.interfaceAccessSpeedGet(intf, speed),
                  [&] { return joined(speed.upstream, speed.downstream); }) +
           answer(registry.interfaceEthPhyCapabilityGet(intf, upstream, downstream),
                  [&] { return joined(upstream, downstream); });
}

TEST_F(InterfacesTest, AnswerWhatTheInventorySays) {
    EXPECT_EQ(answers(1), "3 3/1 - 1 3/7 3/7/0 1 1244160/2488320 1244/2488 ");
    EXPECT_EQ(answers(2), "3 3/2 - 2 0/0 0/0/0 1 9953280/9953280 9953/9953 ");
    EXPECT_EQ(answers(3), "3 3/77 - 9 0/0 0/0/0 0 - 5/6 ");
    EXPECT_EQ(answers(102), "4 4/1 1/3 1 0/2 3/7/2 1 1244160/2488320 1244/2488 ");
    EXPECT_EQ(answers(301), "4 - - - 1/8 - 1 - - ");
    EXPECT_EQ(answers(50), "6 - - - 2/4 2/4/0 1 - - ");
    EXPECT_EQ(answers(4), "- - - - - - - - - ");
}

TEST_F(InterfacesTest, ListIsInOrderOfIndex) {
    std::vector<Interfaces::Interface> list(9);
    singleton<Interfaces>::instance().interfaceListGet(list);
    std::string text;
    for (const auto& interface : list) {
        text += joined(interface.intf, interface.type) + " ";
    }
    EXPECT_EQ(text, "1/3 2/3 3/3 50/6 101/4 102/4 201/4 301/4 ");
}

TEST_F(InterfacesTest, TypeOverrideChangesLookUpsOnly) {
    const std::string before = answers(101);
    standin::interfaces::overrideType(101, 3);
    EXPECT_EQ(answers(101), "3 3/1 1/3 1 0/1 3/7/1 1 1244160/2488320 1244/2488 ");
    standin::interfaces::overrideType(101, std::nullopt);
    EXPECT_EQ(answers(101), "- - 1/3 1 0/1 3/7/1 1 1244160/2488320 1244/2488 ");
    std::vector<Interfaces::Interface> list;
    singleton<Interfaces>::instance().interfaceListGet(list);
    EXPECT_EQ(list.at(4).type, Interfaces::interfaceTypeOnu);
    standin::interfaces::restoreType(101);
    EXPECT_EQ(answers(101), before);
    EXPECT_THROW(standin::interfaces::overrideType(4, 3), standin::Error);
}

TEST_F(InterfacesTest, PortsAreFoundByOltNumberLessOne) {
    OLTmanager& manager = singleton<Ports>::instance().getGponImpl();
    rpcOltPort config;
    ASSERT_NE(manager.getOltPort(8), nullptr);
    EXPECT_EQ(manager.getOltPort(2), nullptr);
    EXPECT_EQ(manager.getOltPort(0xFFFFFFFF), nullptr);
    EXPECT_EQ(manager.getOltPort(8)->getOMconfig(config), 0);
    EXPECT_EQ(config.minDistance, 0);
    EXPECT_EQ(config.maxDistance, 20);
    standin::ports::setDistances(3, 5, 55);
    EXPECT_EQ(manager.getOltPort(8)->getOMconfig(config), 0);
    EXPECT_EQ(config.minDistance, 5);
    EXPECT_EQ(config.maxDistance, 55);
    EXPECT_THROW(standin::ports::setDistances(101, 0, 20), standin::Error);

    OltPort* const port = manager.getOltPort(8);
    standin::configure({});
    EXPECT_NE(port->getOMconfig(config), 0);
    EXPECT_EQ(manager.getOltPort(8), nullptr);
}

TEST_F(InterfacesTest, LinkAndFeaturesCanBeSet) {
    standin::interfaces::setLinkUp(3, true);
    EXPECT_EQ(answers(3), "3 3/77 - 9 0/0 0/0/0 1 1999/2000 5/6 ");
    EXPECT_TRUE(isActive(5));
    EXPECT_FALSE(isActive(13));
    EXPECT_FALSE(isActive(15));
    standin::features::set(15, true);
    EXPECT_TRUE(isActive(15));
    EXPECT_EQ(standin::features::list(), (std::map<int, bool>{{5, true}, {13, false}, {15, true}}));
}

struct Listener {
    std::string heard;

    void onInterface(int intf, Interfaces::interfaceEvent_t event) {
        heard += std::to_string(intf) + "/" + std::to_string(event) + " ";
    }

    void onOnu(unsigned int intf, bool ready, bool other) {
        heard += std::to_string(intf) + (ready ? "+" : "-") + (other ? "+ " : "- ");
    }
};

TEST_F(InterfacesTest, EventsReachTheirHandlersAlsoForUnknownInterfaces) {
    Listener listener;
    auto& interfaceEvent = singleton<Interfaces>::instance().interfaceEvent();
    auto& onuEvent = singleton<onuEquipment>::instance().onuConfigEvent();
    const auto onInterface =
        boost::bind(&Listener::onInterface, &listener, boost::placeholders::_1, boost::placeholders::_2);
    const auto onOnu = boost::bind(&Listener::onOnu, &listener, boost::placeholders::_1,
                                   boost::placeholders::_2, boost::placeholders::_3);
    interfaceEvent.appendPost(onInterface);
    onuEvent.appendPost(onOnu);
    EXPECT_TRUE(standin::interfaces::raiseEvent(101, Interfaces::interfaceEventDown));
    EXPECT_TRUE(standin::interfaces::raiseEvent(4, 9));
    EXPECT_TRUE(standin::interfaces::raiseOnuConfigEvent(102, true, false));
    EXPECT_TRUE(standin::interfaces::raiseOnuConfigEvent(4, false, true));
    interfaceEvent.unsubscribePost(onInterface);
    onuEvent.unsubscribePost(onOnu);
    EXPECT_TRUE(standin::interfaces::raiseEvent(101, Interfaces::interfaceEventUp));
    EXPECT_EQ(listener.heard, "101/3 4/9 102+- 4-+ ");
}

struct BadInventory {
    const char* name;
    std::function<void(standin::Inventory&)> spoil;
    const char* problem;
};

const BadInventory kBadInventories[] = {
    {"InterfaceTwice", [](auto& inventory) { inventory.onus.push_back({.interface = 2, .parent = 1}); },
     "interface index 2 is used more than once"},
    {"OltNumberTwice", [](auto& inventory) { inventory.ports[0].olt = 2; },
     "OLT port number 2 is used by more than one PON port"},
    {"ServiceProfileTwice",
     [](auto& inventory) {
         inventory.serviceProfiles = {{"a", "", ""}, {"a", "", ""}};
     },
     "service profile \"a\" exists already"},
};

class BadInventoryTest : public InterfacesTest, public testing::WithParamInterface<BadInventory> {};

TEST_P(BadInventoryTest, IsRefusedWhole) {
    const std::string before = answers(3);
    auto inventory = smallOlt();
    GetParam().spoil(inventory);
    try {
        standin::configure(inventory);
        ADD_FAILURE() << "accepted";
    } catch (const standin::Error& error) {
        EXPECT_STREQ(error.what(), GetParam().problem);
    }
    EXPECT_EQ(answers(3), before);
}

INSTANTIATE_TEST_SUITE_P(Interfaces, BadInventoryTest, testing::ValuesIn(kBadInventories),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

}  // namespace
