#include "oltmgrd/configuration/restorePlan.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <set>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "common/text.h"
#include "onuqos/rules/profileLimits.h"
#include "onuqos/rules/tContTypes.h"

namespace oltmgrd {
namespace {

using common::inQuotes;

/// The members that are about a family.
struct FlowMembers {
    using Values = FlowValues;
    static constexpr const char* kFamily = "flow profile ";
    static constexpr auto kSaved = &ConfigurationDocument::flowProfiles;
    static constexpr auto kBound = &SavedBinding::flow;
    static constexpr auto kPlanned = &PlannedBinding::flow;
};

struct TContMembers {
    using Values = TContValues;
    static constexpr const char* kFamily = "T-CONT profile ";
    static constexpr auto kSaved = &ConfigurationDocument::tcontProfiles;
    static constexpr auto kBound = &SavedBinding::tcont;
    static constexpr auto kPlanned = &PlannedBinding::tcont;
};

template <typename Numbers>
std::string listed(const Numbers& numbers) {
    std::string text;
    for (const auto number : numbers) {
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    }
    return text;
}

/// The profiles of a family: the saved ones, and those that are made for bindings.
template <typename Members>
class ProfilePlan {
public:
    using Values = typename Members::Values;

    /// What a binding wants: a saved profile, or one of these values that is to bear a name if it can.
    struct Want {
        std::size_t place = kDeleted;
        std::string name;
        Values values;

        friend auto operator<=>(const Want&, const Want&) = default;
    };

    ProfilePlan(const ConfigurationDocument& document, std::vector<std::string>& differences)
        : differences_(differences) {
        for (const SavedProfile<Values>& profile : document.*Members::kSaved) {
            places_[profile.name] = profiles_.size();
            taken_.insert(profile.name);
            profiles_.push_back({.name = profile.name, .values = profile.values});
            tellSaved(profile);
        }
        for (const SavedBinding& binding : document.bindings) {
            bound_.insert((binding.*Members::kBound).name);
        }
    }

    Want wantOf(const SavedBinding& binding) const {
        const auto& [name, place, atBinding] = binding.*Members::kBound;
        if (!atBinding && place != kDeleted) {
            return saved(place);
        }
        Values values = atBinding.value_or(Values());
        const auto named = places_.find(name);
        for (const std::size_t holder : {place, named == places_.end() ? kDeleted : named->second}) {
            if (holder != kDeleted && profiles_[holder].values == values) {
                return saved(holder);
            }
        }
        return {.place = kDeleted, .name = name, .values = std::move(values)};
    }

    /// The profile that is wanted, or the `copy`th further one of its values. One that has to be made is made
    /// for `reason`.
    std::size_t profileFor(const Want& want, const std::string& reason, unsigned int copy = 0,
                           bool passes = false) {
        if (want.place != kDeleted && copy == 0 && !passes) {
            return want.place;
        }
        const auto [made, isNew] =
            made_.try_emplace(std::tuple(want.name, want.values, copy, passes), profiles_.size());
        if (isNew) {
            // The module takes so many profiles.
            passes |= std::ranges::count(profiles_, false, &PlannedProfile<Values>::passes) ==
                      std::ptrdiff_t{kProfileCountMax};
            const std::string name = freeName(want.name);
            profiles_.push_back({.name = name, .values = want.values, .reason = reason, .passes = passes});
            if (!passes) {
                differences_.push_back(
                    Members::kFamily + inQuotes(name) +
                    (name == want.name ? ": made again: " : ": made beside " + inQuotes(want.name) + ": ") +
                    reason);
            }
        }
        return made->second;
    }

    void tellBinding(const SavedBinding& binding, const PlannedBinding& planned) const {
        const PlannedProfile<Values>& profile = profiles_[planned.*Members::kPlanned];
        const auto& [name, place, atBinding] = binding.*Members::kBound;
        if (profile.name != name) {
            differences_.push_back(described(binding) + ": bound to " + Members::kFamily +
                                   inQuotes(profile.name) + ", not " + inQuotes(name) + ": " +
                                   (profile.reason.empty() ? "it was renamed" : profile.reason));
        } else if (profile.reason.empty() && planned.*Members::kPlanned != place) {
            differences_.push_back(described(binding) + ": bound to the present " + Members::kFamily +
                                   inQuotes(name) + ", which holds the same as the one before");
        }
    }

