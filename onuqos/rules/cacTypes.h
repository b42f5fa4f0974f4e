#pragma once

#include <cstdint>
#include <map>
#include <string>

/// The bandwidth class of an OLT PON port.
enum oltPortBw : std::int32_t {
    oltPortBwGpon = 0,  ///< ITU-T G.984: 1244160 kbit/s upstream
    oltPortBw10G = 1    ///< ITU-T G.9807.1: 9953280 kbit/s upstream
};

/// What the bindings commit on an OLT PON port, kbit/s.
struct onuQosOltCacInfo {
    std::uint32_t fixedAlloc = 0;    ///< fixed rates with the overheads of their T-CONTs and ONUs
    std::uint32_t assuredAlloc = 0;  ///< assured rates likewise
    bool cacViolation = false;       ///< the sums exceeded the port's limits when last looked at

    bool operator==(const onuQosOltCacInfo&) const = default;
};

/// The overheads that were added with a T-CONT profile's rates on an ONU, kbit/s.
struct onuQosTContIntfCacInfo {
    std::uint32_t fixedOverhead = 0;
    std::uint32_t assuredOverhead = 0;

    bool operator==(const onuQosTContIntfCacInfo&) const = default;
};

/// The accounting of an ONU. Overheads are kept so that removal takes off exactly what was added: an ONU's
/// overhead depends on its port's sums, which change in between.
struct onuQosOnuCacInfo {
    bool configured = false;            ///< the ONU's own overhead is part of its port's sums
    std::uint32_t fixedOverhead = 0;    ///< kbit/s; 0 while not configured
    std::uint32_t assuredOverhead = 0;  ///< kbit/s; 0 while not configured
    std::map<std::string, onuQosTContIntfCacInfo> onuQosTContIntfCacInfoMap;  ///< by T-CONT profile name

    bool operator==(const onuQosOnuCacInfo&) const = default;
};
