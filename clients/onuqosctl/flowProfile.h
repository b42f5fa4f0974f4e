#pragma once

#include <onuqos.h>

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

#include "common/vlanList.h"

namespace onuqosctl {

/// An ONU flow profile as the wire tells it; rates in kbit/s.
struct FlowProfile {
    std::string name;
    bool nameCut = false;  // the name is longer, these are its first bytes
    int pcp = -1;          // -1 for none
    common::VlanList vlans;
    rpcOnuFlowProfileAction action{};
};

FlowProfile flowFromWire(const rpcOnuFlowProfileInfo& record);

/// One of the four values of an action: its key in JSON, what people read.
struct ActionField {
    const char* key;
    const char* label;
    u_int rpcOnuFlowProfileAction::*value;
};
std::span<const ActionField> actionFields();

void printTable(std::ostream& out, const rpcOnuFlowProfileAction& action);
void printTable(std::ostream& out, const FlowProfile& profile);
void printTable(std::ostream& out, const std::vector<FlowProfile>& profiles);

}  // namespace onuqosctl