    /// Where what counts as applied is otherwise than before.
    void tellApplied(const ConfigurationDocument& document, const std::vector<PlannedBinding>& planned) {
        const auto& saved = document.*Members::kSaved;
        std::vector<std::set<std::uint32_t>> before(saved.size()), after(profiles_.size());
        for (std::size_t i = 0; i < planned.size(); ++i) {
            const SavedBinding& binding = document.bindings[i];
            after[planned[i].*Members::kPlanned].insert(binding.interface);
            if (const std::size_t place = (binding.*Members::kBound).place; place != kDeleted) {
                before[place].insert(binding.interface);
            }
        }
        for (std::size_t i = 0; i < saved.size(); ++i) {
            std::vector<std::uint32_t> applied;
            std::vector<std::uint32_t> otherwise;
            std::ranges::set_symmetric_difference(before[i], saved[i].appliedOtherwise,
                                                  std::back_inserter(applied));
            std::ranges::set_symmetric_difference(applied, after[i], std::back_inserter(otherwise));
            if (!otherwise.empty()) {
                differences_.push_back(
                    Members::kFamily + inQuotes(saved[i].name) +
                    ": counts as applied where services are bound to it and nowhere else, unlike before on "
                    "interface " +
                    listed(otherwise));
            }
        }
    }

    std::vector<PlannedProfile<Values>> take() { return std::move(profiles_); }

private:
    Want saved(std::size_t place) const {
        return {.place = place, .name = profiles_[place].name, .values = profiles_[place].values};
    }

    void tellSaved(const SavedProfile<Values>& saved) {
        const std::string profile = Members::kFamily + inQuotes(saved.name);
        if constexpr (std::is_same_v<Values, FlowValues>) {
            if (!std::ranges::is_sorted(saved.values.cVlan)) {
                differences_.push_back(profile + ": its VLANs are in ascending order now, not " +
                                       listed(saved.values.cVlan));
            }
        }
    }

    /// `name`, or the first that is free of "name~2", "name~3" and so on, cut to what a client can create.
    std::string freeName(const std::string& name) {
        std::string free = name;
        for (unsigned int number = 2; taken_.contains(free) || (free != name && bound_.contains(free));
             ++number) {
            const std::string ending = "~" + std::to_string(number);
            std::size_t length = std::min(name.size(), kProfileNameMax - ending.size());
            while (length > 0 && length < name.size() && (name[length] & 0xC0) == 0x80) {
                --length;  // not amid a character
            }
            free = name.substr(0, length) + ending;
        }
        taken_.insert(free);
        return free;
    }

    std::vector<std::string>& differences_;
    std::unordered_map<std::string, std::size_t> places_;  // of saved profiles
    std::unordered_set<std::string> taken_;                // names of profiles
    std::unordered_set<std::string> bound_;                // names under which profiles were bound
    std::vector<PlannedProfile<Values>> profiles_;
    std::map<std::tuple<std::string, Values, unsigned int, bool>, std::size_t> made_;
};

class Planning {
public:
    explicit Planning(const ConfigurationDocument& document)
        : document_(document), flows_(document, plan_.differences), tconts_(document, plan_.differences) {}

