#include "clients/onuqosplan/tariff.h"

#include <algorithm>

#include "common/errors.h"
#include "common/name.h"
#include "common/number.h"
#include "common/text.h"

namespace onuqosplan {
namespace {

using common::UsageError;

std::string typeText(onuTContProfileType type) {
    return "T-CONT type " + std::to_string(type);
}

}  // namespace

rules::TContRates ratesAsked(onuTContProfileType type, rules::TContRates rates, const AskedRates& asked,
                             const rules::ClassLimits& limits) {
    const onuTContProfileRates carried = rules::tContRateRules(type);
    for (std::size_t at = 0; at < asked.size(); ++at) {
        const rules::TContRateKind& kind = rules::kTContRateKinds[at];
        if (!asked[at]) {
            continue;
        }
        if (!(carried.*kind.configurable)) {
            throw UsageError(typeText(type) + " carries no " + kRateNames[at] + " rate");
        }
        const std::uint32_t least = carried.*kind.least;
        if (rules::tContRateBound(least, *asked[at], limits) != rules::RateReason::none) {
            throw UsageError(std::string(kRateNames[at]) + " rate " + std::to_string(*asked[at]) + ": " +
                             typeText(type) + " takes " + std::to_string(least) + " to " +
                             std::to_string(limits.rateMax));
        }
        rates.*kind.value = rules::tContRateRounded(limits, kind.type, *asked[at]);
        if (type == kind.leadsIn) {
            rates.maximum = rates.*kind.value;
        }
    }
    const std::uint64_t least = std::uint64_t{rates.fixed} + rates.assured + rules::kTContRateMargin;
    if (!asked[2] && (type == tContType3 || type == tContType5) && least <= limits.rateMax) {
        rates.maximum = std::max(rates.maximum, static_cast<std::uint32_t>(least));
    }
    if (rules::tContRatesReason(type, rates) != rules::RateReason::none) {
        throw UsageError("rates " + std::to_string(rates.fixed) + " fixed, " + std::to_string(rates.assured) +
                         " assured, " + std::to_string(rates.maximum) + " maximum: " + typeText(type) +
                         " needs a maximum of at least fixed + assured + " +
                         std::to_string(rules::kTContRateMargin) +
                         (type == tContType5 ? ", and fixed + assured of 0 or of at least as much" : ""));
    }
    return rates;
}

Tariff profileTariff(const Olt& olt, const std::string& name) {
    const auto& profiles = olt.configuration.tcontProfiles;
    const auto found = std::ranges::find(profiles, name, &oltmgrd::SavedTContProfile::name);
    if (found == profiles.end()) {
        throw UsageError("there is no T-CONT profile " + common::inQuotes(name) + " on this OLT; it has " +
                         std::to_string(profiles.size()) +
                         ", onuqosctl tcont list shows those of a running one");
    }
    return {.name = name,
            .type = static_cast<onuTContProfileType>(found->values.tContType),
            .rates = {.fixed = found->values.fixedRate,
                      .assured = found->values.assuredRate,
                      .maximum = found->values.maximumRate},
            .place = static_cast<std::size_t>(found - profiles.begin()),
            .tContId = found->values.tContId};
}

TariffOptions::TariffOptions(common::Command command)
    : profile_(command.option("--tcont-profile", "NAME", "A T-CONT profile of the OLT")),
      type_(command.option("--type", "TYPE", "Instead of a profile: a T-CONT type, 1 to 5, with its rates")),
      rates_{command.option("--fixed", "RATE", "Fixed rate of that type"),
             command.option("--assured", "RATE", "Assured rate of that type"),
             command.option("--maximum", "RATE", "Maximum rate of that type; it costs nothing")} {
    for (const common::Given& rate : rates_) {
        rate.needs(type_);
    }
}

void TariffOptions::check() const {
    if (profile_.present() == type_.present()) {
        throw UsageError("say what is to be bound: --tcont-profile NAME, or --type with its rates");
    }
}

Tariff TariffOptions::of(const Olt& olt) const {
    check();
    if (profile_.present()) {
        return profileTariff(olt, common::nameFromArgument(profile_.text()));
    }
    Tariff tariff{.name = "new", .rates = {}};
    tariff.type = static_cast<onuTContProfileType>(
        common::parseUnsigned(type_.text(), "--type", {.least = 1, .largest = 5}));
    AskedRates asked;
    for (std::size_t at = 0; at < asked.size(); ++at) {
        if (rates_[at].present()) {
            asked[at] = common::parseRate(rates_[at].text());
        }
    }
    tariff.rates = ratesAsked(tariff.type, rules::tContDefaultRates(tariff.type), asked, olt.limits());
    return tariff;
}

std::string pairText(rules::RatePair rates) {
    std::string text = rates.fixed != 0 ? std::to_string(rates.fixed) + " fixed" : "";
    if (rates.assured != 0) {
        text += (text.empty() ? "" : " + ") + std::to_string(rates.assured) + " assured";
    }
    return text.empty() ? "nothing" : text;
}

rules::RatePair costOf(rules::RatePair rate) {
    const rules::RatePair overhead = rules::tContOverhead(rate.fixed, rate.assured);
    return {.fixed = rate.fixed + overhead.fixed, .assured = rate.assured + overhead.assured};
}

}  // namespace onuqosplan
