#include <gmock/gmock.h>

#include <optional>
#include <sstream>

#include "moduleTest.h"

using testing::ElementsAre;

namespace {

using Lines = std::vector<std::string>;
using enum onuQos::onuQosRes;
const unsigned int kHighest = kTenG ? 9953280 : 1244160;
constexpr unsigned int kId = 2, kType = 4, kFixed = 8, kAssured = 16, kMaximum = 32;
constexpr unsigned int kRates = kFixed + kAssured + kMaximum;

/// A profile as a request asks for it, or as it is to stand before one.
struct Asked {
    unsigned int id = 0;
    int type = 0;
    unsigned int fixed = 0, assured = 0, maximum = 0;

    tContProfileInfo info() const {
        return {.name = "ignored",
                .tContId = id,
                .tContType = static_cast<onuTContProfileType>(type),
                .fixedRate = fixed,
                .assuredRate = assured,
                .maximumRate = maximum,
                .dbaAllocType = tContDbaMode1,
                .dbaWeight = 9,
                .dbaPriority = 9,
                .appliedIntfs = {9}};
    }
};

struct Row {
    std::optional<Asked> before;  ///< of profile "gold"; none when it does not exist
    Asked asked;
    unsigned int mask;
    onuQos::onuQosRes res;
    std::string left;    ///< as `tContText`
    std::string pushes;  ///< "create", "delete", "id 2", "type 3", "0/256/512" in their order
    Lines log = {};
};

const char* const kRefused = "ONUQOS ERROR - tContProfileCreateAndSet: ";

}  // namespace

class TContCreateAndSet : public ModuleTest {
protected:
    static std::string pushesOf(const std::function<void()>& change) {
        std::string pushes;
        const auto add = [&pushes](const std::string& push) { pushes += (pushes.empty() ? "" : " ") + push; };
        for (const auto& [operation, arguments] : callsOf(change)) {
            if (operation == standin::Operation::onuTContProfileCreate) {
                add("create");
            } else if (operation == standin::Operation::onuTContProfileDelete) {
                add("delete");
            } else if (operation == standin::Operation::onuTContProfileParmsSet) {
                const std::string name = "gold, {, ";
                EXPECT_EQ(arguments.substr(0, name.size()), name);
                std::istringstream fields(arguments.substr(name.size()));
                unsigned int id = 0, type = 0, fixed = 0, assured = 0, maximum = 0;
                char comma = 0;
                fields >> id >> comma >> type >> comma >> fixed >> comma >> assured >> comma >> maximum;
                const int selector = std::stoi(arguments.substr(arguments.rfind(' ') + 1));
                add(selector == 1    ? "id " + std::to_string(id)
                    : selector == 11 ? "type " + std::to_string(type)
                                     : std::to_string(fixed) + "/" + std::to_string(assured) + "/" +
                                           std::to_string(maximum));
            }
        }
        return pushes;
    }

    void check(const std::vector<Row>& rows) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const Row& row = rows[i];
            SCOPED_TRACE("row " + std::to_string(i) + ", mask " + std::to_string(row.mask));
            startAgain();
            if (row.before) {
                ASSERT_EQ(module_.tContProfileCreateAndSet("gold", row.before->info(), kId + kType + kRates),
                          onuQosResOk);
            }
            Res res{};
            const std::string pushes =
                pushesOf([&] { res = module_.tContProfileCreateAndSet("gold", row.asked.info(), row.mask); });
            EXPECT_EQ(res, row.res);
            EXPECT_EQ(tContText("gold"), row.left);
            EXPECT_EQ(pushes, row.pushes);
            EXPECT_EQ(logLines(), row.log);
            expectMirrorAgrees();
        }
    }

    static std::string refused(const std::string& what) {
        return errorLine("tContProfileCreateAndSet", kRefused + what);
    }
    static std::string failed(const std::string& what) {
        return errorLine("tContProfileCreateAndSet", "ONUQOS ERROR - " + what);
    }
};

// clang-format off
TEST_F(TContCreateAndSet, makesNewProfiles) {
    const std::string highest = std::to_string(kHighest);
    check({
        {{}, {9, 9, 9, 9, 9}, 0, onuQosResOk, "1 5 0/0/256 2 1 0", "create"},
        {{}, {9, 9, 9, 9, 9}, 1 + 64 + 128 + 256 + 512, onuQosResOk, "1 5 0/0/256 2 1 0", "create"},
        {{}, {0, 9, 9, 9, 9}, kId, onuQosResOk, "1 5 0/0/256 2 1 0", "create"},
        {{}, {6, 9, 9, 9, 9}, kId, onuQosResOk, "6 5 0/0/256 2 1 0", "create id 6"},
        {{}, {9, 1, 9, 9, 9}, kType, onuQosResOk, "1 1 256/0/256 2 1 0", "create type 1"},
        {{}, {9, 1, 1000, 9, 9}, kType + kFixed, onuQosResOk, "1 1 1024/0/1024 2 1 0",
         "create type 1 1024/0/1024"},
        {{}, {9, 1, 0, 0, 256}, kType + kAssured + kMaximum, onuQosResOk, "1 1 256/0/256 2 1 0", "create type 1"},
        {{}, {2, 3, 0, 512, 1024}, kId + kType + kRates, onuQosResOk, "2 3 0/512/1024 2 1 0",
         "create id 2 type 3 0/256/1024 0/512/1024"},
        {{}, {9, 5, 256, 256, 1024}, kType + kRates, onuQosResOk, "1 5 256/256/1024 2 1 0",
         "create 0/0/1024 0/256/1024 256/256/1024"},
        {{}, {9, 4, 0, 0, kHighest}, kType + kMaximum, onuQosResOk, "1 4 0/0/" + highest + " 2 1 0",
         "create type 4 0/0/" + highest},
    });
}

