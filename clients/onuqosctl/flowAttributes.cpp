#include "clients/onuqosctl/flowAttributes.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "common/number.h"

namespace onuqosctl {
namespace {

using Kind = FlowAttribute::Kind;

// clang-format off
constexpr FlowAttribute kAttributes[] = {
    {"--vlan", "LIST", "Customer VLANs to match, for instance 10,100-199; an empty list matches none", Kind::vlans,
     rpcOnuFlowProfileParmsCVlan, rpcOnuFlowProfileActionTypeNone, nullptr, {}},
    {"--pcp", "N|none", "Customer priority code point to match, 0 to 7", Kind::pcp,
     rpcOnuFlowProfileParmsCPcp, rpcOnuFlowProfileActionTypeNone, nullptr, {}},
    {"--guaranteed", "RATE|default", "Guaranteed upstream rate", Kind::rateOrDefault,
     rpcOnuFlowProfileParmsGuarRateUs, rpcOnuFlowProfileActionTypeGuarRateUs, &rpcOnuFlowProfileAction::guarRateUs,
     rules::FlowField::guaranteedRate},
    {"--peak", "RATE|default", "Peak upstream rate", Kind::rateOrDefault,
     rpcOnuFlowProfileParmsPeakRateUs, rpcOnuFlowProfileActionTypePeakRateUs, &rpcOnuFlowProfileAction::peakRateUs,
     rules::FlowField::peakRate},
    {"--priority-up", "N|default", "Upstream flow priority, 0 to 7", Kind::numberOrDefault,
     rpcOnuFlowProfileParmsFlowPriorityUs, rpcOnuFlowProfileActionTypeFlowPriorityUs,
     &rpcOnuFlowProfileAction::flowPriorityUs, rules::FlowField::priorityUp},
    {"--priority-down", "N|default", "Downstream flow priority, 0 to 7", Kind::numberOrDefault,
     rpcOnuFlowProfileParmsFlowPriorityDs, rpcOnuFlowProfileActionTypeFlowPriorityDs,
     &rpcOnuFlowProfileAction::flowPriorityDs, rules::FlowField::priorityDown},
};
// clang-format on

FlowAssignment parseValue(const FlowAttribute& attribute, const std::string& text) {
    FlowAssignment assignment{&attribute, false, 0, {}};
    if (attribute.kind == Kind::vlans) {
        assignment.vlans = common::parseVlans(text);
    } else if (text == (attribute.kind == Kind::pcp ? "none" : "default")) {
        assignment.toDefault = true;
    } else if (attribute.kind == Kind::rateOrDefault) {
        assignment.value = common::parseRate(text);
    } else if (attribute.kind == Kind::pcp) {
        assignment.value = parsePcp(text);
    } else {
        assignment.value = common::parseUnsigned(text, attribute.option);
    }
    return assignment;
}

}  // namespace

std::span<const FlowAttribute> flowAttributes() {
    return kAttributes;
}

const FlowAttribute* actionAttribute(const std::string& word) {
    const auto* found =
        std::find_if(std::begin(kAttributes), std::end(kAttributes), [&](const FlowAttribute& candidate) {
            return !candidate.isRule() && candidate.option == "--" + word;
        });
    return found == std::end(kAttributes) ? nullptr : found;
}

std::uint32_t parsePcp(const std::string& text) {
    constexpr std::uint32_t kLargest = std::numeric_limits<std::int32_t>::max();
    return common::parseUnsigned(text, "PCP", {0, kLargest, "0 to 7"});
}

std::vector<FlowAssignment> parseFlowAssignments(
    const std::vector<std::pair<std::size_t, std::string>>& given) {
    std::vector<FlowAssignment> assignments;
    for (const auto& [place, text] : given) {
        assignments.push_back(parseValue(kAttributes[place], text));
    }
    return assignments;
}

}  // namespace onuqosctl
