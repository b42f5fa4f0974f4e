#pragma once

#include <string>
#include <vector>

/// The portmapper as this process sees it: the library calls that reach one end here, so tests neither need
/// one nor disturb one.
namespace portmapper {

/// Registers of services since the last `clear`, in the order of the calls.
struct Call {
    std::string name;  ///< "set" or "unset"
    unsigned long program = 0;
    unsigned long version = 0;
    int protocol = 0;         ///< of set
    unsigned short port = 0;  ///< of set

    bool operator==(const Call&) const = default;
};

std::vector<Call> calls();
void clear();

/// Refuses registrations of this protocol from now on; none if 0.
void refuse(int protocol);

/// The port last registered for the protocol; 0 if none was.
unsigned short portOf(int protocol);

}  // namespace portmapper
