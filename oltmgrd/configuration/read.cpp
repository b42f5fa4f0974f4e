#include <algorithm>
#include <set>
#include <unordered_map>
#include <utility>

#include "common/text.h"
#include "oltmgrd/configuration/document.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/files/files.h"
#include "oltmgrd/files/jsonFields.h"
#include "oltmgrd/platform/serviceProfile.h"
#include "onuqos/entity/onuQos.h"

namespace oltmgrd {
namespace {

constexpr int kVersion = 1;
constexpr std::uint32_t kInterfaceMax = 0x7FFFFFFF;

using PlaceByName = std::unordered_map<std::string, std::size_t>;

std::vector<std::uint32_t> readInterfaces(JsonFields& fields, std::string_view member) {
    std::set<std::uint32_t> interfaces;
    for (const auto& [element, pointer] : fields.elementsOr(member)) {
        const auto interface =
            static_cast<std::uint32_t>(JsonFields::integerIn(*element, pointer, 1, kInterfaceMax));
        if (!interfaces.insert(interface).second) {
            throw JsonError(pointer, "interface " + std::to_string(interface) + " stands there twice");
        }
    }
    return {interfaces.begin(), interfaces.end()};
}

void readCommon(JsonFields& fields, SavedProfile& profile, PlaceByName& places, std::size_t place) {
    profile.name = fields.name("name");
    if (place == kProfileCountMax) {
        fields.fail("name",
                    "there are at most " + std::to_string(kProfileCountMax) + " profiles of a family");
    }
    if (!places.emplace(profile.name, place).second) {
        fields.fail("name", "another profile has this name already");
    }
    profile.appliedAlso = readInterfaces(fields, "appliedAlso");
    profile.appliedNot = readInterfaces(fields, "appliedNot");
}

TContShape readShape(JsonFields& fields) {
    TContShape shape;
    shape.tContId = fields.integerOr<std::uint32_t>("tContId", shape.tContId, 1, kTContIdMax);
    shape.tContType = fields.integerOr<std::int32_t>("tContType", shape.tContType, 1, 5);
    shape.fixedRate = fields.integerOr<std::uint32_t>("fixedRate", shape.fixedRate);
    shape.assuredRate = fields.integerOr<std::uint32_t>("assuredRate", shape.assuredRate);
    shape.maximumRate = fields.integerOr<std::uint32_t>("maximumRate", shape.maximumRate);
    return shape;
}

SavedTContProfile readTContProfile(JsonFields fields, PlaceByName& places) {
    SavedTContProfile profile;
    readCommon(fields, profile, places, places.size());
    profile.shape = readShape(fields);
    profile.dbaAllocType = fields.integerOr<std::int32_t>("dbaAllocType", profile.dbaAllocType, 1, 2);
    profile.dbaWeight = fields.integerOr<std::uint32_t>("dbaWeight", profile.dbaWeight);
    profile.dbaPriority = fields.integerOr<std::uint32_t>("dbaPriority", profile.dbaPriority);
    const SavedTContProfile fresh;
    profile.allocTypePushed = fields.booleanOr("allocTypePushed", profile.dbaAllocType != fresh.dbaAllocType);
    profile.weightPushed = fields.booleanOr("weightPushed", profile.dbaWeight != fresh.dbaWeight);
    fields.finish();
    return profile;
}

SavedFlowProfile readFlowProfile(JsonFields fields, PlaceByName& places) {
    SavedFlowProfile profile;
    readCommon(fields, profile, places, places.size());
    profile.cPcp = static_cast<std::uint32_t>(fields.integerOr<std::int32_t>("cPcp", -1, -1, 7));
    for (const auto& [element, pointer] : fields.elementsOr("cVlan")) {
        profile.cVlan.push_back(
            static_cast<std::uint16_t>(JsonFields::integerIn(*element, pointer, 1, 4094)));
    }
    profile.guarRateUs = fields.integer<std::uint32_t>("guarRateUs");
    profile.peakRateUs = fields.integer<std::uint32_t>("peakRateUs");
    profile.flowPriorityUs = fields.integerOr<std::uint32_t>("flowPriorityUs", 0, 0, 7);
    profile.flowPriorityDs = fields.integerOr<std::uint32_t>("flowPriorityDs", 0, 0, 7);
    profile.cPcpPushed = fields.booleanOr("cPcpPushed", true);
    profile.cVlanPushed = fields.booleanOr("cVlanPushed", true);
    fields.finish();
    return profile;
}

TermPoint readTermPoint(JsonFields& fields) {
    return {.type = fields.integer<std::int32_t>("termPointType"),
            .id = fields.integer<std::int16_t>("termPointId")};
}

/// The profile that a binding uses: under its name at the time of binding, unless `member` gives the name it
/// has now, or null when it was deleted.
std::size_t readProfileNow(JsonFields& fields, std::string_view member, std::string_view nameMember,
                           const std::string& name, const PlaceByName& places) {
    const Json* now = fields.find(member);
    if (now != nullptr && now->is_null()) {
        return kDeleted;
    }
    const bool renamed = now != nullptr;
    const auto found = places.find(renamed ? JsonFields::nameIn(*now, fields.pointer(member)) : name);
    if (found == places.end()) {
        fields.fail(renamed ? member : nameMember, "no profile of this file has that name");
    }
    return found->second;
}

class BindingReader {
public:
    BindingReader(const ConfigurationDocument& document, const PlaceByName& tconts, const PlaceByName& flows)
        : document_(document), tconts_(tconts), flows_(flows) {}

