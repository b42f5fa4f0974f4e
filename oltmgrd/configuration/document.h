#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/platform/serviceProfile.h"

namespace oltmgrd {

/// What a T-CONT profile commits when it is bound. Rates in kbit/s. The defaults are those of a new profile.
struct TContShape {
    std::uint32_t tContId = 1;
    std::int32_t tContType = 5;
    std::uint32_t fixedRate = 0;
    std::uint32_t assuredRate = 0;
    std::uint32_t maximumRate = 256;

    friend bool operator==(const TContShape&, const TContShape&) = default;
};

/// What both families of profiles have. A profile is normally applied on the interfaces where it is bound;
/// removing one of two equal bindings, and renaming a bound profile, make these differ.
struct SavedProfile {
    std::string name;
    std::vector<std::uint32_t> appliedAlso;  ///< interfaces without a binding of it, ascending
    std::vector<std::uint32_t> appliedNot;   ///< interfaces with one, ascending

    friend bool operator==(const SavedProfile&, const SavedProfile&) = default;
};

struct SavedTContProfile : SavedProfile {
    TContShape shape;
    std::int32_t dbaAllocType = 2;
    std::uint32_t dbaWeight = 1;
    std::uint32_t dbaPriority = 0;
    // A new profile is announced to the hardware layer without SR-DBA values; it learns them as they are set.
    bool allocTypePushed = false;
    bool weightPushed = false;

    friend bool operator==(const SavedTContProfile&, const SavedTContProfile&) = default;
};

inline constexpr std::uint32_t kNoPcp = 0xFFFFFFFF;

struct SavedFlowProfile : SavedProfile {
    std::uint32_t cPcp = kNoPcp;
    std::vector<std::uint16_t> cVlan;  ///< in the order in which the module keeps them
    std::uint32_t guarRateUs = 0;
    std::uint32_t peakRateUs = 0;
    std::uint32_t flowPriorityUs = 0;
    std::uint32_t flowPriorityDs = 0;
    // The rule of a copied profile is not told to the hardware layer.
    bool cPcpPushed = true;
    bool cVlanPushed = true;

    friend bool operator==(const SavedFlowProfile&, const SavedFlowProfile&) = default;
};

struct TermPoint {
    std::int32_t type = 0;  ///< the module looks at it only when it pushes the binding: any number
    std::int16_t id = 0;

    friend bool operator==(const TermPoint&, const TermPoint&) = default;
};

/// Instead of a profile's place: it was deleted while bound.
inline constexpr std::size_t kDeleted = static_cast<std::size_t>(-1);

struct SavedBinding {
    std::uint32_t interface = 0;
    std::string service;
    std::string flowProfile;  ///< the profiles' names when they were bound
    std::string tcontProfile;
    std::uint32_t virtualPort = 0;
    TermPoint termPoint;
    std::size_t flow = kDeleted;   ///< the profile as it is now, in `ConfigurationDocument::flowProfiles`
    std::size_t tcont = kDeleted;  ///< likewise in `tcontProfiles`
    TContShape shape;              ///< of the T-CONT profile when it was bound
    // What the hardware layer was told, where that is another: of equal bindings only the first is pushed.
    std::optional<TermPoint> pushedTermPoint{};
    std::optional<std::uint32_t> pushedTContId{};

    friend bool operator==(const SavedBinding&, const SavedBinding&) = default;
};

/// What the bindings committed on a PON port, kbit/s.
struct SavedPort {
    std::uint32_t interface = 0;
    std::uint32_t fixedAlloc = 0;
    std::uint32_t assuredAlloc = 0;

    friend bool operator==(const SavedPort&, const SavedPort&) = default;
};

/// A saved configuration.
struct ConfigurationDocument {
    std::vector<SavedTContProfile> tcontProfiles;
    std::vector<SavedFlowProfile> flowProfiles;
    std::vector<ServiceProfile> serviceProfiles;
    std::vector<SavedBinding> bindings;  ///< in the order in which they were applied
    std::vector<SavedPort> ports;

    friend bool operator==(const ConfigurationDocument&, const ConfigurationDocument&) = default;
};

/// Reads a parsed configuration. Throws `JsonError`, also for a profile or binding that stands there twice
/// and for a binding whose profiles do not stand there.
ConfigurationDocument readConfiguration(const Json& json);

/// An entry as it stands in a configuration file.
Json entryJson(const SavedTContProfile& profile);
Json entryJson(const SavedFlowProfile& profile);
Json entryJson(const SavedBinding& binding, const ConfigurationDocument& document);

/// The text of a configuration file: JSON, a line for each entry, members with their defaults left out.
std::string configurationText(const ConfigurationDocument& document);

/// Reads a configuration file. Throws `StartError` that names file, JSON pointer and reason.
ConfigurationDocument loadConfiguration(const std::string& path);

}  // namespace oltmgrd
