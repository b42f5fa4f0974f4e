#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "clients/onuqosplan/tariff.h"

namespace onuqosplan {

/// A T-CONT profile of the OLT, by its name, or a type with rates.
struct InlineProfile {
    onuTContProfileType type = tContType5;
    AskedRates rates;
};

struct PlanTariff {
    std::string name;
    std::variant<std::string, InlineProfile> profile;
    std::uint32_t services =
        1;  ///< of a subscriber; they share its T-CONT, so that the first one alone costs
    std::string pointer{};
};

/// Subscribers that are to be bound, each on an ONU without a service.
struct PlanDemand {
    std::optional<std::uint32_t> port{};  ///< nothing: on each port
    std::size_t tariff = 0;               ///< its place among the tariffs
    std::uint32_t subscribers = 0;
    std::string pointer{};
};

struct PortChange {
    std::optional<std::uint32_t> port{};  ///< nothing: every port
    std::optional<std::uint32_t> minDistance{}, maxDistance{};
    std::optional<int> technology{};
    std::optional<std::uint32_t> onus{};  ///< how many ONUs there are without a service
};

struct ProfileChange {
    std::string name;
    AskedRates rates;
};

struct PlanWhatIf {
    std::variant<PortChange, ProfileChange> change;
    std::string pointer{};
};

/// What is to be planned, in its order.
struct PlanFile {
    std::vector<PlanTariff> tariffs;
    std::vector<PlanDemand> demand;
    std::vector<PlanWhatIf> whatIf;
};

/// Throws `oltmgrd::JsonError`, also for a demand that names no tariff.
PlanFile readPlan(const Json& json);

/// Reads a plan file. Throws common::UsageError that names file, JSON pointer and reason.
PlanFile loadPlan(const std::string& path);

}  // namespace onuqosplan
