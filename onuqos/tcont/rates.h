#pragma once

#include <array>
#include <optional>

#include "entity/onuQos.h"

/// What tells the three rates of a T-CONT profile apart.
struct TContRate {
    onuTContProfileRateType type;
    tContProfileParm parm;
    bool onuTContProfileRates::*configurable;
    std::uint32_t onuTContProfileRates::*least;  ///< the default and least non-zero value, kbit/s
    std::uint32_t tContProfileInfo::*rate;
    std::optional<onuTContProfileType> leadsIn;  ///< the type whose maximum is this rate and whose other is 0

    onuQos::onuQosRes (onuQos::*set)(const std::string&, unsigned int);
    const char* operation;  ///< of the setter, as in the log

    // Refusals of create-and-set
    const char* domainError;
    const char* notConfigurable;
    const char* setError;
};

constexpr TContRate kTContFixedRate{
    .type = tContRateFixed,
    .parm = tContParmFixedRate,
    .configurable = &onuTContProfileRates::fixedRateConfigurable,
    .least = &onuTContProfileRates::fixedRateDefault,
    .rate = &tContProfileInfo::fixedRate,
    .leadsIn = tContType1,
    .set = &onuQos::tContProfileFixedRateSet,
    .operation = "tContProfileFixedRateSet",
    .domainError = "ONUQOS ERROR - tContProfileCreateAndSet: fixedRate domain error: ",
    .notConfigurable = "ONUQOS ERROR - tContProfileCreateAndSet: fixedRate not configurable",
    .setError = "ONUQOS ERROR - tContProfileFixedRateSet error: name="};

constexpr TContRate kTContAssuredRate{
    .type = tContRateAssured,
    .parm = tContParmAssuredRate,
    .configurable = &onuTContProfileRates::assuredRateConfigurable,
    .least = &onuTContProfileRates::assuredRateDefault,
    .rate = &tContProfileInfo::assuredRate,
    .leadsIn = tContType2,
    .set = &onuQos::tContProfileAssuredRateSet,
    .operation = "tContProfileAssuredRateSet",
    .domainError = "ONUQOS ERROR - tContProfileCreateAndSet: assuredRate domain error: ",
    .notConfigurable = "ONUQOS ERROR - tContProfileCreateAndSet: assuredRate not configurable",
    .setError = "ONUQOS ERROR - tContProfileAssuredRateSet error: name="};

constexpr TContRate kTContMaximumRate{
    .type = tContRateMaximum,
    .parm = tContParmMaximumRate,
    .configurable = &onuTContProfileRates::maximumRateConfigurable,
    .least = &onuTContProfileRates::maximumRateDefault,
    .rate = &tContProfileInfo::maximumRate,
    .leadsIn = std::nullopt,
    .set = &onuQos::tContProfileMaximumRateSet,
    .operation = "tContProfileMaximumRateSet",
    .domainError = "ONUQOS ERROR - tContProfileCreateAndSet: maximumRate domain error: ",
    .notConfigurable = "ONUQOS ERROR - tContProfileCreateAndSet: maximumRate not configurable",
    .setError = "ONUQOS ERROR - tContProfileMaximumRateSet error: name="};

/// In the order in which create-and-set looks at them.
constexpr std::array<const TContRate*, 3> kTContRates{&kTContFixedRate, &kTContAssuredRate,
                                                      &kTContMaximumRate};

/// The value that stands for a type's default in the rate setters.
constexpr std::uint32_t kTContRateDefault = 0xFFFFFFFF;
