#include "number.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "errors.h"

namespace {

struct RateCase {
    const char* name;
    const char* text;
    std::optional<std::uint32_t> rate;  // kbit/s; nothing where the text is refused
};

class Rate : public testing::TestWithParam<RateCase> {};

TEST_P(Rate, IsReadOrRefused) {
    const RateCase& rateCase = GetParam();
    if (rateCase.rate) {
        EXPECT_EQ(clients::parseRate(rateCase.text), *rateCase.rate);
    } else {
        EXPECT_THROW(clients::parseRate(rateCase.text), clients::UsageError);
    }
}

constexpr RateCase kRateCases[] = {
    {"PlainIsKbit", "1000", 1000},
    {"Zero", "0", 0},
    {"Kilo", "512k", 512},
    {"Mega", "100M", 100000},
    {"FractionOfGiga", "2.5G", 2500000},
    {"LowerCaseMega", "1.024m", 1024},
    {"SmallestFractionOfGiga", "0.000001G", 1},
    {"TrailingZerosOfAFractionCountForNothing", "1.0000000000000k", 1},
    {"PlainFractionThatIsWhole", "7.0", 7},
    {"Largest", "4294967295", 4294967295},
    {"LargestInGiga", "4294.967295G", 4294967295},
    {"OneAboveTheLargest", "4294967296", std::nullopt},
    {"OneAboveTheLargestInGiga", "4294.967296G", std::nullopt},
    {"MoreThan64Bits", "99999999999999999999", std::nullopt},
    {"HalfAKbit", "0.5", std::nullopt},
    {"HalfAKbitInMega", "0.0005M", std::nullopt},
    {"TenDecimals", "0.0000000001G", std::nullopt},
    {"Negative", "-1", std::nullopt},
    {"UnitOnly", "M", std::nullopt},
    {"Empty", "", std::nullopt},
    {"NothingBeforeThePoint", ".5M", std::nullopt},
    {"NothingBehindThePoint", "5.M", std::nullopt},
    {"TwoUnits", "5kM", std::nullopt},
    {"OtherUnit", "5T", std::nullopt},
    {"Blank", " 5", std::nullopt},
    {"Hexadecimal", "0x10", std::nullopt},
};

INSTANTIATE_TEST_SUITE_P(Texts, Rate, testing::ValuesIn(kRateCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST(Numbers, TakeAllOfTheText) {
    EXPECT_EQ(clients::parseUnsigned("4294967295", "N"), 4294967295U);
    EXPECT_EQ(clients::parseInteger("-9223372036854775808", "N"), INT64_MIN);
    EXPECT_EQ(clients::parseSeconds("0.25", "S"), 0.25);
    for (const char* text : {"", "-1", "+1", "1 ", "1x", "4294967296"}) {
        EXPECT_THROW(clients::parseUnsigned(text, "N"), clients::UsageError) << text;
    }
    for (const char* text : {"", "0", "-1", "nan", "inf", "1e3", "86401", "1s"}) {
        EXPECT_THROW(clients::parseSeconds(text, "S"), clients::UsageError) << text;
    }
}

TEST(Numbers, ARefusalNamesWhatItIsAbout) {
    try {
        clients::parseUnsigned("x\n", "--port");
        FAIL() << "taken for a number";
    } catch (const clients::UsageError& error) {
        EXPECT_STREQ(error.what(), "--port: 'x\\x0a' is not a number from 0 to 4294967295");
    }
}

}  // namespace
