#pragma once

#include <string_view>

#include "onuqos/entity/onuQos.h"

namespace oltmgrd {

using Result = onuQos::onuQosRes;

/// The name of a result of the module, "onuQosResOk" for instance; empty for a number without one.
std::string_view resultName(int result);

}  // namespace oltmgrd
