#pragma once

#include <cstdint>

/// Fields of an ONU flow profile, as bits of the create-and-set mask; the wire carries the same numbers.
enum onuFlowProfileParm : std::uint32_t {
    ONUFLOW_PARM_CVLAN = 0x02,
    ONUFLOW_PARM_CPCP = 0x04,
    ONUFLOW_PARM_GUAR_RATE_US = 0x08,
    ONUFLOW_PARM_PEAK_RATE_US = 0x10,
    ONUFLOW_PARM_FLOW_PRIORITY_US = 0x20,
    ONUFLOW_PARM_FLOW_PRIORITY_DS = 0x40
};
