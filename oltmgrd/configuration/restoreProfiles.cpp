#include "oltmgrd/configuration/restoreProfiles.h"

#include <utility>

#include "common/text.h"

namespace oltmgrd {

Refused::Refused(const std::string& step, Result result)
    : std::runtime_error(step + ": " + std::string(resultName(result))) {}

void require(Result result, const std::string& step) {
    if (result != onuQos::onuQosResOk) {
        throw Refused(step, result);
    }
}

std::string quoted(const std::string& name) {
    return "'" + common::printable(name) + "'";
}

std::string described(const SavedBinding& binding) {
    return "service " + quoted(binding.service) + " of interface " + std::to_string(binding.interface);
}

RestoredProfiles::RestoredProfiles(const onuQosClassInterface& module, std::string family,
                                   std::vector<std::string> names, std::string prefix,
                                   std::vector<std::string>& lost)
    : module_(module), family_(std::move(family)), prefix_(std::move(prefix)), lost_(lost) {
    names.emplace_back("(deleted)");
    for (std::string& name : names) {
        const std::size_t place = profiles_.size();
        profiles_.push_back({.savedName = std::move(name), .name = home(place)});
    }
}

std::string RestoredProfiles::described(std::size_t place) const {
    return family_ + " profile " + quoted(profiles_[place].savedName);
}

void RestoredProfiles::make(std::size_t place) {
    Profile& profile = profiles_[place];
    if (profile.isMade) {
        return;
    }
    // Not tried again for every binding of the profile.
    if (profile.refusal == onuQos::onuQosResOk) {
        profile.refusal = create(profile.name);
    }
    require(profile.refusal, "making " + described(place));
    profile.isMade = true;
    bearers_[profile.name] = place;
    if (place != extra()) {
        dress(place);
    }
}

void RestoredProfiles::remove(std::size_t place) {
    Profile& profile = profiles_[place];
    if (profile.isMade) {
        moveHome(place);  // from an empty name, for instance, which deleting refuses
        require(erase(profile.name), "deleting " + described(place));
        bearers_.erase(profile.name);
        profile.isMade = false;
    }
}

void RestoredProfiles::moveTo(std::size_t place, const std::string& name) {
    Profile& profile = profiles_[place];
    if (profile.name == name) {
        return;
    }
    if (const auto bearer = bearerOf(name)) {
        moveHome(*bearer);
    }
    require(rename(profile.name, name), "renaming " + described(place) + " to " + quoted(name));
    bearers_.erase(profile.name);
    bearers_[name] = place;
    profile.name = name;
}

std::optional<std::size_t> RestoredProfiles::bearerOf(const std::string& name) const {
    const auto found = bearers_.find(name);
    return found == bearers_.end() ? std::nullopt : std::optional(found->second);
}

void RestoredProfiles::lose(std::size_t place, const std::string& reason) {
    profiles_[place].isLost = true;
    lost_.push_back(described(place) + ": " + reason);
}

void RestoredProfiles::attempt(std::size_t place, Result result, const std::string& attribute) {
    if (result != onuQos::onuQosResOk) {
        lose(place, attribute + ": " + std::string(resultName(result)));
    }
}

}  // namespace oltmgrd
