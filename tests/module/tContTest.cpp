#include <algorithm>
#include <array>
#include <cctype>
#include <sstream>

#include "moduleTest.h"

// T-CONT profiles: the rules of the types, the setters, create-and-set and copy.

namespace {

constexpr unsigned int kId = 2, kType = 4, kFixed = 8, kAssured = 16, kMaximum = 32;
constexpr unsigned int kRates = kFixed + kAssured + kMaximum;
constexpr unsigned int kDefault = 0xFFFFFFFF;
const std::string kHighestText = std::to_string(kHighest);

using Rates = std::array<unsigned int, 3>;  ///< fixed, assured, maximum

std::string text(const Rates& rates) {
    return std::to_string(rates[0]) + "/" + std::to_string(rates[1]) + "/" + std::to_string(rates[2]);
}

tContProfileInfo infoOf(unsigned int id, int type, const Rates& rates, int mode = 1, unsigned int weight = 9,
                        unsigned int priority = 9) {
    return {"kept",   id,       onuTContProfileType{type},        rates[0],
            rates[1], rates[2], onuTContProfileDbaCtrlMode{mode}, weight,
            priority, {7}};
}

std::string refused(const std::string& what) {
    return refusalLine("tContProfileCreateAndSet", what);
}

class TContTest : public ModuleTest {
protected:
    /// What `change` pushes of profile "gold": "create", "delete", and of each set the fields that its
    /// selector stands for: "rates 0 256 512"; all others must be 0, but for those of a type.
    static std::string pushesOf(const std::function<void()>& change) {
        static const std::map<int, std::pair<std::string, std::set<int>>> kSelectors{
            {1, {"id", {0}}},       {6, {"rates", {2, 3, 4}}}, {8, {"weight", {6}}},
            {9, {"priority", {7}}}, {10, {"mode", {5, 6, 7}}}, {11, {"type", {1}}}};
        std::string pushes;
        for (const auto& [operation, arguments] : callsOf(change)) {
            std::string push;
            if (operation == standin::Operation::onuTContProfileCreate) {
                push = "create";
            } else if (operation == standin::Operation::onuTContProfileDelete) {
                push = "delete";
            } else if (operation == standin::Operation::onuTContProfileParmsSet) {
                std::string words = arguments;
                std::ranges::replace_if(
                    words, [](unsigned char c) { return std::ispunct(c) != 0; }, ' ');
                std::istringstream in(words);
                std::string name;
                unsigned int n[8]{};
                int number = 0;
                in >> name;
                std::ranges::for_each(n, [&in](unsigned int& field) { in >> field; });
                in >> number;
                EXPECT_TRUE(in && name == "gold") << arguments;
                const auto& [selected, fields] = kSelectors.at(number);
                push = selected;
                for (int i = 0; i < 8; ++i) {
                    if (fields.contains(i)) {
                        push += " " + std::to_string(n[i]);
                    } else if (number != 11) {
                        EXPECT_EQ(n[i], 0U) << arguments;
                    }
                }
            }
            pushes += (pushes.empty() || push.empty() ? "" : ", ") + push;
        }
        return pushes;
    }
};

}  // namespace

TEST_F(TContTest, typesWithoutARowHaveNoAttributesAndNoPlatformForm) {
    for (const int type : {0, 1, 5, 6}) {
        const bool known = type == 1 || type == 5;
        tContProfileInfo info = infoOf(9, 9, {});
        EXPECT_EQ(module_.tContProfileDefaultTypeGet(onuTContProfileType{type}, info), onuQosResOk);
        const Rates rates = type == 1 ? Rates{256, 0, 256} : Rates{0, 0, known ? 256U : 0};
        EXPECT_EQ(info, infoOf(1, 5, rates, type == 5 ? 2 : 0, known, 0)) << "always called type 5";
        for (int parm = 0; parm < 4; ++parm) {
            const bool rate = module_.tContProfileIsRateConfigurable(onuTContProfileType{type},
                                                                     onuTContProfileRateType{parm});
            EXPECT_EQ(rate, type == 5 ? parm < 3 : type == 1 && parm == 0);
            const bool srdba = module_.tContProfileIsSrdbaConfigurable(onuTContProfileType{type},
                                                                       onuTContProfileSrdbaType{parm});
            EXPECT_EQ(srdba, type == 5 ? parm < 3 : type == 1 && (parm == 1 || parm == 2));
        }
        onuQosOMApi::onuQosOMApiTContProfileInfo om;
        EXPECT_EQ(module_.tContProfileToOMApi(infoOf(3, type, {4, 5, 6}), om),
                  known ? onuQosResOk : onuQosResError);
        EXPECT_EQ(om.name + std::to_string(om.tContId), "kept3") << "written before the type";
        EXPECT_EQ(om.fixedRate + om.assuredRate + om.maximumRate, known ? 15U : 0U);
        EXPECT_EQ(om.dbaWeight + om.dbaPriority, 0U) << "learnt through their setters only";
    }
}

