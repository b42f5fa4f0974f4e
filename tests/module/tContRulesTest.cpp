#include "moduleTest.h"

using TContRules = ModuleTest;

namespace {

onuTContProfileType typeOf(int number) {
    return static_cast<onuTContProfileType>(number);
}

}  // namespace

TEST_F(TContRules, theClassFixesTheConstants) {
    EXPECT_EQ(module_.getOltPortBw(), kTenG);
    EXPECT_EQ(onuQos::TCONT_RATE_GRANULARITY, kTenG ? 1024U : 64U);
    EXPECT_EQ(onuQos::TCONT_PROFILE_RATE_MIN, kTenG ? 1024U : 256U);
    EXPECT_EQ(onuQos::TCONT_PROFILE_RATE_MAX, kTenG ? 9953280U : 1244160U);
    EXPECT_EQ(onuQos::OLT_TOTAL_RATE_MAX, kTenG ? 9918464U : 1240640U);
    EXPECT_EQ(onuQos::OLT_FIXED_RATE_MAX, kTenG ? 9918464U : 1240640U);
    EXPECT_EQ(onuQos::ONUFLOW_PROFILE_US_PEAK_RATE_DEF, kTenG ? 9953280U : 1244160U);
    EXPECT_EQ(onuQos::ONUFLOW_PROFILE_PEAK_RATE_MAX, kTenG ? 9953280U : 1244160U);
    EXPECT_EQ(onuQos::ONUFLOW_PROFILE_GUAR_RATE_MAX, kTenG ? 9953280U : 1244160U);
}

