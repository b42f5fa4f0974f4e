#include <optional>
#include <set>
#include <string>
#include <utility>

#include "common/name.h"
#include "oltmgrd/configuration/snapshot.h"
#include "oltmgrd/control/handlers.h"

namespace oltmgrd {
namespace {

/// What `service-list` asks for.
struct ServiceFilter {
    std::optional<std::uint32_t> onu;
    std::optional<std::set<std::uint32_t>> onusOfPort;
    std::optional<std::string> tcont;  ///< by the name then or now
    std::optional<std::string> flow;

    bool isOnWantedOnu(std::uint32_t interface) const {
        return (!onu || *onu == interface) && (!onusOfPort || onusOfPort->contains(interface));
    }
};

ServiceFilter filterOf(const CommandContext& context, const Arguments& arguments) {
    ServiceFilter filter{.onu = arguments.numberIfGiven("interface"),
                         .onusOfPort = std::nullopt,
                         .tcont = arguments.nameIfGiven("tcontProfile"),
                         .flow = arguments.nameIfGiven("flowProfile")};
    if (const auto port = arguments.numberIfGiven("port")) {
        filter.onusOfPort.emplace();
        for (const HostOnu& onu : context.host->interfaces().onus) {
            if (onu.port == *port) {
                filter.onusOfPort->insert(onu.interface);
            }
        }
    }
    return filter;
}

/// The names of a profile: when it was bound, and now; null now for one that was deleted.
template <typename Profiles, typename Bound>
std::pair<Json, Json> namesOf(const Profiles& profiles, const Bound& bound) {
    return {common::nameToJson(bound.name),
            bound.place == kDeleted ? Json() : common::nameToJson(profiles.at(bound.place).name)};
}

bool isWanted(const std::optional<std::string>& name, const std::pair<Json, Json>& names) {
    return !name || common::nameToJson(*name) == names.first || common::nameToJson(*name) == names.second;
}

/// Names now are known from what a save of the configuration would write.
Json servicesWithNames(CommandContext& context, const ServiceFilter& filter) {
    const auto document = captureConfiguration(moduleOf(context), servicesOf(context), *context.host);
    if (!document) {
        throw CommandError("the platform lock was not obtained; try again");
    }
    Json services = Json::array();
    for (const SavedBinding& binding : document->bindings) {
        const auto flow = namesOf(document->flowProfiles, binding.flow);
        const auto tcont = namesOf(document->tcontProfiles, binding.tcont);
        if (filter.isOnWantedOnu(binding.interface) && isWanted(filter.flow, flow) &&
            isWanted(filter.tcont, tcont)) {
            services.push_back({{"interface", binding.interface},
                                {"service", common::nameToJson(binding.service)},
                                {"flowProfile", flow.first},
                                {"tcontProfile", tcont.first},
                                {"virtualPort", binding.virtualPort},
                                {"termPointType", binding.termPoint.type},
                                {"termPointId", binding.termPoint.id},
                                {"flowProfileNow", flow.second},
                                {"tcontProfileNow", tcont.second}});
        }
    }
    return services;
}

Json servicesAsBound(CommandContext& context, const ServiceFilter& filter) {
    Json services = Json::array();
    for (const AppliedService& service : servicesOf(context).list()) {
        if (filter.isOnWantedOnu(service.interface) &&
            (!filter.flow || *filter.flow == service.flowProfile) &&
            (!filter.tcont || *filter.tcont == service.tcontProfile)) {
            services.push_back({{"interface", service.interface},
                                {"service", common::nameToJson(service.service)},
                                {"flowProfile", common::nameToJson(service.flowProfile)},
                                {"tcontProfile", common::nameToJson(service.tcontProfile)},
                                {"virtualPort", service.virtualPort},
                                {"termPointType", service.termPoint.type},
                                {"termPointId", service.termPoint.id}});
        }
    }
    return services;
}

Answer serviceList(CommandContext& context, const Arguments& arguments) {
    const ServiceFilter filter = filterOf(context, arguments);
    return {.text = {},
            .arguments = {{"services", arguments.boolean("now") ? servicesWithNames(context, filter)
                                                                : servicesAsBound(context, filter)}}};
}

constexpr Handler kHandlers[] = {{"service-list", serviceList}};

}  // namespace

std::span<const Handler> serviceListHandlers() {
    return kHandlers;
}

}  // namespace oltmgrd
