#include <gmock/gmock.h>

#include "flow/parms.h"
#include "moduleTest.h"

namespace {

using enum onuQos::onuQosRes;
using testing::ElementsAre;
using Lines = std::vector<std::string>;
using Info = onuQos::onuFlowProfileInfo;

constexpr std::uint32_t kEverything = 0x7E;

Info infoOf(const onuQos::onuFlowProfileRule& rule, const onuQos::onuFlowProfileAction& action,
            const std::string& name = {}) {
    Info info;
    info.name = name;
    info.rule = rule;
    info.action = action;
    return info;
}

std::string refusal(const std::string& text) {
    return errorLine("onuFlowProfileCreateAndSet", "ONUQOS ERROR - " + text);
}

class FlowCreateAndSetTest : public ModuleTest {
protected:
    /// Carries it out on "p".
    Res createAndSet(const Info& info, std::uint32_t mask) {
        return module_.onuFlowProfileCreateAndSet("p", info, mask);
    }

    Lines trace(const Info& info, std::uint32_t mask) {
        return traceOf([&] { EXPECT_EQ(createAndSet(info, mask), onuQosResOk); });
    }

    Info profile() const { return tables().onuFlowProfileMap.at("p"); }

    static std::uint32_t peakMax() { return onuQos::ONUFLOW_PROFILE_PEAK_RATE_MAX; }
};

const Info kWanted = infoOf({3, {20, 10}}, {300, 600, 1, 2}, "not used");

}  // namespace

TEST_F(FlowCreateAndSetTest, createsAndSetsInAnOrderThatNeverCrossesTheRates) {
    const std::string peak = std::to_string(peakMax());
    EXPECT_THAT(trace(kWanted, kEverything | 0x81),
                ElementsAre("onuFlowProfileCreate({p, {4294967295, []}, {128, " + peak + ", 0, 0}})",
                            "onuFlowProfileRuleSet(p, {4294967295, [10, 20]}, 1)",
                            "onuFlowProfileRuleSet(p, {3, [10, 20]}, 0)",
                            "onuFlowProfileActionSet(p, {300, 600, 1, 2}, 2)",
                            "onuFlowProfileActionSet(p, {300, 600, 1, 2}, 3)",
                            "onuFlowProfileActionSet(p, {300, 640, 1, 2}, 1)",
                            "onuFlowProfileActionSet(p, {320, 600, 1, 2}, 0)"));
    EXPECT_EQ(profile(), infoOf({3, {10, 20}}, {320, 640, 1, 2}, "p"));

    EXPECT_THAT(
        trace(infoOf({0xFFFFFFFF, {}}, {1000, 2000, 1, 2}), kEverything),
        ElementsAre("onuFlowProfileRuleSet(p, {3, []}, 1)", "onuFlowProfileRuleSet(p, {4294967295, []}, 0)",
                    "onuFlowProfileActionSet(p, {1000, 2048, 1, 2}, 1)",
                    "onuFlowProfileActionSet(p, {1024, 2000, 1, 2}, 0)"));
    EXPECT_THAT(trace(infoOf({}, {200, 1023, 0, 0}), 0x18),
                ElementsAre("onuFlowProfileActionSet(p, {256, 1023, 1, 2}, 0)",
                            "onuFlowProfileActionSet(p, {200, 1024, 1, 2}, 1)"));
    EXPECT_THAT(trace(infoOf({}, {0, 256, 0, 0}), 0x10),
                ElementsAre("onuFlowProfileActionSet(p, {256, 256, 1, 2}, 1)"));
    EXPECT_EQ(profile(), infoOf({}, {256, 256, 1, 2}, "p"));
    EXPECT_EQ(trace(kWanted, 0x81), Lines{});
    expectMirrorAgrees();

    EXPECT_EQ(module_.onuFlowProfileCreateAndSet("new", kWanted, 0), onuQosResOk);
    EXPECT_EQ(tables().onuFlowProfileMap.at("new"), infoOf({}, {128, peakMax(), 0, 0}, "new"));
    EXPECT_EQ(logLines(), Lines{});
}