TEST_F(TContRules, eachTypeHasItsAttributesAndDefaults) {
    struct Row {
        int type;
        std::string rates, srdba;  // of the three: configurable or not
        tContProfileInfo defaults;
    };
    const auto defaults = [](unsigned int fixed, unsigned int assured, unsigned int maximum, int mode,
                             unsigned int weight) {
        return tContProfileInfo{.name = "kept",
                                .tContId = 1,
                                .tContType = tContType5,
                                .fixedRate = fixed,
                                .assuredRate = assured,
                                .maximumRate = maximum,
                                .dbaAllocType = static_cast<onuTContProfileDbaCtrlMode>(mode),
                                .dbaWeight = weight,
                                .dbaPriority = 0,
                                .appliedIntfs = {7}};
    };
    const Row rows[] = {
        {0, "---", "---", defaults(0, 0, 0, 0, 0)},     {1, "+--", "-++", defaults(256, 0, 256, 0, 1)},
        {2, "-+-", "+++", defaults(0, 256, 256, 2, 1)}, {3, "-++", "+++", defaults(0, 256, 512, 2, 1)},
        {4, "--+", "+++", defaults(0, 0, 256, 2, 1)},   {5, "+++", "+++", defaults(0, 0, 256, 2, 1)},
        {6, "---", "---", defaults(0, 0, 0, 0, 0)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("type " + std::to_string(row.type));
        std::string rates;
        std::string srdba;
        for (int parm = 0; parm < 3; ++parm) {
            const auto rate = static_cast<onuTContProfileRateType>(parm);
            rates += module_.tContProfileIsRateConfigurable(typeOf(row.type), rate) ? '+' : '-';
            const auto which = static_cast<onuTContProfileSrdbaType>(parm);
            srdba += module_.tContProfileIsSrdbaConfigurable(typeOf(row.type), which) ? '+' : '-';
        }
        EXPECT_EQ(rates, row.rates);
        EXPECT_EQ(srdba, row.srdba);
        EXPECT_FALSE(module_.tContProfileIsRateConfigurable(typeOf(row.type), onuTContProfileRateType{3}));
        EXPECT_FALSE(module_.tContProfileIsSrdbaConfigurable(typeOf(row.type), onuTContProfileSrdbaType{3}));
        tContProfileInfo info{.name = "kept", .tContId = 9, .appliedIntfs = {7}};
        EXPECT_EQ(module_.tContProfileDefaultTypeGet(typeOf(row.type), info), onuQos::onuQosResOk);
        EXPECT_EQ(info, row.defaults);
    }
    tContProfileInfo info{.name = "kept", .tContId = 9, .appliedIntfs = {7}};
    module_.tContProfileDefaultSet(info);
    EXPECT_EQ(info, rows[5].defaults);
    EXPECT_EQ(logLines(), std::vector<std::string>{});
}

TEST_F(TContRules, theMaskNamesWhatDiffersAndCanBeConfigured) {
    struct Row {
        unsigned int id;
        int type;
        unsigned int fixed, assured, maximum;
        int mode;
        unsigned int weight, priority;
        unsigned int mask;
    };
    const Row rows[] = {
        {1, 5, 0, 0, 256, 2, 1, 0, 0},
        {1, 3, 0, 256, 512, 2, 1, 0, 4},
        {2, 5, 0, 0, 512, 2, 1, 0, 2 + 32},
        {1, 1, 256, 100, 300, 2, 1, 0, 4},
        {1, 1, 512, 0, 512, 0, 2, 3, 4 + 8 + 128 + 256},
        {1, 2, 0, 256, 256, 2, 3, 0, 4 + 128},
        {1, 2, 9, 512, 512, 1, 1, 1, 4 + 16 + 64 + 256},
        {0, 4, 9, 9, 0, 0, 0, 0, 2 + 4 + 32 + 64 + 128},
        {3, 5, 256, 256, 1024, 1, 2, 3, 2 + 8 + 16 + 32 + 64 + 128 + 256},
        {1, 6, 1, 1, 1, 1, 1, 1, 4},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("mask " + std::to_string(row.mask));
        const tContProfileInfo info{.name = "any",
                                    .tContId = row.id,
                                    .tContType = typeOf(row.type),
                                    .fixedRate = row.fixed,
                                    .assuredRate = row.assured,
                                    .maximumRate = row.maximum,
                                    .dbaAllocType = static_cast<onuTContProfileDbaCtrlMode>(row.mode),
                                    .dbaWeight = row.weight,
                                    .dbaPriority = row.priority,
                                    .appliedIntfs = {}};
        unsigned int mask = 0xFFFF;
        EXPECT_EQ(module_.onuQosTContProfileParmsMaskSet(info, mask), onuQos::onuQosResOk);
        EXPECT_EQ(mask, row.mask);
    }
}

TEST_F(TContRules, roundsUpToTheStepOfTheClass) {
    struct Row {
        unsigned int rate;
        onuTContProfileRateType type;
        unsigned int gpon, tenG;
    };
    constexpr Row kRows[] = {
        {0, tContRateFixed, 0, 0},
        {1, tContRateFixed, 64, 128},
        {64, tContRateMaximum, 64, 128},
        {65, tContRateMaximum, 128, 128},
        {128, tContRateAssured, 128, 128},
        {129, tContRateAssured, 192, 256},
        {25600, tContRateFixed, 25600, 25600},
        {25601, tContRateFixed, 25664, 26624},
        {25601, tContRateAssured, 25664, 25728},
        {25601, tContRateMaximum, 25664, 25728},
        {1244160, tContRateFixed, 1244160, 1244160},
        {9953280, tContRateFixed, 9953280, 9953280},
        {9953279, tContRateMaximum, 9953280, 9953280},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(module_.onuQosRoundRateTcont(row.rate, row.type), kTenG ? row.tenG : row.gpon)
            << row.rate << " of rate type " << row.type;
    }
}

TEST_F(TContRules, roundingAsksThePlatformEachTime) {
    const auto questions = traceOf([this] { module_.onuQosRoundRateTcont(1, tContRateFixed); });
    EXPECT_EQ(questions, isActive(13) ? std::vector<std::string>({"isActive(13)"})
                                      : std::vector<std::string>({"isActive(13)", "isActive(15)"}));
    fail("isActive", 1);
    EXPECT_EQ(module_.onuQosRoundRateTcont(1, tContRateFixed), 128U);
    fail("isActive", 0, 2);
    EXPECT_EQ(module_.onuQosRoundRateTcont(1, tContRateFixed), 64U);
}