TEST_F(TContCreateAndSet, refusesBeforeAnythingIsDone) {
    const auto row = [](Asked asked, unsigned int mask, Res res, const std::string& what) {
        return Row{{}, asked, mask, res, "none", "", what.empty() ? Lines{} : Lines{refused(what)}};
    };
    check({
        row({7, 9, 9, 9, 9}, kId, onuQosResOutOfRange, "tcontId domain error: 7"),
        row({9, 3, 0, 0, 400}, kType + kMaximum, onuQosResOutOfRange, "maximumRate domain error: 400"),
        row({9, 1, 255, 0, 0}, kType + kFixed, onuQosResOutOfRange, "fixedRate domain error: 255"),
        row({9, 2, 0, kHighest + 1, 0}, kType + kAssured, onuQosResOutOfRange,
            "assuredRate domain error: " + std::to_string(kHighest + 1)),
        row({9, 5, 0xFFFFFFFF, 0, 0}, kType + kFixed, onuQosResOutOfRange, "fixedRate domain error: 4294967295"),
        row({9, 1, 0, 100, 0}, kType + kAssured, onuQosResOutOfRange, "assuredRate not configurable"),
        row({9, 3, 1, 0, 0}, kType + kFixed, onuQosResOutOfRange, "fixedRate not configurable"),
        row({9, 2, 0, 0, 0}, kType + kMaximum, onuQosResOutOfRange, "maximumRate not configurable"),
        row({9, 3, 0, 512, 600}, kType + kAssured + kMaximum, onuQosResRateError,
            "Type 3 assured-max rate inconsistency"),
        row({9, 5, 128, 0, 1024}, kFixed + kMaximum, onuQosResRateError, "Type 5 fixed-assured rate inconsistency"),
        row({9, 5, 256, 0, 384}, kFixed + kMaximum, onuQosResRateError,
            "Type 5 max-fixed-assured rate inconsistency"),
        row({9, 0, 0, 0, 0}, kType, onuQosResError, ""),
        row({9, 6, 0, 0, 0}, kType + kRates, onuQosResError, ""),
        row({9, 6, 1, 0, 0}, kType + kFixed, onuQosResOutOfRange, "fixedRate not configurable"),
        // The order of the checks: id, type, fixed, assured, maximum.
        row({7, 6, 1, 1, 1}, kId + kType + kRates, onuQosResOutOfRange, "tcontId domain error: 7"),
        row({1, 1, 1, 1, 1}, kType + kRates, onuQosResOutOfRange, "fixedRate domain error: 1"),
        row({1, 1, 256, 1, 1}, kType + kRates, onuQosResOutOfRange, "assuredRate not configurable"),
    });
}

TEST_F(TContCreateAndSet, takesANewProfileBackWhenASetterRefuses) {
    check({
        {{}, {9, 2, 0, 0, 0}, kType + kAssured, onuQosResRateError, "none", "create type 2 delete",
         {failed("tContProfileAssuredRateSet error: name=gold, rate=0")}},
        {{}, {9, 4, 0, 0, 0}, kType + kMaximum, onuQosResRateError, "none", "create type 4 delete",
         {failed("tContProfileMaximumRateSet error: name=gold, rate=0")}},
        {{}, {9, 5, 100, 100, 512}, kType + kRates, onuQosResRateError, "none", "create 0/0/512 delete",
         {failed("tContProfileAssuredRateSet error: name=gold, rate=128")}},
    });
}

