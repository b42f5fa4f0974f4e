#include "standin/interfaces.h"

#include <string>

#include "Features.h"
#include "Interfaces.h"
#include "platformTest.h"
#include "standin/features.h"

namespace {

template <typename... Values>
std::string joined(Values... values) {
    std::string text;
    ((text += (text.empty() ? "" : "/") + std::to_string(values)), ...);
    return text;
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
    standin::interfaces::overrideType(50, 9);
    EXPECT_EQ(answers(50), "9 - - - 2/4 2/4/0 1 - - ");
    standin::interfaces::overrideType(50, std::nullopt);
    EXPECT_EQ(answers(50), "- - - - 2/4 2/4/0 1 - - ");
    standin::interfaces::setLinkUp(3, true);
    EXPECT_EQ(answers(3), "3 3/77 - 9 0/0 0/0/0 1 1999/2000 5/6 ");
    EXPECT_TRUE(isActive(5) && !isActive(13) && !isActive(15));
    standin::features::set(15, true);
    EXPECT_TRUE(isActive(15));
}

}  // namespace
