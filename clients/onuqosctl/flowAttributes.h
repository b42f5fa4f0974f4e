#pragma once

#include <onuqos.h>

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "common/vlanList.h"
#include "onuqos/rules/flowRules.h"

namespace onuqosctl {

/// What can be set of an ONU flow profile.
struct FlowAttribute {
    enum class Kind { vlans, pcp, rateOrDefault, numberOrDefault };

    const char* option;
    const char* valueName;
    const char* help;
    Kind kind;
    unsigned bit;  // in the mask of create-and-set
    rpcOnuFlowProfileActionType actionType;
    u_int rpcOnuFlowProfileAction::*field;  // null for what belongs to the rule
    rules::FlowField ruleField{};           // of the action's fields

    [[nodiscard]] bool isRule() const { return field == nullptr; }
};

/// In the order in which help texts show them.
std::span<const FlowAttribute> flowAttributes();

/// The attribute of an option name without its dashes that belongs to the action; null for any other.
const FlowAttribute* actionAttribute(const std::string& word);

struct FlowAssignment {
    const FlowAttribute* attribute;
    bool toDefault = false;   // an action field returns to its default, the PCP goes away
    std::uint32_t value = 0;  // rate, priority or PCP
    common::VlanList vlans;
};

/// A PCP of 0 to 7; what lies above travels as well, for the module to refuse, up to what an int holds.
/// Throws common::UsageError.
std::uint32_t parsePcp(const std::string& text);

/// Reads values in the order of the command line; `given` names attributes by their place in
/// flowAttributes(). Throws common::UsageError.
std::vector<FlowAssignment> parseFlowAssignments(
    const std::vector<std::pair<std::size_t, std::string>>& given);

}  // namespace onuqosctl
