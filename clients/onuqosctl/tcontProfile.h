#pragma once

#include <onuqos.h>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "clients/onuqosctl/tcontRules.h"

namespace onuqosctl {

/// A T-CONT profile as the wire tells it; rates in kbit/s.
struct TContProfile {
    /// The DBA allocation type is in the numbering of the wire, which is the one to be set.
    struct Dba {
        std::uint32_t allocType, weight, priority;
    };

    std::string name;
    bool nameCut = false;  // the name is longer, these are its first bytes
    std::uint32_t id = 0;
    std::uint32_t type = 0;
    TContRates rates{};
    std::optional<Dba> dba;
};

/// `dbaTold`: whether the procedure that gave the record fills in the three DBA fields.
TContProfile tcontFromWire(const rpcTContProfileInfo& record, bool dbaTold);

void printTable(std::ostream& out, const TContProfile& profile);
void printTable(std::ostream& out, const std::vector<TContProfile>& profiles);

}  // namespace onuqosctl
