#include "moduleTest.h"

// Every platform call of every operation on T-CONT profiles, refused in turn.

using enum onuQos::onuQosRes;

namespace {

constexpr auto kBefore = Refusal::Leaves::before;
constexpr auto kDone = Refusal::Leaves::done;
constexpr auto kOther = Refusal::Leaves::other;

/// The rows of a setter of profile "gold": its lock, the question whether it is applied, the push.
std::vector<Refusal> setterRows(const std::string& operation) {
    return {
        {"exclusiveLock", kBefore, {lockLine(operation)}},
        {"sharedLock", kDone, {lockLine("tContProfileIsApplied")}},
        {"onuTContProfileParmsSet",
         kBefore,
         {errorLine(operation, "ONUQOS ERROR - OMApi.onuTContProfileParmsSet() failed for profile: gold")}}};
}

/// The rows of a setter as a step of create-and-set, which adds its own line and leaves `left`.
void addStep(std::vector<Refusal>& rows, const std::string& operation, const std::string& line,
             const std::string& left) {
    for (Refusal row : setterRows(operation)) {
        if (row.leaves == kBefore) {
            row.log.push_back(errorLine("tContProfileCreateAndSet", "ONUQOS ERROR - " + line));
            row.leaves = left.empty() ? kBefore : kOther;
            row.left = left;
        }
        rows.push_back(row);
    }
}

}  // namespace

class TContRefusals : public ModuleTest {
protected:
    const std::function<void()> kNothing = [] {};
    const std::function<void()> kGold = [this] { makeTCont("gold"); };

    tContProfileInfo wanted(unsigned int id, onuTContProfileType type, unsigned int fixed,
                            unsigned int assured, unsigned int maximum) {
        tContProfileInfo info;
        info.tContId = id;
        info.tContType = type;
        info.fixedRate = fixed;
        info.assuredRate = assured;
        info.maximumRate = maximum;
        return info;
    }
};

TEST_F(TContRefusals, store) {
    refuseEachCall({.prepare = kNothing,
                    .change = [this] { return module_.tContProfileCreate("gold"); },
                    .calls = {{"exclusiveLock", kBefore, {lockLine("tContProfileCreate")}},
                              {"sharedLock", kBefore, {lockLine("tContProfileToOMApi")}},
                              {"onuTContProfileCreate",
                               kBefore,
                               {errorLine("tContProfileCreate",
                                          "ONUQOS ERROR - OMApi.onuTContProfileCreate() "
                                          "failed for profile: gold")}}}});
    // Without an answer about the service profiles a profile counts as not part of one.
    refuseEachCall({.prepare = kGold,
                    .change = [this] { return module_.tContProfileDelete("gold"); },
                    .calls = {{"exclusiveLock", kBefore, {lockLine("tContProfileDelete")}},
                              {"sharedLock", kDone, {lockLine("tContProfileIsPartOfService")}},
                              {"serviceProfileFind", kDone},
                              {"onuTContProfileDelete",
                               kBefore,
                               {errorLine("tContProfileDelete",
                                          "ONUQOS ERROR - OMApi.onuTContProfileDelete() "
                                          "failed for profile: gold")}}}});
    refuseEachCall({.prepare = kGold,
                    .change = [this] { return module_.tContProfileRename("gold", "silver"); },
                    .calls = {{"exclusiveLock", kBefore, {lockLine("tContProfileRename")}},
                              {"sharedLock", kDone, {lockLine("tContProfileIsPartOfService")}},
                              {"serviceProfileFind", kDone},
                              {"tContProfileRename", kBefore}}});
}

