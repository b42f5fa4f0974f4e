#include "profileWalk.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace {

using onuqosctl::WalkEnd;

constexpr std::int32_t kNotFound = 3, kNoMore = 14, kError = 1;

struct Profile {
    std::string name;
};

/// Answers like the module: names in byte order, records that carry 64 bytes of a name.
class Names {
public:
    explicit Names(std::set<std::string> names) : names_(std::move(names)) {}

    std::pair<std::int32_t, Profile> first() { return record(names_.begin()); }

    std::pair<std::int32_t, Profile> next(const std::string& name) {
        ++questions_;
        if (beforeNext_) {
            beforeNext_(names_);
        }
        if (name.empty()) {
            return {kError, {}};
        }
        if (!names_.contains(name)) {
            return {names_.empty() ? kNoMore : kNotFound, {}};
        }
        return record(names_.upper_bound(name));
    }

    onuqosctl::Walk<Profile> walk() {
        return onuqosctl::walkProfiles<Profile>(
            {kNotFound, kNoMore}, [this] { return first(); },
            [this](const std::string& name) { return next(name); });
    }

    /// Called with the table before each question for the next profile.
    void beforeNext(std::function<void(std::set<std::string>&)> change) { beforeNext_ = std::move(change); }
    [[nodiscard]] int questions() const { return questions_; }

private:
    std::pair<std::int32_t, Profile> record(std::set<std::string>::const_iterator at) const {
        return at == names_.end()
                   ? std::pair<std::int32_t, Profile>{kNoMore, {}}
                   : std::pair<std::int32_t, Profile>{0, {at->substr(0, onuqosctl::kWireNameBytes)}};
    }

    std::set<std::string> names_;
    std::function<void(std::set<std::string>&)> beforeNext_;
    int questions_ = 0;
};

std::vector<std::string> namesOf(const onuqosctl::Walk<Profile>& walk) {
    std::vector<std::string> names;
    for (const Profile& profile : walk.profiles) {
        names.push_back(profile.name);
    }
    return names;
}

const std::string k64(64, 'm');

struct WalkCase {
    const char* name;
    std::set<std::string> stored;
    std::vector<std::string> read;
    WalkEnd end;
};

class ProfileWalk : public testing::TestWithParam<WalkCase> {};

TEST_P(ProfileWalk, EndsWhereTheWireEnds) {
    const auto walk = Names(GetParam().stored).walk();
    EXPECT_EQ(namesOf(walk), GetParam().read);
    EXPECT_EQ(walk.end, GetParam().end);
}

const WalkCase kWalkCases[] = {
    {"Nothing", {}, {}, WalkEnd::complete},
    {"BytesOrder", {"b", "a", "\xff", "B"}, {"B", "a", "b", "\xff"}, WalkEnd::complete},
    {"ExactlySixtyFourBytes", {"a", k64, "z"}, {"a", k64, "z"}, WalkEnd::complete},
    {"LongNameLast", {"a", k64 + "m"}, {"a", k64}, WalkEnd::cutName},
    {"LongNameOnly", {k64 + "m"}, {k64}, WalkEnd::cutName},
    {"LongNameBeforeOthers", {"a", k64 + "m", "z"}, {"a", k64}, WalkEnd::cutName},
    {"LongNameBehindItsOwnBeginning", {"a", k64, k64 + "m", "z"}, {"a", k64, k64}, WalkEnd::cutName},
    {"EmptyName", {"", "a"}, {""}, WalkEnd::emptyName},
};

INSTANTIATE_TEST_SUITE_P(Tables, ProfileWalk, testing::ValuesIn(kWalkCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST(ProfileWalkUnderChange, StartsAnewWhenAProfileVanishes) {
    Names names({"a", "b", "c"});
    names.beforeNext([](std::set<std::string>& stored) { stored.erase("a"); });
    const auto walk = names.walk();
    EXPECT_EQ(namesOf(walk), (std::vector<std::string>{"b", "c"}));
    EXPECT_EQ(walk.end, WalkEnd::complete);
}

TEST(ProfileWalkUnderChange, DoesNotTakeAVanishedNameOfSixtyFourBytesForALongOne) {
    Names names({k64, "z"});
    names.beforeNext([](std::set<std::string>& stored) { stored.erase(k64); });
    const auto walk = names.walk();
    EXPECT_EQ(namesOf(walk), std::vector<std::string>{"z"});
    EXPECT_EQ(walk.end, WalkEnd::complete);
}

TEST(ProfileWalkUnderChange, GivesUpWhenTheTableNeverKeepsStill) {
    int count = 0;
    Names names({"a"});
    names.beforeNext([&count](std::set<std::string>& stored) { stored = {"b" + std::to_string(++count)}; });
    EXPECT_EQ(names.walk().end, WalkEnd::unsteady);
    EXPECT_LT(names.questions(), 100);
}

TEST(ProfileWalkUnderChange, StopsAtAServerWhoseNamesDoNotAscend) {
    int questions = 0;
    const auto walk = onuqosctl::walkProfiles<Profile>(
        {kNotFound, kNoMore},
        [] {
            return std::pair<std::int32_t, Profile>{0, {"b"}};
        },
        [&questions](const std::string& name) {
            ++questions;
            return std::pair<std::int32_t, Profile>{0, {name == "b" ? "a" : "b"}};
        });
    EXPECT_EQ(walk.end, WalkEnd::unsteady);
    EXPECT_LT(questions, 100);
}

TEST(ProfileWalkUnderChange, KeepsWhatItReadBeforeARefusal) {
    const auto walk = onuqosctl::walkProfiles<Profile>(
        {kNotFound, kNoMore},
        [] {
            return std::pair<std::int32_t, Profile>{0, {"a"}};
        },
        [](const std::string& /*name*/) {
            return std::pair<std::int32_t, Profile>{kError, {}};
        });
    EXPECT_EQ(namesOf(walk), std::vector<std::string>{"a"});
    EXPECT_EQ(walk.end, WalkEnd::refused);
    EXPECT_EQ(walk.result, kError);
}

}  // namespace