TEST_F(TContCreateAndSet, changesProfilesInAnOrderThatKeepsTheirRules) {
    const Asked best{1, 5, 0, 0, 256};
    const Asked mixed{2, 5, 256, 256, 1024};
    const Asked assured{1, 3, 0, 256, 512};
    const Asked assuredMore{1, 3, 0, 768, 1024};
    check({
        {mixed, {9, 9, 0, 0, 256}, kRates, onuQosResOk, "2 5 0/0/256 2 1 0", "0/256/1024 0/0/1024 0/0/256"},
        {best, {9, 9, 256, 256, 1024}, kRates, onuQosResOk, "1 5 256/256/1024 2 1 0",
         "0/0/1024 256/0/1024 256/256/1024"},
        {mixed, {9, 9, 0, 0, 768}, kMaximum, onuQosResOk, "2 5 256/256/768 2 1 0", "256/256/768"},
        {mixed, {9, 9, 256, 0, 512}, kAssured + kMaximum, onuQosResOk, "2 5 256/0/512 2 1 0",
         "256/0/1024 256/0/512"},
        // As low as the guaranteed sum allows: the maximum may still go first.
        {mixed, {9, 9, 512, 0, 768}, kRates, onuQosResRateError, "2 5 256/256/768 2 1 0", "256/256/768",
         {failed("tContProfileFixedRateSet error: name=gold, rate=512")}},
        {assured, {9, 9, 0, 768, 1024}, kAssured + kMaximum, onuQosResOk, "1 3 0/768/1024 2 1 0",
         "0/256/1024 0/768/1024"},
        {assuredMore, {9, 9, 0, 256, 640}, kAssured + kMaximum, onuQosResOk, "1 3 0/256/640 2 1 0",
         "0/256/1024 0/256/640"},
        {assured, {9, 9, 0, 512, 0}, kAssured, onuQosResRateError, "1 3 0/256/512 2 1 0", "",
         {refused("Type 3 assured-max rate inconsistency")}},
        // Without their bits, id, type and rates stay; another type starts from its defaults.
        {mixed, {5, 9, 9, 9, 9}, kId, onuQosResOk, "5 5 256/256/1024 2 1 0", "id 5"},
        {mixed, {9, 3, 9, 9, 9}, kType, onuQosResOk, "2 3 0/256/512 2 1 0", "type 3"},
        {mixed, {9, 5, 9, 9, 9}, kType, onuQosResOk, "2 5 256/256/1024 2 1 0", ""},
        {assured, {9, 5, 0, 0, 1024}, kType + kMaximum, onuQosResOk, "1 5 0/0/1024 2 1 0", "type 5 0/0/1024"},
        {assured, {9, 2, 0, 512, 0}, kType + kAssured, onuQosResOk, "1 2 0/512/512 2 1 0", "type 2 0/512/512"},
        // What was done of an existing profile stays done.
        {assured, {4, 5, 100, 156, 640}, kId + kType + kRates, onuQosResRateError, "4 5 0/0/640 2 1 0",
         "id 4 type 5 0/0/640", {failed("tContProfileFixedRateSet error: name=gold, rate=128")}},
    });
}
// clang-format on

TEST_F(TContCreateAndSet, namesAreCheckedByTheCreationAndUseFirst) {
    const std::string tooLong(65, 'n');
    EXPECT_EQ(module_.tContProfileCreateAndSet(tooLong, {}, 0), onuQosResBadName);
    EXPECT_EQ(module_.tContProfileCreateAndSet("", {}, 0), onuQosResError);
    EXPECT_EQ(module_.tContProfileCreateAndSet(tooLong, Asked{7, 5}.info(), kId), onuQosResOutOfRange);
    EXPECT_THAT(logLines(),
                ElementsAre(failed("tContProfileCreate error: name=" + tooLong),
                            failed("tContProfileCreate error: name="), refused("tcontId domain error: 7")));
    makeTCont("gold");
    makeFlow("hsi");
    ASSERT_EQ(bind(101, "internet", "hsi", "gold", 10), onuQosResOk);
    const Snapshot before = snapshot();
    EXPECT_EQ(module_.tContProfileCreateAndSet("gold", Asked{7, 9}.info(), kId + kType), onuQosResApplied);
    EXPECT_EQ(snapshot(), before);
    EXPECT_THAT(logLines(), ElementsAre(refused("T-CONT profile applied error: gold")));
}

TEST_F(TContCreateAndSet, copiesIdTypeAndRates) {
    makeTCont("source", tContType3, 4);
    makeFlow("hsi");
    ASSERT_EQ(module_.tContProfileMaximumRateSet("source", 640), onuQosResOk);
    ASSERT_EQ(module_.tContProfileSrdbaWeightSet("source", 5), onuQosResOk);
    ASSERT_EQ(bind(101, "internet", "hsi", "source", 10), onuQosResOk);
    EXPECT_EQ(pushesOf([this] { EXPECT_EQ(module_.tContProfileCopy("source", "gold"), onuQosResOk); }),
              "create id 4 type 3 0/256/640");
    EXPECT_EQ(tContText("source"), "4 3 0/256/640 2 5 0");
    EXPECT_EQ(tContText("gold"), "4 3 0/256/640 2 1 0");
    EXPECT_TRUE(tables().tContProfileMap.at("gold").appliedIntfs.empty());
    expectMirrorAgrees();

    EXPECT_EQ(module_.tContProfileCopy("tin", "gold"), onuQosResNotFound);
    EXPECT_EQ(module_.tContProfileCopy("source", "gold"), onuQosResExists);
    EXPECT_EQ(module_.tContProfileCopy("gold", "gold"), onuQosResExists);
    EXPECT_EQ(logLines(), std::vector<std::string>{});
    const std::string tooLong(65, 'n');
    EXPECT_EQ(module_.tContProfileCopy("source", tooLong), onuQosResBadName);
    EXPECT_THAT(
        logLines(),
        ElementsAre(failed("tContProfileCreate error: name=" + tooLong),
                    errorLine("tContProfileCopy",
                              "ONUQOS ERROR - tContProfileCopy: tContProfileCreateAndSet failed, rv: 2")));
}