TEST_F(FlowCreateAndSetTest, checksEverythingAsGivenBeforeItChangesAnything) {
    const std::uint32_t max = peakMax();
    const auto above = std::to_string(max + 1);
    struct Row {
        Info info;
        std::uint32_t mask;
        Res res;
        std::string log;
    };
    const auto withRule = [](onuQos::onuFlowProfileRule rule) { return infoOf(rule, {}); };
    const auto withAction = [](onuQos::onuFlowProfileAction action) { return infoOf({8, {0}}, action); };
    const std::string domain = " domain error: ";
    // clang-format off
    const Row rows[] = {
        {withRule({9, {5, 0}}), kEverything, onuQosResOutOfRange, "cVlan" + domain + "5"},
        {withRule({0, {4095, 1}}), 2, onuQosResOutOfRange, "cVlan" + domain + "4095"},
        {withRule({8, {}}), kEverything, onuQosResOutOfRange, "cPcp" + domain + "8"},
        {withRule({0xFFFFFFFE, {}}), 4, onuQosResOutOfRange, "cPcp" + domain + "4294967294"},
        {withAction({127, 0, 8, 8}), 0x78, onuQosResOutOfRange, "guarRateUs" + domain + "127"},
        {withAction({max + 1, 0, 0, 0}), 8, onuQosResOutOfRange, "guarRateUs" + domain + above},
        {withAction({128, 127, 8, 8}), 0x78, onuQosResOutOfRange, "peakRateUs" + domain + "127"},
        {withAction({0, max + 1, 0, 0}), 0x10, onuQosResOutOfRange, "peakRateUs" + domain + above},
        {withAction({2000, 1000, 8, 9}), 0x78, onuQosResOutOfRange, "flowPriorityUs" + domain + "8"},
        {withAction({2000, 1000, 7, 9}), 0x78, onuQosResOutOfRange, "flowPriorityDs" + domain + "9"},
        {withAction({2000, 1000, 0, 0}), 0x18, onuQosResGuarAbovePeak,
         "guarRateUs=2000 bigger than peakRateUs=1000"},
        {withAction({641, 0, 0, 0}), 8, onuQosResGuarAbovePeak, "guarRateUs=641 bigger than peakRateUs=640"},
        {withAction({0, 319, 0, 0}), 0x10, onuQosResGuarAbovePeak,
         "guarRateUs=320 bigger than peakRateUs=319"},
    };
    // clang-format on
    for (const bool existing : {true, false}) {
        for (const Row& row : rows) {
            const bool againstStored = row.log.ends_with("640") || row.log.starts_with("guarRateUs=320");
            if (againstStored && !existing) {
                continue;  // a new profile has the widest range of rates
            }
            SCOPED_TRACE(row.log + (existing ? " of an existing profile" : " of a new profile"));
            startAgain();
            if (existing) {
                EXPECT_EQ(createAndSet(kWanted, kEverything), onuQosResOk);
            }
            module_.configurationApplyStart();  // relaxes nothing here
            const Snapshot before = snapshot();
            EXPECT_EQ(createAndSet(row.info, row.mask), row.res);
            EXPECT_EQ(snapshot(), before);
            EXPECT_THAT(logLines(), ElementsAre(refusal("onuFlowProfileCreateAndSet: " + row.log)));
        }
    }
}

TEST_F(FlowCreateAndSetTest, refusesNamesAndProfilesInUse) {
    EXPECT_EQ(module_.onuFlowProfileCreateAndSet("", kWanted, 0), onuQosResError);
    EXPECT_THAT(logLines(), ElementsAre(refusal("onuFlowProfileCreate error: name=")));
    makeFlow("p");
    makeTCont("t");
    EXPECT_EQ(bind(101, "s", "p", "t", 1), onuQosResOk);
    EXPECT_EQ(createAndSet(kWanted, 0), onuQosResApplied);
    EXPECT_THAT(logLines(),
                ElementsAre(refusal("onuFlowProfileCreateAndSet: ONU Flow profile applied error: p")));
}