TEST_F(TContTest, theMaskNamesWhatDiffersAndCanBeConfigured) {
    const std::pair<tContProfileInfo, unsigned int> rows[] = {
        {infoOf(1, 5, {0, 0, 256}, 2, 1, 0), 0},
        {infoOf(1, 1, {256, 100, 300}, 2, 1, 0), 4},
        {infoOf(1, 1, {512, 0, 512}, 0, 2, 3), 4 + 8 + 128 + 256},
        {infoOf(1, 2, {9, 512, 512}, 1, 1, 1), 4 + 16 + 64 + 256},
        {infoOf(3, 5, {256, 256, 1024}, 1, 2, 3), 2 + 8 + 16 + 32 + 64 + 128 + 256},
        {infoOf(1, 6, {1, 1, 1}, 1, 1, 1), 4},
    };
    for (const auto& [info, expected] : rows) {
        unsigned int mask = 0xFFFF;
        EXPECT_EQ(module_.onuQosTContProfileParmsMaskSet(info, mask), onuQosResOk);
        EXPECT_EQ(mask, expected);
    }
}

TEST_F(TContTest, ratesRoundUpToTheStepOfTheClassWhichIsAskedEachTime) {
    constexpr unsigned int kRows[][4] = {// rate, rate type, rounded in the GPON class and in the 10G class
                                         {0, 0, 0, 0},
                                         {1, 0, 64, 128},
                                         {64, 2, 64, 128},
                                         {65, 2, 128, 128},
                                         {128, 1, 128, 128},
                                         {129, 1, 192, 256},
                                         {25600, 0, 25600, 25600},
                                         {25601, 0, 25664, 26624},
                                         {25601, 1, 25664, 25728},
                                         {25601, 2, 25664, 25728}};
    for (const auto& [rate, type, gpon, tenG] : kRows) {
        const auto rounded = module_.onuQosRoundRateTcont(rate, static_cast<onuTContProfileRateType>(type));
        EXPECT_EQ(rounded, byClass(gpon, tenG)) << rate;
    }
    const Lines questions = traceOf([this] { module_.onuQosRoundRateTcont(1, tContRateFixed); });
    EXPECT_EQ(questions, isActive(13) ? Lines{"isActive(13)"} : (Lines{"isActive(13)", "isActive(15)"}));
    fail("isActive", 1);
    EXPECT_EQ(module_.onuQosRoundRateTcont(1, tContRateFixed), 128U);
    fail("isActive", 0, 2);
    EXPECT_EQ(module_.onuQosRoundRateTcont(1, tContRateFixed), 64U);
}

