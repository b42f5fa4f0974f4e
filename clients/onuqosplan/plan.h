#pragma once

#include <array>
#include <optional>
#include <vector>

#include "clients/onuqosplan/planFile.h"

namespace onuqosplan {

/// Changes the OLT as a plan supposes. Where the rates of a profile change, its bindings are applied anew,
/// all in their order, on the ports that it touches. Throws common::UsageError for a port or profile that is
/// not there and for rates that the module would refuse.
void suppose(Olt& olt, const PlanFile& plan);

/// The first demand that does not fit on a port, and the limit that stops it; none where the ONUs run out.
struct Refused {
    std::size_t demand = 0;
    rules::Limit limit = rules::Limit::none;
};

/// What one yardstick lets a port take of the demand.
struct Placed {
    std::uint64_t subscribers = 0;
    rules::PortState port;  ///< with them
    std::optional<Refused> first{};
};

/// A demand on a port; placed by yardstick.
struct PlacedDemand {
    std::size_t demand = 0;
    std::array<std::uint32_t, 2> placed{};
};

struct PortPlan {
    const Port* port = nullptr;
    std::uint64_t wanted = 0;
    std::vector<PlacedDemand> demand{};
    std::array<Placed, 2> by{};  ///< in the order of `rules::Yardstick`

    const Placed& at(rules::Yardstick yardstick) const { return by[static_cast<std::size_t>(yardstick)]; }

    /// Whether everything fits by both, and the port keeps its limits.
    bool fits() const;
};

/// Places the demand on the OLT in its order, by each yardstick for itself: what one of them refuses is not
/// placed and the next is tried. Gives the ports that have a demand or exceed their limits. Throws
/// common::UsageError as `suppose` does.
std::vector<PortPlan> placed(Olt& olt, const PlanFile& plan);

}  // namespace onuqosplan
