#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "clients/onuqosctl/explanation.h"
#include "clients/onuqosctl/flowAttributes.h"
#include "onuqos/rules/classLimits.h"

namespace onuqosctl {

/// Why setting one value of flow profile `name` was refused with `result`. `stored` is its action as it is
/// now. Tells nothing where no rule of this client decides.
Explanation explainFlowSetter(std::int32_t result, const std::string& name, const FlowAssignment& assignment,
                              const rpcOnuFlowProfileAction& stored, const rules::ClassLimits& limits);

/// Why a create-and-set request was refused with `result`. `wanted` is the action it asks for, with what is
/// stored now, or the default, in the fields that it does not name; `command` is the one that asked, without
/// values.
Explanation explainFlowRequest(std::int32_t result, const std::string& command,
                               const std::vector<FlowAssignment>& assignments,
                               const rpcOnuFlowProfileAction& wanted, const rules::ClassLimits& limits);

}  // namespace onuqosctl