TEST_F(TContTest, aRateKeepsTheRulesOfItsType) {
    using Setter = Res (onuQos::*)(const std::string&, unsigned int);
    constexpr Setter kFixedSet = &onuQos::tContProfileFixedRateSet;
    constexpr Setter kAssuredSet = &onuQos::tContProfileAssuredRateSet;
    constexpr Setter kMaximumSet = &onuQos::tContProfileMaximumRateSet;
    struct Row {
        int type;
        Rates rates;
        Setter set;
        unsigned int rate;
        Res res;
        Rates left;
    };
    const Row rows[] = {
        {1, {256, 0, 256}, kFixedSet, 512, onuQosResOk, {512, 0, 512}},
        {1, {256, 0, 256}, kFixedSet, 300, onuQosResOk, byClass(Rates{320, 0, 320}, Rates{384, 0, 384})},
        {1, {256, 0, 256}, kFixedSet, kHighest, onuQosResOk, {kHighest, 0, kHighest}},
        {1, {256, 0, 256}, kFixedSet, kHighest + 1, onuQosResRateError, {256, 0, 256}},
        {1, {1024, 0, 1024}, kFixedSet, kDefault, onuQosResOk, {256, 0, 256}},
        {1, {1024, 0, 1024}, kFixedSet, 255, onuQosResRateError, {1024, 0, 1024}},

        {2, {0, 256, 256}, kFixedSet, 0, onuQosResOutOfRange, {0, 256, 256}},
        {2, {0, 256, 256}, kAssuredSet, 1000, onuQosResOk, {0, 1024, 1024}},
        {2, {0, 1024, 1024}, kAssuredSet, 0, onuQosResRateError, {0, 1024, 1024}},

        {3, {0, 256, 512}, kFixedSet, kDefault, onuQosResOutOfRange, {0, 256, 512}},
        {3, {0, 256, 512}, kAssuredSet, 256, onuQosResOk, {0, 256, 512}},
        {3, {0, 256, 1024}, kAssuredSet, 768, onuQosResOk, {0, 768, 1024}},
        {3, {0, 256, 1024}, kAssuredSet, 769, onuQosResRateError, {0, 256, 1024}},
        {3, {0, 256, 512}, kMaximumSet, 600, onuQosResOk, {0, 256, 640}},
        {3, {0, 512, 1024}, kMaximumSet, 768, onuQosResOk, {0, 512, 768}},
        {3, {0, 512, 1024}, kMaximumSet, 640, onuQosResRateError, {0, 512, 1024}},

        {4, {0, 0, 256}, kFixedSet, 256, onuQosResOutOfRange, {0, 0, 256}},
        {4, {0, 0, 256}, kMaximumSet, 1000, onuQosResOk, {0, 0, 1024}},

        {5, {0, 0, 256}, kAssuredSet, 256, onuQosResRateError, {0, 0, 256}},
        {5, {0, 0, 512}, kAssuredSet, 100, onuQosResRateError, {0, 0, 512}},
        {5, {0, 0, 512}, kAssuredSet, 256, onuQosResOk, {0, 256, 512}},
        {5, {0, 0, 512}, kFixedSet, 256, onuQosResOk, {256, 0, 512}},
        {5, {256, 0, 640}, kAssuredSet, 128, onuQosResOk, {256, 128, 640}},
        {5, {256, 128, 640}, kFixedSet, 0, onuQosResRateError, {256, 128, 640}},
        {5, {256, 256, 1024}, kFixedSet, 0, onuQosResOk, {0, 256, 1024}},
        {5, {256, 256, 1024}, kFixedSet, 513, onuQosResRateError, {256, 256, 1024}},
        {5, {256, 256, 1024}, kMaximumSet, 768, onuQosResOk, {256, 256, 768}},
        {5, {256, 256, 1024}, kMaximumSet, 640, onuQosResRateError, {256, 256, 1024}},
        {5, {256, 256, 1024}, kMaximumSet, kDefault, onuQosResRateError, {256, 256, 1024}},
        {5, {0, 0, 512}, kMaximumSet, kDefault, onuQosResOk, {0, 0, 256}},
        {5, {0, 0, 512}, kMaximumSet, 255, onuQosResRateError, {0, 0, 512}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows) + ", type " + std::to_string(row.type) + " with " +
                     text(row.rates) + ", rate " + std::to_string(row.rate));
        startAgain();
        makeTCont("gold", onuTContProfileType{row.type});
        for (const auto& [set, rate] :
             {std::pair(kMaximumSet, 2), std::pair(kFixedSet, 0), std::pair(kAssuredSet, 1)}) {
            (module_.*set)("gold", row.rates.at(static_cast<std::size_t>(rate)));
        }
        ASSERT_THAT(tContText("gold"), testing::HasSubstr(" " + text(row.rates) + " "));
        Res res{};
        const auto pushes = pushesOf([&] { res = (module_.*row.set)("gold", row.rate); });
        EXPECT_EQ(res, row.res);
        EXPECT_THAT(tContText("gold"), testing::HasSubstr(" " + text(row.left) + " "));
        std::string expected = "rates " + text(row.left);
        std::ranges::replace(expected, '/', ' ');
        EXPECT_EQ(pushes, row.left == row.rates ? "" : expected);
        expectMirrorAgrees();
    }
    EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(TContTest, theOtherAttributesKeepTheirDomains) {
    const auto id = [this](unsigned int to) { return module_.tContProfileIdSet("gold", to); };
    const auto type = [this](unsigned int to) {
        return module_.tContProfileTypeSet("gold", static_cast<onuTContProfileType>(to));
    };
    const auto mode = [this](unsigned int to) {
        return module_.tContProfileAllocTypeSet("gold", static_cast<onuTContProfileDbaCtrlMode>(to));
    };
    const auto weight = [this](unsigned int to) { return module_.tContProfileSrdbaWeightSet("gold", to); };
    const auto priority = [this](unsigned int to) {
        return module_.tContProfileSrdbaPrioritySet("gold", to);
    };
    struct Row {
        std::function<Res(unsigned int)> set;
        unsigned int value;
        Res res;
        std::string left, pushed;
    };
    // One profile goes through all rows.
    const Row rows[] = {
        {id, 7, onuQosResOutOfRange, "1 5 0/0/256 2 1 0", ""},
        {id, 6, onuQosResOk, "6 5 0/0/256 2 1 0", "id 6"},
        {id, 0, onuQosResOk, "1 5 0/0/256 2 1 0", "id 1"},
        {type, 0, onuQosResOk, "1 5 0/0/256 2 1 0", ""},
        {type, 6, onuQosResError, "1 5 0/0/256 2 1 0", ""},
        {weight, 5, onuQosResOk, "1 5 0/0/256 2 5 0", "weight 5"},
        {weight, 5, onuQosResOk, "1 5 0/0/256 2 5 0", "weight 5"},
        {priority, 7, onuQosResOk, "1 5 0/0/256 2 5 7", "priority 7"},
        {mode, 2, onuQosResOk, "1 5 0/0/256 2 5 7", ""},
        {mode, 0, onuQosResOutOfRange, "1 5 0/0/256 2 5 7", ""},
        {mode, 1, onuQosResOk, "1 5 0/0/256 1 5 7", "mode 1 5 7"},
        {type, 3, onuQosResOk, "1 3 0/256/512 1 5 7", "type 3"},
        {type, 1, onuQosResOk, "1 1 256/0/256 1 5 7", "type 1"},
        {mode, 1, onuQosResOutOfRange, "1 1 256/0/256 1 5 7", ""},
        {weight, 0xFFFFFFFF, onuQosResOk, "1 1 256/0/256 1 4294967295 7", "weight 4294967295"},
        {priority, 0, onuQosResOk, "1 1 256/0/256 1 4294967295 0", "priority 0"},
        {type, 2, onuQosResOk, "1 2 0/256/256 1 4294967295 0", "type 2"},
        {type, 4, onuQosResOk, "1 4 0/0/256 1 4294967295 0", "type 4"},
        {type, 0, onuQosResOk, "1 5 0/0/256 1 4294967295 0", "type 5"},
    };
    makeTCont("gold");
    for (const Row& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows) + ", value " + std::to_string(row.value));
        Res res{};
        EXPECT_EQ(pushesOf([&] { res = row.set(row.value); }), row.pushed);
        EXPECT_EQ(res, row.res);
        EXPECT_EQ(tContText("gold"), row.left);
        expectMirrorAgrees();
    }
    EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(TContTest, settersCheckNameAndUseBeforeTheValue) {
    makeFlow("hsi");
    makeTCont("gold", tContType1);
    ASSERT_EQ(bind(101, "internet", "hsi", "gold", 10), onuQosResOk);
    const std::function<Res(const std::string&)> setters[] = {
        [this](const auto& name) { return module_.tContProfileIdSet(name, 7); },
        [this](const auto& name) { return module_.tContProfileTypeSet(name, onuTContProfileType{6}); },
        [this](const auto& name) { return module_.tContProfileFixedRateSet(name, 1); },
        [this](const auto& name) { return module_.tContProfileAllocTypeSet(name, tContDbaMode0); },
    };
    const Snapshot before = snapshot();
    for (const auto& set : setters) {
        EXPECT_EQ(set(""), onuQosResError);
        EXPECT_EQ(set("tin"), onuQosResNotFound);
        EXPECT_EQ(set("gold"), onuQosResApplied);
    }
    EXPECT_EQ(snapshot(), before);
    EXPECT_THAT(logLines(), IsEmpty());
}

