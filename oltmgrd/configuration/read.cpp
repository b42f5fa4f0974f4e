#include <set>
#include <unordered_map>
#include <utility>

#include "common/text.h"
#include "oltmgrd/configuration/document.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/files/files.h"
#include "oltmgrd/files/jsonFields.h"
#include "oltmgrd/platform/serviceProfile.h"
#include "onuqos/rules/profileLimits.h"
#include "onuqos/rules/tContTypes.h"

namespace oltmgrd {
namespace {

constexpr std::uint32_t kInterfaceMax = 0x7FFFFFFF;

/// Of version 1 are "appliedAlso", for where a profile is applied but not bound, and "appliedNot".
std::vector<std::uint32_t> readAppliedOtherwise(JsonFields& fields) {
    std::set<std::uint32_t> interfaces;
    for (const char* member : {"appliedOtherwise", "appliedAlso", "appliedNot"}) {
        for (const auto& [element, pointer] : fields.elementsOr(member)) {
            const auto interface =
                static_cast<std::uint32_t>(JsonFields::integerIn(*element, pointer, 1, kInterfaceMax));
            if (!interfaces.insert(interface).second) {
                throw JsonError(pointer, "interface " + std::to_string(interface) + " appears twice");
            }
        }
    }
    return {interfaces.begin(), interfaces.end()};
}

/// What is left out keeps its value.
void readValues(JsonFields& fields, TContValues& values) {
    const auto read = [&](std::string_view member, std::uint32_t& value, std::uint32_t least = 0,
                          std::uint32_t most = 0xFFFFFFFF) {
        value = fields.integerOr<std::uint32_t>(member, value, least, most);
    };
    read("tContId", values.tContId, 1, kTContIdMax);
    read("tContType", values.tContType, 1, 5);
    read("fixedRate", values.fixedRate);
    read("assuredRate", values.assuredRate);
    read("maximumRate", values.maximumRate);
    read("dbaAllocType", values.dbaAllocType, 1, 2);
    read("dbaWeight", values.dbaWeight);
    read("dbaPriority", values.dbaPriority);
}

void readValues(JsonFields& fields, FlowValues& values) {
    values.cPcp = static_cast<std::uint32_t>(fields.integerOr<std::int32_t>("cPcp", -1, -1, 7));
    values.cVlan.clear();
    for (const auto& [element, pointer] : fields.elementsOr("cVlan")) {
        values.cVlan.push_back(static_cast<std::uint16_t>(JsonFields::integerIn(*element, pointer, 1, 4094)));
    }
    values.guarRateUs = fields.integer<std::uint32_t>("guarRateUs", 1);
    values.peakRateUs = fields.integer<std::uint32_t>("peakRateUs", 1);
    values.flowPriorityUs = fields.integerOr<std::uint32_t>("flowPriorityUs", 0, 0, 7);
    values.flowPriorityDs = fields.integerOr<std::uint32_t>("flowPriorityDs", 0, 0, 7);
}

/// Of version 1, and not needed any more.
void passOver(JsonFields& fields, std::initializer_list<const char*> members) {
    for (const char* member : members) {
        fields.find(member);
    }
}

/// The profiles of a family, as they are read.
template <typename Values>
class Profiles {
public:
    /// `family` begins the names of the members that are about it.
    Profiles(JsonFields& top, const std::string& family)
        : profilesMember_(family + "Profiles"),
          nameMember_(family + "Profile"),
          nowMember_(family + "ProfileNow"),
          atBindingMember_(family + "AtBinding") {
        for (const auto& [element, pointer] : top.elementsOr(profilesMember_)) {
            JsonFields fields(*element, pointer);
            SavedProfile<Values> profile{.name = fields.name("name"), .values = {}};
            if (profiles_.size() == kProfileCountMax) {
                fields.fail("name", "there are at most " + std::to_string(kProfileCountMax) +
                                        " profiles of a family");
            }
            if (!places_.emplace(profile.name, profiles_.size()).second) {
                fields.fail("name", "another profile has this name already");
            }
            readValues(fields, profile.values);
            profile.appliedOtherwise = readAppliedOtherwise(fields);
            passOver(fields, {"allocTypePushed", "weightPushed", "cPcpPushed", "cVlanPushed"});
            fields.finish();
            profiles_.push_back(std::move(profile));
        }
    }

