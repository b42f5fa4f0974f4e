#include <gmock/gmock.h>

#include "moduleTest.h"

using TContStore = ModuleTest;
using testing::ElementsAre;

namespace {

const std::string kLongest(64, 'n');
const std::string kTooLong(65, 'n');

}  // namespace

TEST_F(TContStore, aNewProfileHoldsTheDefaults) {
    EXPECT_THAT(traceOf([this] { EXPECT_EQ(module_.tContProfileCreate("gold"), onuQos::onuQosResOk); }),
                ElementsAre("onuTContProfileCreate({gold, 1, 5, 0, 0, 256, 0, 0, 0})"));
    tContProfileInfo info;
    EXPECT_EQ(module_.tContProfileGet("gold", info), onuQos::onuQosResOk);
    EXPECT_EQ(info, (tContProfileInfo{.name = "gold",
                                      .tContId = 1,
                                      .tContType = tContType5,
                                      .fixedRate = 0,
                                      .assuredRate = 0,
                                      .maximumRate = 256,
                                      .dbaAllocType = tContDbaMode2,
                                      .dbaWeight = 1,
                                      .dbaPriority = 0,
                                      .appliedIntfs = {}}));
    expectMirrorAgrees();
    EXPECT_EQ(logLines(), std::vector<std::string>{});
}

TEST_F(TContStore, createChecksNameThenTableThenRoom) {
    EXPECT_EQ(module_.tContProfileCreate(""), onuQos::onuQosResError);
    EXPECT_EQ(module_.tContProfileCreate(kTooLong), onuQos::onuQosResBadName);
    EXPECT_EQ(module_.tContProfileCreate(kLongest), onuQos::onuQosResOk);
    EXPECT_EQ(module_.tContProfileCreate(kLongest), onuQos::onuQosResExists);
    for (int i = 1; i < 256; ++i) {
        ASSERT_EQ(module_.tContProfileCreate("p" + std::to_string(i)), onuQos::onuQosResOk);
    }
    const Snapshot full = snapshot();
    EXPECT_EQ(module_.tContProfileCreate("one more"), onuQos::onuQosResTableFull);
    EXPECT_EQ(module_.tContProfileCreate("p255"), onuQos::onuQosResExists);
    EXPECT_EQ(module_.tContProfileCreate(kTooLong), onuQos::onuQosResBadName);
    EXPECT_EQ(snapshot(), full);
    EXPECT_EQ(module_.tContProfileDelete("p7"), onuQos::onuQosResOk);
    EXPECT_EQ(module_.tContProfileCreate("one more"), onuQos::onuQosResOk);
    EXPECT_EQ(logLines(), std::vector<std::string>{});
    expectMirrorAgrees();
}

TEST_F(TContStore, iteratesInTheOrderOfTheBytes) {
    tContProfileInfo info;
    info.name = "untouched";
    EXPECT_EQ(module_.tContProfileFirstGet(info), onuQos::onuQosResNoMore);
    EXPECT_EQ(module_.tContProfileNextGet("any", info), onuQos::onuQosResNoMore);
    EXPECT_EQ(module_.tContProfileNextGet("", info), onuQos::onuQosResError);
    for (const char* name : {"beta", "\xC3\xA4", "alpha", "Zeta", "gamma", "alpha1"}) {
        makeTCont(name);
    }
    EXPECT_EQ(module_.tContProfileNextGet("delta", info), onuQos::onuQosResNotFound);
    EXPECT_EQ(info.name, "untouched");
    std::vector<std::string> names;
    for (Res res = module_.tContProfileFirstGet(info); res == onuQos::onuQosResOk;
         res = module_.tContProfileNextGet(names.back(), info)) {
        names.push_back(info.name);
        EXPECT_EQ(tables().tContProfileMap.at(info.name), info);
    }
    EXPECT_THAT(names, ElementsAre("Zeta", "alpha", "alpha1", "beta", "gamma", "\xC3\xA4"));
    EXPECT_EQ(module_.tContProfileNextGet("\xC3\xA4", info), onuQos::onuQosResNoMore);
}

TEST_F(TContStore, namesAreLookedUp) {
    makeTCont("gold");
    tContProfileInfo info;
    EXPECT_EQ(module_.tContProfileGet("", info), onuQos::onuQosResError);
    EXPECT_EQ(module_.tContProfileGet("tin", info), onuQos::onuQosResNotFound);
    EXPECT_EQ(module_.tContProfileExist(""), onuQos::onuQosResError);
    EXPECT_EQ(module_.tContProfileExist("tin"), onuQos::onuQosResNotFound);
    EXPECT_EQ(module_.tContProfileExist("gold"), onuQos::onuQosResOk);
    EXPECT_FALSE(module_.tContProfileExists(""));
    EXPECT_FALSE(module_.tContProfileExists("tin"));
    EXPECT_TRUE(module_.tContProfileExists("gold"));
    EXPECT_EQ(module_.tContProfileDelete(""), onuQos::onuQosResError);
    EXPECT_EQ(module_.tContProfileDelete("tin"), onuQos::onuQosResNotFound);
    EXPECT_EQ(logLines(), std::vector<std::string>{});
}