namespace {

constexpr auto kOk = onuQosResOk, kRateError = onuQosResRateError, kOutOfRange = onuQosResOutOfRange;
const tContProfileInfo kNines = infoOf(9, 9, {9, 9, 9});

/// A create-and-set of profile "gold", of which `before` is what it was; none when it does not exist.
struct CreateAndSet {
    std::optional<tContProfileInfo> before;
    tContProfileInfo asked;
    unsigned int mask;
    onuQos::onuQosRes res;
    std::string left;  ///< as `tContText`, without the SR-DBA values
    std::string pushes;
    Lines log = {};
};

class TContCreateAndSet : public TContTest {
protected:
    void check(const std::vector<CreateAndSet>& rows) {
        for (const CreateAndSet& row : rows) {
            SCOPED_TRACE("row " + std::to_string(&row - rows.data()) + ", mask " + std::to_string(row.mask));
            startAgain();
            if (row.before) {
                ASSERT_EQ(module_.tContProfileCreateAndSet("gold", *row.before, kId + kType + kRates), kOk);
            }
            Res res{};
            EXPECT_EQ(pushesOf([&] { res = module_.tContProfileCreateAndSet("gold", row.asked, row.mask); }),
                      row.pushes);
            EXPECT_EQ(res, row.res);
            EXPECT_EQ(tContText("gold"), row.left == "none" ? "none" : row.left + " 2 1 0");
            EXPECT_EQ(logLines(), row.log);
            expectMirrorAgrees();
        }
    }
};

}  // namespace

