#include "onuqos/flow/fields.h"
#include "onuqos/support/log.h"

namespace {

using Info = onuQos::onuFlowProfileInfo;

constexpr const char* kOperation = "onuFlowProfileCreateAndSet";

/// The text for an existing profile has always been spelt this way; log readers match it.
constexpr const char* kPeakRateErrorExisting =
    "ONUQOS ERROR - onuFlowProfileActionSet opeakRateUs error: name=";

/// What a profile is to become: what `mask` selects of `info`, else what is `stored`, if it is, or the
/// default.
onuQos::onuQosRes wantedGet(const onuQos& module, const Info* stored, const Info& info, std::uint32_t mask,
                            Info& wanted) {
    if (stored != nullptr) {
        wanted.rule = stored->rule;
        wanted.action = stored->action;
    } else {
        module.onuFlowProfileRuleDefaultSet(wanted.rule);
        module.onuFlowProfileActionDefaultSet(wanted.action);
    }

    if ((mask & ONUFLOW_PARM_CVLAN) != 0) {
        wanted.rule.cVlan = info.rule.cVlan;
        std::ranges::sort(wanted.rule.cVlan);
        if (!rules::vlansValid(wanted.rule.cVlan)) {
            logError(kOperation, "ONUQOS ERROR - onuFlowProfileCreateAndSet: cVlan domain error: ",
                     static_cast<unsigned int>(wanted.rule.cVlan.back()));
            return onuQos::onuQosResOutOfRange;
        }
    }
    if ((mask & ONUFLOW_PARM_CPCP) != 0) {
        wanted.rule.cPcp = info.rule.cPcp;
        if (!rules::pcpValid(wanted.rule.cPcp)) {
            logError(kOperation,
                     "ONUQOS ERROR - onuFlowProfileCreateAndSet: cPcp domain error: ", wanted.rule.cPcp);
            return onuQos::onuQosResOutOfRange;
        }
    }
    for (const FlowActionField& field : kFlowActionFields) {
        if ((mask & field.parm) == 0) {
            continue;
        }
        const std::uint32_t value = wanted.action.*field.value = info.action.*field.value;
        if (!flowVerdict(field, value, nullptr)) {
            logError(kOperation, field.domainError, value);
            return onuQos::onuQosResOutOfRange;
        }
    }
    if (wanted.action.guarRateUs > wanted.action.peakRateUs) {
        logError(kOperation,
                 "ONUQOS ERROR - onuFlowProfileCreateAndSet: guarRateUs=", wanted.action.guarRateUs,
                 " bigger than peakRateUs=", wanted.action.peakRateUs);
        return onuQos::onuQosResGuarAbovePeak;
    }
    return onuQos::onuQosResOk;
}

/// The steps from `stored`, the record in the table, to `wanted`.
onuQos::onuQosRes wantedSet(onuQos& module, const Info& stored, const std::string& name, const Info& wanted,
                            std::uint32_t mask, bool existed) {
    const auto ruleSet = [&](onuFlowProfileParm parm, onuQos::onuFlowProfileRuleType type,
                             const char* error) {
        if ((mask & parm) == 0) {
            return onuQos::onuQosResOk;
        }
        onuQos::onuFlowProfileRule rule = wanted.rule;
        const onuQos::onuQosRes res =
            module.onuFlowProfileRuleSet(name, rule, type, onuQos::onuFlowProfileOperationSet);
        if (res != onuQos::onuQosResOk) {
            logError(kOperation, error, name);
        }
        return res;
    };
    const auto actionSet = [&](const FlowActionField& field, const char* error) {
        if ((mask & field.parm) == 0) {
            return onuQos::onuQosResOk;
        }
        onuQos::onuFlowProfileAction action = wanted.action;
        const onuQos::onuQosRes res =
            module.onuFlowProfileActionSet(name, action, field.type, onuQos::onuFlowProfileOperationSet);
        if (res != onuQos::onuQosResOk) {
            logError(kOperation, error, name);
        }
        return res;
    };
    const auto guarRateSet = [&] { return actionSet(kFlowGuarRate, kFlowGuarRate.setError); };
    const auto peakRateSet = [&] {
        return actionSet(kFlowPeakRate, existed ? kPeakRateErrorExisting : kFlowPeakRate.setError);
    };
    // A peak rate that falls below the stored guaranteed rate has to wait for the guaranteed rate to fall.
    const bool peakFirst = !existed || wanted.action.peakRateUs >= stored.action.guarRateUs;

    onuQos::onuQosRes res = ruleSet(ONUFLOW_PARM_CVLAN, onuQos::onuFlowProfileRuleTypeCVlan,
                                    "ONUQOS ERROR - onuFlowProfileRuleSet cVlan error: name=");
    if (res == onuQos::onuQosResOk) {
        res = ruleSet(ONUFLOW_PARM_CPCP, onuQos::onuFlowProfileRuleTypeCPcp,
                      "ONUQOS ERROR - onuFlowProfileRuleSet cPcp error: name=");
    }
    if (res == onuQos::onuQosResOk) {
        res = actionSet(kFlowPriorityUs, kFlowPriorityUs.setError);
    }
    if (res == onuQos::onuQosResOk) {
        res = actionSet(kFlowPriorityDs, kFlowPriorityDs.setError);
    }
    if (res == onuQos::onuQosResOk) {
        res = peakFirst ? peakRateSet() : guarRateSet();
    }
    if (res == onuQos::onuQosResOk) {
        res = peakFirst ? guarRateSet() : peakRateSet();
    }
    return res;
}

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
    const onuQosRes checked = wantedGet(*this, existed ? &found->second : nullptr, info, mask, wanted);
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
    const onuQosRes written = wantedSet(*this, onuFlowProfileMap.at(name), name, wanted, mask, existed);
    if (written != onuQosResOk && !existed) {
        onuFlowProfileDelete(name);
    }
    return written;
}
