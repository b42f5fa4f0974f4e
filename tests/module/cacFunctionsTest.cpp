#include <gtest/gtest.h>

#include "cac/configuredOnus.h"
#include "cac/limits.h"
#include "cac/overhead.h"

namespace {

using cac::Overhead;

/// `percent` of `rate`, truncated, and up to the next multiple of 64.
std::uint32_t share(std::uint64_t rate, std::uint64_t percent) {
    const std::uint64_t truncated = rate * percent / 100;
    return static_cast<std::uint32_t>(truncated + (64 - truncated % 64) % 64);
}

}  // namespace

TEST(CacFunctions, tContOverheadOnBothSidesOfEachBoundary) {
    struct Boundary {
        std::uint32_t at, below, above;
    };
    constexpr Boundary kFixed[] = {{512, 400, 225}, {1024, 225, 138}, {2048, 138, 94}, {4032, 94, 51},
                                   {8000, 51, 29},  {16000, 29, 19},  {32000, 19, 13}, {64000, 13, 10},
                                   {128000, 10, 9}, {256000, 9, 8}};
    for (const auto& [at, below, above] : kFixed) {
        EXPECT_EQ(cac::tContOverhead(at - 1, 0), (Overhead{share(at - 1, below), 0})) << at;
        EXPECT_EQ(cac::tContOverhead(at, 0), (Overhead{share(at, above), 0})) << at;
    }
    constexpr Boundary kAssured[] = {{2048, 50, 44},  {4032, 44, 26}, {8000, 26, 16}, {16000, 16, 12},
                                     {32000, 12, 10}, {64000, 10, 8}, {512000, 8, 7}};
    for (const auto& [at, below, above] : kAssured) {
        EXPECT_EQ(cac::tContOverhead(0, at - 1), (Overhead{0, share(at - 1, below)})) << at;
        EXPECT_EQ(cac::tContOverhead(0, at), (Overhead{0, share(at, above)})) << at;
    }
    EXPECT_EQ(cac::tContOverhead(2048, 2048), (Overhead{1984, 960}));
    EXPECT_EQ(cac::tContOverhead(511, 0), (Overhead{2048, 0}));
    EXPECT_EQ(cac::tContOverhead(1, 1), (Overhead{64, 0})) << "half a kbit/s is truncated";
    EXPECT_EQ(cac::tContOverhead(9953280, 9953280), (Overhead{796288, 696768}));
    EXPECT_EQ(cac::tContOverhead(0xFFFFFFFF, 0), (Overhead{42949696, 0})) << "the product has 32 bits";
}

TEST(CacFunctions, onuOverheadOnBothSidesOfEachBoundary) {
    struct Row {
        std::uint32_t alloc, fixed, assured;
    };
    constexpr Row kRows[] = {{0, 256, 960},      {511, 256, 960},         {512, 512, 1216},
                             {1023, 512, 1216},  {1024, 960, 1664},       {2047, 960, 1664},
                             {2048, 1920, 2432}, {0xFFFFFFFF, 1920, 2432}};
    for (const auto& [alloc, fixed, assured] : kRows) {
        EXPECT_EQ(cac::onuOverhead(false, alloc, 700), (Overhead{fixed, 1216})) << alloc;
        EXPECT_EQ(cac::onuOverhead(false, 1500, alloc), (Overhead{960, assured})) << alloc;
        EXPECT_EQ(cac::onuOverhead(true, alloc, alloc), (Overhead{1920, 11520})) << alloc;
    }
}

TEST(CacFunctions, maxFixedRateOverDistances) {
    struct Row {
        std::uint32_t min, max, gpon, tenG;
    };
    constexpr Row kRows[] = {{0, 0, 578024, 4227072},
                             {0, 20, 358024, 2427072},
                             {54, 54, 578024, 4227072},
                             {55, 55, 633024, 4727072},
                             {1, 55, 39024, 0},
                             {40, 60, 413024, 2927072},
                             {0, 46, 72024, 87072},
                             {0, 47, 61024, 0},
                             {0, 52, 6024, 0},
                             {0, 53, 0, 0},
                             {3, 60, 6024, 0},
                             {2, 60, 0, 0},
                             {8, 60, 61024, 47072},
                             {7, 60, 50024, 0},
                             {0, 0xFFFFFFFF, 0, 0},
                             {20, 19, 0, 0},
                             {0xFFFFFFFF, 0, 567024, 4137072}};
    for (const auto& [min, max, gpon, tenG] : kRows) {
        EXPECT_EQ(cac::maxFixedRate(oltPortBwGpon, min, max), gpon) << min << " to " << max;
        EXPECT_EQ(cac::maxFixedRate(oltPortBw10G, min, max), tenG) << min << " to " << max;
    }
}

