#include "clients/onuqosplan/planFile.h"

#include <algorithm>

#include "common/errors.h"
#include "common/number.h"
#include "common/text.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/files/files.h"
#include "oltmgrd/files/jsonFields.h"
#include "oltmgrd/platform/inventory.h"

namespace onuqosplan {
namespace {

using oltmgrd::JsonFields;

constexpr std::uint32_t kInterfaceMax = 0x7FFFFFFF;

template <typename Integer>
std::optional<Integer> optionalInteger(JsonFields& fields, const char* member, Integer least, Integer most) {
    return fields.find(member) == nullptr ? std::nullopt
                                          : std::optional(fields.integer<Integer>(member, least, most));
}

/// Rates in kbit/s, or texts with a unit.
AskedRates readRates(JsonFields& fields) {
    AskedRates rates;
    for (std::size_t at = 0; at < rates.size(); ++at) {
        const Json* value = fields.find(kRateNames[at]);
        if (value == nullptr) {
            continue;
        }
        if (!value->is_string()) {
            rates[at] = fields.integer<std::uint32_t>(kRateNames[at]);
            continue;
        }
        try {
            rates[at] = common::parseRate(value->get<std::string>());
        } catch (const common::UsageError& error) {
            fields.fail(kRateNames[at], error.what());
        }
    }
    return rates;
}

PlanTariff readTariff(const Json& json, const std::string& pointer) {
    JsonFields fields(json, pointer);
    PlanTariff tariff{.name = fields.name("name"), .profile = {}};
    tariff.pointer = fields.pointer("tcontProfile");
    const Json& profile = fields.required("tcontProfile");
    if (profile.is_object() && !profile.contains("base64")) {
        JsonFields members(profile, tariff.pointer);
        InlineProfile values;
        values.type = static_cast<onuTContProfileType>(members.integer<std::int32_t>("type", 1, 5));
        values.rates = readRates(members);
        members.finish();
        tariff.profile = values;
    } else {
        tariff.profile = JsonFields::nameIn(profile, tariff.pointer);
    }
    tariff.services = fields.integerOr<std::uint32_t>("services", 1, 1, 1024);
    fields.finish();
    return tariff;
}

/// A port's number, or nothing for "*".
std::optional<std::uint32_t> readPort(JsonFields& fields) {
    const Json& port = fields.required("port");
    if (port == "*") {
        return std::nullopt;
    }
    if (port.is_string()) {
        fields.fail("port", "must be the interface index of a PON port, or \"*\" for each");
    }
    return fields.integer<std::uint32_t>("port", 1, kInterfaceMax);
}

PlanDemand readDemand(const Json& json, const std::string& pointer, const std::vector<PlanTariff>& tariffs) {
    JsonFields fields(json, pointer);
    PlanDemand demand{.port = readPort(fields), .tariff = 0, .subscribers = 0, .pointer = pointer};
    const std::string name = fields.name("tariff");
    const auto found = std::ranges::find(tariffs, name, &PlanTariff::name);
    if (found == tariffs.end()) {
        fields.fail("tariff", "no tariff of this file has that name");
    }
    demand.tariff = static_cast<std::size_t>(found - tariffs.begin());
    demand.subscribers = fields.integer<std::uint32_t>("subscribers", 0, kInterfaceMax);
    fields.finish();
    return demand;
}

PortChange readPortChange(JsonFields& fields) {
    PortChange change{.port = readPort(fields)};
    change.minDistance = optionalInteger<std::uint32_t>(fields, "minDistance", 0, 0xFFFFFFFF);
    change.maxDistance = optionalInteger<std::uint32_t>(fields, "maxDistance", 0, 0xFFFFFFFF);
    change.onus = optionalInteger<std::uint32_t>(fields, "onus", 0, kInterfaceMax);
    if (const Json* technology = fields.find("technology")) {
        if (*technology != "gpon" && *technology != "10g") {
            fields.fail("technology", "must be \"gpon\" or \"10g\"");
        }
        change.technology = *technology == "gpon" ? oltmgrd::kTechnologyGpon : oltmgrd::kTechnology10G;
    }
    return change;
}

PlanWhatIf readWhatIf(const Json& json, const std::string& pointer) {
    JsonFields fields(json, pointer);
    PlanWhatIf whatIf{.change = PortChange(), .pointer = pointer};
    if (json.contains("tcontProfile")) {
        ProfileChange change{.name = fields.name("tcontProfile"), .rates = {}};
        change.rates = readRates(fields);
        whatIf.change = std::move(change);
    } else {
        whatIf.change = readPortChange(fields);
    }
    fields.finish();
    return whatIf;
}

}  // namespace

PlanFile readPlan(const Json& json) {
    PlanFile plan;
    JsonFields top(json, "");
    for (const auto& [element, pointer] : top.elementsOr("tariffs")) {
        plan.tariffs.push_back(readTariff(*element, pointer));
        const std::string& name = plan.tariffs.back().name;
        if (std::ranges::count(plan.tariffs, name, &PlanTariff::name) > 1) {
            throw oltmgrd::JsonError(oltmgrd::jsonPointer(pointer, "name"),
                                     "another tariff has this name already");
        }
    }
    for (const auto& [element, pointer] : top.elementsOr("demand")) {
        plan.demand.push_back(readDemand(*element, pointer, plan.tariffs));
    }
    for (const auto& [element, pointer] : top.elementsOr("whatIf")) {
        plan.whatIf.push_back(readWhatIf(*element, pointer));
    }
    top.finish();
    return plan;
}

PlanFile loadPlan(const std::string& path) {
    try {
        return readPlan(oltmgrd::parseJson(oltmgrd::readFile(path), {.comments = true}));
    } catch (const oltmgrd::FileError& error) {
        throw common::UsageError("plan " + std::string(error.what()));
    } catch (const oltmgrd::JsonError& error) {
        throw common::UsageError("plan " + path + ": " + common::printable(error.what()));
    }
}

}  // namespace onuqosplan
