#pragma once

#include <string>
#include <utility>
#include <vector>

#include "onuqos/entity/onuQosClassInterface.h"

namespace oltmgrd {

/// Calls an operation of the module: `call<&onuQosClassInterface::tContProfileDelete>(module, name)`.
template <auto Operation, typename... Arguments>
auto call(const onuQosClassInterface& module, Arguments&&... arguments) {
    return (module.entity.*(module.*Operation))(std::forward<Arguments>(arguments)...);
}

/// The module to load when none is named: libonuqos.so in the place of an installed or built tree, seen from
/// the executable, else where installing puts libraries. Throws `StartError` if it is in neither.
std::string defaultModule();

/// Loads modules for the rest of the process's life; loading registers their entities. Returns the class
/// interface of the one that binds services, null if none does. Throws `StartError` that names the module.
const onuQosClassInterface* loadModules(const std::vector<std::string>& paths);

}  // namespace oltmgrd
