#pragma once

#include <array>

#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/flowParms.h"
#include "onuqos/rules/flowRules.h"

/// What tells the four fields of an action apart. The default that depends on the bandwidth class is told by
/// where it is.
struct FlowActionField {
    onuQos::onuFlowProfileActionType type;
    onuQosOMApi::onuQosOMApiFlowProfileActionType omType;
    onuFlowProfileParm parm;
    std::uint32_t onuQos::onuFlowProfileAction::*value;
    rules::FlowField field;
    const std::uint32_t* byDefault;
    std::uint32_t onuQos::onuFlowProfileAction::*other;  ///< the rate it must not cross; null for none
    const char* domainError;                             ///< of create-and-set
    const char* setError;                                ///< of create-and-set
};

inline constexpr std::uint32_t kZero = 0;

/// In the order in which an action's fields are set.
inline constexpr std::array<FlowActionField, 4> kFlowActionFields{{
    {.type = onuQos::onuFlowProfileActionTypeGuarRateUs,
     .omType = onuQosOMApi::onuQosOMApiFlowProfileActionGuarRateUs,
     .parm = ONUFLOW_PARM_GUAR_RATE_US,
     .value = &onuQos::onuFlowProfileAction::guarRateUs,
     .field = rules::FlowField::guaranteedRate,
     .byDefault = &rules::kFlowRateMin,
     .other = &onuQos::onuFlowProfileAction::peakRateUs,
     .domainError = "ONUQOS ERROR - onuFlowProfileCreateAndSet: guarRateUs domain error: ",
     .setError = "ONUQOS ERROR - onuFlowProfileActionSet guarRateUs error: name="},
    {.type = onuQos::onuFlowProfileActionTypePeakRateUs,
     .omType = onuQosOMApi::onuQosOMApiFlowProfileActionPeakRateUs,
     .parm = ONUFLOW_PARM_PEAK_RATE_US,
     .value = &onuQos::onuFlowProfileAction::peakRateUs,
     .field = rules::FlowField::peakRate,
     .byDefault = &onuQos::ONUFLOW_PROFILE_US_PEAK_RATE_DEF,
     .other = &onuQos::onuFlowProfileAction::guarRateUs,
     .domainError = "ONUQOS ERROR - onuFlowProfileCreateAndSet: peakRateUs domain error: ",
     .setError = "ONUQOS ERROR - onuFlowProfileActionSet peakRateUs error: name="},
    {.type = onuQos::onuFlowProfileActionTypeFlowPriorityUs,
     .omType = onuQosOMApi::onuQosOMApiFlowProfileActionFlowPriorityUs,
     .parm = ONUFLOW_PARM_FLOW_PRIORITY_US,
     .value = &onuQos::onuFlowProfileAction::flowPriorityUs,
     .field = rules::FlowField::priorityUp,
     .byDefault = &kZero,
     .other = nullptr,
     .domainError = "ONUQOS ERROR - onuFlowProfileCreateAndSet: flowPriorityUs domain error: ",
     .setError = "ONUQOS ERROR - onuFlowProfileActionSet flowPriorityUs error: name="},
    {.type = onuQos::onuFlowProfileActionTypeFlowPriorityDs,
     .omType = onuQosOMApi::onuQosOMApiFlowProfileActionFlowPriorityDs,
     .parm = ONUFLOW_PARM_FLOW_PRIORITY_DS,
     .value = &onuQos::onuFlowProfileAction::flowPriorityDs,
     .field = rules::FlowField::priorityDown,
     .byDefault = &kZero,
     .other = nullptr,
     .domainError = "ONUQOS ERROR - onuFlowProfileCreateAndSet: flowPriorityDs domain error: ",
     .setError = "ONUQOS ERROR - onuFlowProfileActionSet flowPriorityDs error: name="},
}};

inline constexpr const FlowActionField& kFlowGuarRate = kFlowActionFields[0];
inline constexpr const FlowActionField& kFlowPeakRate = kFlowActionFields[1];
inline constexpr const FlowActionField& kFlowPriorityUs = kFlowActionFields[2];
inline constexpr const FlowActionField& kFlowPriorityDs = kFlowActionFields[3];

/// Whether a value may stand beside those of `stored`; without it, on its own.
inline rules::FlowVerdict flowVerdict(const FlowActionField& field, std::uint32_t value,
                                      const onuQos::onuFlowProfileAction* stored) {
    std::optional<std::uint32_t> other;
    if (stored != nullptr && field.other != nullptr) {
        other = stored->*field.other;
    }
    return rules::flowVerdict(field.field, value, other, rules::limitsOf(onuQos::TCONT_RATE_GRANULARITY));
}
