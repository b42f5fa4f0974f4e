#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/platform/serviceProfile.h"
#include "oltmgrd/services/profileValues.h"
#include "oltmgrd/services/termPoint.h"

namespace oltmgrd {

/// Of the files that are written. Version 1 did not have what a flow profile held when it was bound, nor the
/// alarms of ports.
inline constexpr int kConfigurationVersion = 2;

template <typename Values>
struct SavedProfile {
    std::string name;
    Values values;
    /// Interfaces where it is applied but not bound, or bound but not applied, ascending: renaming a bound
    /// profile, and removing one of two equal bindings, make such.
    std::vector<std::uint32_t> appliedOtherwise{};

    friend bool operator==(const SavedProfile&, const SavedProfile&) = default;
};

using SavedTContProfile = SavedProfile<TContValues>;
using SavedFlowProfile = SavedProfile<FlowValues>;

/// Instead of a profile's place: it was deleted while bound.
inline constexpr std::size_t kDeleted = static_cast<std::size_t>(-1);

template <typename Values>
struct SavedBound {
    std::string name;              ///< when it was bound
    std::size_t place = kDeleted;  ///< as it is now, among the profiles of the document
    /// What it held when it was bound, where that is not what it holds now.
    std::optional<Values> atBinding{};

    friend bool operator==(const SavedBound&, const SavedBound&) = default;
};

struct SavedBinding {
    std::uint32_t interface = 0;
    std::string service;
    SavedBound<FlowValues> flow{};
    SavedBound<TContValues> tcont{};
    std::uint32_t virtualPort = 0;
    TermPoint termPoint{};
    /// What the hardware layer was given, where that is another: equal bindings share that of the first.
    std::optional<TermPoint> pushedTermPoint{};

    friend bool operator==(const SavedBinding&, const SavedBinding&) = default;
};

/// What the bindings committed on a PON port, kbit/s.
struct SavedPort {
    std::uint32_t interface = 0;
    std::uint32_t fixedAlloc = 0;
    std::uint32_t assuredAlloc = 0;
    std::optional<bool> alarm{};  ///< of over-commitment, raised; nothing when it is not known

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

/// Reads a parsed configuration, of this version or an earlier one. Throws `JsonError`, also for a profile or
/// binding that appears twice and for a binding whose profiles are not there.
ConfigurationDocument readConfiguration(const Json& json);

/// What a configuration file holds, members with their defaults left out.
Json configurationJson(const ConfigurationDocument& document);

/// The text of a configuration file: the same, a line for each entry.
std::string configurationText(const ConfigurationDocument& document);

/// Reads a configuration file. Throws `StartError` that names file, JSON pointer and reason.
ConfigurationDocument loadConfiguration(const std::string& path);

}  // namespace oltmgrd
