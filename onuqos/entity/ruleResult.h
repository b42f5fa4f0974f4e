#pragma once

#include "entity/onuQos.h"
#include "rules/result.h"

constexpr onuQos::onuQosRes resultOf(rules::Result result) {
    return onuQos::onuQosRes{static_cast<std::int32_t>(result)};
}

static_assert(resultOf(rules::Result::ok) == onuQos::onuQosResOk &&
              resultOf(rules::Result::error) == onuQos::onuQosResError &&
              resultOf(rules::Result::outOfRange) == onuQos::onuQosResOutOfRange &&
              resultOf(rules::Result::guarAbovePeak) == onuQos::onuQosResGuarAbovePeak &&
              resultOf(rules::Result::rateError) == onuQos::onuQosResRateError &&
              resultOf(rules::Result::duplicateTContId) == onuQos::onuQosResDuplicateTContId &&
              resultOf(rules::Result::duplicateVirtualPortId) == onuQos::onuQosResDuplicateVirtualPortId &&
              resultOf(rules::Result::wrongIntf) == onuQos::onuQosResWrongIntf &&
              resultOf(rules::Result::duplicateOnuFlowProfile) == onuQos::onuQosResDuplicateOnuFlowProfile);
