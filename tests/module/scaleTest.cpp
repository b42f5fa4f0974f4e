#include "moduleTest.h"

namespace {

using standin::Operation;

class ScaleTest : public ModuleTest {
protected:
    static constexpr unsigned int kPorts = 16, kOnusPerPort = 128, kServices = 8;

    /// A full OLT, of which the fixture's ONUs are a part.
    static standin::Inventory fullOlt() {
        standin::Inventory platform = inventory();
        for (unsigned int port = 1; port <= kPorts; ++port) {
            if (port > 2) {
                platform.ports.push_back({.interface = port, .port = port, .technology = kTenG ? 2 : 1});
            }
            for (unsigned int onu = port <= 2 ? 4 : 1; onu <= kOnusPerPort; ++onu) {
                platform.onus.push_back({.interface = 1000 * port + onu, .parent = port, .port = onu});
            }
        }
        return platform;
    }

    /// How many platform calls `change` makes: of look-ups of a parent, and of all but the locks.
    template <typename Change>
    static std::pair<std::uint64_t, std::uint64_t> cost(Change change) {
        const auto before = standin::calls::counts();
        change();
        auto made = standin::calls::counts();
        std::uint64_t all = 0;
        for (std::size_t i = 0; i < made.size(); ++i) {
            made[i] -= before[i];
            all += Operation(i) == Operation::exclusiveLock || Operation(i) == Operation::sharedLock
                       ? 0
                       : made[i];
        }
        return {made[static_cast<std::size_t>(Operation::interfaceParentGet)], all};
    }
};

}  // namespace

TEST_F(ScaleTest, aFullOltAsksThePlatformInProportionToItsSize) {
    const standin::Inventory platform = fullOlt();
    const auto onus = platform.onus.size();
    ASSERT_EQ(onus, kPorts * kOnusPerPort);
    startAgain(platform);
    EXPECT_LE(cost([&] { module_.configurationApplyStop(); }).second, 10 * kPorts);
    for (unsigned int i = 0; i < kServices; ++i) {
        makeFlow("f" + std::to_string(i));
        makeTCont("t" + std::to_string(i), tContType5, 1 + i % 6);
    }
    std::pair<std::uint64_t, std::uint64_t> last;
    std::uint64_t bindParents = 0, removeParents = 0;
    for (const auto& onu : platform.onus) {
        last = cost([&] {
            for (unsigned int i = 0; i < kServices; ++i) {
                const std::string digit = std::to_string(i);
                ASSERT_EQ(bind(onu.interface, "s" + digit, "f" + digit, "t" + std::to_string(i % 6), i),
                          onuQosResOk);
            }
        });
        bindParents += last.first;
    }
    EXPECT_LE(bindParents, 6 * kServices * onus + onus + kPorts);
    EXPECT_LE(last.first, 6 * kServices) << "the last ONU takes no more questions than any other";
    EXPECT_LE(last.second, 30 * kServices);
    EXPECT_LE(cost([&] { module_.configurationApplyStop(); }).second, 10 * kPorts);
    for (const auto& onu : platform.onus) {
        removeParents +=
            cost([&] {
                for (unsigned int i = 0; i < kServices; ++i) {
                    ASSERT_EQ(module_.onuQosServiceRemove(onu.interface, "s" + std::to_string(i)),
                              onuQosResOk);
                }
            }).first;
    }
    EXPECT_LE(removeParents, 4 * kServices * onus);
    EXPECT_EQ(tables().onuQosOltCacMap.at(16), onuQosOltCacInfo{});
    EXPECT_THAT(standin::hardware::snapshot().bindings, IsEmpty());
}
