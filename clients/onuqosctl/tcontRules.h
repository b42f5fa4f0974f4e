#pragma once

#include <cstdint>
#include <string>

#include "onuqos/rules/tContRules.h"

namespace onuqosctl {

using rules::ClassLimits;
using rules::TContRates;

/// The rates as the module stores them.
TContRates roundedUp(const TContRates& rates, const ClassLimits& limits);

/// The default rates of a type, also the least a rate of it may be unless it is 0. Zeros for no type.
TContRates typeDefaults(std::uint32_t type);

/// Which rate lies outside what the type lets it be, as a sentence; empty for none. These bounds hold before
/// rates are rounded up.
std::string explainBounds(std::uint32_t type, const TContRates& rates, const ClassLimits& limits);

/// Why the module finds these rates wrong for the type, as a sentence; empty when they are right. After the
/// bounds come the rules between rates, which hold for the rounded ones.
std::string explainRates(std::uint32_t type, const TContRates& rates, const ClassLimits& limits);

/// Which rates a type carries, as a sentence; empty for no type.
std::string explainType(std::uint32_t type);

/// The options of `onuqosctl tcont set`, few as can be, that lead a type 5 profile from `stored` to `wanted`
/// through valid rates only, for instance "--maximum 1024 --fixed 256 --assured 128". Both must be rates that
/// the module stores.
std::string singleSteps(const TContRates& stored, const TContRates& wanted);

}  // namespace onuqosctl
