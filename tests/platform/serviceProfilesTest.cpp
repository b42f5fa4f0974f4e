#include "standin/serviceProfiles.h"

#include <string>

#include "platformTest.h"
#include "servprofile.h"
#include "standin/error.h"

namespace {

class ServiceProfilesTest : public PlatformTest {
protected:
    ServiceProfilesTest() {
        standin::serviceProfiles::add({"internet", "gold", "hsi"});
        standin::serviceProfiles::add({"empty", "", ""});
        standin::serviceProfiles::add({"iptv", "silver", "multicast"});
    }

    static std::string shownUntil(const std::string& name) {
        std::string shown;
        const bool found = singleton<servprofile>::instance().serviceProfileFind([&](const auto& profile) {
            shown +=
                std::string(profile.name) + ":" + profile.tContProfile + ":" + profile.onuFlowProfile + " ";
            return profile.name == name;
        });
        return shown + (found ? "found" : "none");
    }
};

TEST_F(ServiceProfilesTest, AreShownInOrderUntilOneMatches) {
    EXPECT_EQ(shownUntil("empty"), "internet:gold:hsi empty:: found");
    EXPECT_EQ(shownUntil("unknown"), "internet:gold:hsi empty:: iptv:silver:multicast none");
}

TEST_F(ServiceProfilesTest, AreAddedOnceAndRemovedOnce) {
    EXPECT_THROW(standin::serviceProfiles::add({"internet", "x", "y"}), standin::Error);
    standin::serviceProfiles::remove("internet");
    EXPECT_THROW(standin::serviceProfiles::remove("internet"), standin::Error);
    EXPECT_EQ(standin::serviceProfiles::list(),
              (std::vector<standin::ServiceProfile>{{"empty", "", ""}, {"iptv", "silver", "multicast"}}));
}

TEST_F(ServiceProfilesTest, MayChangeWhileTheyAreShown) {
    int shown = 0;
    EXPECT_FALSE(singleton<servprofile>::instance().serviceProfileFind([&shown](const auto& profile) {
        standin::serviceProfiles::remove(profile.name);
        ++shown;
        return false;
    }));
    EXPECT_EQ(shown, 3);
    EXPECT_TRUE(standin::serviceProfiles::list().empty());
}

struct TextCase {
    const char* name;
    standin::ServiceProfile profile;
    const char* problem;
};

const TextCase kTextCases[] = {
    {"LongestNames", {std::string(64, 'n'), std::string(64, 't'), std::string(64, 'f')}, ""},
    {"EmptyName", {"", "t", "f"}, "a service profile has an empty name"},
    {"LongName",
     {std::string(65, 'n'), "", ""},
     "the name of a service profile has 65 bytes: at most 64 are possible"},
    {"NulInName", {std::string("a\0b", 3), "", ""}, "the name of a service profile contains a NUL byte"},
    {"LongTCont",
     {"n", std::string(65, 't'), ""},
     "the T-CONT profile name of service profile \"n\" has 65 bytes: at most 64 are possible"},
    {"NulInFlow",
     {"n", "", std::string(1, '\0')},
     "the flow profile name of service profile \"n\" contains a NUL byte"},
};

class ServiceProfileText : public ServiceProfilesTest, public testing::WithParamInterface<TextCase> {};

TEST_P(ServiceProfileText, FitsOrIsRefused) {
    std::string problem;
    try {
        standin::serviceProfiles::add(GetParam().profile);
        EXPECT_EQ(standin::serviceProfiles::list().back(), GetParam().profile);
    } catch (const standin::Error& error) {
        problem = error.what();
        EXPECT_EQ(standin::serviceProfiles::list().size(), 3);
    }
    EXPECT_EQ(problem, GetParam().problem);
}

INSTANTIATE_TEST_SUITE_P(ServiceProfiles, ServiceProfileText, testing::ValuesIn(kTextCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

}  // namespace
