#include "oltmgrd/platform/inventory.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <map>
#include <set>

#include "common/text.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/files/files.h"
#include "oltmgrd/files/jsonFields.h"

namespace oltmgrd {
namespace {

// Platform events carry interface indexes as int.
constexpr std::uint32_t kInterfaceMax = 0x7FFFFFFF;

/// Where each interface index was used first.
using Places = std::map<std::uint32_t, std::string>;

std::uint32_t readInterface(JsonFields& fields, Places& places) {
    const auto interface = fields.integer<std::uint32_t>("interface", 1, kInterfaceMax);
    const auto [place, isNew] = places.emplace(interface, fields.pointer("interface"));
    if (!isNew) {
        fields.fail("interface",
                    "interface " + std::to_string(interface) + " is listed already at " + place->second);
    }
    return interface;
}

int readTechnology(JsonFields& fields) {
    const Json& technology = fields.required("technology");
    if (technology == "gpon") {
        return kTechnologyGpon;
    }
    if (technology == "10g") {
        return kTechnology10G;
    }
    if (!technology.is_number_integer()) {
        fields.fail("technology", "must be \"gpon\", \"10g\" or a number");
    }
    return fields.integer<int>("technology");
}

InventoryPort readPort(JsonFields fields, Places& interfaces, Places& olts) {
    InventoryPort port;
    port.interface = readInterface(fields, interfaces);
    port.olt = fields.integerOr<std::uint32_t>("olt", port.interface, 1);
    const auto [place, isNew] = olts.emplace(port.olt, fields.pointer("olt"));
    if (!isNew) {
        fields.fail("olt",
                    "OLT port number " + std::to_string(port.olt) + " is used already at " + place->second);
    }
    port.slot = fields.integerOr<std::uint32_t>("slot", 0);
    port.port = fields.integerOr<std::uint32_t>("port", port.olt);
    port.technology = readTechnology(fields);
    port.minDistance = fields.integerOr<std::uint32_t>("minDistance", port.minDistance);
    port.maxDistance =
        fields.integerOr<std::uint32_t>("maxDistance", std::max(port.maxDistance, port.minDistance));
    if (port.minDistance > port.maxDistance) {
        fields.fail("minDistance", "is above maxDistance, " + std::to_string(port.maxDistance));
    }
    port.capacityFixed = fields.integerOr<std::uint32_t>("capacityFixed", capacityOf(port.technology));
    port.capacityTotal = fields.integerOr<std::uint32_t>("capacityTotal", capacityOf(port.technology));
    fields.finish();
    return port;
}

InventoryOnu readOnu(JsonFields fields, Places& interfaces, const std::set<std::uint32_t>& ports) {
    InventoryOnu onu;
    onu.interface = readInterface(fields, interfaces);
    onu.parent = fields.integer<std::uint32_t>("parent", 1, kInterfaceMax);
    if (!ports.contains(onu.parent)) {
        fields.fail("parent",
                    "interface " + std::to_string(onu.parent) + " is not a PON port of this inventory");
    }
    onu.slot = fields.integerOr<std::uint32_t>("slot", 0);
    onu.port = fields.integerOr<std::uint32_t>("port", 0);
    fields.finish();
    return onu;
}

std::map<int, bool> readFeatures(JsonFields& top) {
    std::map<int, bool> features;
    const Json* object = top.find("features");
    if (object == nullptr) {
        return features;
    }
    JsonFields fields(*object, top.pointer("features"));
    for (const auto& [key, value] : object->items()) {
        int feature = 0;
        const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), feature);
        if (error != std::errc() || end != key.data() + key.size() || feature < 0) {
            fields.fail(key, "a feature is named by its number");
        }
        features[feature] = fields.boolean(key);
    }
    return features;
}

/// The platform counts ports by OLT port number less one, while distances are looked up by interface index
/// less one.
void warnOfNumbers(const Inventory& inventory, std::vector<std::string>& warnings) {
    std::map<std::uint32_t, const InventoryPort*> byOlt;
    for (const InventoryPort& port : inventory.ports) {
        byOlt[port.olt] = &port;
    }
    for (std::size_t i = 0; i < inventory.ports.size(); ++i) {
        const InventoryPort& port = inventory.ports[i];
        if (port.olt == port.interface) {
            continue;
        }
        const auto other = byOlt.find(port.interface);
        const std::string distances = other == byOlt.end() ? "cannot be read, since there is no such port"
                                                           : "are read from there, which is interface " +
                                                                 std::to_string(other->second->interface);
        warnings.push_back("/ports/" + std::to_string(i) + ": interface " + std::to_string(port.interface) +
                           " is OLT port " + std::to_string(port.olt) +
                           ": its free bandwidth is read from OLT port " + std::to_string(port.olt) +
                           ", but its distances are looked up at OLT port " + std::to_string(port.interface) +
                           " and " + distances);
    }
}

}  // namespace

InventoryFile readInventory(const Json& document) {
    InventoryFile file;
    Inventory& inventory = file.inventory;
    JsonFields top(document, "");
    inventory.features = readFeatures(top);

    Places interfaces;
    Places olts;
    std::set<std::uint32_t> ports;
    for (const auto& [element, pointer] : top.elementsOr("ports")) {
        inventory.ports.push_back(readPort(JsonFields(*element, pointer), interfaces, olts));
        ports.insert(inventory.ports.back().interface);
    }
    for (const auto& [element, pointer] : top.elementsOr("onus")) {
        inventory.onus.push_back(readOnu(JsonFields(*element, pointer), interfaces, ports));
    }
    inventory.serviceProfiles = readServiceProfiles(top);
    top.finish();
    warnOfNumbers(inventory, file.warnings);
    return file;
}

InventoryFile loadInventory(const std::string& path) {
    try {
        return readInventory(parseJson(readFile(path), {.comments = true}));
    } catch (const FileError& error) {
        throw StartError("inventory " + std::string(error.what()), kBadInput);
    } catch (const JsonError& error) {
        // The pointer and what the parser read last can hold any bytes.
        throw StartError("inventory " + path + ": " + common::printable(error.what()), kBadInput);
    }
}

}  // namespace oltmgrd
