#include "tcontRules.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using onuqosctl::TContRates;

std::uint64_t guaranteed(const TContRates& rates) {
    return std::uint64_t{rates.fixed} + rates.assured;
}

bool keepsTypeFive(const TContRates& rates) {
    return (guaranteed(rates) == 0 || guaranteed(rates) >= 256) && rates.maximum >= guaranteed(rates) + 256;
}

/// Sets the rates one after the other as the module does on a GPON port. False when it refuses one.
bool carryOut(const std::string& options, TContRates& rates) {
    std::istringstream words(options);
    std::string option;
    for (std::uint32_t value = 0; words >> option >> value;) {
        TContRates changed = rates;
        std::uint32_t& rate = option == "--fixed"     ? changed.fixed
                              : option == "--assured" ? changed.assured
                                                      : changed.maximum;
        rate = (value + 63) / 64 * 64;
        if (!keepsTypeFive(changed)) {
            return false;
        }
        rates = changed;
    }
    return true;
}

TEST(SingleSteps, LeadThroughValidRatesOnly) {
    constexpr std::uint32_t kFixed[] = {64, 100, 128, 192, 256, 300, 1000, 30000};
    constexpr std::uint32_t kAssured[] = {1, 64, 100, 128, 192, 255};
    constexpr TContRates kStored[] = {
        {0, 0, 256}, {256, 0, 512}, {0, 256, 512}, {512, 4096, 8192}, {128, 192, 640}};
    for (const TContRates& stored : kStored) {
        for (const std::uint32_t fixed : kFixed) {
            for (const std::uint32_t assured : kAssured) {
                const TContRates wanted = {fixed, assured, (fixed + assured + 256 + 127) / 64 * 64 + 64};
                if (!onuqosctl::needsSingleSteps(5, wanted)) {
                    continue;
                }
                TContRates rates = stored;
                const std::string options = onuqosctl::singleSteps(stored, wanted);
                ASSERT_TRUE(carryOut(options, rates)) << options;
                const auto rounded = [](std::uint32_t rate) { return (rate + 63) / 64 * 64; };
                EXPECT_EQ(rates, (TContRates{rounded(fixed), rounded(assured), rounded(wanted.maximum)}))
                    << options;
            }
        }
    }
}

TEST(SingleSteps, AreThreeWhereTheFixedRateStandsAlone) {
    EXPECT_EQ(onuqosctl::singleSteps({0, 0, 256}, {256, 128, 1024}),
              "--maximum 1024 --fixed 256 --assured 128");
}

TEST(SingleSteps, AreForSmallAssuredRatesOfTypeFiveThatKeepTheRules) {
    EXPECT_TRUE(onuqosctl::needsSingleSteps(5, {256, 255, 1024}));
    EXPECT_FALSE(onuqosctl::needsSingleSteps(5, {256, 256, 1024}));
    EXPECT_FALSE(onuqosctl::needsSingleSteps(5, {256, 0, 1024}));
    EXPECT_FALSE(onuqosctl::needsSingleSteps(5, {100, 100, 1024})) << "the sum is below 256";
    EXPECT_FALSE(onuqosctl::needsSingleSteps(5, {256, 128, 512})) << "the maximum is too low";
    EXPECT_FALSE(onuqosctl::needsSingleSteps(3, {0, 128, 1024}));
}

struct FaultCase {
    std::uint32_t type;
    TContRates rates;
    const char* fault;  // part of the explanation; "" where the rates are right
};

TEST(RateFaults, NameTheRuleThatIsBroken) {
    constexpr FaultCase kCases[] = {
        {1, {256, 0, 256}, ""},
        {1, {255, 0, 255}, "fixed rate must be at least 256"},
        {2, {0, 0, 0}, "assured rate must be at least 256"},
        {3, {0, 256, 511}, "maximum rate must be at least 512"},
        {3, {0, 512, 767}, "assured rate + 256"},
        {3, {0, 512, 768}, ""},
        {3, {0, 4294967295, 4294967295}, "assured rate + 256"},
        {4, {0, 0, 255}, "maximum rate must be at least 256"},
        {5, {0, 0, 256}, ""},
        {5, {100, 155, 1024}, "0 or at least 256"},
        {5, {100, 156, 512}, ""},
        {5, {256, 0, 511}, "fixed + assured rate + 256"},
        {5, {4294967295, 4294967295, 4294967295}, "fixed + assured rate + 256"},
        {6, {0, 0, 0}, ""},
    };
    for (const FaultCase& faultCase : kCases) {
        const std::string fault = onuqosctl::explainRates(faultCase.type, faultCase.rates);
        EXPECT_EQ(fault.empty(), *faultCase.fault == '\0') << fault;
        EXPECT_NE(fault.find(faultCase.fault), std::string::npos) << fault;
    }
}

}  // namespace
