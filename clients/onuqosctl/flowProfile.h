#pragma once

#include <onuqos.h>

#include <cstdint>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "vlanList.h"

namespace onuqosctl {

/// An ONU flow profile as the wire tells it; rates in kbit/s.
struct FlowProfile {
    std::string name;
    bool nameCut = false;  // the name is longer, these are its first bytes
    int pcp = -1;          // -1 for none
    clients::VlanList vlans;
    std::uint32_t guaranteed = 0, peak = 0;
    std::uint32_t priorityUp = 0, priorityDown = 0;
};

FlowProfile flowFromWire(const rpcOnuFlowProfileInfo& record);

/// The four values of an action, without what it asks to be done with them.
nlohmann::ordered_json actionToJson(const rpcOnuFlowProfileAction& action);
void printAction(std::ostream& out, const rpcOnuFlowProfileAction& action);

nlohmann::ordered_json flowToJson(const FlowProfile& profile);
void printFlow(std::ostream& out, const FlowProfile& profile);
void printFlows(std::ostream& out, const std::vector<FlowProfile>& profiles);

}  // namespace onuqosctl
