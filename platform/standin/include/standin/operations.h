#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace standin {

// The one list of the platform operations that are counted, traced and can be made to fail. What cannot fail
// in a way that a caller sees, the log and the accessors of the events, is not in it.
#define STANDIN_OPERATIONS(X)            \
    X(exclusiveLock)                     \
    X(sharedLock)                        \
    X(registerEntity)                    \
    X(registerThread)                    \
    X(isActive)                          \
    X(interfaceListGet)                  \
    X(interfaceGetTypeById)              \
    X(interfaceGetTypePonTechnologyById) \
    X(interfaceParentGet)                \
    X(interfaceGetOltById)               \
    X(interfaceSlotPortIntfGet)          \
    X(interfaceGetOMApiInterfaceById)    \
    X(interfacePhyStateGet)              \
    X(interfaceAccessSpeedGet)           \
    X(interfaceEthPhyCapabilityGet)      \
    X(getGponImpl)                       \
    X(getOltPort)                        \
    X(getOMconfig)                       \
    X(getAvailableBandwith)              \
    X(serviceProfileFind)                \
    X(reportAlarm)                       \
    X(onuTContProfileCreate)             \
    X(onuTContProfileDelete)             \
    X(tContProfileRename)                \
    X(onuTContProfileParmsSet)           \
    X(onuFlowProfileCreate)              \
    X(onuFlowProfileDelete)              \
    X(flowProfileRename)                 \
    X(onuFlowProfileRuleSet)             \
    X(onuFlowProfileActionSet)           \
    X(onuQosServiceApply)                \
    X(onuQosServiceRemove)               \
    X(flowIdToServiceName)               \
    X(addOnuIntf)                        \
    X(onuStateHandler)                   \
    X(onuReadyHandler)                   \
    X(onuQosClearConfig)                 \
    X(onuQosOMApiDump)                   \
    X(onuQosOMApiDebug)

#define STANDIN_ENUMERATOR(operation) operation,
#define STANDIN_NAME(operation) #operation,

/// A platform operation; the enumerators bear the operations' own names.
enum class Operation : std::uint8_t { STANDIN_OPERATIONS(STANDIN_ENUMERATOR) };

/// The operations' names, in the order of the enumeration.
inline constexpr auto kOperationNames = std::to_array<std::string_view>({STANDIN_OPERATIONS(STANDIN_NAME)});

#undef STANDIN_ENUMERATOR
#undef STANDIN_NAME
#undef STANDIN_OPERATIONS

inline constexpr std::size_t kOperationCount = kOperationNames.size();

constexpr std::string_view name(Operation operation) {
    return kOperationNames[static_cast<std::size_t>(operation)];
}

/// The operation of this name; nothing if there is none.
constexpr std::optional<Operation> operationNamed(std::string_view name) {
    const auto found = std::ranges::find(kOperationNames, name);
    if (found == kOperationNames.end()) {
        return std::nullopt;
    }
    return static_cast<Operation>(found - kOperationNames.begin());
}

}  // namespace standin