// clang-format off
TEST_F(TContCreateAndSet, makesNewProfiles) {
    check({
        {{}, kNines, 1 + 64 + 128 + 256 + 512, kOk, "1 5 0/0/256", "create"},
        {{}, infoOf(6, 9, {9, 9, 9}), kId, kOk, "6 5 0/0/256", "create, id 6"},
        {{}, infoOf(9, 1, {9, 9, 9}), kType, kOk, "1 1 256/0/256", "create, type 1"},
        {{}, infoOf(9, 1, {1000, 9, 9}), kType + kFixed, kOk, "1 1 1024/0/1024", "create, type 1, rates 1024 0 1024"},
        {{}, infoOf(9, 1, {0, 0, 256}), kType + kAssured + kMaximum, kOk, "1 1 256/0/256", "create, type 1"},
        {{}, infoOf(2, 3, {0, 512, 1024}), kId + kType + kRates, kOk, "2 3 0/512/1024",
         "create, id 2, type 3, rates 0 256 1024, rates 0 512 1024"},
        {{}, infoOf(9, 5, {256, 256, 1024}), kType + kRates, kOk, "1 5 256/256/1024",
         "create, rates 0 0 1024, rates 0 256 1024, rates 256 256 1024"},
        {{}, infoOf(9, 4, {0, 0, kHighest}), kType + kMaximum, kOk, "1 4 0/0/" + kHighestText,
         "create, type 4, rates 0 0 " + kHighestText},
        // A setter that refuses on the way has the new profile taken back.
        {{}, infoOf(9, 2, {0, 0, 0}), kType + kAssured, kRateError, "none", "create, type 2, delete",
         {refused("tContProfileAssuredRateSet error: name=gold, rate=0")}},
        {{}, infoOf(9, 4, {0, 0, 0}), kType + kMaximum, kRateError, "none", "create, type 4, delete",
         {refused("tContProfileMaximumRateSet error: name=gold, rate=0")}},
        {{}, infoOf(9, 5, {100, 100, 512}), kType + kRates, kRateError, "none", "create, rates 0 0 512, delete",
         {refused("tContProfileAssuredRateSet error: name=gold, rate=128")}},
    });
}

