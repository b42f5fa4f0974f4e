#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace standin {

/// An interface as it was configured.
struct ListedInterface {
    unsigned int interface = 0;
    int type = 0;
    unsigned int parent = 0;  ///< of an ONU
};

/// Control of the interfaces and their events. May be called from any thread. The operations that set
/// something throw `Error` when the interface is unknown.
namespace interfaces {

#pragma GCC visibility push(default)

/// All interfaces in ascending order. Not a platform call.
std::vector<ListedInterface> list();

void setLinkUp(unsigned int interface, bool up);

/// Makes look-ups of the interface's type answer `type`, or fail when there is none. The interface list and
/// everything else that is known of the interface stay as they are.
void overrideType(unsigned int interface, std::optional<int> type);

/// Raises the interface event on the calling thread, for unknown interfaces too. Changes nothing by itself:
/// the link state stays as it is. False if a handler vetoed it.
bool raiseEvent(unsigned int interface, int event);

/// Raises the ONU equipment manager's configuration event, as `raiseEvent`.
bool raiseOnuConfigEvent(unsigned int interface, bool ready, bool other);

#pragma GCC visibility pop

}  // namespace interfaces

/// Control of the PON ports, named by their interface index. May be called from any thread. Every operation
/// throws `Error` when there is no such PON port.
namespace ports {

#pragma GCC visibility push(default)

/// Bytes per second.
struct Available {
    std::uint32_t fixed = 0;
    std::uint32_t total = 0;

    friend bool operator==(const Available&, const Available&) = default;
};

/// Sets the fibre distances, kilometres.
void setDistances(unsigned int interface, std::uint32_t min, std::uint32_t max);

/// Sets the port's free bandwidth outright, or returns to the computed figure when there is none.
///
/// The computed figure is the capacity less the rates of the distinct (ONU, T-CONT id) pairs that are bound
/// on the port, and never below 0: the fixed rates for `fixed`, fixed and assured rates for `total`. A pair's
/// rates, 125 bytes per second for each kbit/s, are those that its T-CONT profile had in the hardware layer
/// when the pair was first pushed; a pair pushed with an unknown profile has none.
void overrideAvailable(unsigned int interface, std::optional<Available> available);

#pragma GCC visibility pop

}  // namespace ports
}  // namespace standin
