#include "standin/interfaces.h"

#include <string>

#include "Features.h"
#include "Interfaces.h"
#include "Ports.h"
#include "platformTest.h"
#include "servprofile.h"
#include "standin/error.h"
#include "standin/features.h"
#include "standin/serviceProfiles.h"

namespace {

template <typename... Values>
std::string joined(Values... values) {
    std::string text;
    ((text += (text.empty() ? "" : "/") + std::to_string(values)), ...);
    return text;
}

/// The message of the `Error` that `work` throws; "" if it throws none.
template <typename Work>
std::string errorOf(Work work) {
    try {
        work();
        return "";
    } catch (const standin::Error& error) {
        return error.what();
    }
}

class InterfacesTest : public PlatformTest {
protected:
    InterfacesTest() {
        auto inventory = smallOlt();
        inventory.ports.push_back({.interface = 3,
                                   .olt = 9,
                                   .technology = 77,
                                   .linkUp = false,
                                   .speed = dslSpeed_t{1999, 2000},
                                   .phyCapability = standin::PhyCapability{5, 6}});
        inventory.onus.push_back({.interface = 301, .parent = 42, .slot = 1, .port = 8});
        inventory.others = {{.interface = 50, .type = 6, .slot = 2, .port = 4}};
        inventory.features = {{5, true}, {13, false}};
        standin::configure(inventory);
    }

    /// Everything that can be asked of an interface; "-" where there is no answer.
    static std::string answers(unsigned int intf) {
        const Interfaces& registry = singleton<Interfaces>::instance();
        Interfaces::interfaceType type{};
        Interfaces::pon_tech_t technology{};
        Interfaces::Interface parent;
        unsigned int olt = 0;
        Interfaces::slot_port_s slotPort;
        zqOMApiInterface_s handle;
        bool up = false;
        dslSpeed_t speed;
        int upstream = 0, downstream = 0;
        std::string text;
        const auto add = [&text](int result, const auto&... values) {
            text += (result == 0 ? joined(values...) : "-") + " ";
        };
        add(registry.interfaceGetTypeById(intf, &type), type);
        add(registry.interfaceGetTypePonTechnologyById(intf, &type, &technology), type, technology);
        add(registry.interfaceParentGet(intf, parent), parent.intf, parent.type);
        add(registry.interfaceGetOltById(intf, olt), olt);
        add(registry.interfaceSlotPortIntfGet(intf, slotPort), slotPort.slot, slotPort.port);
        add(registry.interfaceGetOMApiInterfaceById(intf, handle), handle.slot, handle.port, handle.onu);
        add(registry.interfacePhyStateGet(intf, up), up);
        add(registry.interfaceAccessSpeedGet(intf, speed), speed.upstream, speed.downstream);
        add(registry.interfaceEthPhyCapabilityGet(intf, upstream, downstream), upstream, downstream);
        return text;
    }