TEST_F(TContRefusals, reads) {
    struct Row {
        std::string operation;
        std::function<int()> ask;
        int answer;
        int refused;
    };
    tContProfileInfo info;
    std::set<std::uint32_t> intfs;
    onuQosOMApi::onuQosOMApiTContProfileInfo om;
    const Row rows[] = {
        {"tContProfileGet", [&] { return module_.tContProfileGet("gold", info); }, 0, 1},
        {"tContProfileExist", [&] { return module_.tContProfileExist("gold"); }, 0, 1},
        {"tContProfileExists", [&] { return module_.tContProfileExists("gold"); }, 1, 0},
        {"tContProfileFirstGet", [&] { return module_.tContProfileFirstGet(info); }, 0, 1},
        {"tContProfileNextGet", [&] { return module_.tContProfileNextGet("first", info); }, 0, 1},
        {"tContProfileIsApplied", [&] { return module_.tContProfileIsApplied("gold"); }, 1, 0},
        {"tContProfileIsPartOfService", [&] { return module_.tContProfileIsPartOfService("gold"); }, 1, 0},
        {"profileIsAppliedTCont", [&] { return module_.profileIsAppliedTCont("gold"); }, 1, 0},
        {"profileAppliedIntfGetTCont", [&] { return module_.profileAppliedIntfGetTCont("gold", intfs); }, 1,
         0},
        {"tContProfileToOMApi",
         [&] { return module_.tContProfileToOMApi(tables().tContProfileMap.at("gold"), om); }, 0, 1},
    };
    makeTCont("first");
    makeTCont("gold");
    makeFlow("hsi");
    ASSERT_EQ(bind(101, "internet", "hsi", "gold", 10), onuQosResOk);
    standin::serviceProfiles::add({.name = "internet", .tContProfile = "gold", .flowProfile = ""});
    for (const Row& row : rows) {
        SCOPED_TRACE(row.operation);
        EXPECT_EQ(row.ask(), row.answer);
        info = {};
        intfs = {};
        om = {};
        // The last row reads the tables first.
        fail("sharedLock", 1, 1, row.operation == "tContProfileToOMApi" ? 1 : 0);
        EXPECT_EQ(row.ask(), row.refused);
        EXPECT_EQ(logLines(), std::vector{lockLine(row.operation)});
        EXPECT_EQ(info, tContProfileInfo{});
        EXPECT_TRUE(intfs.empty() && om.name.empty());
    }
    fail("serviceProfileFind");
    EXPECT_FALSE(module_.tContProfileIsPartOfService("gold"));
}

TEST_F(TContRefusals, setters) {
    const std::pair<std::string, std::function<int()>> setters[] = {
        {"tContProfileIdSet", [this] { return module_.tContProfileIdSet("gold", 2); }},
        {"tContProfileTypeSet", [this] { return module_.tContProfileTypeSet("gold", tContType1); }},
        {"tContProfileFixedRateSet", [this] { return module_.tContProfileFixedRateSet("gold", 512); }},
        {"tContProfileAssuredRateSet", [this] { return module_.tContProfileAssuredRateSet("gold", 256); }},
        {"tContProfileMaximumRateSet", [this] { return module_.tContProfileMaximumRateSet("gold", 2048); }},
        {"tContProfileAllocTypeSet",
         [this] { return module_.tContProfileAllocTypeSet("gold", tContDbaMode1); }},
        {"tContProfileSrdbaWeightSet", [this] { return module_.tContProfileSrdbaWeightSet("gold", 2); }},
        {"tContProfileSrdbaPrioritySet", [this] { return module_.tContProfileSrdbaPrioritySet("gold", 2); }},
    };
    for (const auto& [operation, change] : setters) {
        SCOPED_TRACE(operation);
        refuseEachCall({.prepare =
                            [this] {
                                makeTCont("gold");
                                ASSERT_EQ(module_.tContProfileMaximumRateSet("gold", 1024), onuQosResOk);
                            },
                        .change = change,
                        .calls = setterRows(operation)});
    }
}

