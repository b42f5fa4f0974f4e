#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "clients/onuqosplan/olt.h"
#include "common/commandLine.h"
#include "onuqos/rules/tContRules.h"

namespace onuqosplan {

/// What is sold: the T-CONT that each subscriber takes.
struct Tariff {
    std::string name;
    onuTContProfileType type = tContType5;
    rules::TContRates rates;
    /// Of a profile that the OLT has: its place among the profiles, and its T-CONT id.
    std::optional<std::size_t> place{};
    std::optional<std::uint32_t> tContId{};

    rules::RatePair guaranteed() const { return {.fixed = rates.fixed, .assured = rates.assured}; }
};

/// Rates that are asked for, in the order of `rules::kTContRateKinds`.
using AskedRates = std::array<std::optional<std::uint32_t>, 3>;
inline constexpr std::array<const char*, 3> kRateNames{"fixed", "assured", "maximum"};

/// `rates` with those that are asked for, rounded up as the module does; the maximum, which costs nothing,
/// follows where it is not among them. Throws common::UsageError for what the module would refuse.
rules::TContRates ratesAsked(onuTContProfileType type, rules::TContRates rates, const AskedRates& asked,
                             const rules::ClassLimits& limits);

/// The profile of this name. Throws common::UsageError where there is none.
Tariff profileTariff(const Olt& olt, const std::string& name);

/// The options that say which tariff is meant: a profile, or a type with its rates.
class TariffOptions {
public:
    explicit TariffOptions(common::Command command);

    /// Throws common::UsageError where not exactly one of the two is given.
    void check() const;

    /// Throws common::UsageError.
    Tariff of(const Olt& olt) const;

private:
    common::Given profile_, type_;
    std::array<common::Given, 3> rates_;
};

/// "1024 fixed", "512 fixed + 1024 assured"; "nothing" for none.
std::string pairText(rules::RatePair rates);

/// What a T-CONT of these rates takes of a port.
rules::RatePair costOf(rules::RatePair rate);

}  // namespace onuqosplan
