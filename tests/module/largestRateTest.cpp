#include "onuqos/rules/largestRate.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace rules;

struct Priced {
    std::uint32_t rate, cost;
};

/// Every legal rate of the class and what it costs, from tables of its own.
std::vector<Priced> priceList(const ClassLimits& limits, onuTContProfileRateType type) {
    const std::vector<std::pair<std::uint32_t, std::uint32_t>> percents =
        type == tContRateFixed
            ? std::vector<std::pair<std::uint32_t, std::uint32_t>>{{511, 400},  {1023, 225}, {2047, 138},
                                                                   {4031, 94},  {7999, 51},  {15999, 29},
                                                                   {31999, 19}, {63999, 13}, {127999, 10},
                                                                   {255999, 9}, {~0U, 8}}
            : std::vector<std::pair<std::uint32_t, std::uint32_t>>{{2047, 50},  {4031, 44},  {7999, 26},
                                                                   {15999, 16}, {31999, 12}, {63999, 10},
                                                                   {511999, 8}, {~0U, 7}};
    std::vector<Priced> prices;
    auto band = percents.begin();
    for (std::uint32_t rate = 256; rate <= limits.rateMax;
         rate += type == tContRateFixed && rate >= 25600 ? limits.coarseFixedRateStep : limits.rateStep) {
        while (rate > band->first) {
            ++band;
        }
        prices.push_back({rate, rate + (rate * band->second / 100 + 63) / 64 * 64});
    }
    return prices;
}

class LargestRate : public testing::TestWithParam<std::tuple<const ClassLimits*, onuTContProfileType>> {};

TEST_P(LargestRate, isTheOneThatTryingThemAllFinds) {
    const auto& [limits, type] = GetParam();
    const bool isFixed = type == tContType1;
    const auto prices = priceList(*limits, isFixed ? tContRateFixed : tContRateAssured);
    const std::uint32_t most = isFixed || type == tContType2 ? limits->rateMax : limits->rateMax - 256;
    std::mt19937 random(11);
    for (int round = 0; round < 600; ++round) {
        // Half the rooms lie among the narrow bands, and one in four at the very cost of a rate or beside it.
        const std::uint32_t top = round % 2 == 0 ? 70000 : limits->totalMax + 100000;
        std::uint32_t room = static_cast<std::uint32_t>(random() % top);
        if (round % 4 == 0) {
            room = prices[random() % prices.size()].cost + static_cast<std::uint32_t>(random() % 3) - 1;
        }
        const bool byFixed = isFixed && round % 3 == 0;
        const RatePair available{.fixed = byFixed || !isFixed ? room : limits->totalMax * 2,
                                 .assured = byFixed ? limits->totalMax * 2 : room};
        std::uint32_t expected = 0;
        for (const auto& [rate, cost] : prices) {
            if (cost <= room && rate <= most) {
                expected = rate;
            }
        }
        const RatePair found =
            largestRates(type, {}, *limits, [&](RatePair rate) { return admits(available, rate); });
        ASSERT_EQ(found, (isFixed ? RatePair{.fixed = expected, .assured = 0}
                                  : RatePair{.fixed = 0, .assured = expected}))
            << "room " << room;
    }
}

INSTANTIATE_TEST_SUITE_P(ByClassAndType, LargestRate,
                         testing::Combine(testing::Values(&kGponLimits, &kTenGLimits),
                                          testing::Values(tContType1, tContType2, tContType3)),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param) == &kGponLimits ? "Gpon" : "TenG") +
                                    "Type" + std::to_string(std::get<1>(test.param));
                         });

TEST(LargestRates, keepTheOtherRateOfTypeFive) {
    struct Case {
        const char* name;
        RatePair asked, available, largest;
    };
    constexpr Case kCases[] = {
        {"assured beside the fixed rate", {1024, 10240}, {5000, 5000}, {1024, 1664}},
        {"fixed beside the assured rate", {4032, 1024}, {5000, 9000}, {2560, 1024}},
        {"fixed alone", {4032, 10240}, {5000, 5000}, {2560, 0}},
        {"no assured rate is left", {1024, 256}, {2500, 2500}, {1024, 0}},
        {"a fixed rate that needs the assured one", {64, 192}, {1000, 400}, {0, 0}},
        {"nothing fits", {1024, 1024}, {100, 100}, {0, 0}},
    };
    for (const Case& test : kCases) {
        EXPECT_EQ(largestRates(tContType5, test.asked, kGponLimits,
                               [&test](RatePair rate) { return admits(test.available, rate); }),
                  test.largest)
            << test.name;
    }
}

TEST(LargestRates, ofATypeThatGuaranteesNothingAreNone) {
    EXPECT_EQ(largestRates(tContType4, {}, kGponLimits, [](RatePair) { return true; }), RatePair{});
}

TEST(LargestRates, takeTheOverheadOfANewOnuIntoTheAlarm) {
    // 81 gold T-CONTs, one an ONU, keep a port of 0 to 20 km below its limit, and 82 do not.
    const std::uint32_t fixedLimit = maxFixedRate(oltPortBwGpon, 0, 20);
    onuQosOltCacInfo port{};
    const RatePair gold{.fixed = 1024, .assured = 0};
    int bound = 0;
    for (OnuOnPort onu = OnuOnPort::first; keepsLimits(port, onu, gold, fixedLimit, kGponLimits.totalMax);
         onu = OnuOnPort::further) {
        port = heldWith(port, onu, gold);
        ++bound;
    }
    EXPECT_EQ(bound, 81);
    const auto largestOn = [&](OnuOnPort onu) {
        return largestRates(tContType1, gold, kGponLimits, [&](RatePair rate) {
            return keepsLimits(port, onu, rate, fixedLimit, kGponLimits.totalMax);
        });
    };
    EXPECT_EQ(port.fixedAlloc, 357696U);
    EXPECT_EQ(largestOn(OnuOnPort::further), RatePair{});
    port.fixedAlloc -= 2000;  // leaves 2328, of which a new ONU takes 1920
    EXPECT_EQ(largestOn(OnuOnPort::configured), (RatePair{.fixed = 704, .assured = 0}));
    EXPECT_EQ(largestOn(OnuOnPort::further), RatePair{});
}

}  // namespace
