#include "oltmgrd/platform/serviceProfile.h"

#include <map>

#include "common/name.h"

namespace oltmgrd {
namespace {

// The platform keeps these texts in fields of 65 bytes, with their NUL.
constexpr std::size_t kTextMax = 64;

std::string checkedText(const JsonFields& fields, std::string_view member, std::string text) {
    if (text.size() > kTextMax) {
        fields.fail(member, "is longer than " + std::to_string(kTextMax) + " bytes");
    }
    return text;
}

}  // namespace

std::vector<ServiceProfile> readServiceProfiles(JsonFields& top) {
    std::vector<ServiceProfile> profiles;
    std::map<std::string, std::string> places;
    for (const auto& [element, pointer] : top.elementsOr("serviceProfiles")) {
        JsonFields fields(*element, pointer);
        ServiceProfile profile;
        profile.name = checkedText(fields, "name", fields.name("name"));
        profile.tcontProfile = checkedText(fields, "tcontProfile", fields.nameOr("tcontProfile", ""));
        profile.flowProfile = checkedText(fields, "flowProfile", fields.nameOr("flowProfile", ""));
        fields.finish();
        if (profile.name.empty()) {
            fields.fail("name", "is empty");
        }
        const auto [place, isNew] = places.emplace(profile.name, fields.pointer("name"));
        if (!isNew) {
            fields.fail("name", "is used already at " + place->second);
        }
        profiles.push_back(std::move(profile));
    }
    return profiles;
}

Json serviceProfileToJson(const ServiceProfile& profile) {
    return {{"name", common::nameToJson(profile.name)},
            {"tcontProfile", common::nameToJson(profile.tcontProfile)},
            {"flowProfile", common::nameToJson(profile.flowProfile)}};
}

}  // namespace oltmgrd
