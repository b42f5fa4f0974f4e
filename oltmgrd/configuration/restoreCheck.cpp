#include "oltmgrd/configuration/restoreCheck.h"

#include <map>
#include <set>
#include <unordered_map>
#include <utility>

namespace oltmgrd {
namespace {

/// The members in which two entries differ, as "saved {...}, restored {...}"; empty when there are none.
std::string difference(const Json& saved, const Json& restored) {
    std::set<std::string> members;
    for (const Json* entry : {&saved, &restored}) {
        for (const auto& [member, value] : entry->items()) {
            members.insert(member);
        }
    }
    Json before = Json::object();
    Json after = Json::object();
    for (const std::string& member : members) {
        const Json old = saved.value(member, Json());
        const Json now = restored.value(member, Json());
        if (old != now) {
            before[member] = old;
            after[member] = now;
        }
    }
    return before.empty() ? "" : "saved " + jsonLine(before) + ", restored " + jsonLine(after);
}

template <typename Profile>
void compareProfiles(const std::vector<Profile>& saved, const std::vector<Profile>& restored,
                     const RestoredProfiles& profiles, std::vector<std::string>& lost) {
    std::unordered_map<std::string, const Profile*> restoredByName;
    for (const Profile& profile : restored) {
        restoredByName[profile.name] = &profile;
    }
    for (std::size_t place = 0; place < saved.size(); ++place) {
        const auto found = restoredByName.find(saved[place].name);
        if (profiles.isLost(place)) {
            continue;
        }
        if (found == restoredByName.end()) {
            lost.push_back(profiles.described(place) + ": is missing");
        } else if (saved[place] != *found->second) {
            lost.push_back(profiles.described(place) + ": " +
                           difference(entryJson(saved[place]), entryJson(*found->second)));
        }
    }
}

void compareBindings(const ConfigurationDocument& saved, const ConfigurationDocument& restored,
                     const std::set<std::size_t>& lostBindings, std::vector<std::string>& lost) {
    std::map<std::pair<std::uint32_t, std::string>, const SavedBinding*> unmatched;
    for (const SavedBinding& binding : restored.bindings) {
        unmatched[{binding.interface, binding.service}] = &binding;
    }
    for (std::size_t place = 0; place < saved.bindings.size(); ++place) {
        const SavedBinding& binding = saved.bindings[place];
        const auto node = unmatched.extract({binding.interface, binding.service});
        if (lostBindings.contains(place) || (!node.empty() && binding == *node.mapped())) {
            continue;
        }
        if (node.empty()) {
            lost.push_back(described(binding) + ": is missing");
            continue;
        }
        // A profile that is missing moves the others up, which makes unequal records of equal entries.
        const auto text = difference(entryJson(binding, saved), entryJson(*node.mapped(), restored));
        if (!text.empty()) {
            lost.push_back(described(binding) + ": " + text);
        }
    }
    for (const auto& [key, binding] : unmatched) {
        lost.push_back(described(*binding) + ": was not saved, and stayed behind");
    }
}

std::string signedText(std::int64_t number) {
    return (number < 0 ? "" : "+") + std::to_string(number);
}

void comparePorts(const std::vector<SavedPort>& saved, const std::vector<SavedPort>& restored,
                  std::vector<std::string>& differences) {
    std::map<std::uint32_t, SavedPort> restoredPorts;
    for (const SavedPort& port : restored) {
        restoredPorts[port.interface] = port;
    }
    for (const SavedPort& before : saved) {
        const auto found = restoredPorts.find(before.interface);
        const std::string port = "port " + std::to_string(before.interface) + ": ";
        if (found == restoredPorts.end()) {
            differences.push_back(port + "is not in the inventory any more");
            continue;
        }
        const SavedPort& now = found->second;
        const std::int64_t fixed = std::int64_t{now.fixedAlloc} - before.fixedAlloc;
        const std::int64_t assured = std::int64_t{now.assuredAlloc} - before.assuredAlloc;
        if (fixed != 0 || assured != 0) {
            differences.push_back(port + "commits " + signedText(fixed) + " kbit/s fixed and " +
                                  signedText(assured) +
                                  " kbit/s assured against the time of saving, through earlier removals or "
                                  "entries that were lost");
        }
    }
}

}  // namespace

void compareRestored(const ConfigurationDocument& saved, const ConfigurationDocument& restored,
                     const RestoredProfiles& tconts, const RestoredProfiles& flows,
                     const std::set<std::size_t>& lostBindings, RestoreReport& report) {
    compareProfiles(saved.tcontProfiles, restored.tcontProfiles, tconts, report.lost);
    compareProfiles(saved.flowProfiles, restored.flowProfiles, flows, report.lost);
    compareBindings(saved, restored, lostBindings, report.lost);
    comparePorts(saved.ports, restored.ports, report.differences);
}

}  // namespace oltmgrd