TEST(CacFunctions, verdictsNameTheLimitAndWhatIsMissing) {
    using cac::Limit;
    const auto expect = [](const cac::Verdict& verdict, Limit binding, std::uint64_t missing) {
        EXPECT_EQ(verdict.binding, binding);
        EXPECT_EQ(verdict.missing, missing);
        EXPECT_EQ(static_cast<bool>(verdict), binding == Limit::none);
    };
    constexpr std::uint32_t kMost = 0xFFFFFFFF;
    expect(cac::actualVerdict(100, 50, 100, 150), Limit::none, 0);
    expect(cac::actualVerdict(101, 50, 100, 999), Limit::fixed, 1);
    expect(cac::actualVerdict(100, 53, 100, 150), Limit::total, 3);
    expect(cac::actualVerdict(101, 50, 100, 100), Limit::fixed, 1);  // the fixed limit comes first
    expect(cac::actualVerdict(kMost, kMost, kMost, kMost), Limit::total, kMost);

    expect(cac::portVerdict({.fixedAlloc = 100, .assuredAlloc = 50}, 100, 150), Limit::none, 0);
    expect(cac::portVerdict({.fixedAlloc = 100, .assuredAlloc = 50}, 99, 150), Limit::fixed, 1);
    expect(cac::portVerdict({.fixedAlloc = 100, .assuredAlloc = 50}, 100, 149), Limit::total, 1);
    expect(cac::portVerdict({.fixedAlloc = 2, .assuredAlloc = kMost}, 100, 150), Limit::total,
           kMost - 148ULL);

    // The sums of the estimated check are 32 bits wide.
    expect(cac::estimatedVerdict({.fixedAlloc = 60, .assuredAlloc = 20}, 40, 30, 100, 150), Limit::none, 0);
    expect(cac::estimatedVerdict({.fixedAlloc = 61, .assuredAlloc = 20}, 40, 29, 100, 150), Limit::fixed, 1);
    expect(cac::estimatedVerdict({.fixedAlloc = 60, .assuredAlloc = 22}, 40, 30, 100, 150), Limit::total, 2);
    expect(cac::estimatedVerdict({.fixedAlloc = kMost, .assuredAlloc = 7}, 1, 3, 100, 150), Limit::none, 0);

    EXPECT_EQ(cac::remaining(100, 99), 1U);
    EXPECT_EQ(cac::remaining(100, 100), 0U);
    EXPECT_EQ(cac::remaining(100, 0x100000000ULL), 0U);
}

TEST(ConfiguredOnus, asksAnewAfterAnEventAndForTheOnuThatDecides) {
    ConfiguredOnus onus;
    onus.add(1);
    onus.add(2);
    onus.add(3);
    onus.setConfigured(1, true);
    std::vector<std::uint32_t> asked;
    std::optional<std::uint32_t> parent = 7;
    const auto find = [&](std::uint32_t port, bool eventMeanwhile = false) {
        asked.clear();
        return onus.otherOnPort(port, 2, [&](std::uint32_t onu) {
            asked.push_back(onu);
            if (eventMeanwhile) {
                onus.forgetParent(onu);
            }
            return parent;
        });
    };
    using Asked = std::vector<std::uint32_t>;
    EXPECT_FALSE(find(8, true).found);
    EXPECT_EQ(asked, (Asked{1, 3})) << "all but the one that asks";
    parent = 8;
    EXPECT_TRUE(find(8).found);
    EXPECT_EQ(asked, Asked{1}) << "an answer from before the event is forgotten";
    EXPECT_FALSE(find(7).found);
    EXPECT_EQ(asked, Asked{3}) << "1 is known to be elsewhere";
    EXPECT_FALSE(find(7).found);
    EXPECT_EQ(asked, Asked{});

    parent = std::nullopt;
    const auto answer = find(8);
    EXPECT_FALSE(answer.found);
    EXPECT_EQ(answer.unanswered, 1U);
    parent = 7;
    EXPECT_FALSE(find(8).found) << "it moved, and no event told";
    EXPECT_TRUE(find(7).found);
    EXPECT_EQ(asked, Asked{1});
}
