#include <gtest/gtest.h>

#include <random>

#include "onuqos/rules/tContRules.h"

namespace {

using namespace rules;

// A class of few rates, so that every value can be tried; fixed rates above the fine ones have a step of
// their own.
constexpr std::uint32_t kLeastTried = kFineFixedRateMax - 2048;
constexpr ClassLimits kLimits{64, 256, kFineFixedRateMax + 4096, kFineFixedRateMax + 4096, 128, 1024};

RateVerdict verdictOn(const TContRateKind& kind, onuTContProfileType type, const TContRates& stored,
                      std::uint32_t asked) {
    return tContRateVerdict(
        tContRateRules(type), kind, type, stored, asked, kLimits,
        [&kind](std::uint32_t rate) { return tContRateRounded(kLimits, kind.type, rate); });
}

TEST(TContRateVerdict, namesTheLegalValuesNextToARefusedOne) {
    std::mt19937 random(7);
    const auto among = [&random](std::uint32_t from, std::uint32_t to) {
        return from + static_cast<std::uint32_t>(random() % (to - from + 1));
    };
    int refused = 0;
    for (int round = 0; round < 4000; ++round) {
        const TContRateKind& kind = kTContRateKinds[random() % 3];
        const onuTContProfileType type{static_cast<std::int32_t>(among(1, 5))};
        TContRates stored = tContDefaultRates(type);
        for (const TContRateKind& other : {kTContMaximum, kTContFixed, kTContAssured}) {
            const std::uint32_t value = round % 2 == 0 ? among(0, 2048) : among(kLeastTried, kLimits.rateMax);
            if (const RateVerdict set = verdictOn(other, type, stored, value)) {
                stored = set.rates;
            }
        }
        const std::uint32_t asked = round % 3 == 0 ? among(0, 1024) : among(0, kLimits.rateMax + 500);
        const RateVerdict verdict = verdictOn(kind, type, stored, asked);
        if (verdict || verdict.reason == RateReason::notCarried) {
            continue;
        }
        ++refused;
        std::optional<std::uint32_t> below, above;
        for (std::uint32_t value = 0; value <= kLimits.rateMax; value += 128) {
            const RateVerdict tried = verdictOn(kind, type, stored, value);
            const bool legal = tried && tried.rates.*kind.value == value;
            if (legal && value <= asked) {
                below = value;
            }
            if (legal && value >= asked && !above) {
                above = value;
            }
        }
        ASSERT_EQ(verdict.nearestBelow, below)
            << type << " rate " << kind.type << " asked " << asked << " of " << stored.fixed << "/"
            << stored.assured << "/" << stored.maximum;
        ASSERT_EQ(verdict.nearestAbove, above)
            << type << " rate " << kind.type << " asked " << asked << " of " << stored.fixed << "/"
            << stored.assured << "/" << stored.maximum;
        ASSERT_EQ(verdict.rates, stored);
    }
    EXPECT_GT(refused, 500);
}

TEST(TContRateVerdict, holdsTheRangeAndTheStep) {
    const RateVerdict verdict = tContRateVerdict(
        tContRateRules(tContType3), kTContAssured, tContType3, {.fixed = 0, .assured = 256, .maximum = 512},
        1000000, kGponLimits,
        [](std::uint32_t rate) { return tContRateRounded(kGponLimits, tContRateAssured, rate); });
    EXPECT_EQ(verdict.reason, RateReason::type3Maximum);
    EXPECT_EQ(verdict.result(), Result::rateError);
    EXPECT_EQ(verdict.least, 256);
    EXPECT_EQ(verdict.most, 256);
    EXPECT_EQ(verdict.step, 64);
    EXPECT_EQ(verdict.nearestBelow, 256);
    EXPECT_EQ(verdict.nearestAbove, std::nullopt);

    const TContRates least = tContDefaultRates(tContType1);
    EXPECT_EQ(verdictOn(kTContFixed, tContType1, least, kFineFixedRateMax).step, 128);
    EXPECT_EQ(verdictOn(kTContFixed, tContType1, least, kFineFixedRateMax + 1).step, 1024);
}

}  // namespace
