#pragma once

#include <cstdint>
#include <map>
#include <unordered_map>

#include "clients/onuqosplan/olt.h"

namespace onuqosplan {

/// The PON port of each ONU.
using Parents = std::unordered_map<std::uint32_t, std::uint32_t>;

/// What bindings commit on a port.
struct Committed {
    onuQosOltCacInfo sums;  ///< with overheads, as the module accounts
    Promised promised;      ///< rates of the distinct T-CONTs, as a platform allocates
    bool configured = false;
};

/// What a document's bindings commit on each port, applied anew in their order: what a restart makes of them.
/// Bindings on ONUs without a port are passed over.
std::map<std::uint32_t, Committed> replay(const oltmgrd::ConfigurationDocument& document,
                                          const Parents& parents);

}  // namespace onuqosplan
