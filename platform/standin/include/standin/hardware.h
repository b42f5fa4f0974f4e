#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

/// How the hardware layer knows an interface, as in `zqOMApiInterface_s`.
struct Handle {
    unsigned int slot = 0;
    unsigned int port = 0;
    unsigned int onu = 0;

    friend bool operator==(const Handle&, const Handle&) = default;
};

struct TContProfile {
    std::string name;
    std::uint32_t tContId = 0;
    std::int32_t tContType = 0;
    std::uint32_t fixedRate = 0;
    std::uint32_t assuredRate = 0;
    std::uint32_t maximumRate = 0;
    std::int32_t dbaAllocType = 0;
    std::uint32_t dbaWeight = 0;
    std::uint32_t dbaPriority = 0;
    /// Given when the profile is created, kept through renames, never given again to another T-CONT profile.
    std::uint64_t serial = 0;

    friend bool operator==(const TContProfile&, const TContProfile&) = default;
};

struct FlowProfile {
    std::string name;
    std::uint32_t cPcp = 0;  ///< 0xFFFFFFFF for none
    std::vector<std::uint16_t> cVlan;
    std::uint32_t guarRateUs = 0;
    std::uint32_t peakRateUs = 0;
    std::uint32_t flowPriorityUs = 0;
    std::uint32_t flowPriorityDs = 0;
    /// As for T-CONT profiles, counted separately.
    std::uint64_t serial = 0;

    friend bool operator==(const FlowProfile&, const FlowProfile&) = default;
};

/// A service binding, one per (interface, name, virtual port). It keeps the profile names with which it was
/// pushed. Pushing it again replaces it and gives it a new flow id.
struct Binding {
    unsigned int interface = 0;
    std::string name;
    unsigned int virtualPort = 0;
    Handle handle;
    std::string flowProfile;
    std::string tcontProfile;
    unsigned int tcontId = 0;
    int uniType = 0;
    unsigned int termPointId = 0;
    unsigned int flowId = 0;  ///< counts up from 1 in order of pushing; never used again

    friend bool operator==(const Binding&, const Binding&) = default;
};

/// What the ONU state handler (`flag`: up) or the ONU ready handler (`flag`: ready) was given.
struct OnuEvent {
    enum class Kind : std::uint8_t { state, ready };

    Kind kind{};
    Handle handle;
    unsigned int interface = 0;
    bool flag = false;

    friend bool operator==(const OnuEvent&, const OnuEvent&) = default;
};

struct Hardware {
    std::vector<TContProfile> tContProfiles;  ///< by name
    std::vector<FlowProfile> flowProfiles;    ///< by name
    std::vector<Binding> bindings;            ///< by interface, name, virtual port
    std::vector<unsigned int> onus;           ///< the interfaces that were prepared, ascending
    std::vector<OnuEvent> onuEvents;          ///< the last `hardware::kOnuEventsKept`, oldest first
    bool debug = false;

    friend bool operator==(const Hardware&, const Hardware&) = default;
};

/// The hardware layer behind `onuQosOMApi`: a mirror of what has been pushed to it. It takes what it is told
/// and checks nothing. Creating what exists replaces it; deleting, renaming or changing what does not exist
/// is accepted and changes nothing; renaming onto an existing name replaces that one. Rates are in kbit/s.
namespace hardware {

#pragma GCC visibility push(default)

inline constexpr std::size_t kOnuEventsKept = 1024;

/// A consistent copy of the mirror. May be called from any thread; not counted as a platform call.
Hardware snapshot();

/// The profile of that name in the mirror, if there is one. As for `snapshot`.
std::optional<TContProfile> tContProfile(std::string_view name);
std::optional<FlowProfile> flowProfile(std::string_view name);

#pragma GCC visibility pop

}  // namespace hardware
}  // namespace standin
