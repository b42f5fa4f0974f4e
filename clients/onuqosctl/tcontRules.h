#pragma once

#include <cstdint>
#include <string>

namespace onuqosctl {

/// Rates of a T-CONT profile, kbit/s.
struct TContRates {
    std::uint32_t fixed, assured, maximum;

    bool operator==(const TContRates&) const = default;
};

/// The default rates of a type, also the least a rate of it may be unless it is 0. Zeros for no type.
TContRates typeDefaults(std::uint32_t type);

/// Why the module finds these rates wrong for the type, as a sentence; empty when no rule is broken. The
/// rates are taken as given: the module rounds them up first.
std::string explainRates(std::uint32_t type, const TContRates& rates);

/// Which rates a type carries, as a sentence; empty for no type.
std::string explainType(std::uint32_t type);

/// True for type 5 rates that keep the rules and yet cannot be reached in one request, because an assured
/// rate below 256 kbit/s is only valid on top of the fixed rate.
bool needsSingleSteps(std::uint32_t type, const TContRates& rates);

/// The options of `onuqosctl tcont set` that lead a type 5 profile from `stored` to `wanted` through valid
/// rates only, for instance "--maximum 1024 --fixed 256 --assured 128". Both must keep the rules.
std::string singleSteps(const TContRates& stored, const TContRates& wanted);

}  // namespace onuqosctl
