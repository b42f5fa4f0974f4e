#include "clients/onuqosctl/tcontRules.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>

namespace {

using onuqosctl::ClassLimits;
using onuqosctl::TContRates;
using rules::kGponLimits;
using rules::kTenGLimits;

/// Rates of a type 5 profile as the module keeps them.
struct Module {
    bool tenG;
    TContRates rates{0, 0, 256};

    [[nodiscard]] bool takes(const TContRates& wanted) const {
        const std::uint64_t sum = std::uint64_t{wanted.fixed} + wanted.assured;
        return (sum == 0 || sum >= 256) && wanted.maximum >= sum + 256 &&
               wanted.maximum <= (tenG ? 9953280U : 1244160U);
    }

    [[nodiscard]] TContRates rounded(const TContRates& wanted) const {
        const auto up = [](std::uint32_t rate, std::uint32_t step) {
            return (rate + step - 1) / step * step;
        };
        const std::uint32_t step = tenG ? 128 : 64;
        return {up(wanted.fixed, tenG && wanted.fixed > 25600 ? 1024 : step), up(wanted.assured, step),
                up(wanted.maximum, step)};
    }

    /// Carries out what `onuqosctl tcont set` is given. False when a step is refused.
    bool carryOut(const std::string& options) {
        std::istringstream words(options);
        std::string option;
        for (std::uint32_t value = 0; words >> option >> value;) {
            TContRates changed = rates;
            (option == "--fixed"     ? changed.fixed
             : option == "--assured" ? changed.assured
                                     : changed.maximum) = value;
            rates = rounded(changed);
            if (!takes(rates)) {
                return false;
            }
        }
        return true;
    }
};

TEST(SingleSteps, LeadFromAnyRatesToAnyOthers) {
    std::mt19937 random(20260);
    const auto rate = [&random] {
        constexpr std::uint32_t kBelow[] = {1, 70, 300, 600, 3000, 40000, 1244161, 9953281};
        return static_cast<std::uint32_t>(random() % kBelow[random() % std::size(kBelow)]);
    };
    int carriedOut = 0;
    for (int round = 0; round < 60000; ++round) {
        Module module{round % 2 == 1};
        const ClassLimits& portClass = module.tenG ? kTenGLimits : kGponLimits;
        const TContRates stored = module.rounded({rate(), rate(), rate()}), wanted = {rate(), rate(), rate()};
        const bool taken = module.takes(module.rounded(wanted)) && wanted.maximum >= 256;
        ASSERT_EQ(onuqosctl::explainRates(5, wanted, portClass).empty(), taken)
            << wanted.fixed << "/" << wanted.assured << "/" << wanted.maximum;
        if (taken && module.takes(stored)) {
            module.rates = stored;
            const std::string options =
                onuqosctl::singleSteps(stored, onuqosctl::roundedUp(wanted, portClass));
            ASSERT_TRUE(module.carryOut(options)) << options;
            ASSERT_EQ(module.rates, module.rounded(wanted)) << options;
            ++carriedOut;
        }
    }
    EXPECT_GT(carriedOut, 1000);
}

TEST(SingleSteps, AreAsFewAsCanBe) {
    EXPECT_EQ(onuqosctl::singleSteps({0, 0, 256}, {256, 128, 1024}),
              "--maximum 1024 --fixed 256 --assured 128");
    EXPECT_EQ(onuqosctl::singleSteps({256, 0, 512}, {0, 256, 512}), "--fixed 0 --assured 256");
}

struct FaultCase {
    std::uint32_t type;
    TContRates rates;
    const char* gpon;  // part of the explanation; "" where the rates are right
    const char* tenG;
};

TEST(RateFaults, NameTheRuleThatIsBroken) {
    constexpr const char* kSum = "fixed + assured rate to be 0 or at least 256";
    constexpr const char* kAbove = "at least fixed + assured rate + 256";
    constexpr FaultCase kCases[] = {
        {1, {256, 0, 256}, "", ""},
        {1, {255, 0, 255}, "fixed rate must be at least 256", "fixed rate must be at least 256"},
        {1, {1244161, 0, 0}, "fixed rate must be at most 1244160", ""},
        {3, {0, 256, 511}, "maximum rate must be at least 512", "maximum rate must be at least 512"},
        {3, {0, 512, 700}, "rounded to 0/512/704, type 3 needs", ""},
        {3, {0, 512, 640}, "type 3 needs a maximum rate", "type 3 needs a maximum rate"},
        {3, {0, 4294967295, 4294967295}, "at most 1244160", "at most 9953280"},
        {5, {64, 64, 1024}, kSum, ""},
        {5, {1, 0, 1024}, "rounded to 64/0/1024, ", "rounded to 128/0/1024, "},
        {5, {256, 0, 448}, kAbove, ""},
        {5, {25601, 0, 25920}, "", kAbove},
        {6, {0, 0, 0}, "", ""},
    };
    for (const FaultCase& faultCase : kCases) {
        for (const auto& [portClass, expected] :
             {std::pair(kGponLimits, faultCase.gpon), std::pair(kTenGLimits, faultCase.tenG)}) {
            const std::string fault = onuqosctl::explainRates(faultCase.type, faultCase.rates, portClass);
            EXPECT_EQ(fault.empty(), *expected == '\0') << fault;
            EXPECT_NE(fault.find(expected), std::string::npos) << fault;
        }
    }
}

}  // namespace
