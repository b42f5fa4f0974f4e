#include "clients/onuqosctl/profileWalk.h"

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
using Step = std::pair<std::int32_t, Profile>;

/// Answers like the module: names in byte order, records that carry 64 bytes of a name.
class Names {
public:
    explicit Names(std::set<std::string> names) : names_(std::move(names)) {}

    Step first() { return record(names_.begin()); }

    Step next(const std::string& name) {
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
    Step record(std::set<std::string>::const_iterator at) const {
        return at == names_.end() ? Step{kNoMore, {}} : Step{0, {at->substr(0, onuqosctl::kWireNameBytes)}};
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
    const char* vanishing = nullptr;  // the profile that goes before the next one is asked for
};

TEST(ProfileWalk, EndsWhereTheWireEnds) {
    const WalkCase kCases[] = {
        {"nothing", {}, {}, WalkEnd::complete},
        {"byte order", {"b", "a", "\xff", "B"}, {"B", "a", "b", "\xff"}, WalkEnd::complete},
        {"64 bytes", {"a", k64, "z"}, {"a", k64, "z"}, WalkEnd::complete},
        {"a long name before others", {"a", k64 + "m", "z"}, {"a", k64}, WalkEnd::cutName},
        {"a long name behind its beginning", {"a", k64, k64 + "m", "z"}, {"a", k64, k64}, WalkEnd::cutName},
        {"an empty name", {"", "a"}, {""}, WalkEnd::emptyName},
        {"one vanishes", {"a", "b", "c"}, {"b", "c"}, WalkEnd::complete, "a"},
        {"one of 64 bytes vanishes", {k64, "z"}, {"z"}, WalkEnd::complete, k64.c_str()},
    };
    for (const WalkCase& walkCase : kCases) {
        SCOPED_TRACE(walkCase.name);
        Names names(walkCase.stored);
        if (walkCase.vanishing != nullptr) {
            names.beforeNext([&](std::set<std::string>& stored) { stored.erase(walkCase.vanishing); });
        }
        const auto walk = names.walk();
        EXPECT_EQ(namesOf(walk), walkCase.read);
        EXPECT_EQ(walk.end, walkCase.end);
    }
}

TEST(ProfileWalk, GivesUpWhenTheTableNeverKeepsStill) {
    int count = 0;
    Names names({"a"});
    names.beforeNext([&count](std::set<std::string>& stored) { stored = {"b" + std::to_string(++count)}; });
    EXPECT_EQ(names.walk().end, WalkEnd::unsteady);
    EXPECT_LT(names.questions(), 100);
}

/// Walks through a server of a first profile and such answers for the next ones.
onuqosctl::Walk<Profile> walkThrough(const char* first, const std::function<Step(const std::string&)>& next) {
    return onuqosctl::walkProfiles<Profile>(
        {kNotFound, kNoMore},
        [first] {
            return Step{0, {first}};
        },
        next);
}

TEST(ProfileWalk, StopsAtAServerWhoseNamesDoNotAscend) {
    int questions = 0;
    const auto walk = walkThrough("b", [&questions](const std::string& name) {
        ++questions;
        return Step{0, {name == "b" ? "a" : "b"}};
    });
    EXPECT_EQ(walk.end, WalkEnd::unsteady);
    EXPECT_LT(questions, 100);
}

TEST(ProfileWalk, KeepsWhatItReadBeforeARefusal) {
    const auto walk = walkThrough("a", [](const std::string& /*name*/) { return Step{kError, {}}; });
    EXPECT_EQ(namesOf(walk), std::vector<std::string>{"a"});
    EXPECT_EQ(walk.end, WalkEnd::refused);
    EXPECT_EQ(walk.result, kError);
}

}  // namespace
