#include <gmock/gmock.h>

#include <array>

#include "moduleTest.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Rates = std::array<unsigned int, 3>;  ///< fixed, assured, maximum
using enum onuQos::onuQosRes;

std::string text(const Rates& rates) {
    return std::to_string(rates[0]) + "/" + std::to_string(rates[1]) + "/" + std::to_string(rates[2]);
}

constexpr unsigned int kDefault = 0xFFFFFFFF;
const unsigned int kHighest = kTenG ? 9953280 : 1244160;

}  // namespace

class TContSetters : public ModuleTest {
protected:
    /// What `change` has the hardware layer take, "name, record, selector".
    std::vector<std::string> pushesOf(const std::function<void()>& change) {
        std::vector<std::string> pushes;
        for (const auto& [operation, arguments] : callsOf(change)) {
            if (operation == standin::Operation::onuTContProfileParmsSet) {
                pushes.push_back(arguments);
            }
        }
        return pushes;
    }

    /// Profile "gold" of this type with these rates, in the table and in the mirror.
    void makeGold(onuTContProfileType type, const Rates& rates) {
        startAgain();
        tContProfileInfo wanted;
        module_.tContProfileDefaultTypeGet(type, wanted);
        wanted.tContType = type;
        wanted.fixedRate = rates[0];
        wanted.assuredRate = rates[1];
        wanted.maximumRate = rates[2];
        const unsigned int maximum = module_.tContProfileIsRateConfigurable(type, tContRateMaximum) ? 32 : 0;
        const unsigned int assured = type == tContType5 ? 0 : 16;
        ASSERT_EQ(module_.tContProfileCreateAndSet("gold", wanted, 2 + 4 + 8 + assured + maximum),
                  onuQosResOk);
        if (type == tContType5) {
            ASSERT_EQ(module_.tContProfileAssuredRateSet("gold", rates[1]), onuQosResOk);
        }
        ASSERT_THAT(tContText("gold"), testing::HasSubstr(" " + text(rates) + " "));
    }
};

