#pragma once

#include <cstdint>
#include <optional>

#include "oltmgrd/files/descriptor.h"

namespace oltmgrd {

/// The ports of an RPC program. Aligned as the integer of its size: exchanging it at once takes clang a
/// library of its own otherwise.
struct alignas(std::uint32_t) RpcPorts {
    std::uint16_t udp = 0;  ///< 0: no transport
    std::uint16_t tcp = 0;

    friend bool operator==(const RpcPorts&, const RpcPorts&) = default;
};

// The portmapper of this host and the module's RPC program. Each of these ends within a second or so, also
// when the portmapper hangs.

/// Whether something takes connections on the portmapper's port.
bool portmapperIsThere();

/// The ports at which the program is registered; nothing when no portmapper answers.
std::optional<RpcPorts> publishedPorts();

/// Registers the ports, those of transports that nobody has registered. False when that was refused.
bool publishPorts(const RpcPorts& ports);

/// Takes those of the ports out of the portmapper that are still registered.
void withdrawPorts(const RpcPorts& ports);

/// The turn to look whether the program is served and, where it is not, to register it; nothing while another
/// process of this network has it. It ends with the descriptor.
std::optional<Descriptor> takeRegistrationTurn();

/// Whether a server of the program answers at one of the ports.
bool isProgramServed(const RpcPorts& ports);

/// Ends the calls to the portmapper that are under way: they fail at once instead of at their time-out.
void cutPortmapperCalls();

}  // namespace oltmgrd