TEST_F(TContRefusals, createAndSetTakesANewProfileBack) {
    const std::string creation =
        errorLine("tContProfileCreateAndSet", "ONUQOS ERROR - tContProfileCreate error: name=gold");
    std::vector<Refusal> rows = {
        {"exclusiveLock", kBefore, {lockLine("tContProfileCreateAndSet")}},
        {"exclusiveLock", kBefore, {lockLine("tContProfileCreate"), creation}},
        {"sharedLock", kBefore, {lockLine("tContProfileToOMApi"), creation}},
        {"onuTContProfileCreate",
         kBefore,
         {errorLine("tContProfileCreate",
                    "ONUQOS ERROR - OMApi.onuTContProfileCreate() failed for profile: gold"),
          creation}}};
    addStep(rows, "tContProfileIdSet", "tContProfileIdSet error: name=gold, id=2", "");
    addStep(rows, "tContProfileTypeSet", "tContProfileTypeSet error: name=gold, type=3", "");
    addStep(rows, "tContProfileMaximumRateSet", "tContProfileMaximumRateSet error: name=gold, rate=1024", "");
    addStep(rows, "tContProfileAssuredRateSet", "tContProfileAssuredRateSet error: name=gold, rate=512", "");
    const RefusedChange created{.prepare = kNothing,
                                .change =
                                    [this] {
                                        return module_.tContProfileCreateAndSet(
                                            "gold", wanted(2, tContType3, 0, 512, 1024), 2 + 4 + 16 + 32);
                                    },
                                .calls = rows};
    refuseEachCall(created);

    // Copying is the same under one more lock and with one more line.
    for (Refusal& row : rows) {
        if (row.leaves == kBefore) {
            row.log.push_back(
                errorLine("tContProfileCopy",
                          "ONUQOS ERROR - tContProfileCopy: tContProfileCreateAndSet failed, rv: 1"));
        }
    }
    rows.insert(rows.begin(), {"exclusiveLock", kBefore, {lockLine("tContProfileCopy")}});
    refuseEachCall({.prepare =
                        [&] {
                            ASSERT_EQ(created.change(), onuQosResOk);
                            ASSERT_EQ(module_.tContProfileRename("gold", "source"), onuQosResOk);
                        },
                    .change = [this] { return module_.tContProfileCopy("source", "gold"); },
                    .calls = rows});
}

TEST_F(TContRefusals, createAndSetKeepsWhatItDidToAnExistingProfile) {
    std::vector<Refusal> rows = {{"exclusiveLock", kBefore, {lockLine("tContProfileCreateAndSet")}},
                                 {"sharedLock", kDone, {lockLine("tContProfileIsApplied")}}};
    addStep(rows, "tContProfileIdSet", "tContProfileIdSet error: name=gold, id=3", "");
    addStep(rows, "tContProfileMaximumRateSet", "tContProfileMaximumRateSet error: name=gold, rate=1024",
            "3 5 0/0/256 2 1 0");
    addStep(rows, "tContProfileFixedRateSet", "tContProfileFixedRateSet error: name=gold, rate=256",
            "3 5 0/0/1024 2 1 0");
    addStep(rows, "tContProfileAssuredRateSet", "tContProfileAssuredRateSet error: name=gold, rate=256",
            "3 5 256/0/1024 2 1 0");
    refuseEachCall({.prepare = kGold,
                    .change =
                        [this] {
                            return module_.tContProfileCreateAndSet(
                                "gold", wanted(3, tContType5, 256, 256, 1024), 2 + 8 + 16 + 32);
                        },
                    .calls = rows,
                    .describe = [this] { return tContText("gold"); }});
}

TEST_F(TContRefusals, aNewProfileStaysWhenItCannotBeTakenBack) {
    const std::string setFailed =
        errorLine("tContProfileCreateAndSet", "ONUQOS ERROR - tContProfileIdSet error: name=gold, id=2");
    const std::string deleteFailed =
        errorLine("tContProfileCreateAndSet", "ONUQOS ERROR - tContProfileDelete failed: name=gold");
    fail("onuTContProfileParmsSet");
    fail("onuTContProfileDelete");
    EXPECT_EQ(module_.tContProfileCreateAndSet("gold", wanted(2, tContType5, 0, 0, 0), 2), onuQosResError);
    EXPECT_EQ(tContText("gold"), "1 5 0/0/256 2 1 0");
    expectMirrorAgrees();
    EXPECT_EQ(
        logLines(),
        (std::vector{errorLine("tContProfileIdSet",
                               "ONUQOS ERROR - OMApi.onuTContProfileParmsSet() failed for profile: gold"),
                     setFailed,
                     errorLine("tContProfileDelete",
                               "ONUQOS ERROR - OMApi.onuTContProfileDelete() failed for profile: gold"),
                     deleteFailed}));

    // A service profile that names the profile before it exists protects it from the roll back.
    startAgain();
    standin::serviceProfiles::add({.name = "internet", .tContProfile = "gold", .flowProfile = ""});
    fail("onuTContProfileParmsSet", 7);
    EXPECT_EQ(module_.tContProfileCreateAndSet("gold", wanted(2, tContType5, 0, 0, 0), 2), onuQosResError);
    EXPECT_EQ(tContText("gold"), "1 5 0/0/256 2 1 0");
    EXPECT_EQ(logLines().back(), deleteFailed);
}