TEST_F(TContCreateAndSet, refusesBeforeAnythingIsDone) {
    const auto row = [](const tContProfileInfo& asked, unsigned int mask, Res res, const std::string& what) {
        return CreateAndSet{{}, asked, mask, res, "none", "",
                            what.empty() ? Lines{} : Lines{refused("tContProfileCreateAndSet: " + what)}};
    };
    check({
        row(infoOf(7, 9, {9, 9, 9}), kId, kOutOfRange, "tcontId domain error: 7"),
        row(infoOf(9, 3, {0, 0, 400}), kType + kMaximum, kOutOfRange, "maximumRate domain error: 400"),
        row(infoOf(9, 1, {255, 0, 0}), kType + kFixed, kOutOfRange, "fixedRate domain error: 255"),
        row(infoOf(9, 2, {0, kHighest + 1, 0}), kType + kAssured, kOutOfRange,
            "assuredRate domain error: " + std::to_string(kHighest + 1)),
        row(infoOf(9, 1, {0, 100, 0}), kType + kAssured, kOutOfRange, "assuredRate not configurable"),
        row(infoOf(9, 3, {1, 0, 0}), kType + kFixed, kOutOfRange, "fixedRate not configurable"),
        row(infoOf(9, 2, {0, 0, 0}), kType + kMaximum, kOutOfRange, "maximumRate not configurable"),
        row(infoOf(9, 3, {0, 512, 600}), kType + kAssured + kMaximum, kRateError, "Type 3 assured-max rate inconsistency"),
        row(infoOf(9, 5, {128, 0, 1024}), kFixed + kMaximum, kRateError, "Type 5 fixed-assured rate inconsistency"),
        row(infoOf(9, 5, {256, 0, 384}), kFixed + kMaximum, kRateError, "Type 5 max-fixed-assured rate inconsistency"),
        row(infoOf(9, 0, {0, 0, 0}), kType, onuQosResError, ""),
        // The order of the checks: id, type, fixed, assured, maximum.
        row(infoOf(7, 6, {1, 1, 1}), kId + kType + kRates, kOutOfRange, "tcontId domain error: 7"),
        row(infoOf(1, 1, {1, 1, 1}), kType + kRates, kOutOfRange, "fixedRate domain error: 1"),
        row(infoOf(1, 1, {256, 1, 1}), kType + kRates, kOutOfRange, "assuredRate not configurable"),
    });
}

TEST_F(TContCreateAndSet, changesProfilesInAnOrderThatKeepsTheirRules) {
    const auto best = infoOf(1, 5, {0, 0, 256}), mixed = infoOf(2, 5, {256, 256, 1024});
    const auto assured = infoOf(1, 3, {0, 256, 512}), assuredMore = infoOf(1, 3, {0, 768, 1024});
    const auto rates = [](const Rates& wanted) { return infoOf(9, 9, wanted); };
    check({
        {mixed, rates({0, 0, 256}), kRates, kOk, "2 5 0/0/256", "rates 0 256 1024, rates 0 0 1024, rates 0 0 256"},
        {best, rates({256, 256, 1024}), kRates, kOk, "1 5 256/256/1024",
         "rates 0 0 1024, rates 256 0 1024, rates 256 256 1024"},
        {mixed, rates({0, 0, 768}), kMaximum, kOk, "2 5 256/256/768", "rates 256 256 768"},
        {mixed, rates({256, 0, 512}), kAssured + kMaximum, kOk, "2 5 256/0/512", "rates 256 0 1024, rates 256 0 512"},
        // As low as the guaranteed sum allows: the maximum may still go first.
        {mixed, rates({512, 0, 768}), kRates, kRateError, "2 5 256/256/768", "rates 256 256 768",
         {refused("tContProfileFixedRateSet error: name=gold, rate=512")}},
        {assured, rates({0, 768, 1024}), kAssured + kMaximum, kOk, "1 3 0/768/1024",
         "rates 0 256 1024, rates 0 768 1024"},
        {assuredMore, rates({0, 256, 640}), kAssured + kMaximum, kOk, "1 3 0/256/640",
         "rates 0 256 1024, rates 0 256 640"},
        {infoOf(1, 3, {0, 512, 1024}), rates({0, 256, 768}), kAssured + kMaximum, kOk, "1 3 0/256/768",
         "rates 0 512 768, rates 0 256 768"},
        {assured, rates({0, 512, 0}), kAssured, kRateError, "1 3 0/256/512", "",
         {refused("tContProfileCreateAndSet: Type 3 assured-max rate inconsistency")}},
        // Without their bits, id, type and rates stay; another type starts from its defaults.
        {mixed, infoOf(5, 9, {9, 9, 9}), kId, kOk, "5 5 256/256/1024", "id 5"},
        {mixed, infoOf(9, 3, {9, 9, 9}), kType, kOk, "2 3 0/256/512", "type 3"},
        {mixed, infoOf(9, 5, {9, 9, 9}), kType, kOk, "2 5 256/256/1024", ""},
        {assured, infoOf(9, 5, {0, 0, 1024}), kType + kMaximum, kOk, "1 5 0/0/1024", "type 5, rates 0 0 1024"},
        {infoOf(1, 5, {0, 0, 2048}), infoOf(9, 3, {0, 256, 9}), kType + kAssured, kOk, "1 3 0/256/512", "type 3"},
        {infoOf(1, 5, {0, 0, 2048}), infoOf(9, 3, {0, 512, 9}), kType + kAssured, kRateError, "1 5 0/0/2048", "",
         {refused("tContProfileCreateAndSet: Type 3 assured-max rate inconsistency")}},
        {infoOf(1, 5, {0, 1024, 2048}), infoOf(9, 3, {0, 512, 1024}), kType + kAssured + kMaximum, kOk,
         "1 3 0/512/1024", "type 3, rates 0 256 1024, rates 0 512 1024"},
        // What was done of an existing profile stays done.
        {assured, infoOf(4, 5, {100, 156, 640}), kId + kType + kRates, kRateError, "4 5 0/0/640",
         "id 4, type 5, rates 0 0 640", {refused("tContProfileFixedRateSet error: name=gold, rate=128")}},
    });
}
// clang-format on

