#include "common/number.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "common/errors.h"

namespace {

TEST(Rate, IsInKbitUnlessItHasAUnit) {
    constexpr std::pair<const char*, std::uint32_t> kCases[] = {
        {"1000", 1000},
        {"0", 0},
        {"512k", 512},
        {"100M", 100000},
        {"2.5G", 2500000},
        {"1.024m", 1024},
        {"0.000001G", 1},
        {"1.0000000000000k", 1},
        {"7.0", 7},
        {"4294967295", 4294967295},
        {"4294.967295G", 4294967295},
    };
    for (const auto& [text, rate] : kCases) {
        EXPECT_EQ(common::parseRate(text), rate) << text;
    }
}

TEST(Rate, IsAWholeNumberOfKbitThatFits32Bits) {
    for (const char* text : {"4294967296", "4294.967296G", "99999999999999999999", "0.5", "0.0005M",
                             "0.0000000001G", "-1", "M", "", ".5M", "5.M", "5kM", "5T", " 5", "0x10"}) {
        EXPECT_THROW(common::parseRate(text), common::UsageError) << text;
    }
}

TEST(Numbers, TakeAllOfTheText) {
    EXPECT_EQ(common::parseUnsigned("4294967295", "N"), 4294967295U);
    EXPECT_EQ(common::parseInteger("-9223372036854775808", "N"), INT64_MIN);
    EXPECT_EQ(common::parseSeconds("0.25", "S"), 0.25);
    for (const char* text : {"", "-1", "+1", "1 ", "1x", "4294967296"}) {
        EXPECT_THROW(common::parseUnsigned(text, "N"), common::UsageError) << text;
    }
    for (const char* text : {"0", "65536"}) {
        EXPECT_THROW(common::parseUnsigned(text, "N", {1, 65535}), common::UsageError) << text;
    }
    for (const char* text : {"", "0", "-1", "nan", "inf", "1e3", "86401", "1s"}) {
        EXPECT_THROW(common::parseSeconds(text, "S"), common::UsageError) << text;
    }
}

TEST(Numbers, ARefusalNamesWhatItIsAbout) {
    try {
        common::parseUnsigned("x\n", "--port", {1, 65535});
        FAIL() << "taken for a number";
    } catch (const common::UsageError& error) {
        EXPECT_STREQ(error.what(), "--port: 'x\\x0a' is not a number from 1 to 65535");
    }
}

}  // namespace