TEST_F(FlowCreateAndSetTest, onlyWhatMendsCrossedRatesIsAccepted) {
    makeFlow("p");
    module_.configurationApplyStart();
    onuQos::onuFlowProfileAction crossed{640, 320, 0, 0};
    EXPECT_EQ(module_.onuFlowProfileActionSet("p", crossed, onuQos::onuFlowProfileActionTypeAll,
                                              onuQos::onuFlowProfileOperationSet),
              onuQosResOk);
    module_.configurationApplyStop();
    EXPECT_EQ(createAndSet(kWanted, 0x20), onuQosResGuarAbovePeak);
    EXPECT_EQ(createAndSet(infoOf({}, {0, 640, 0, 0}), 0x10), onuQosResOk);
    EXPECT_EQ(createAndSet(kWanted, 0x20), onuQosResOk);
    expectMirrorAgrees();
}

TEST_F(FlowCreateAndSetTest, eachRefusedPush) {
    struct Row {
        const char* operation;
        std::uint64_t after;
        const char* inner;  ///< the log of the operation refused
        const char* outer;  ///< and of create-and-set
        Info left;          ///< of an existing profile of defaults
    };
    const std::uint32_t max = peakMax();
    const auto left = [](onuQos::onuFlowProfileRule rule, onuQos::onuFlowProfileAction action) {
        return infoOf(rule, action, "p");
    };
    const onuQos::onuFlowProfileRule none;
    const onuQos::onuFlowProfileRule both{3, {10, 20}};
    // clang-format off
    const Row rows[] = {
        {"onuFlowProfileRuleSet", 0, "OMApi.onuFlowProfileRuleSet()", "onuFlowProfileRuleSet cVlan",
         left(none, {128, max, 0, 0})},
        {"onuFlowProfileRuleSet", 1, "OMApi.onuFlowProfileRuleSet()", "onuFlowProfileRuleSet cPcp",
         left({0xFFFFFFFF, {10, 20}}, {128, max, 0, 0})},
        {"onuFlowProfileActionSet", 0, "OMApi.onuFlowProfileActionSet()",
         "onuFlowProfileActionSet flowPriorityUs", left(both, {128, max, 0, 0})},
        {"onuFlowProfileActionSet", 1, "OMApi.onuFlowProfileActionSet()",
         "onuFlowProfileActionSet flowPriorityDs", left(both, {128, max, 1, 0})},
        {"onuFlowProfileActionSet", 2, "OMApi.onuFlowProfileActionSet()",
         "onuFlowProfileActionSet opeakRateUs", left(both, {128, max, 1, 2})},
        {"onuFlowProfileActionSet", 3, "OMApi.onuFlowProfileActionSet()",
         "onuFlowProfileActionSet guarRateUs", left(both, {128, 640, 1, 2})},
    };
    // clang-format on
    for (const bool existing : {true, false}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string(row.outer) +
                         (existing ? " of an existing profile" : " of a new profile"));
            startAgain();
            if (existing) {
                makeFlow("p");
            }
            const Snapshot before = snapshot();
            fail(row.operation, 1, 1, row.after);
            EXPECT_EQ(createAndSet(kWanted, kEverything), onuQosResError);
            std::string outer = row.outer;
            if (!existing && outer.ends_with("opeakRateUs")) {
                outer.erase(outer.size() - 11, 1);  // the o is there for existing profiles only
            }
            EXPECT_THAT(logLines(),
                        ElementsAre(errorLine(row.operation, "ONUQOS ERROR - " + std::string(row.inner) +
                                                                 " failed for profile: p"),
                                    refusal(outer + " error: name=p")));
            if (existing) {
                EXPECT_EQ(profile(), row.left);
            } else {
                EXPECT_EQ(snapshot(), before);
            }
            expectMirrorAgrees();
            EXPECT_EQ(createAndSet(kWanted, kEverything), onuQosResOk);
            EXPECT_EQ(profile(), left(both, {320, 640, 1, 2}));
            expectMirrorAgrees();
        }
    }

    // A new profile that cannot be deleted again stays as far as it got.
    startAgain();
    fail("onuFlowProfileActionSet");
    fail("onuFlowProfileDelete");
    EXPECT_EQ(createAndSet(kWanted, kEverything), onuQosResError);
    EXPECT_EQ(profile(), left(both, {128, max, 0, 0}));
    expectMirrorAgrees();
}
