#include "clients/onuqosplan/olt.h"

#include <algorithm>
#include <unordered_set>

#include "common/errors.h"
#include "oltmgrd/platform/inventory.h"

namespace onuqosplan {

void Port::setFree() {
    const auto left = [](std::uint64_t capacity, std::uint64_t used) {
        return static_cast<std::uint32_t>(capacity - std::min(capacity, used));
    };
    state.free = {.fixed = left(capacityFixed, promised.fixed),
                  .assured = left(capacityTotal, promised.fixed + promised.assured)};
}

void complete(Olt& olt) {
    std::unordered_set<std::uint32_t> busy;
    for (const oltmgrd::SavedBinding& binding : olt.configuration.bindings) {
        busy.insert(binding.interface);
    }
    std::ranges::sort(olt.ports, {}, &Port::interface);
    for (Port& port : olt.ports) {
        std::ranges::sort(port.onus);
        port.idleOnus = static_cast<std::uint32_t>(
            std::ranges::count_if(port.onus, [&busy](std::uint32_t onu) { return !busy.contains(onu); }));
    }
}

Port& portOf(Olt& olt, std::uint32_t interface) {
    const auto found = std::ranges::find(olt.ports, interface, &Port::interface);
    if (found == olt.ports.end()) {
        std::string known;
        for (const Port& port : olt.ports) {
            known += (known.empty() ? "" : ", ") + std::to_string(port.interface);
        }
        throw common::UsageError("there is no PON port " + std::to_string(interface) +
                                 " whose limits are known; there are: " + (known.empty() ? "none" : known));
    }
    return *found;
}

oltmgrd::TContValues boundValues(const oltmgrd::ConfigurationDocument& document,
                                 const oltmgrd::SavedBinding& binding) {
    if (binding.tcont.atBinding) {
        return *binding.tcont.atBinding;
    }
    return binding.tcont.place == oltmgrd::kDeleted ? oltmgrd::TContValues()
                                                    : document.tcontProfiles[binding.tcont.place].values;
}

std::string technologyName(int technology) {
    switch (technology) {
        case oltmgrd::kTechnologyGpon:
            return "gpon";
        case oltmgrd::kTechnology10G:
            return "10g";
        default:
            return std::to_string(technology);
    }
}

}  // namespace onuqosplan