    /// The profile of a binding: under its name at the time of binding, unless another member gives the name
    /// that it has now, or null when it was deleted.
    SavedBound<Values> readBound(JsonFields& fields) const {
        SavedBound<Values> bound{.name = fields.name(nameMember_)};
        Values values;
        const Json* now = fields.find(nowMember_);
        if (now == nullptr || !now->is_null()) {
            const std::string& member = now == nullptr ? nameMember_ : nowMember_;
            const auto found =
                places_.find(now == nullptr ? bound.name : JsonFields::nameIn(*now, fields.pointer(member)));
            if (found == places_.end()) {
                fields.fail(member, "no profile of this file has that name");
            }
            bound.place = found->second;
            values = profiles_[bound.place].values;
        }
        if (const Json* atBinding = fields.find(atBindingMember_)) {
            JsonFields members(*atBinding, fields.pointer(atBindingMember_));
            readValues(members, values);
            members.finish();
            if (bound.place == kDeleted || values != profiles_[bound.place].values) {
                bound.atBinding = std::move(values);
            }
        }
        return bound;
    }

    std::vector<SavedProfile<Values>> take() { return std::move(profiles_); }

private:
    std::string profilesMember_, nameMember_, nowMember_, atBindingMember_;
    std::vector<SavedProfile<Values>> profiles_;
    std::unordered_map<std::string, std::size_t> places_;  // by name
};

TermPoint readTermPoint(JsonFields& fields) {
    return {.type = fields.integer<std::int32_t>("termPointType"),
            .id = fields.integer<std::int16_t>("termPointId")};
}

std::vector<SavedBinding> readBindings(JsonFields& top, const Profiles<FlowValues>& flows,
                                       const Profiles<TContValues>& tconts) {
    std::vector<SavedBinding> bindings;
    std::set<std::pair<std::uint32_t, std::string>> services;
    for (const auto& [element, pointer] : top.elementsOr("bindings")) {
        JsonFields fields(*element, pointer);
        SavedBinding binding{.interface = fields.integer<std::uint32_t>("interface", 1, kInterfaceMax),
                             .service = fields.name("service")};
        if (!services.emplace(binding.interface, binding.service).second) {
            fields.fail("service", "interface " + std::to_string(binding.interface) +
                                       " has a binding of this name already");
        }
        binding.flow = flows.readBound(fields);
        binding.tcont = tconts.readBound(fields);
        binding.virtualPort = fields.integer<std::uint32_t>("virtualPort");
        binding.termPoint = readTermPoint(fields);
        if (const Json* pushed = fields.find("pushedTermPoint")) {
            JsonFields members(*pushed, fields.pointer("pushedTermPoint"));
            binding.pushedTermPoint = readTermPoint(members);
            members.finish();
        }
        passOver(fields, {"pushedTContId"});
        fields.finish();
        bindings.push_back(std::move(binding));
    }
    return bindings;
}

std::vector<SavedPort> readPorts(JsonFields& top) {
    std::vector<SavedPort> ports;
    for (const auto& [element, pointer] : top.elementsOr("ports")) {
        JsonFields fields(*element, pointer);
        ports.push_back({.interface = fields.integer<std::uint32_t>("interface", 1, kInterfaceMax),
                         .fixedAlloc = fields.integer<std::uint32_t>("fixedAlloc"),
                         .assuredAlloc = fields.integer<std::uint32_t>("assuredAlloc")});
        if (fields.find("alarm") != nullptr) {
            ports.back().alarm = fields.boolean("alarm");
        }
        fields.finish();
    }
    return ports;
}

}  // namespace

ConfigurationDocument readConfiguration(const Json& json) {
    ConfigurationDocument document;
    JsonFields top(json, "");
    top.integer<int>("version", 1, kConfigurationVersion);
    Profiles<TContValues> tconts(top, "tcont");
    Profiles<FlowValues> flows(top, "flow");
    document.serviceProfiles = readServiceProfiles(top);
    document.bindings = readBindings(top, flows, tconts);
    document.flowProfiles = flows.take();
    document.tcontProfiles = tconts.take();
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
