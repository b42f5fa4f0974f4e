#include <algorithm>

#include "clients/onuqosplan/replay.h"
#include "clients/onuqosplan/source.h"
#include "common/controlChannel.h"
#include "common/errors.h"
#include "common/text.h"
#include "oltmgrd/files/jsonFields.h"
#include "oltmgrd/platform/inventory.h"

namespace onuqosplan {
namespace {

using oltmgrd::JsonFields;

constexpr int kReadings = 5;  // until what is read belongs to one moment

/// The arguments of the answer to a command without arguments.
Json asked(common::ControlChannel& channel, const std::string& command) {
    const Json answer =
        oltmgrd::parseJson(channel.ask(Json{{"command", command}, {"arguments", Json::object()}}.dump()), {});
    JsonFields fields(answer, "");
    if (fields.integer<int>("result") != 0) {
        throw common::NoAnswer("oltmgrd refused " + command + ": " +
                               common::printable(fields.nameOr("text", "")));
    }
    return fields.required("arguments");
}

/// A port of the ledger; false where its limits or what is free on it are not known.
bool readPort(const Json& json, const std::string& pointer, Port& port, bool& tenG) {
    JsonFields fields(json, pointer);
    port.interface = fields.integer<std::uint32_t>("interface");
    JsonFields available(fields.required("available"), fields.pointer("available"));
    const Json& free = available.required("actual");
    if (fields.required("technology").is_null() || free.is_null()) {
        return false;
    }
    JsonFields actual(free, available.pointer("actual"));
    const bool is10G = fields.name("technology") == "10g";
    tenG = fields.name("class") == "10g";
    port.technology = is10G ? oltmgrd::kTechnology10G : oltmgrd::kTechnologyGpon;
    port.state.technology = is10G ? oltPortBw10G : oltPortBwGpon;
    port.state.totalMax = fields.integer<std::uint32_t>("limitTotal");
    port.state.minDistance = fields.integer<std::uint32_t>("minDistance");
    port.state.maxDistance = fields.integer<std::uint32_t>("maxDistance");
    port.state.held.fixedAlloc = fields.integer<std::uint32_t>("fixed");
    port.state.held.assuredAlloc = fields.integer<std::uint32_t>("assured");
    port.state.configured = fields.integer<std::uint32_t>("configuredOnus") != 0;
    port.state.free = {.fixed = actual.integer<std::uint32_t>("fixed"),
                       .assured = actual.integer<std::uint32_t>("total")};
    return true;
}

Parents readParents(const Json& arguments) {
    Parents parents;
    JsonFields top(arguments, "");
    for (const auto& [element, pointer] : top.elementsOr("onus")) {
        JsonFields fields(*element, pointer);
        parents[fields.integer<std::uint32_t>("interface")] = fields.integer<std::uint32_t>("port");
    }
    return parents;
}

Olt oltOf(const Json& ledger, const Parents& parents, const Json& configuration) {
    Olt olt;
    olt.configuration = oltmgrd::readConfiguration(configuration);
    std::map<std::uint32_t, Committed> committed = replay(olt.configuration, parents);
    std::map<std::uint32_t, std::vector<std::uint32_t>> onus;
    for (const auto& [onu, parent] : parents) {
        onus[parent].push_back(onu);
    }
    JsonFields top(ledger, "");
    for (const auto& [element, pointer] : top.elementsOr("ports")) {
        Port port;
        if (!readPort(*element, pointer, port, olt.tenG)) {
            olt.notes.push_back("port " + std::to_string(port.interface) +
                                " is left out: its limits or what is free on it are not known");
            continue;
        }
        // What the platform could give at all, as far as it can be told.
        port.promised = committed[port.interface].promised;
        port.capacityFixed = port.state.free.fixed + port.promised.fixed;
        port.capacityTotal = port.state.free.assured + port.promised.fixed + port.promised.assured;
        port.onus = std::move(onus[port.interface]);
        olt.ports.push_back(std::move(port));
    }
    complete(olt);
    return olt;
}

}  // namespace

Olt liveOlt(const std::string& controlPath, double timeoutSeconds, const std::vector<uid_t>& owners) {
    try {
        common::ControlChannel channel(controlPath, timeoutSeconds, owners);
        const Parents parents = readParents(asked(channel, "onu-list"));
        Json ledger = asked(channel, "ledger-get");
        for (int reading = 1;; ++reading) {
            const Json configuration = asked(channel, "config-get");
            Json after = asked(channel, "ledger-get");
            const bool isOneMoment = ledger == after;
            ledger = std::move(after);
            if (!isOneMoment && reading < kReadings) {
                continue;
            }
            Olt olt = oltOf(ledger, parents, configuration);
            if (!isOneMoment) {
                olt.notes.emplace_back("the OLT changes while it is read; services and sums may not agree");
            }
            return olt;
        }
    } catch (const oltmgrd::JsonError& error) {
        throw common::NoAnswer("control path " + common::printable(controlPath) +
                               ": no answer that is understood: " + common::printable(error.what()));
    }
}

}  // namespace onuqosplan