TEST_F(TContCreateAndSet, namesAreCheckedByTheCreationAndUseFirst) {
    const std::string tooLong(65, 'n');
    EXPECT_EQ(module_.tContProfileCreateAndSet(tooLong, {}, 0), onuQosResBadName);
    EXPECT_EQ(module_.tContProfileCreateAndSet("", {}, 0), onuQosResError);
    EXPECT_EQ(module_.tContProfileCreateAndSet(tooLong, infoOf(7, 5, {}), kId), onuQosResOutOfRange);
    EXPECT_THAT(logLines(), ElementsAre(refused("tContProfileCreate error: name=" + tooLong),
                                        refused("tContProfileCreate error: name="),
                                        refused("tContProfileCreateAndSet: tcontId domain error: 7")));
    makeTCont("gold");
    makeFlow("hsi");
    ASSERT_EQ(bind(101, "internet", "hsi", "gold", 10), onuQosResOk);
    EXPECT_EQ(module_.tContProfileCreateAndSet("gold", infoOf(7, 9, {}), kId + kType), onuQosResApplied);
    EXPECT_THAT(logLines(),
                ElementsAre(refused("tContProfileCreateAndSet: T-CONT profile applied error: gold")));
}

TEST_F(TContCreateAndSet, aNewProfileStaysWhenItCannotBeTakenBack) {
    const std::string deleteFailed = refused("tContProfileDelete failed: name=gold");
    fail("onuTContProfileParmsSet");
    fail("onuTContProfileDelete");
    EXPECT_EQ(module_.tContProfileCreateAndSet("gold", infoOf(2, 5, {}), kId), onuQosResError);
    EXPECT_EQ(tContText("gold"), "1 5 0/0/256 2 1 0");
    expectMirrorAgrees();
    EXPECT_EQ(logLines().back(), deleteFailed);

    // A service profile that names the profile before it exists protects it from the roll back.
    startAgain();
    standin::serviceProfiles::add({.name = "internet", .tContProfile = "gold", .flowProfile = ""});
    fail("onuTContProfileParmsSet", 7);
    EXPECT_EQ(module_.tContProfileCreateAndSet("gold", infoOf(2, 5, {}), kId), onuQosResError);
    EXPECT_EQ(tContText("gold"), "1 5 0/0/256 2 1 0");
    EXPECT_EQ(logLines().back(), deleteFailed);
}

TEST_F(TContCreateAndSet, copiesIdTypeAndRates) {
    makeTCont("source", tContType3, 4);
    makeFlow("hsi");
    ASSERT_EQ(module_.tContProfileMaximumRateSet("source", 640), onuQosResOk);
    ASSERT_EQ(module_.tContProfileSrdbaWeightSet("source", 5), onuQosResOk);
    ASSERT_EQ(bind(101, "internet", "hsi", "source", 10), onuQosResOk);
    EXPECT_EQ(pushesOf([this] { EXPECT_EQ(module_.tContProfileCopy("source", "gold"), onuQosResOk); }),
              "create, id 4, type 3, rates 0 256 640");
    EXPECT_EQ(tContText("gold"), "4 3 0/256/640 2 1 0");
    EXPECT_THAT(tables().tContProfileMap.at("gold").appliedIntfs, IsEmpty());
    EXPECT_EQ(module_.tContProfileCopy("source", std::string(65, 'n')), onuQosResBadName);
    EXPECT_EQ(logLines().back(), errorLine("tContProfileCopy",
                                           "ONUQOS ERROR - tContProfileCopy: "
                                           "tContProfileCreateAndSet failed, rv: 2"));
    expectMirrorAgrees();
}
