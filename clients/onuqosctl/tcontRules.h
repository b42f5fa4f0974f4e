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

/// A rate as the command line names it.
struct RateWord {
    const char* name;
    const char* option;
    const rules::TContRateKind& kind;
};

const RateWord& wordOf(const rules::TContRateKind& kind);
const RateWord& wordOf(std::uint32_t TContRates::*rate);

onuTContProfileType typeOf(std::uint32_t type);

/// A reason in one word, for scripts.
const char* reasonName(rules::RateReason reason);

/// The rule that is broken, as a sentence: between the rates of a type, or a bound of `kind` alone.
std::string ruleText(rules::RateReason reason, const rules::TContRateKind& kind, std::uint32_t type,
                     const ClassLimits& limits);

/// Which rates a type carries, as a sentence; empty for no type.
std::string explainType(std::uint32_t type);

/// The options of `onuqosctl tcont set`, few as can be, that lead a type 5 profile from `stored` to `wanted`
/// through valid rates only, for instance "--maximum 1024 --fixed 256 --assured 128". Both must be rates that
/// the module stores.
std::string singleSteps(const TContRates& stored, const TContRates& wanted);

}  // namespace onuqosctl
