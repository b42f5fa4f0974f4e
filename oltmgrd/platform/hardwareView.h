#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace oltmgrd {

// What a platform's hardware layer holds, where it can be read, as plain records. Rates in kbit/s.

struct PushedTContProfile {
    std::string name;
    std::uint32_t tContId = 0;
    std::int32_t tContType = 0;
    std::uint32_t fixedRate = 0;
    std::uint32_t assuredRate = 0;
    std::uint32_t maximumRate = 0;
    std::int32_t dbaAllocType = 0;
    std::uint32_t dbaWeight = 0;
    std::uint32_t dbaPriority = 0;
};

struct PushedFlowProfile {
    std::string name;
    std::uint32_t cPcp = 0;  ///< 0xFFFFFFFF for none
    std::vector<std::uint16_t> cVlan;
    std::uint32_t guarRateUs = 0;
    std::uint32_t peakRateUs = 0;
    std::uint32_t flowPriorityUs = 0;
    std::uint32_t flowPriorityDs = 0;
};

struct PushedBinding {
    std::uint32_t interface = 0;
    std::string name;  ///< the platform's name of the binding
    std::string flowProfile;
    std::string tcontProfile;
    std::uint32_t virtualPort = 0;
    std::uint32_t tcontId = 0;
    std::int32_t uniType = 0;
    std::uint32_t termPointId = 0;
    std::uint32_t flowId = 0;
};

struct HardwareView {
    std::vector<PushedTContProfile> tcontProfiles;  ///< by name
    std::vector<PushedFlowProfile> flowProfiles;    ///< by name
    std::vector<PushedBinding> bindings;            ///< by interface, name, virtual port
};

}  // namespace oltmgrd
