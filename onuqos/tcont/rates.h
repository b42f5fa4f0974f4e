#pragma once

#include <array>

#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/tContRules.h"

/// A rate of a T-CONT profile with its setter, and what create-and-set writes when it refuses it.
struct TContRate {
    const rules::TContRateKind& kind;
    onuQos::onuQosRes (onuQos::*set)(const std::string&, unsigned int);
    const char* operation;  ///< the setter's name, as in the log
    const char* domainError;
    const char* notConfigurable;
    const char* setError;
};

/// In the order in which create-and-set looks at them.
inline constexpr std::array<TContRate, 3> kTContRates{{
    {.kind = rules::kTContFixed,
     .set = &onuQos::tContProfileFixedRateSet,
     .operation = "tContProfileFixedRateSet",
     .domainError = "ONUQOS ERROR - tContProfileCreateAndSet: fixedRate domain error: ",
     .notConfigurable = "ONUQOS ERROR - tContProfileCreateAndSet: fixedRate not configurable",
     .setError = "ONUQOS ERROR - tContProfileFixedRateSet error: name="},
    {.kind = rules::kTContAssured,
     .set = &onuQos::tContProfileAssuredRateSet,
     .operation = "tContProfileAssuredRateSet",
     .domainError = "ONUQOS ERROR - tContProfileCreateAndSet: assuredRate domain error: ",
     .notConfigurable = "ONUQOS ERROR - tContProfileCreateAndSet: assuredRate not configurable",
     .setError = "ONUQOS ERROR - tContProfileAssuredRateSet error: name="},
    {.kind = rules::kTContMaximum,
     .set = &onuQos::tContProfileMaximumRateSet,
     .operation = "tContProfileMaximumRateSet",
     .domainError = "ONUQOS ERROR - tContProfileCreateAndSet: maximumRate domain error: ",
     .notConfigurable = "ONUQOS ERROR - tContProfileCreateAndSet: maximumRate not configurable",
     .setError = "ONUQOS ERROR - tContProfileMaximumRateSet error: name="},
}};

inline constexpr const TContRate& kTContFixedRate = kTContRates[0];
inline constexpr const TContRate& kTContAssuredRate = kTContRates[1];
inline constexpr const TContRate& kTContMaximumRate = kTContRates[2];

constexpr const TContRate& tContRateOf(const rules::TContRateKind& kind) {
    return kTContRates.at(static_cast<std::size_t>(kind.type));
}

/// The row of a type in a rule table of the module; zeros for a type without one.
template <typename Row>
Row rowOf(const std::map<onuTContProfileType, Row>& table, onuTContProfileType type) {
    const auto found = table.find(type);
    return found == table.end() ? Row{} : found->second;
}
