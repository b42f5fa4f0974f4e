#include "flow/fields.h"
#include "support/log.h"

namespace {

constexpr const char* kOperation = "onuFlowProfileCreateAndSet";

/// The text for an existing profile has always been spelt this way; log readers match it.
constexpr const char* kPeakRateErrorExisting =
    "ONUQOS ERROR - onuFlowProfileActionSet opeakRateUs error: name=";

}  // namespace

onuQos::onuQosRes onuQos::onuFlowProfileCreateAndSet(const std::string& name, const onuFlowProfileInfo& info,
                                                     std::uint32_t mask) {
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    const auto found = onuFlowProfileMap.find(name);
    const bool existed = found != onuFlowProfileMap.end();
    if (existed && onuFlowProfileIsApplied(name)) {
        logError(kOperation,
                 "ONUQOS ERROR - onuFlowProfileCreateAndSet: ONU Flow profile applied error: ", name);
        return onuQosResApplied;
    }
    onuFlowProfileInfo wanted;
    const onuQosRes checked = onuFlowProfileWantedGet(existed ? &found->second : nullptr, info, mask, wanted);
    if (checked != onuQosResOk) {
        return checked;
    }

    if (!existed) {
        const onuQosRes created = onuFlowProfileCreate(name);
        if (created != onuQosResOk) {
            logError(kOperation, "ONUQOS ERROR - onuFlowProfileCreate error: name=", name);
            return created;
        }
    }
    const onuQosRes written = onuFlowProfileWantedSet(name, wanted, mask, existed);
    if (written != onuQosResOk && !existed) {
        onuFlowProfileDelete(name);
    }
    return written;
}

onuQos::onuQosRes onuQos::onuFlowProfileWantedGet(const onuFlowProfileInfo* stored,
                                                  const onuFlowProfileInfo& info, std::uint32_t mask,
                                                  onuFlowProfileInfo& wanted) {
    if (stored != nullptr) {
        wanted.rule = stored->rule;
        wanted.action = stored->action;
    } else {
        onuFlowProfileRuleDefaultSet(wanted.rule);
        onuFlowProfileActionDefaultSet(wanted.action);
    }

    if ((mask & ONUFLOW_PARM_CVLAN) != 0) {
        wanted.rule.cVlan = info.rule.cVlan;
        std::ranges::sort(wanted.rule.cVlan);
        if (!rules::vlansValid(wanted.rule.cVlan)) {
            logError(kOperation, "ONUQOS ERROR - onuFlowProfileCreateAndSet: cVlan domain error: ",
                     static_cast<unsigned int>(wanted.rule.cVlan.back()));
            return onuQosResOutOfRange;
        }
    }
    if ((mask & ONUFLOW_PARM_CPCP) != 0) {
        wanted.rule.cPcp = info.rule.cPcp;
        if (!rules::pcpValid(wanted.rule.cPcp)) {
            logError(kOperation,
                     "ONUQOS ERROR - onuFlowProfileCreateAndSet: cPcp domain error: ", wanted.rule.cPcp);
            return onuQosResOutOfRange;
        }
    }
    for (const FlowActionField& field : kFlowActionFields) {
        if ((mask & field.parm) == 0) {
            continue;
        }
        const std::uint32_t value = wanted.action.*field.value = info.action.*field.value;
        if (!inDomain(field, value)) {
            logError(kOperation, field.domainError, value);
            return onuQosResOutOfRange;
        }
    }
    if (wanted.action.guarRateUs > wanted.action.peakRateUs) {
        logError(kOperation,
                 "ONUQOS ERROR - onuFlowProfileCreateAndSet: guarRateUs=", wanted.action.guarRateUs,
                 " bigger than peakRateUs=", wanted.action.peakRateUs);
        return onuQosResGuarAbovePeak;
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuFlowProfileWantedSet(const std::string& name, const onuFlowProfileInfo& wanted,
                                                  std::uint32_t mask, bool existed) {
    const auto ruleSet = [&](onuFlowProfileParm parm, onuFlowProfileRuleType type, const char* error) {
        if ((mask & parm) == 0) {
            return onuQosResOk;
        }
        onuFlowProfileRule rule = wanted.rule;
        const onuQosRes res = onuFlowProfileRuleSet(name, rule, type, onuFlowProfileOperationSet);
        if (res != onuQosResOk) {
            logError(kOperation, error, name);
        }
        return res;
    };
    const auto actionSet = [&](const FlowActionField& field, const char* error) {
        if ((mask & field.parm) == 0) {
            return onuQosResOk;
        }
        onuFlowProfileAction action = wanted.action;
        const onuQosRes res = onuFlowProfileActionSet(name, action, field.type, onuFlowProfileOperationSet);
        if (res != onuQosResOk) {
            logError(kOperation, error, name);
        }
        return res;
    };
    const auto guarRateSet = [&] { return actionSet(kFlowGuarRate, kFlowGuarRate.setError); };
    const auto peakRateSet = [&] {
        return actionSet(kFlowPeakRate, existed ? kPeakRateErrorExisting : kFlowPeakRate.setError);
    };
    // A peak rate that falls below the stored guaranteed rate has to wait for the guaranteed rate to fall.
    const bool peakFirst =
        !existed || wanted.action.peakRateUs >= onuFlowProfileMap.at(name).action.guarRateUs;

    onuQosRes res = ruleSet(ONUFLOW_PARM_CVLAN, onuFlowProfileRuleTypeCVlan,
                            "ONUQOS ERROR - onuFlowProfileRuleSet cVlan error: name=");
    if (res == onuQosResOk) {
        res = ruleSet(ONUFLOW_PARM_CPCP, onuFlowProfileRuleTypeCPcp,
                      "ONUQOS ERROR - onuFlowProfileRuleSet cPcp error: name=");
    }
    if (res == onuQosResOk) {
        res = actionSet(kFlowPriorityUs, kFlowPriorityUs.setError);
    }
    if (res == onuQosResOk) {
        res = actionSet(kFlowPriorityDs, kFlowPriorityDs.setError);
    }
    if (res == onuQosResOk) {
        res = peakFirst ? peakRateSet() : guarRateSet();
    }
    if (res == onuQosResOk) {
        res = peakFirst ? guarRateSet() : peakRateSet();
    }
    return res;
}
