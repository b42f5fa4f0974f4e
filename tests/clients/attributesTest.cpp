#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "errors.h"
#include "flowAttributes.h"
#include "tcontAttributes.h"

namespace {

TEST(Pcp, TravelsUpToWhatAnIntHolds) {
    EXPECT_EQ(onuqosctl::parsePcp("8"), 8U);
    EXPECT_EQ(onuqosctl::parsePcp("2147483647"), 2147483647U);
    for (const char* text : {"2147483648", "4294967295", "none", "-1"}) {
        EXPECT_THROW(onuqosctl::parsePcp(text), clients::UsageError) << text;
    }
}

struct ValueCase {
    const char* option;
    const char* text;
    std::optional<std::uint32_t> value;  // nothing where the text is refused
};

TEST(TContValues, StandForTheDefaultByItsWordsOnly) {
    constexpr std::uint32_t kDefault = 4294967295;
    constexpr ValueCase kCases[] = {
        {"--fixed", "default", kDefault},
        {"--maximum", "-1", kDefault},
        {"--maximum", "4294967295", {}},
        {"--assured", "4294.967295G", {}},
        {"--fixed", "4294967294", 4294967294},
        {"--id", "default", 0},
        {"--type", "-1", {}},
        {"--weight", "4294967295", kDefault},
        {"--weight", "default", {}},
    };
    const auto attributes = onuqosctl::tcontAttributes();
    for (const ValueCase& valueCase : kCases) {
        const auto found = std::find_if(attributes.begin(), attributes.end(), [&](const auto& attribute) {
            return attribute.option == std::string(valueCase.option);
        });
        const auto place = static_cast<std::size_t>(found - attributes.begin());
        if (valueCase.value) {
            const auto assignment = onuqosctl::parseTContAssignments({{place, valueCase.text}}).at(0);
            EXPECT_EQ(assignment.value, *valueCase.value) << valueCase.text;
        } else {
            EXPECT_THROW(onuqosctl::parseTContAssignments({{place, valueCase.text}}), clients::UsageError)
                << valueCase.text;
        }
    }
}

}  // namespace