    RestorePlan plan() {
        findLeaders();
        for (std::size_t i = 0; i < leaders_.size(); ++i) {
            const SavedBinding& binding = document_.bindings[i];
            PlannedBinding planned;
            if (leaders_[i] == i) {
                planned = {.flow = flowFor(binding),
                           .tcont = tcontFor(binding),
                           .termPoint = binding.pushedTermPoint.value_or(binding.termPoint)};
            } else {
                planned = plan_.bindings[leaders_[i]];
                planned.termPoint = binding.termPoint;
            }
            flows_.tellBinding(binding, planned);
            tconts_.tellBinding(binding, planned);
            if (planned.termPoint != binding.termPoint) {
                plan_.differences.push_back(described(binding) + ": its termination point is type " +
                                            std::to_string(planned.termPoint.type) + ", id " +
                                            std::to_string(planned.termPoint.id) +
                                            ", that of an equal service that was removed");
            }
            plan_.bindings.push_back(planned);
        }
        flows_.tellApplied(document_, plan_.bindings);
        tconts_.tellApplied(document_, plan_.bindings);
        plan_.flows = flows_.take();
        plan_.tconts = tconts_.take();
        return std::move(plan_);
    }

private:
    using Flows = ProfilePlan<FlowMembers>;
    using TConts = ProfilePlan<TContMembers>;

    struct Onu {
        std::map<std::uint32_t, std::size_t> leaders;  // the first binding of each virtual port
        std::map<Flows::Want, unsigned int> flows;     // on how many virtual ports each is bound
        std::map<TConts::Want, std::size_t> tconts;    // the profile given for each
        std::array<bool, kTContIdMax + 1> wantedIds{};
        std::array<bool, kTContIdMax + 1> givenIds{};
    };

    /// Equal bindings of an ONU are one to the hardware layer; all go with the first.
    void findLeaders() {
        for (std::size_t i = 0; i < document_.bindings.size(); ++i) {
            const SavedBinding& binding = document_.bindings[i];
            Onu& onu = onus_[binding.interface];
            const std::size_t first = onu.leaders.try_emplace(binding.virtualPort, i).first->second;
            const bool isEqual = document_.bindings[first].flow.name == binding.flow.name &&
                                 document_.bindings[first].tcont.name == binding.tcont.name;
            leaders_.push_back(isEqual ? first : i);
            onu.wantedIds[tconts_.wantOf(binding).values.tContId] |= leaders_[i] == i;
        }
    }

    std::size_t flowFor(const SavedBinding& binding) {
        const Flows::Want want = flows_.wantOf(binding);
        const unsigned int copy = onus_[binding.interface].flows[want]++;
        return flows_.profileFor(
            want, copy > 0 ? "an ONU had it on several virtual ports" : madeAgain(binding.flow.place), copy);
    }

    std::size_t tcontFor(const SavedBinding& binding) {
        Onu& onu = onus_[binding.interface];
        TConts::Want want = tconts_.wantOf(binding);
        const auto [given, isNew] = onu.tconts.try_emplace(want);
        if (!isNew) {
            return given->second;
        }
        std::uint32_t id = want.values.tContId;
        if (!onu.givenIds[id]) {
            given->second = tconts_.profileFor(want, madeAgain(binding.tcont.place));
        } else {
            for (id = 1; id <= kTContIdMax && (onu.givenIds[id] || onu.wantedIds[id]); ++id) {
            }
            if (id > kTContIdMax) {
                given->second =
                    tconts_.profileFor(want, "an ONU has more T-CONTs than there are ids", 0, true);
                return given->second;
            }
            want.place = kDeleted;
            want.values.tContId = id;
            given->second = tconts_.profileFor(
                want, "an ONU had another T-CONT of its id; this one has id " + std::to_string(id));
        }
        onu.givenIds[id] = true;
        return given->second;
    }

    static std::string madeAgain(std::size_t place) {
        return place == kDeleted ? "it was deleted while services were bound to it"
                                 : "it was changed while services were bound to it";
    }

    const ConfigurationDocument& document_;
    RestorePlan plan_;
    Flows flows_;
    TConts tconts_;
    std::unordered_map<std::uint32_t, Onu> onus_;
    std::vector<std::size_t> leaders_;  // for each binding the one that it goes with
};

}  // namespace

std::string described(const SavedBinding& binding) {
    return "service " + inQuotes(binding.service) + " of interface " + std::to_string(binding.interface);
}

RestorePlan planRestore(const ConfigurationDocument& document) {
    return Planning(document).plan();
}

}  // namespace oltmgrd
