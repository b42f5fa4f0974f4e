#pragma once

#include <array>

#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/flowParms.h"
#include "onuqos/rules/flowRules.h"

/// What tells the four fields of an action apart. The bounds and defaults that depend on the bandwidth class
/// are told by where they stand.
struct FlowActionField {
    onuQos::onuFlowProfileActionType type;
    onuQosOMApi::onuQosOMApiFlowProfileActionType omType;
    onuFlowProfileParm parm;
    std::uint32_t onuQos::onuFlowProfileAction::*value;
    bool isRate;  ///< rounded up to the step before it is looked at
    const std::uint32_t* least;
    const std::uint32_t* greatest;
    const std::uint32_t* byDefault;
    /// Whether `value` would put the guaranteed rate above the peak rate of `stored`.
    bool (*crosses)(const onuQos::onuFlowProfileAction& stored, std::uint32_t value);
    const char* domainError;  ///< of create-and-set
    const char* setError;     ///< of create-and-set
};

inline constexpr std::uint32_t kZero = 0;

/// In the order in which an action's fields are set.
inline constexpr std::array<FlowActionField, 4> kFlowActionFields{{
    {.type = onuQos::onuFlowProfileActionTypeGuarRateUs,
     .omType = onuQosOMApi::onuQosOMApiFlowProfileActionGuarRateUs,
     .parm = ONUFLOW_PARM_GUAR_RATE_US,
     .value = &onuQos::onuFlowProfileAction::guarRateUs,
     .isRate = true,
     .least = &rules::kFlowRateMin,
     .greatest = &onuQos::ONUFLOW_PROFILE_GUAR_RATE_MAX,
     .byDefault = &rules::kFlowRateMin,
     .crosses = [](const onuQos::onuFlowProfileAction& stored,
                   std::uint32_t value) { return value > stored.peakRateUs; },
     .domainError = "ONUQOS ERROR - onuFlowProfileCreateAndSet: guarRateUs domain error: ",
     .setError = "ONUQOS ERROR - onuFlowProfileActionSet guarRateUs error: name="},
    {.type = onuQos::onuFlowProfileActionTypePeakRateUs,
     .omType = onuQosOMApi::onuQosOMApiFlowProfileActionPeakRateUs,
     .parm = ONUFLOW_PARM_PEAK_RATE_US,
     .value = &onuQos::onuFlowProfileAction::peakRateUs,
     .isRate = true,
     .least = &rules::kFlowRateMin,
     .greatest = &onuQos::ONUFLOW_PROFILE_PEAK_RATE_MAX,
     .byDefault = &onuQos::ONUFLOW_PROFILE_US_PEAK_RATE_DEF,
     .crosses = [](const onuQos::onuFlowProfileAction& stored,
                   std::uint32_t value) { return value < stored.guarRateUs; },
     .domainError = "ONUQOS ERROR - onuFlowProfileCreateAndSet: peakRateUs domain error: ",
     .setError = "ONUQOS ERROR - onuFlowProfileActionSet peakRateUs error: name="},
    {.type = onuQos::onuFlowProfileActionTypeFlowPriorityUs,
     .omType = onuQosOMApi::onuQosOMApiFlowProfileActionFlowPriorityUs,
     .parm = ONUFLOW_PARM_FLOW_PRIORITY_US,
     .value = &onuQos::onuFlowProfileAction::flowPriorityUs,
     .isRate = false,
     .least = &kZero,
     .greatest = &rules::kPriorityMax,
     .byDefault = &kZero,
     .crosses = nullptr,
     .domainError = "ONUQOS ERROR - onuFlowProfileCreateAndSet: flowPriorityUs domain error: ",
     .setError = "ONUQOS ERROR - onuFlowProfileActionSet flowPriorityUs error: name="},
    {.type = onuQos::onuFlowProfileActionTypeFlowPriorityDs,
     .omType = onuQosOMApi::onuQosOMApiFlowProfileActionFlowPriorityDs,
     .parm = ONUFLOW_PARM_FLOW_PRIORITY_DS,
     .value = &onuQos::onuFlowProfileAction::flowPriorityDs,
     .isRate = false,
     .least = &kZero,
     .greatest = &rules::kPriorityMax,
     .byDefault = &kZero,
     .crosses = nullptr,
     .domainError = "ONUQOS ERROR - onuFlowProfileCreateAndSet: flowPriorityDs domain error: ",
     .setError = "ONUQOS ERROR - onuFlowProfileActionSet flowPriorityDs error: name="},
}};

inline constexpr const FlowActionField& kFlowGuarRate = kFlowActionFields[0];
inline constexpr const FlowActionField& kFlowPeakRate = kFlowActionFields[1];
inline constexpr const FlowActionField& kFlowPriorityUs = kFlowActionFields[2];
inline constexpr const FlowActionField& kFlowPriorityDs = kFlowActionFields[3];

/// Whether a value lies in the domain of its field.
inline bool inDomain(const FlowActionField& field, std::uint32_t value) {
    return value >= *field.least && value <= *field.greatest;
}
