#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/module/module.h"
#include "oltmgrd/platform/host.h"
#include "oltmgrd/services/serviceSide.h"
#include "onuqos/rules/overhead.h"
#include "onuqos/rules/portLedger.h"

namespace oltmgrd {

/// What the module says of a port; nothing when it does not answer for the interface. Takes the shared
/// platform lock, which its holder may have.
std::optional<onuQosPortLedger> ledgerOf(const onuQosClassInterface& module, std::uint32_t interface);

/// All that tells how full a PON port is and what it will still take.
struct PortLedger {
    std::uint32_t interface = 0;
    std::optional<onuQosPortLedger> module{};  ///< nothing for a port without records
    /// What the platform reports free for fixed rates, and for fixed and assured rates together, kbit/s;
    /// nothing when it cannot be asked.
    std::optional<rules::RatePair> free{};
    std::size_t onus = 0;
    std::size_t onusWithoutService = 0;
    std::size_t services = 0;
};

/// Every PON port, or the one with this interface, in the order of the platform; what the module and the
/// platform say of a port belongs to one moment. Nothing when the platform lock is not obtained.
std::optional<std::vector<PortLedger>> portLedgers(const onuQosClassInterface& module,
                                                   const ServiceSide& services, const Host& host,
                                                   std::optional<std::uint32_t> port);

Json toJson(const PortLedger& port);

/// The sums and limits of a port alone.
Json figuresJson(const onuQosPortLedger& ledger);

}  // namespace oltmgrd
