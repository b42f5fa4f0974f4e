#include "standin/hardware.h"

#include <sstream>
#include <string>

#include "Ports.h"
#include "onuQosOMApi.h"
#include "platformTest.h"
#include "standin/error.h"
#include "standin/interfaces.h"

namespace {

using TContInfo = onuQosOMApi::onuQosOMApiTContProfileInfo;

class HardwareTest : public PlatformTest {
protected:
    HardwareTest() { standin::configure(smallOlt()); }

    int apply(unsigned int interface, const std::string& tContProfile, unsigned int virtualPort,
              unsigned int tContId) {
        return api_.onuQosServiceApply({1, 2, 3}, interface, "flow-" + tContProfile, "flow", tContProfile,
                                       virtualPort, tContId, onuQosOMApi::onuQosOMApiUniType6, 9);
    }

    int remove(unsigned int interface, const std::string& tContProfile, unsigned int virtualPort) {
        return api_.onuQosServiceRemove({}, interface, "flow-" + tContProfile, virtualPort);
    }

    onuQosOMApi api_;
};

const TContInfo kGiven{.name = "gold",
                       .tContId = 1,
                       .tContType = 2,
                       .fixedRate = 3,
                       .assuredRate = 4,
                       .maximumRate = 5,
                       .dbaAllocType = 6,
                       .dbaWeight = 7,
                       .dbaPriority = 8};
const TContInfo kPushed{.name = "ignored",
                        .tContId = 11,
                        .tContType = 12,
                        .fixedRate = 13,
                        .assuredRate = 14,
                        .maximumRate = 15,
                        .dbaAllocType = 16,
                        .dbaWeight = 17,
                        .dbaPriority = 18};

struct TContCase {
    const char* name;
    int selector;
    standin::TContProfile left;
};

const TContCase kTContCases[] = {
    {"Id", 1, {"gold", 11, 2, 3, 4, 5, 6, 7, 8, 1}},
    {"Rates", 6, {"gold", 1, 2, 13, 14, 15, 6, 7, 8, 1}},
    {"Weight", 8, {"gold", 1, 2, 3, 4, 5, 6, 17, 8, 1}},
    {"Priority", 9, {"gold", 1, 2, 3, 4, 5, 6, 7, 18, 1}},
    {"AllocType", 10, {"gold", 1, 2, 3, 4, 5, 16, 17, 18, 1}},
    {"Type", 11, {"gold", 11, 12, 13, 14, 15, 6, 7, 8, 1}},
    {"Unknown", 7, {"gold", 1, 2, 3, 4, 5, 6, 7, 8, 1}},
};

class TContSelector : public HardwareTest, public testing::WithParamInterface<TContCase> {};

TEST_P(TContSelector, TakesItsFieldsOnly) {
    EXPECT_EQ(api_.onuTContProfileCreate(kGiven), 0);
    const auto selector = static_cast<onuQosOMApi::onuQosOMApiTContParm>(GetParam().selector);
    EXPECT_EQ(api_.onuTContProfileParmsSet("gold", kPushed, selector), 0);
    EXPECT_EQ(api_.onuTContProfileParmsSet("unknown", kPushed, selector), 0);
    EXPECT_EQ(standin::hardware::snapshot().tContProfiles, std::vector{GetParam().left});
}

INSTANTIATE_TEST_SUITE_P(Hardware, TContSelector, testing::ValuesIn(kTContCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

struct FlowCase {
    const char* name;
    bool rule;
    int type;
    standin::FlowProfile left;
};

const FlowCase kFlowCases[] = {
    {"CPcp", true, 0, {"hsi", 17, {2, 3}, 4, 5, 6, 7, 1}},
    {"CVlan", true, 1, {"hsi", 1, {12}, 4, 5, 6, 7, 1}},
    {"GuarRateUs", false, 0, {"hsi", 1, {2, 3}, 14, 5, 6, 7, 1}},
    {"PeakRateUs", false, 1, {"hsi", 1, {2, 3}, 4, 15, 6, 7, 1}},
    {"FlowPriorityUs", false, 2, {"hsi", 1, {2, 3}, 4, 5, 16, 7, 1}},
    {"FlowPriorityDs", false, 3, {"hsi", 1, {2, 3}, 4, 5, 6, 17, 1}},
};

class FlowSelector : public HardwareTest, public testing::WithParamInterface<FlowCase> {};

TEST_P(FlowSelector, TakesItsFieldOnly) {
    EXPECT_EQ(api_.onuFlowProfileCreate({"hsi", {1, {2, 3}}, {4, 5, 6, 7}}), 0);
    if (GetParam().rule) {
        const auto type = static_cast<onuQosOMApi::onuQosOMApiFlowProfileRuleType>(GetParam().type);
        EXPECT_EQ(api_.onuFlowProfileRuleSet("hsi", {17, {12}}, type), 0);
    } else {
        const auto type = static_cast<onuQosOMApi::onuQosOMApiFlowProfileActionType>(GetParam().type);
        EXPECT_EQ(api_.onuFlowProfileActionSet("hsi", {14, 15, 16, 17}, type), 0);
    }
    EXPECT_EQ(standin::hardware::snapshot().flowProfiles, std::vector{GetParam().left});
}

INSTANTIATE_TEST_SUITE_P(Hardware, FlowSelector, testing::ValuesIn(kFlowCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(HardwareTest, SerialsFollowProfilesThroughRenamesAndAreNotGivenAgain) {
    api_.onuTContProfileCreate({.name = "a"});
    api_.onuTContProfileCreate({.name = "b"});
    api_.onuFlowProfileCreate({"f", {}, {}});
    api_.tContProfileRename("a", "c");
    api_.tContProfileRename("unknown", "d");
    api_.onuTContProfileDelete("b");
    api_.onuTContProfileCreate({.name = "b"});
    api_.flowProfileRename("f", "g");
    EXPECT_EQ(standin::hardware::tContProfile("c")->serial, 1);
    EXPECT_EQ(standin::hardware::tContProfile("c")->name, "c");
    EXPECT_EQ(standin::hardware::tContProfile("b")->serial, 3);
    EXPECT_EQ(standin::hardware::flowProfile("g")->serial, 1);
    EXPECT_EQ(standin::hardware::snapshot().tContProfiles.size(), 2);
    EXPECT_EQ(standin::hardware::tContProfile("a"), std::nullopt);

    api_.tContProfileRename("c", "b");
    EXPECT_EQ(standin::hardware::snapshot().tContProfiles.size(), 1);
    EXPECT_EQ(standin::hardware::tContProfile("b")->serial, 1);
}

TEST_F(HardwareTest, BindingsAreKeptByInterfaceNameAndVirtualPort) {
    EXPECT_EQ(apply(102, "gold", 10, 1), 0);
    EXPECT_EQ(apply(101, "gold", 11, 1), 0);
    EXPECT_EQ(apply(101, "gold", 10, 1), 0);
    EXPECT_EQ(apply(101, "gold", 11, 5), 0);
    EXPECT_EQ(remove(101, "gold", 10), 0);
    EXPECT_EQ(remove(101, "gold", 10), 0);
    api_.tContProfileRename("gold", "silver");
    const standin::Handle handle{1, 2, 3};
    EXPECT_EQ(standin::hardware::snapshot().bindings,
              (std::vector<standin::Binding>{{101, "flow-gold", 11, handle, "flow", "gold", 5, 6, 9, 4},
                                             {102, "flow-gold", 10, handle, "flow", "gold", 1, 6, 9, 1}}));

    std::string name = "untouched";
    EXPECT_NE(api_.flowIdToServiceName(101, 1, name), 0);
    EXPECT_NE(api_.flowIdToServiceName(101, 2, name), 0);
    EXPECT_EQ(name, "untouched");
    EXPECT_EQ(api_.flowIdToServiceName(101, 4, name), 0);
    EXPECT_EQ(name, "flow-gold");
}

TEST_F(HardwareTest, ClearConfigRemovesProfilesAndBindingsAndGoesOnCounting) {
    api_.onuTContProfileCreate({.name = "gold", .fixedRate = 1000});
    api_.onuFlowProfileCreate({"flow", {}, {}});
    api_.addOnuIntf(102);
    api_.addOnuIntf(101);
    apply(101, "gold", 10, 1);
    EXPECT_EQ(api_.onuQosClearConfig(), 0);
    standin::Hardware left;
    left.onus = {101, 102};
    EXPECT_EQ(standin::hardware::snapshot(), left);
    EXPECT_EQ(standin::ports::available(1), (standin::ports::Available{155'080'000, 155'080'000}));
    api_.onuTContProfileCreate({.name = "gold"});
    apply(101, "gold", 10, 1);
    EXPECT_EQ(standin::hardware::tContProfile("gold")->serial, 2);
    EXPECT_EQ(standin::hardware::snapshot().bindings.at(0).flowId, 2);
}

TEST_F(HardwareTest, KeepsTheLastOnuEvents) {
    api_.onuStateHandler({1, 2, 3}, 101, true);
    api_.onuReadyHandler({}, 102, false);
    using Kind = standin::OnuEvent::Kind;
    EXPECT_EQ(
        standin::hardware::snapshot().onuEvents,
        (std::vector<standin::OnuEvent>{{Kind::state, {1, 2, 3}, 101, true}, {Kind::ready, {}, 102, false}}));
    for (std::size_t i = 1; i < standin::hardware::kOnuEventsKept; ++i) {
        api_.onuStateHandler({}, 103, false);
    }
    const auto events = standin::hardware::snapshot().onuEvents;
    ASSERT_EQ(events.size(), standin::hardware::kOnuEventsKept);
    EXPECT_EQ(events.front().interface, 102);
}

/// Free bandwidth in kbit/s, as the platform's own port answers.
struct Free {
    std::uint32_t fixed;
    std::uint32_t total;

    friend bool operator==(const Free&, const Free&) = default;
};

class DbaTest : public HardwareTest {
protected:
    DbaTest() {
        auto inventory = smallOlt();
        inventory.ports[0].capacityFixed = 1000 * 125;
        inventory.ports[0].capacityTotal = 2000 * 125;
        standin::configure(inventory);
        api_.onuTContProfileCreate({.name = "gold", .fixedRate = 100, .assuredRate = 50});
        api_.onuTContProfileCreate({.name = "silver", .fixedRate = 0, .assuredRate = 300});
    }

    static Free freeOn(unsigned int port) {
        OltPort::OltPortAvailableBanwith available;
        EXPECT_EQ(
            singleton<Ports>::instance().getGponImpl().getOltPort(port - 1)->getAvailableBandwith(&available),
            0);
        return {available.fixed / 125, available.total / 125};
    }
};

TEST_F(DbaTest, CountsEachOnusTContOnce) {
    struct Step {
        const char* what;
        bool add;
        unsigned int onu;
        const char* profile;
        unsigned int virtualPort;
        unsigned int tContId;
        Free left;
    };
    constexpr Step kSteps[] = {
        {"a first T-CONT", true, 101, "gold", 1, 1, {900, 1850}},
        {"the same T-CONT by another binding", true, 101, "gold", 2, 1, {900, 1850}},
        {"another T-CONT of the ONU", true, 101, "silver", 3, 2, {900, 1550}},
        {"another ONU", true, 102, "gold", 1, 1, {800, 1400}},
        {"an ONU of another port", true, 201, "gold", 1, 1, {800, 1400}},
        {"an ONU without a port", true, 999, "gold", 1, 1, {800, 1400}},
        {"an unknown profile", true, 102, "lead", 2, 3, {800, 1400}},
        {"one of two bindings of a T-CONT", false, 101, "gold", 1, 1, {800, 1400}},
        {"a binding that is not there", false, 101, "gold", 1, 1, {800, 1400}},
        {"the other one", false, 101, "gold", 2, 1, {900, 1550}},
        {"pushed again with another T-CONT id", true, 102, "gold", 1, 7, {900, 1550}},
        {"the last of an ONU", false, 102, "gold", 1, 7, {1000, 1700}},
    };
    for (const Step& step : kSteps) {
        SCOPED_TRACE(step.what);
        if (step.add) {
            apply(step.onu, step.profile, step.virtualPort, step.tContId);
        } else {
            remove(step.onu, step.profile, step.virtualPort);
        }
        EXPECT_EQ(freeOn(1), step.left);
    }
    EXPECT_EQ(freeOn(2), (Free{9918464 - 100, 9918464 - 150}));
}

TEST_F(DbaTest, KeepsTheRatesOfTheFirstPush) {
    apply(101, "gold", 1, 1);
    api_.onuTContProfileParmsSet("gold", {.name = {}, .fixedRate = 900},
                                 onuQosOMApi::onuQosOMApiTContParmRates);
    apply(101, "gold", 2, 1);
    EXPECT_EQ(freeOn(1), (Free{900, 1850}));
    api_.onuTContProfileDelete("gold");
    remove(101, "gold", 1);
    remove(101, "gold", 2);
    EXPECT_EQ(freeOn(1), (Free{1000, 2000}));
}

TEST_F(DbaTest, NeverGoesBelowNothing) {
    api_.onuTContProfileCreate({.name = "huge", .fixedRate = 4'000'000'000, .assuredRate = 4'000'000'000});
    apply(101, "huge", 1, 1);
    apply(102, "huge", 1, 1);
    EXPECT_EQ(freeOn(1), (Free{0, 0}));
    remove(101, "huge", 1);
    remove(102, "huge", 1);
    EXPECT_EQ(freeOn(1), (Free{1000, 2000}));
}

TEST_F(DbaTest, OverrideHidesTheComputedFigure) {
    apply(101, "gold", 1, 1);
    standin::ports::overrideAvailable(1, standin::ports::Available{124, 250});
    EXPECT_EQ(freeOn(1), (Free{0, 2}));
    EXPECT_EQ(standin::ports::available(1), (standin::ports::Available{124, 250}));
    standin::ports::overrideAvailable(1, std::nullopt);
    EXPECT_EQ(freeOn(1), (Free{900, 1850}));
    EXPECT_THROW(standin::ports::overrideAvailable(101, std::nullopt), standin::Error);
}

}  // namespace
