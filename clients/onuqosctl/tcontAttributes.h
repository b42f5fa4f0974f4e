#pragma once

#include <onuqos.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "clients/onuqosctl/tcontRules.h"

namespace onuqosctl {

/// What can be set of a T-CONT profile.
struct TContAttribute {
    const char* option;
    const char* valueName;
    const char* help;
    unsigned bit;                     // in the mask of create-and-set, 0 where that cannot carry it
    std::uint32_t TContRates::*rate;  // null for what is no rate
    std::optional<std::uint32_t> standsForDefault;  // what the setter takes for "default"
    std::uint32_t least, largest;                   // values the module takes; for rates the type decides
    const char* domain;                             // the same in words
    void (*store)(rpcTContProfileInfo& record, std::uint32_t value);
    rpcTContProfileRes* (*set)(char* name, int value, CLIENT* client);

    [[nodiscard]] bool isRate() const { return rate != nullptr; }
};

/// In the order in which help texts show them.
std::span<const TContAttribute> tcontAttributes();

struct TContAssignment {
    const TContAttribute* attribute;
    std::uint32_t value;

    [[nodiscard]] bool asksForDefaultRate() const {
        return attribute->isRate() && value == attribute->standsForDefault;
    }
    [[nodiscard]] bool isInDomain() const { return attribute->least <= value && value <= attribute->largest; }
};

/// Reads values in the order of the command line; `given` names attributes by their place in
/// tcontAttributes(). Throws common::UsageError.
std::vector<TContAssignment> parseTContAssignments(
    const std::vector<std::pair<std::size_t, std::string>>& given);

}  // namespace onuqosctl
