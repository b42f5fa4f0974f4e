#include <gtest/gtest.h>

#include "moduleTest.h"

namespace {

using enum onuQos::onuQosRes;
using standin::Operation;

class ScaleTest : public ModuleTest {
protected:
    static constexpr unsigned int kPorts = 16;
    static constexpr unsigned int kOnusPerPort = 128;
    static constexpr unsigned int kServices = 8;

    /// A full OLT, of which the fixture's ONUs are a part.
    static standin::Inventory fullOlt() {
        standin::Inventory platform = inventory();
        for (unsigned int port = 3; port <= kPorts; ++port) {
            platform.ports.push_back(
                {.interface = port, .port = port, .technology = platform.ports[0].technology});
        }
        for (unsigned int port = 1; port <= kPorts; ++port) {
            for (unsigned int onu = port <= 2 ? 4 : 1; onu <= kOnusPerPort; ++onu) {
                platform.onus.push_back({.interface = 1000 * port + onu, .parent = port, .port = onu});
            }
        }
        return platform;
    }

    /// How many platform calls `change` makes: of `operation`, and of all but the locks.
    template <typename Change>
    static std::pair<std::uint64_t, std::uint64_t> cost(Operation operation, Change change) {
        const auto before = standin::calls::counts();
        change();
        const auto after = standin::calls::counts();
        std::uint64_t all = 0;
        for (std::size_t i = 0; i < after.size(); ++i) {
            const auto each = Operation(i);
            all +=
                each == Operation::exclusiveLock || each == Operation::sharedLock ? 0 : after[i] - before[i];
        }
        const auto at = static_cast<std::size_t>(operation);
        return {after[at] - before[at], all};
    }
};

}  // namespace

TEST_F(ScaleTest, aFullOltAsksThePlatformInProportionToItsSize) {
    const standin::Inventory platform = fullOlt();
    const auto interfaces = platform.ports.size() + platform.onus.size();
    ASSERT_EQ(platform.onus.size(), kPorts * kOnusPerPort);
    startAgain(platform);
    EXPECT_LE(cost(Operation::interfaceGetTypeById, [&] { module_.configurationApplyStop(); }).second,
              10 * kPorts);
    for (unsigned int i = 0; i < kServices; ++i) {
        makeFlow("f" + std::to_string(i));
        makeTCont("t" + std::to_string(i), tContType5, 1 + i % 6);
    }
    const auto bindAll = [this](unsigned int onu) {
        for (unsigned int i = 0; i < kServices; ++i) {
            const std::string digit = std::to_string(i);
            ASSERT_EQ(bind(onu, "s" + digit, "f" + digit, "t" + std::to_string(i % 6), i), onuQosResOk);
        }
    };
    const auto removeAll = [this](unsigned int onu) {
        for (unsigned int i = 0; i < kServices; ++i) {
            ASSERT_EQ(module_.onuQosServiceRemove(onu, "s" + std::to_string(i)), onuQosResOk);
        }
    };
    constexpr Operation kParents = Operation::interfaceParentGet;
    std::uint64_t parents = 0;
    std::pair<std::uint64_t, std::uint64_t> last;
    for (const auto& onu : platform.onus) {
        last = cost(kParents, [&] { bindAll(onu.interface); });
        parents += last.first;
    }
    EXPECT_LE(parents, 6 * kServices * platform.onus.size() + interfaces);
    EXPECT_LE(last.first, 6 * kServices) << "the last ONU takes no more questions than any other";
    EXPECT_LE(last.second, 30 * kServices);

    const auto state = cost(kParents, [&] { module_.configurationApplyStop(); });
    EXPECT_LE(state.second, 10 * kPorts);
    parents = 0;
    for (const auto& onu : platform.onus) {
        parents += cost(kParents, [&] { removeAll(onu.interface); }).first;
    }
    EXPECT_LE(parents, 4 * kServices * platform.onus.size());
    EXPECT_EQ(tables().onuQosOltCacMap.at(16), onuQosOltCacInfo{});
    EXPECT_TRUE(standin::hardware::snapshot().bindings.empty());
}
