#include "clients/onuqosctl/tcontExplain.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <stdexcept>
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

/// Whether a profile of a type takes a rate, by the sentences of the help text; `asked` is rounded up.
struct Setter {
    std::uint32_t type;
    bool tenG;
    TContRates stored;

    [[nodiscard]] bool takes(std::uint32_t TContRates::*rate, std::uint32_t asked) const {
        constexpr std::uint32_t kLeast[][3] = {
            {256, 0, 256}, {0, 256, 256}, {0, 256, 512}, {0, 0, 256}, {0, 0, 256}};
        const std::size_t place = rate == &TContRates::fixed ? 0 : rate == &TContRates::assured ? 1 : 2;
        if (asked < kLeast[type - 1][place] || asked > (tenG ? 9953280U : 1244160U)) {
            return false;
        }
        const std::uint64_t step = !tenG ? 64 : place == 0 && asked > 25600 ? 1024 : 128;
        TContRates wanted = stored;
        wanted.*rate = static_cast<std::uint32_t>((asked + step - 1) / step * step);
        const std::uint64_t sum = std::uint64_t{wanted.fixed} + wanted.assured;
        return type == 3   ? wanted.maximum >= wanted.assured + 256
               : type == 5 ? (sum == 0 || sum >= 256) && wanted.maximum >= sum + 256
                           : true;
    }
};

onuqosctl::TContAssignment assignment(const std::string& option, std::uint32_t value) {
    for (const auto& attribute : onuqosctl::tcontAttributes()) {
        if (attribute.option == option) {
            return {&attribute, value};
        }
    }
    throw std::logic_error(option);
}

TEST(ExplainSetter, TellsTheNearestValuesThatAreTaken) {
    constexpr std::int32_t kRateError = 7;
    constexpr std::pair<const char*, std::uint32_t TContRates::*> kOptions[] = {
        {"--fixed", &TContRates::fixed},
        {"--assured", &TContRates::assured},
        {"--maximum", &TContRates::maximum}};
    std::mt19937 random(41);
    const auto rate = [&random] {
        return 128 * (random() % 30) + 1024 * (random() % 3 == 0 ? random() % 60 : 0);
    };
    int refused = 0;
    for (int round = 0; round < 6000; ++round) {
        const bool tenG = round % 2 == 1;
        const ClassLimits& limits = tenG ? kTenGLimits : kGponLimits;
        Setter setter{static_cast<std::uint32_t>(round % 4 < 2 ? 5 : 3), tenG, {}};
        setter.stored = {setter.type == 5 ? static_cast<std::uint32_t>(rate()) : 0,
                         static_cast<std::uint32_t>(rate()), 0};
        setter.stored.maximum =
            setter.stored.fixed + setter.stored.assured + 256 + static_cast<std::uint32_t>(rate());
        const auto& chosen = kOptions[setter.type == 5 ? random() % 3 : 1 + random() % 2];
        const char* const option = chosen.first;
        std::uint32_t TContRates::*const member = chosen.second;
        const auto asked =
            static_cast<std::uint32_t>(random() % 4 == 0 ? random() % 12000000 : random() % 80000);
        const bool valid = setter.takes(&TContRates::maximum, setter.stored.maximum) &&
                           (setter.type == 5 || setter.stored.assured >= 256);
        if (!valid || setter.takes(member, asked)) {
            continue;
        }
        ++refused;
        onuqosctl::TContProfile profile;
        profile.type = setter.type;
        profile.rates = setter.stored;
        const auto why =
            onuqosctl::explainSetter(kRateError, "p", assignment(option, asked), profile, limits);
        SCOPED_TRACE(std::string(option) + " " + std::to_string(asked) + " of " +
                     std::to_string(setter.stored.fixed) + "/" + std::to_string(setter.stored.assured) + "/" +
                     std::to_string(setter.stored.maximum) + ": " + why.hint);
        const auto taken = [&](std::uint64_t value) {
            return value <= 0xFFFFFFFF && setter.takes(member, static_cast<std::uint32_t>(value));
        };
        // Rounding up makes the values between two multiples of 64 alike; nothing changes beyond the rates
        // stored.
        const std::uint64_t end = std::uint64_t{setter.stored.maximum} + 4096;
        std::uint64_t above = (asked + 63) / 64 * 64, below = asked / 64 * 64;
        while (above < end && !taken(above)) {
            above += 64;
        }
        while (below > 0 && !taken(below)) {
            below -= 64;
        }
        EXPECT_EQ(why.above.has_value(), taken(above));
        EXPECT_EQ(why.below.has_value(), taken(below));
        EXPECT_TRUE(!why.above || (taken(*why.above) && *why.above >= above && *why.above - above < 1024));
        EXPECT_TRUE(!why.below || (taken(*why.below) && *why.below <= below && below - *why.below < 1024));
        if (why.least) {
            EXPECT_TRUE(taken(*why.least));
            EXPECT_TRUE(taken(*why.most));
            EXPECT_FALSE(taken(std::uint64_t{*why.most} + 1));
        }
    }
    EXPECT_GT(refused, 1000);
}

TEST(ExplainSetter, GivesNoExplanationThatTheRulesDoNotBear) {
    onuqosctl::TContProfile profile;
    profile.type = 3;
    profile.rates = {0, 256, 512};
    const auto reason = [&](std::int32_t result, const char* option, std::uint32_t value) {
        return onuqosctl::explainSetter(result, "p", assignment(option, value), profile, kGponLimits).reason;
    };
    EXPECT_EQ(reason(7, "--assured", 300), "type3Maximum");
    EXPECT_EQ(reason(15, "--fixed", 300), "notCarried");
    EXPECT_EQ(reason(7, "--assured", 256), "tablesChanged");
    EXPECT_EQ(reason(15, "--assured", 300), "tablesChanged");
    EXPECT_EQ(reason(15, "--alloc-type", 1), "tablesChanged");
    EXPECT_EQ(reason(1, "--assured", 300), "");
    EXPECT_EQ(reason(15, "--id", 7), "outOfDomain");
}

}  // namespace
