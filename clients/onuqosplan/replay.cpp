#include "clients/onuqosplan/replay.h"

#include <algorithm>
#include <tuple>

namespace onuqosplan {
namespace {

/// The T-CONTs of an ONU: those that are accounted, and the ids that the platform allocates for.
struct Onu {
    std::vector<const oltmgrd::SavedBound<oltmgrd::TContValues>*> accounted;
    std::vector<std::uint32_t> ids;
};

bool isSame(const oltmgrd::SavedBound<oltmgrd::TContValues>& one,
            const oltmgrd::SavedBound<oltmgrd::TContValues>& other) {
    return one.place == other.place && one.atBinding == other.atBinding &&
           (one.place != oltmgrd::kDeleted || one.name == other.name);
}

}  // namespace

std::map<std::uint32_t, Committed> replay(const oltmgrd::ConfigurationDocument& document,
                                          const Parents& parents) {
    std::map<std::uint32_t, Committed> ports;
    std::unordered_map<std::uint32_t, Onu> onus;
    for (const oltmgrd::SavedBinding& binding : document.bindings) {
        const auto parent = parents.find(binding.interface);
        if (parent == parents.end()) {
            continue;
        }
        Committed& port = ports[parent->second];
        const auto [found, isNew] = onus.try_emplace(binding.interface);
        Onu& onu = found->second;
        const oltmgrd::TContValues values = boundValues(document, binding);
        const rules::RatePair rate = ratesOf(values);
        if (std::ranges::none_of(onu.accounted,
                                 [&](const auto* bound) { return isSame(*bound, binding.tcont); })) {
            onu.accounted.push_back(&binding.tcont);
            const auto further = port.configured ? rules::OnuOnPort::further : rules::OnuOnPort::first;
            port.sums = rules::heldWith(port.sums, isNew ? further : rules::OnuOnPort::configured, rate);
            port.configured = true;
        }
        if (std::ranges::find(onu.ids, values.tContId) == onu.ids.end()) {
            onu.ids.push_back(values.tContId);
            port.promised.fixed += rate.fixed;
            port.promised.assured += rate.assured;
        }
    }
    return ports;
}

}  // namespace onuqosplan