TEST_F(TContStore, aServiceProfileProtectsFromDeletionAndRenaming) {
    makeTCont("gold");
    makeTCont("gold2");
    standin::serviceProfiles::add({.name = "internet", .tContProfile = "gold", .flowProfile = "gold2"});
    EXPECT_TRUE(module_.tContProfileIsPartOfService("gold"));
    EXPECT_FALSE(module_.tContProfileIsPartOfService("gold2"));
    EXPECT_FALSE(module_.tContProfileIsPartOfService(""));
    const Snapshot before = snapshot();
    EXPECT_EQ(module_.tContProfileDelete("gold"), onuQos::onuQosResPartOfService);
    EXPECT_EQ(module_.tContProfileRename("gold", "silver"), onuQos::onuQosResPartOfService);
    EXPECT_EQ(module_.tContProfileRename("gold", "gold2"), onuQos::onuQosResExists);
    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(module_.tContProfileIdSet("gold", 2), onuQos::onuQosResOk);
    standin::serviceProfiles::remove("internet");
    EXPECT_EQ(module_.tContProfileRename("gold", "silver"), onuQos::onuQosResOk);
    standin::serviceProfiles::add({.name = "internet", .tContProfile = "gold", .flowProfile = ""});
    EXPECT_FALSE(module_.tContProfileIsPartOfService("gold")) << "no such profile any more";
    EXPECT_EQ(logLines(), std::vector<std::string>{});
}

TEST_F(TContStore, renamingTestsNeitherName) {
    const std::string huge(300, 'x');
    makeTCont("gold", tContType3, 4);
    EXPECT_EQ(module_.tContProfileRename("tin", "gold"), onuQos::onuQosResNotFound);
    EXPECT_EQ(module_.tContProfileRename("gold", "gold"), onuQos::onuQosResExists);
    tContProfileInfo expected = tables().tContProfileMap.at("gold");
    for (const std::string& name : {std::string(), huge, std::string("gold")}) {
        const std::string from = expected.name;
        EXPECT_THAT(traceOf([&] { EXPECT_EQ(module_.tContProfileRename(from, name), onuQos::onuQosResOk); }),
                    testing::Contains("tContProfileRename(" + from + ", " + name + ")"));
        expected.name = name;
        EXPECT_EQ(tables().tContProfileMap, (std::map<std::string, tContProfileInfo>{{name, expected}}));
        expectMirrorAgrees();
        tContProfileInfo first;
        EXPECT_EQ(module_.tContProfileFirstGet(first), onuQos::onuQosResOk);
        EXPECT_EQ(first, expected);
        EXPECT_TRUE(module_.tContProfileExists(name));
        EXPECT_EQ(module_.tContProfileExist(name),
                  name.empty() ? onuQos::onuQosResError : onuQos::onuQosResOk);
        EXPECT_EQ(module_.tContProfileNextGet(name, first),
                  name.empty() ? onuQos::onuQosResError : onuQos::onuQosResNoMore);
    }
    EXPECT_EQ(logLines(), std::vector<std::string>{});
}

// Two questions that part ways when a profile is renamed or made again: what bindings name, and what the
// profile itself remembers.
TEST_F(TContStore, whetherAProfileIsAppliedIsAskedInTwoWays) {
    const auto answers = [this](const std::string& name) {
        std::set<std::uint32_t> intfs{9};
        const bool known = module_.profileAppliedIntfGetTCont(name, intfs);
        return std::tuple(module_.tContProfileIsApplied(name), module_.profileIsAppliedTCont(name), known,
                          intfs);
    };
    using Answers = std::tuple<bool, bool, bool, std::set<std::uint32_t>>;
    const std::string unknown = errorLine("profileIsAppliedTCont", "profile doesn't exist: gold");
    EXPECT_EQ(answers("gold"), Answers(false, false, false, {9}));
    EXPECT_THAT(logLines(), ElementsAre(unknown));
    makeTCont("gold");
    makeFlow("hsi");
    EXPECT_EQ(answers("gold"), Answers(false, false, true, {}));
    ASSERT_EQ(bind(102, "internet", "hsi", "gold", 10), onuQos::onuQosResOk);
    ASSERT_EQ(bind(201, "internet", "hsi", "gold", 10), onuQos::onuQosResOk);
    EXPECT_EQ(answers("gold"), Answers(true, true, true, {102, 201}));
    ASSERT_EQ(module_.tContProfileRename("gold", "silver"), onuQos::onuQosResOk);
    EXPECT_EQ(answers("silver"), Answers(false, true, true, {102, 201}));
    EXPECT_EQ(answers("gold"), Answers(false, false, false, {9}));
    EXPECT_THAT(logLines(), ElementsAre(unknown));
    makeTCont("gold2");
    ASSERT_EQ(module_.tContProfileRename("gold2", "gold"), onuQos::onuQosResOk);
    EXPECT_EQ(answers("gold"), Answers(true, false, true, {}));
    EXPECT_EQ(module_.tContProfileDelete("gold"), onuQos::onuQosResOk) << "bindings do not protect it";
}

TEST_F(TContStore, aTypeWithoutAPlatformFormIsNotConverted) {
    for (const int type : {0, 1, 5, 6}) {
        const tContProfileInfo info{.name = "gold",
                                    .tContId = 3,
                                    .tContType = static_cast<onuTContProfileType>(type),
                                    .fixedRate = 4,
                                    .assuredRate = 5,
                                    .maximumRate = 6,
                                    .dbaAllocType = tContDbaMode1,
                                    .dbaWeight = 7,
                                    .dbaPriority = 8,
                                    .appliedIntfs = {}};
        onuQosOMApi::onuQosOMApiTContProfileInfo om;
        const bool converts = type == 1 || type == 5;
        EXPECT_EQ(module_.tContProfileToOMApi(info, om),
                  converts ? onuQos::onuQosResOk : onuQos::onuQosResError);
        EXPECT_EQ(om.name, "gold");
        EXPECT_EQ(om.tContId, 3U);
        EXPECT_EQ(om.tContType, converts ? type : 0);
        EXPECT_EQ(om.fixedRate + om.assuredRate + om.maximumRate, converts ? 15U : 0U);
        EXPECT_EQ(om.dbaAllocType, 0);
        EXPECT_EQ(om.dbaWeight + om.dbaPriority, 0U);
    }
}
