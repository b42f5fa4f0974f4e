#include "clients/oltctl/guards.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

namespace oltctl {
namespace {

using Json = nlohmann::ordered_json;

/// As far as a PON reaches (ITU-T G.984.1), kilometres.
constexpr std::int64_t kReach = 60;

std::optional<std::string> wrongDistance(const Json& arguments) {
    const std::int64_t min = arguments["min"];
    const std::int64_t max = arguments["max"];
    if (min > max) {
        return "the nearest ONU, " + std::to_string(min) + " km, is beyond the farthest, " +
               std::to_string(max) + " km: the port would count as over-committed by any fixed rate";
    }
    if (max > kReach) {
        return std::to_string(max) + " km is beyond the " + std::to_string(kReach) +
               " km that a PON reaches: its limit would be that of no real port";
    }
    return std::nullopt;
}

std::optional<std::string> lossOfEverything(const Json& /*arguments*/) {
    return "all profiles and the services of all ONUs would be lost";
}

constexpr Guard kGuards[] = {
    {"port-distance-set", "--force", "Also distances that no port has", wrongDistance},
    {"default-settings", "--yes", "Loses all profiles and services", lossOfEverything},
};

}  // namespace

const Guard* guardOf(std::string_view command) {
    const auto* found = std::ranges::find(kGuards, command, &Guard::command);
    return found == std::end(kGuards) ? nullptr : found;
}

}  // namespace oltctl
