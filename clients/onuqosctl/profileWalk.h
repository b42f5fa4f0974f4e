#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "clients/onuqosctl/results.h"

namespace onuqosctl {

/// The wire carries at most this many bytes of a profile's name in a record.
constexpr std::size_t kWireNameBytes = 64;

/// Why a walk could not reach the last profile.
enum class WalkEnd {
    complete,
    cutName,    // the last profile's name is longer than the wire carries: the module does not know its
                // beginning
    emptyName,  // the first profile's name is empty: the module continues from no empty name
    unsteady,   // the profiles kept changing while they were read
    refused,    // the module refused to go on
};

template <typename Profile>
struct Walk {
    std::vector<Profile> profiles;  // what was read, names ascending
    WalkEnd end = WalkEnd::complete;
    std::int32_t result = 0;  // the module's last answer
};

/// Reads all profiles through first() and next(name), each of which gives a pair of result code and profile;
/// a profile has a member `name`. A profile that vanishes on the way starts the walk anew, a few times. Every
/// walk ends: names ascend strictly or it stops.
template <typename Profile, typename First, typename Next>
Walk<Profile> walkProfiles(WalkCodes codes, First first, Next next) {
    constexpr int kAttempts = 5;
    Walk<Profile> walk;
    std::string stuckAt;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        walk = {};
        std::pair<std::int32_t, Profile> step = first();
        while (step.first == 0) {
            const std::string name = step.second.name;
            const bool ascends = walk.profiles.empty() || walk.profiles.back().name < name;
            if (!ascends && walk.profiles.back().name != name) {
                break;
            }
            walk.profiles.push_back(std::move(step.second));
            if (!ascends) {
                // The beginning of a long name equals the whole name before it.
                walk.end = name.size() == kWireNameBytes ? WalkEnd::cutName : WalkEnd::unsteady;
                return walk;
            }
            if (name.empty()) {
                walk.end = WalkEnd::emptyName;
                return walk;
            }
            step = next(name);
        }
        walk.result = step.first;
        if (step.first == codes.noMore) {
            return walk;
        }
        if (step.first != 0 && step.first != codes.notFound) {
            walk.end = WalkEnd::refused;
            return walk;
        }
        const std::string reached = walk.profiles.empty() ? "" : walk.profiles.back().name;
        if (step.first == codes.notFound && reached.size() == kWireNameBytes && reached == stuckAt) {
            walk.end = WalkEnd::cutName;
            return walk;
        }
        stuckAt = reached;
    }
    walk.end = WalkEnd::unsteady;
    return walk;
}

}  // namespace onuqosctl
