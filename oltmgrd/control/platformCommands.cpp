#include "oltmgrd/control/handlers.h"

namespace oltmgrd {
namespace {

void requireRaised(bool raised) {
    if (!raised) {
        throw CommandError("a handler vetoed the event");
    }
}

Answer interfaceEvent(CommandContext& context, const Arguments& arguments) {
    requireRaised(context.host->interfaceEvent(arguments.integer("interface"), arguments.integer("event")));
    return {};
}

Answer onuConfigEvent(CommandContext& context, const Arguments& arguments) {
    requireRaised(context.host->onuConfigEvent(arguments.number("interface"), arguments.boolean("ready"),
                                               arguments.boolean("other")));
    return {};
}

Answer portDistanceSet(CommandContext& context, const Arguments& arguments) {
    const std::uint32_t interface = arguments.number("interface");
    context.host->setDistances(interface, arguments.number("min"), arguments.number("max"));
    if (context.module != nullptr) {
        call<&onuQosClassInterface::onuQosOltPortDistanceChangedEventHandler>(*context.module, interface);
    }
    return {};
}

Answer serviceProfileAdd(CommandContext& context, const Arguments& arguments) {
    context.host->addServiceProfile({.name = arguments.name("name"),
                                     .tcontProfile = arguments.name("tcontProfile"),
                                     .flowProfile = arguments.name("flowProfile")});
    return {};
}

Answer serviceProfileRemove(CommandContext& context, const Arguments& arguments) {
    context.host->removeServiceProfile(arguments.name("name"));
    return {};
}

Answer serviceProfileList(CommandContext& context, const Arguments&) {
    Json profiles = Json::array();
    for (const ServiceProfile& profile : context.host->serviceProfiles()) {
        profiles.push_back(serviceProfileToJson(profile));
    }
    return {.text = {}, .arguments = {{"serviceProfiles", std::move(profiles)}}};
}

Json toJson(const std::vector<StampedAlarm>& alarms) {
    Json array = Json::array();
    for (const StampedAlarm& alarm : alarms) {
        array.push_back(toJson(alarm));
    }
    return array;
}

Answer alarmsGet(CommandContext& context, const Arguments&) {
    const StampedAlarms alarms = context.alarms->snapshot();
    return {.text = {},
            .arguments = {{"active", toJson(alarms.active)}, {"history", toJson(alarms.history)}}};
}

constexpr Handler kHandlers[] = {{"interface-event", interfaceEvent},
                                 {"onu-config-event", onuConfigEvent},
                                 {"port-distance-set", portDistanceSet},
                                 {"service-profile-add", serviceProfileAdd},
                                 {"service-profile-remove", serviceProfileRemove},
                                 {"service-profile-list", serviceProfileList},
                                 {"alarms-get", alarmsGet}};

}  // namespace

std::span<const Handler> platformHandlers() {
    return kHandlers;
}

}  // namespace oltmgrd
