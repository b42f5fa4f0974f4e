#include "serviceProfiles.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "call.h"
#include "servprofile.h"
#include "standin/error.h"
#include "standin/serviceProfiles.h"
#include "state.h"

namespace standin {
namespace {

using Stored = servprofile::serviceProfile_t;

template <std::size_t Size>
void copyText(const std::string& text, char (&field)[Size], const std::string& what) {
    if (text.size() >= Size) {
        throw Error(what + " has " + std::to_string(text.size()) + " bytes: at most " +
                    std::to_string(Size - 1) + " are possible");
    }
    if (text.find('\0') != std::string::npos) {
        throw Error(what + " contains a NUL byte");
    }
    std::ranges::copy(text, field);
}

Stored stored(const ServiceProfile& profile) {
    if (profile.name.empty()) {
        throw Error("a service profile has an empty name");
    }
    Stored record{};
    copyText(profile.name, record.name, "the name of a service profile");
    const std::string of = " of service profile \"" + profile.name + "\"";
    copyText(profile.tContProfile, record.tContProfile, "the T-CONT profile name" + of);
    copyText(profile.flowProfile, record.onuFlowProfile, "the flow profile name" + of);
    return record;
}

[[noreturn]] void throwExists(std::string_view name) {
    throw Error("service profile \"" + std::string(name) + "\" exists already");
}

auto named(std::string_view name) {
    return [name](const Stored& profile) { return profile.name == name; };
}

}  // namespace

ServiceProfileList::ServiceProfileList(const std::vector<ServiceProfile>& given) {
    Profiles profiles;
    profiles.reserve(given.size());
    std::unordered_set<std::string_view> names;
    for (const ServiceProfile& profile : given) {
        profiles.push_back(stored(profile));
        if (!names.insert(profile.name).second) {
            throwExists(profile.name);
        }
    }
    profiles_ = std::make_shared<const Profiles>(std::move(profiles));
}

void ServiceProfileList::add(const ServiceProfile& profile) {
    const Stored record = stored(profile);
    if (std::ranges::any_of(*profiles_, named(profile.name))) {
        throwExists(profile.name);
    }
    Profiles changed;
    changed.reserve(profiles_->size() + 1);
    changed = *profiles_;
    changed.push_back(record);
    profiles_ = std::make_shared<const Profiles>(std::move(changed));
}

void ServiceProfileList::remove(std::string_view name) {
    Profiles changed = *profiles_;
    if (std::erase_if(changed, named(name)) == 0) {
        throw Error("there is no service profile \"" + std::string(name) + "\"");
    }
    profiles_ = std::make_shared<const Profiles>(std::move(changed));
}

namespace {

std::shared_ptr<const ServiceProfileList::Profiles> current() {
    return state<ServiceProfileList>().with([](const ServiceProfileList& list) { return list.profiles(); });
}

}  // namespace

namespace serviceProfiles {

void add(const ServiceProfile& profile) {
    state<ServiceProfileList>().with([&profile](ServiceProfileList& list) { list.add(profile); });
}

void remove(std::string_view name) {
    state<ServiceProfileList>().with([name](ServiceProfileList& list) { list.remove(name); });
}

std::vector<ServiceProfile> list() {
    const auto profiles = current();
    std::vector<ServiceProfile> all;
    all.reserve(profiles->size());
    for (const Stored& profile : *profiles) {
        all.push_back({profile.name, profile.tContProfile, profile.onuFlowProfile});
    }
    return all;
}

}  // namespace serviceProfiles
}  // namespace standin

template class singleton<servprofile>;

servprofile::servprofile() : BLEntity("servprofile") {}
servprofile::~servprofile() = default;

bool servprofile::serviceProfileFind(const boost::function<bool(const serviceProfile_t&)>& matches) const {
    if (standin::call(standin::Operation::serviceProfileFind)) {
        return false;
    }
    const auto profiles = standin::current();
    return std::ranges::any_of(*profiles, [&matches](const serviceProfile_t& p) { return matches(p); });
}

void servprofile::applyConfiguration(boost::shared_ptr<Storage::Setting>) {}
void servprofile::saveConfiguration(boost::shared_ptr<Storage::Setting>) const {}

bool servprofile::start() {
    return true;
}

bool servprofile::applyDefaultSettings() {
    return true;
}

bool servprofile::stop() {
    return true;
}

void servprofile::getDependencies(std::list<std::string>& names) {
    names = {singleton<Interfaces>::instance().entityName()};
}
