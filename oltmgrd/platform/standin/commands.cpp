#include <optional>

#include "common/name.h"
#include "oltmgrd/configuration/serviceProfileJson.h"
#include "oltmgrd/control/handlers.h"
#include "standin/faults.h"
#include "standin/features.h"
#include "standin/interfaces.h"
#include "standin/operations.h"
#include "standin/serviceProfiles.h"

namespace oltmgrd {
namespace {

constexpr int kOnuEquipmentFeature = 5;

void requireRaised(bool raised) {
    if (!raised) {
        throw CommandError("a handler vetoed the event");
    }
}

}  // namespace

Answer interfaceEvent(CommandContext&, const Arguments& arguments) {
    requireRaised(standin::interfaces::raiseEvent(static_cast<unsigned int>(arguments.integer("interface")),
                                                  arguments.integer("event")));
    return {};
}

Answer onuConfigEvent(CommandContext&, const Arguments& arguments) {
    const auto features = standin::features::list();
    const auto feature = features.find(kOnuEquipmentFeature);
    if (feature == features.end() || !feature->second) {
        throw CommandError("the platform has no ONU equipment manager: feature 5 is not active");
    }
    requireRaised(standin::interfaces::raiseOnuConfigEvent(
        arguments.number("interface"), arguments.boolean("ready"), arguments.boolean("other")));
    return {};
}

Answer interfaceTypeSet(CommandContext&, const Arguments& arguments) {
    standin::interfaces::overrideType(
        arguments.number("interface"),
        arguments.isNothing("type") ? std::nullopt : std::optional(arguments.integer("type")));
    return {};
}

Answer portDistanceSet(CommandContext& context, const Arguments& arguments) {
    const std::uint32_t interface = arguments.number("interface");
    standin::ports::setDistances(interface, arguments.number("min"), arguments.number("max"));
    if (context.module != nullptr) {
        call<&onuQosClassInterface::onuQosOltPortDistanceChangedEventHandler>(*context.module, interface);
    }
    return {};
}

Answer portAvailableSet(CommandContext&, const Arguments& arguments) {
    if (arguments.isNothing("fixed") != arguments.isNothing("total")) {
        throw CommandError("\"fixed\" and \"total\" are both numbers or both null");
    }
    std::optional<standin::ports::Available> available;
    if (!arguments.isNothing("fixed")) {
        available = {.fixed = arguments.number("fixed"), .total = arguments.number("total")};
    }
    standin::ports::overrideAvailable(arguments.number("interface"), available);
    return {};
}

Answer serviceProfileAdd(CommandContext&, const Arguments& arguments) {
    standin::serviceProfiles::add({.name = arguments.name("name"),
                                   .tContProfile = arguments.name("tcontProfile"),
                                   .flowProfile = arguments.name("flowProfile")});
    return {};
}

Answer serviceProfileRemove(CommandContext&, const Arguments& arguments) {
    standin::serviceProfiles::remove(arguments.name("name"));
    return {};
}

Answer serviceProfileList(CommandContext&, const Arguments&) {
    Json profiles = Json::array();
    for (const standin::ServiceProfile& profile : standin::serviceProfiles::list()) {
        profiles.push_back(serviceProfileToJson(profile));
    }
    return {.text = {}, .arguments = {{"serviceProfiles", std::move(profiles)}}};
}

Answer faultSet(CommandContext&, const Arguments& arguments) {
    const auto operation = standin::operationNamed(arguments.text("operation"));
    if (!operation) {
        throw CommandError("\"operation\" is empty");
    }
    standin::faults::set(*operation, {.answer = arguments.integer("answer"),
                                      .times = arguments.number("times"),
                                      .after = arguments.number("after")});
    return {};
}

Answer faultClear(CommandContext&, const Arguments& arguments) {
    if (const auto operation = standin::operationNamed(arguments.text("operation"))) {
        standin::faults::clear(*operation);
    } else {
        standin::faults::clearAll();
    }
    return {};
}

}  // namespace oltmgrd