    static std::string list() {
        std::vector<Interfaces::Interface> list(9);
        singleton<Interfaces>::instance().interfaceListGet(list);
        std::string text;
        for (const auto& interface : list) {
            text += joined(interface.intf, interface.type) + " ";
        }
        return text;
    }
};

TEST_F(InterfacesTest, AnswerWhatTheInventorySays) {
    EXPECT_EQ(list(), "1/3 2/3 3/3 50/6 101/4 102/4 201/4 301/4 ");
    EXPECT_EQ(answers(1), "3 3/1 - 1 3/7 3/7/0 1 1244160/2488320 1244/2488 ");
    EXPECT_EQ(answers(2), "3 3/2 - 2 0/0 0/0/0 1 9953280/9953280 9953/9953 ");
    EXPECT_EQ(answers(3), "3 3/77 - 9 0/0 0/0/0 0 - 5/6 ");
    EXPECT_EQ(answers(102), "4 4/1 1/3 1 0/2 3/7/2 1 1244160/2488320 1244/2488 ");
    EXPECT_EQ(answers(301), "4 - - - 1/8 - 1 - - ");
    EXPECT_EQ(answers(50), "6 - - - 2/4 2/4/0 1 - - ");
    EXPECT_EQ(answers(4), "- - - - - - - - - ");
    standin::interfaces::setLinkUp(3, true);
    EXPECT_EQ(answers(3), "3 3/77 - 9 0/0 0/0/0 1 1999/2000 5/6 ");
    EXPECT_TRUE(isActive(5) && !isActive(13) && !isActive(15));
    standin::features::set(15, true);
    EXPECT_TRUE(isActive(15));
}

TEST_F(InterfacesTest, TypeOverrideChangesLookUpsOnly) {
    const std::string before = answers(101), listBefore = list();
    standin::interfaces::overrideType(101, 3);
    EXPECT_EQ(answers(101), "3 3/1 1/3 1 0/1 3/7/1 1 1244160/2488320 1244/2488 ");
    standin::interfaces::overrideType(101, std::nullopt);
    EXPECT_EQ(answers(101), "- - 1/3 1 0/1 3/7/1 1 1244160/2488320 1244/2488 ");
    EXPECT_EQ(list(), listBefore);
    standin::interfaces::restoreType(101);
    EXPECT_EQ(answers(101), before);
    EXPECT_THROW(standin::interfaces::overrideType(4, 3), standin::Error);
}

TEST_F(InterfacesTest, PortsAreFoundByOltNumberLessOne) {
    OLTmanager& manager = singleton<Ports>::instance().getGponImpl();
    rpcOltPort config;
    OltPort* const port = manager.getOltPort(8);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(manager.getOltPort(2), nullptr);
    EXPECT_EQ(manager.getOltPort(0xFFFFFFFF), nullptr);
    EXPECT_EQ(port->getOMconfig(config), 0);
    EXPECT_EQ(joined(config.minDistance, config.maxDistance), "0/20");
    standin::ports::setDistances(3, 5, 55);
    EXPECT_EQ(port->getOMconfig(config), 0);
    EXPECT_EQ(joined(config.minDistance, config.maxDistance), "5/55");
    EXPECT_THROW(standin::ports::setDistances(101, 0, 20), standin::Error);
    standin::configure({});
    EXPECT_NE(port->getOMconfig(config), 0) << "the object stays, the port does not";
    EXPECT_EQ(manager.getOltPort(8), nullptr);
}

TEST_F(InterfacesTest, ABadInventoryIsRefusedWhole) {
    const std::string before = answers(3);
    const auto problem = [](auto spoil) {
        auto inventory = smallOlt();
        spoil(inventory);
        return errorOf([&] { standin::configure(inventory); });
    };
    EXPECT_EQ(problem([](auto& inventory) { inventory.onus.push_back({.interface = 2, .parent = 1}); }),
              "interface index 2 is used more than once");
    EXPECT_EQ(problem([](auto& inventory) { inventory.ports[0].olt = 2; }),
              "OLT port number 2 is used by more than one PON port");
    EXPECT_EQ(problem([](auto& inventory) {
                  inventory.serviceProfiles = {{"a", "", ""}, {"a", "", ""}};
              }),
              "service profile \"a\" exists already");
    EXPECT_EQ(answers(3), before);
}

TEST(ServiceProfiles, AreShownInOrderUntilOneMatchesAndMayChangeMeanwhile) {
    standin::reset();
    standin::serviceProfiles::add({"internet", "gold", "hsi"});
    standin::serviceProfiles::add({"empty", "", ""});
    standin::serviceProfiles::add({"iptv", "silver", "multicast"});
    const auto shownUntil = [](const std::string& name) {
        std::string shown;
        const bool found = singleton<servprofile>::instance().serviceProfileFind([&](const auto& profile) {
            shown +=
                std::string(profile.name) + ":" + profile.tContProfile + ":" + profile.onuFlowProfile + " ";
            if (name == "none and all removed") {
                standin::serviceProfiles::remove(profile.name);
            }
            return profile.name == name;
        });
        return shown + (found ? "found" : "none");
    };
    EXPECT_EQ(shownUntil("empty"), "internet:gold:hsi empty:: found");
    EXPECT_EQ(shownUntil("none and all removed"), "internet:gold:hsi empty:: iptv:silver:multicast none");
    EXPECT_TRUE(standin::serviceProfiles::list().empty());
    EXPECT_THROW(standin::serviceProfiles::remove("internet"), standin::Error);
}

TEST(ServiceProfiles, TextsFitOrAreRefused) {
    using std::string_literals::operator""s;
    standin::reset();
    const std::pair<standin::ServiceProfile, const char*> rows[] = {
        {{std::string(64, 'n'), std::string(64, 't'), std::string(64, 'f')}, ""},
        {{"", "t", "f"}, "a service profile has an empty name"},
        {{std::string(65, 'n'), "", ""},
         "the name of a service profile has 65 bytes: at most 64 are possible"},
        {{"a\0b"s, "", ""}, "the name of a service profile contains a NUL byte"},
        {{"n", std::string(65, 't'), ""},
         "the T-CONT profile name of service profile \"n\" has 65 bytes: at most 64 are possible"},
        {{"n", "", "\0"s}, "the flow profile name of service profile \"n\" contains a NUL byte"}};
    for (const auto& row : rows) {
        EXPECT_EQ(errorOf([&] { standin::serviceProfiles::add(row.first); }), row.second);
    }
    EXPECT_EQ(standin::serviceProfiles::list(), std::vector{rows[0].first});
}

}  // namespace