    SavedBinding read(JsonFields fields) {
        SavedBinding binding;
        binding.interface = fields.integer<std::uint32_t>("interface", 1, kInterfaceMax);
        binding.service = fields.name("service");
        if (!services_.emplace(binding.interface, binding.service).second) {
            fields.fail("service", "interface " + std::to_string(binding.interface) +
                                       " has a binding of this name already");
        }
        binding.flowProfile = fields.name("flowProfile");
        binding.tcontProfile = fields.name("tcontProfile");
        binding.virtualPort = fields.integer<std::uint32_t>("virtualPort");
        binding.termPoint = readTermPoint(fields);
        binding.flow = readProfileNow(fields, "flowProfileNow", "flowProfile", binding.flowProfile, flows_);
        binding.tcont =
            readProfileNow(fields, "tcontProfileNow", "tcontProfile", binding.tcontProfile, tconts_);
        if (binding.tcont != kDeleted) {
            binding.shape = document_.tcontProfiles[binding.tcont].shape;
        }
        if (const Json* shape = fields.find("tcontAtBinding")) {
            JsonFields shapeFields(*shape, fields.pointer("tcontAtBinding"));
            binding.shape = readShape(shapeFields);
            shapeFields.finish();
        }
        if (const Json* pushed = fields.find("pushedTermPoint")) {
            JsonFields pushedFields(*pushed, fields.pointer("pushedTermPoint"));
            binding.pushedTermPoint = readTermPoint(pushedFields);
            pushedFields.finish();
        }
        if (fields.find("pushedTContId") != nullptr) {
            binding.pushedTContId = fields.integer<std::uint32_t>("pushedTContId", 1, kTContIdMax);
        }
        fields.finish();
        return binding;
    }

private:
    const ConfigurationDocument& document_;
    const PlaceByName& tconts_;
    const PlaceByName& flows_;
    std::set<std::pair<std::uint32_t, std::string>> services_;
};

std::vector<SavedPort> readPorts(JsonFields& top) {
    std::vector<SavedPort> ports;
    for (const auto& [element, pointer] : top.elementsOr("ports")) {
        JsonFields fields(*element, pointer);
        ports.push_back({.interface = fields.integer<std::uint32_t>("interface", 1, kInterfaceMax),
                         .fixedAlloc = fields.integer<std::uint32_t>("fixedAlloc"),
                         .assuredAlloc = fields.integer<std::uint32_t>("assuredAlloc")});
        fields.finish();
    }
    return ports;
}

}  // namespace

ConfigurationDocument readConfiguration(const Json& json) {
    ConfigurationDocument document;
    JsonFields top(json, "");
    top.integer<int>("version", kVersion, kVersion);
    PlaceByName tconts;
    for (const auto& [element, pointer] : top.elementsOr("tcontProfiles")) {
        document.tcontProfiles.push_back(readTContProfile(JsonFields(*element, pointer), tconts));
    }
    PlaceByName flows;
    for (const auto& [element, pointer] : top.elementsOr("flowProfiles")) {
        document.flowProfiles.push_back(readFlowProfile(JsonFields(*element, pointer), flows));
    }
    document.serviceProfiles = readServiceProfiles(top);
    const auto bindings = top.elementsOr("bindings");
    document.bindings.reserve(bindings.size());
    BindingReader reader(document, tconts, flows);
    for (const auto& [element, pointer] : bindings) {
        document.bindings.push_back(reader.read(JsonFields(*element, pointer)));
    }
    document.ports = readPorts(top);
    top.finish();
    return document;
}

ConfigurationDocument loadConfiguration(const std::string& path) {
    try {
        return readConfiguration(parseJson(readFile(path), {.comments = true}));
    } catch (const FileError& error) {
        throw StartError("configuration " + std::string(error.what()), kBadInput);
    } catch (const JsonError& error) {
        // The pointer and what the parser read last can hold any bytes.
        throw StartError("configuration " + path + ": " + common::printable(error.what()), kBadInput);
    }
}

}  // namespace oltmgrd