TEST_F(TContSetters, aRateKeepsTheRulesOfItsType) {
    using Setter = Res (onuQos::*)(const std::string&, unsigned int);
    constexpr Setter kFixed = &onuQos::tContProfileFixedRateSet;
    constexpr Setter kAssured = &onuQos::tContProfileAssuredRateSet;
    constexpr Setter kMaximum = &onuQos::tContProfileMaximumRateSet;
    struct Row {
        onuTContProfileType type;
        Rates rates;
        Setter set;
        unsigned int rate;
        Res res;
        Rates left;
    };
    const Row rows[] = {
        {tContType1, {256, 0, 256}, kFixed, 512, onuQosResOk, {512, 0, 512}},
        {tContType1,
         {256, 0, 256},
         kFixed,
         300,
         onuQosResOk,
         kTenG ? Rates{384, 0, 384} : Rates{320, 0, 320}},
        {tContType1,
         {256, 0, 256},
         kFixed,
         25601,
         onuQosResOk,
         kTenG ? Rates{26624, 0, 26624} : Rates{25664, 0, 25664}},
        {tContType1, {256, 0, 256}, kFixed, kHighest, onuQosResOk, {kHighest, 0, kHighest}},
        {tContType1, {256, 0, 256}, kFixed, kHighest + 1, onuQosResRateError, {256, 0, 256}},
        {tContType1, {1024, 0, 1024}, kFixed, kDefault, onuQosResOk, {256, 0, 256}},
        {tContType1, {1024, 0, 1024}, kFixed, kDefault - 1, onuQosResRateError, {1024, 0, 1024}},
        {tContType1, {1024, 0, 1024}, kFixed, 255, onuQosResRateError, {1024, 0, 1024}},
        {tContType1, {1024, 0, 1024}, kFixed, 0, onuQosResRateError, {1024, 0, 1024}},
        {tContType1, {1024, 0, 1024}, kFixed, 897 + 64, onuQosResOk, {1024, 0, 1024}},
        {tContType1, {256, 0, 256}, kAssured, 0, onuQosResOutOfRange, {256, 0, 256}},
        {tContType1, {256, 0, 256}, kMaximum, 256, onuQosResOutOfRange, {256, 0, 256}},

        {tContType2, {0, 256, 256}, kFixed, 0, onuQosResOutOfRange, {0, 256, 256}},
        {tContType2, {0, 256, 256}, kAssured, 1000, onuQosResOk, {0, 1024, 1024}},
        {tContType2,
         {0, 256, 256},
         kAssured,
         25601,
         onuQosResOk,
         kTenG ? Rates{0, 25728, 25728} : Rates{0, 25664, 25664}},
        {tContType2, {0, 1024, 1024}, kAssured, kDefault, onuQosResOk, {0, 256, 256}},
        {tContType2, {0, 1024, 1024}, kAssured, 0, onuQosResRateError, {0, 1024, 1024}},
        {tContType2, {0, 256, 256}, kMaximum, 512, onuQosResOutOfRange, {0, 256, 256}},

        {tContType3, {0, 256, 512}, kFixed, kDefault, onuQosResOutOfRange, {0, 256, 512}},
        {tContType3, {0, 256, 512}, kAssured, 300, onuQosResRateError, {0, 256, 512}},
        {tContType3, {0, 256, 512}, kAssured, 256, onuQosResOk, {0, 256, 512}},
        {tContType3, {0, 256, 1024}, kAssured, 768, onuQosResOk, {0, 768, 1024}},
        {tContType3, {0, 256, 1024}, kAssured, 769, onuQosResRateError, {0, 256, 1024}},
        {tContType3, {0, 512, 1024}, kAssured, 255, onuQosResRateError, {0, 512, 1024}},
        {tContType3, {0, 512, 1024}, kAssured, kDefault, onuQosResOk, {0, 256, 1024}},
        {tContType3, {0, 256, 512}, kMaximum, 400, onuQosResRateError, {0, 256, 512}},
        {tContType3, {0, 256, 512}, kMaximum, 600, onuQosResOk, {0, 256, 640}},
        {tContType3, {0, 512, 1024}, kMaximum, 768, onuQosResOk, {0, 512, 768}},
        {tContType3, {0, 512, 1024}, kMaximum, 640, onuQosResRateError, {0, 512, 1024}},
        {tContType3, {0, 512, 1024}, kMaximum, kDefault, onuQosResRateError, {0, 512, 1024}},

        {tContType4, {0, 0, 256}, kFixed, 256, onuQosResOutOfRange, {0, 0, 256}},
        {tContType4, {0, 0, 256}, kAssured, 256, onuQosResOutOfRange, {0, 0, 256}},
        {tContType4, {0, 0, 256}, kMaximum, 1000, onuQosResOk, {0, 0, 1024}},
        {tContType4, {0, 0, 1024}, kMaximum, kDefault, onuQosResOk, {0, 0, 256}},
        {tContType4, {0, 0, 1024}, kMaximum, 0, onuQosResRateError, {0, 0, 1024}},

        {tContType5, {0, 0, 256}, kAssured, 100, onuQosResRateError, {0, 0, 256}},
        {tContType5, {0, 0, 256}, kAssured, 256, onuQosResRateError, {0, 0, 256}},
        {tContType5, {0, 0, 512}, kAssured, 100, onuQosResRateError, {0, 0, 512}},
        {tContType5, {0, 0, 512}, kAssured, 256, onuQosResOk, {0, 256, 512}},
        {tContType5, {0, 0, 512}, kFixed, 256, onuQosResOk, {256, 0, 512}},
        {tContType5, {256, 0, 640}, kAssured, 128, onuQosResOk, {256, 128, 640}},
        {tContType5, {256, 128, 640}, kFixed, 0, onuQosResRateError, {256, 128, 640}},
        {tContType5, {256, 256, 1024}, kFixed, 0, onuQosResOk, {0, 256, 1024}},
        {tContType5, {256, 256, 1024}, kFixed, kDefault, onuQosResOk, {0, 256, 1024}},
        {tContType5, {256, 256, 1024}, kFixed, 513, onuQosResRateError, {256, 256, 1024}},
        {tContType5, {256, 256, 1024}, kMaximum, 768, onuQosResOk, {256, 256, 768}},
        {tContType5, {256, 256, 1024}, kMaximum, 640, onuQosResRateError, {256, 256, 1024}},
        {tContType5, {256, 256, 1024}, kMaximum, kDefault, onuQosResRateError, {256, 256, 1024}},
        {tContType5, {0, 0, 512}, kMaximum, kDefault, onuQosResOk, {0, 0, 256}},
        {tContType5, {0, 0, 512}, kMaximum, 255, onuQosResRateError, {0, 0, 512}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("type " + std::to_string(row.type) + " with " + text(row.rates) +
                     (row.set == kFixed     ? ": fixed "
                      : row.set == kAssured ? ": assured "
                                            : ": maximum ") +
                     std::to_string(row.rate));
        makeGold(row.type, row.rates);
        Res res{};
        const auto pushes = pushesOf([&] { res = (module_.*row.set)("gold", row.rate); });
        EXPECT_EQ(res, row.res);
        EXPECT_THAT(tContText("gold"), testing::HasSubstr(" " + text(row.left) + " "));
        if (row.left == row.rates) {
            EXPECT_THAT(pushes, IsEmpty());
        } else {
            const auto& [fixed, assured, maximum] = row.left;
            EXPECT_THAT(pushes, ElementsAre("gold, {, 0, 0, " + std::to_string(fixed) + ", " +
                                            std::to_string(assured) + ", " + std::to_string(maximum) +
                                            ", 0, 0, 0}, 6"));
        }
        expectMirrorAgrees();
        EXPECT_THAT(logLines(), IsEmpty());
    }
}

TEST_F(TContSetters, theOtherAttributesKeepTheirDomains) {
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
        std::string left;
        std::string pushed;  // "" when the hardware layer is not asked
    };
    // One profile goes through all rows.
    const Row rows[] = {
        {id, 0, onuQosResOk, "1 5 0/0/256 2 1 0", ""},
        {id, 7, onuQosResOutOfRange, "1 5 0/0/256 2 1 0", ""},
        {id, 6, onuQosResOk, "6 5 0/0/256 2 1 0", "gold, {, 6, 0, 0, 0, 0, 0, 0, 0}, 1"},
        {id, 6, onuQosResOk, "6 5 0/0/256 2 1 0", ""},
        {id, 0, onuQosResOk, "1 5 0/0/256 2 1 0", "gold, {, 1, 0, 0, 0, 0, 0, 0, 0}, 1"},
        {id, 0xFFFFFFFF, onuQosResOutOfRange, "1 5 0/0/256 2 1 0", ""},
        {id, 2, onuQosResOk, "2 5 0/0/256 2 1 0", "gold, {, 2, 0, 0, 0, 0, 0, 0, 0}, 1"},
        {type, 0, onuQosResOk, "2 5 0/0/256 2 1 0", ""},
        {type, 6, onuQosResError, "2 5 0/0/256 2 1 0", ""},
        {type, 0xFFFFFFFF, onuQosResError, "2 5 0/0/256 2 1 0", ""},
        {weight, 5, onuQosResOk, "2 5 0/0/256 2 5 0", "gold, {, 0, 0, 0, 0, 0, 0, 5, 0}, 8"},
        {weight, 5, onuQosResOk, "2 5 0/0/256 2 5 0", "gold, {, 0, 0, 0, 0, 0, 0, 5, 0}, 8"},
        {priority, 7, onuQosResOk, "2 5 0/0/256 2 5 7", "gold, {, 0, 0, 0, 0, 0, 0, 0, 7}, 9"},
        {mode, 2, onuQosResOk, "2 5 0/0/256 2 5 7", ""},
        {mode, 0, onuQosResOutOfRange, "2 5 0/0/256 2 5 7", ""},
        {mode, 3, onuQosResOutOfRange, "2 5 0/0/256 2 5 7", ""},
        {mode, 1, onuQosResOk, "2 5 0/0/256 1 5 7", "gold, {, 0, 0, 0, 0, 0, 1, 5, 7}, 10"},
        {type, 3, onuQosResOk, "2 3 0/256/512 1 5 7", "gold, {, 2, 3, 0, 256, 512, 0, 0, 0}, 11"},
        {type, 3, onuQosResOk, "2 3 0/256/512 1 5 7", ""},
        {type, 1, onuQosResOk, "2 1 256/0/256 1 5 7", "gold, {, 2, 1, 256, 0, 256, 0, 0, 0}, 11"},
        {mode, 1, onuQosResOutOfRange, "2 1 256/0/256 1 5 7", ""},
        {weight, 0xFFFFFFFF, onuQosResOk, "2 1 256/0/256 1 4294967295 7",
         "gold, {, 0, 0, 0, 0, 0, 0, 4294967295, 0}, 8"},
        {priority, 0, onuQosResOk, "2 1 256/0/256 1 4294967295 0", "gold, {, 0, 0, 0, 0, 0, 0, 0, 0}, 9"},
        {type, 2, onuQosResOk, "2 2 0/256/256 1 4294967295 0", "gold, {, 2, 2, 0, 256, 256, 0, 0, 0}, 11"},
        {type, 4, onuQosResOk, "2 4 0/0/256 1 4294967295 0", "gold, {, 2, 4, 0, 0, 256, 0, 0, 0}, 11"},
        {type, 0, onuQosResOk, "2 5 0/0/256 1 4294967295 0", "gold, {, 2, 5, 0, 0, 256, 0, 0, 0}, 11"},
    };
    makeTCont("gold");
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const Row& row = rows[i];
        SCOPED_TRACE("row " + std::to_string(i) + ", value " + std::to_string(row.value));
        Res res{};
        const auto pushes = pushesOf([&] { res = row.set(row.value); });
        EXPECT_EQ(res, row.res);
        EXPECT_EQ(tContText("gold"), row.left);
        EXPECT_EQ(pushes, row.pushed.empty() ? std::vector<std::string>{} : std::vector{row.pushed});
        EXPECT_THAT(logLines(), IsEmpty());
    }
    expectMirrorAgrees();
}

TEST_F(TContSetters, nameAndUseAreCheckedBeforeTheValue) {
    makeFlow("hsi");
    makeTCont("gold", tContType1);
    ASSERT_EQ(bind(101, "internet", "hsi", "gold", 10), onuQosResOk);
    const std::function<Res(const std::string&)> setters[] = {
        [this](const std::string& name) { return module_.tContProfileIdSet(name, 7); },
        [this](const std::string& name) { return module_.tContProfileTypeSet(name, onuTContProfileType{6}); },
        [this](const std::string& name) { return module_.tContProfileFixedRateSet(name, 1); },
        [this](const std::string& name) { return module_.tContProfileAssuredRateSet(name, 1); },
        [this](const std::string& name) { return module_.tContProfileMaximumRateSet(name, 1); },
        [this](const std::string& name) { return module_.tContProfileAllocTypeSet(name, tContDbaMode0); },
        [this](const std::string& name) { return module_.tContProfileSrdbaWeightSet(name, 1); },
        [this](const std::string& name) { return module_.tContProfileSrdbaPrioritySet(name, 0); },
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
