#pragma once

#include <string>
#include <vector>

/// The portmapper as this process sees it: the library calls that reach one end here, so tests neither need
/// one nor disturb one. To be looked at while no thread registers.
namespace portmapper {

struct Call {
    std::string name;  ///< "set" or "unset"
    unsigned long program = 0;
    unsigned long version = 0;
    int protocol = 0;         ///< of set
    unsigned short port = 0;  ///< of set

    bool operator==(const Call&) const = default;
};

inline std::vector<Call> calls;
inline int refused = 0;  ///< the protocol of which registrations are refused

/// The port last registered for the protocol; 0 if none was.
unsigned short portOf(int protocol);

}  // namespace portmapper
