#pragma once

#include <string>

#include "oltmgrd/module/module.h"
#include "oltmgrd/module/results.h"
#include "oltmgrd/services/profileValues.h"

namespace oltmgrd {

/// Make a profile that holds `values`, each step within the rules. They go on past a step that is refused;
/// the first refusal is the result. To be called while a configuration apply is in progress: only then can
/// the guaranteed rate of a flow profile be above its peak rate.
Result makeProfile(const onuQosClassInterface& module, const std::string& name, const TContValues& values);
Result makeProfile(const onuQosClassInterface& module, const std::string& name, const FlowValues& values);

}  // namespace oltmgrd
