#include "oltmgrd/configuration/profileSteps.h"

#include <algorithm>

#include "onuqos/rules/tContRules.h"

namespace oltmgrd {
namespace {

using Interface = onuQosClassInterface;

/// The first refusal among the results of some steps.
class FirstRefusal {
public:
    void note(Result result) { first_ = first_ == onuQos::onuQosResOk ? result : first_; }
    Result result() const { return first_; }

private:
    Result first_ = onuQos::onuQosResOk;
};

/// The rates are set in an order that keeps the rules of the type at every step.
void setRates(const Interface& module, const std::string& name, const TContValues& values,
              FirstRefusal& refusal) {
    const auto fixed = [&](std::uint32_t rate) {
        refusal.note(call<&Interface::tContProfileFixedRateSet>(module, name, rate));
    };
    const auto assured = [&](std::uint32_t rate) {
        refusal.note(call<&Interface::tContProfileAssuredRateSet>(module, name, rate));
    };
    const auto maximum = [&](std::uint32_t rate) {
        refusal.note(call<&Interface::tContProfileMaximumRateSet>(module, name, rate));
    };
    // Of type 5 fixed and assured rate together are 0 or at least the margin, and the maximum lies a margin
    // above. A fixed rate below it is only reached beside an assured rate that makes up the sum already.
    const auto type = static_cast<onuTContProfileType>(values.tContType);
    const onuTContProfileRates configurable = rules::tContRateRules(type);
    const bool isSmall =
        type == tContType5 && values.fixedRate > 0 && values.fixedRate < rules::kTContRateMargin;
    const std::uint32_t first = std::max(values.assuredRate, rules::kTContRateMargin);
    const std::uint32_t room = values.fixedRate + first + rules::kTContRateMargin;
    if (configurable.maximumRateConfigurable) {
        maximum(isSmall ? std::max(values.maximumRate, room) : values.maximumRate);
    }
    if (isSmall) {
        assured(first);
    }
    if (configurable.fixedRateConfigurable) {
        fixed(values.fixedRate);
    }
    if (configurable.assuredRateConfigurable) {
        assured(values.assuredRate);
    }
    if (isSmall) {
        maximum(values.maximumRate);
    }
}

}  // namespace

Result makeProfile(const Interface& module, const std::string& name, const TContValues& values) {
    const TContValues fresh;
    FirstRefusal refusal;
    refusal.note(call<&Interface::tContProfileCreate>(module, name));
    refusal.note(call<&Interface::tContProfileIdSet>(module, name, values.tContId));
    // Before the type: type 1 has no allocation type to set.
    refusal.note(call<&Interface::tContProfileAllocTypeSet>(
        module, name, static_cast<onuTContProfileDbaCtrlMode>(values.dbaAllocType)));
    // The platform is asked for these two whatever they are.
    if (values.dbaWeight != fresh.dbaWeight) {
        refusal.note(call<&Interface::tContProfileSrdbaWeightSet>(module, name, values.dbaWeight));
    }
    if (values.dbaPriority != fresh.dbaPriority) {
        refusal.note(call<&Interface::tContProfileSrdbaPrioritySet>(module, name, values.dbaPriority));
    }
    refusal.note(call<&Interface::tContProfileTypeSet>(module, name,
                                                       static_cast<onuTContProfileType>(values.tContType)));
    setRates(module, name, values, refusal);
    return refusal.result();
}

Result makeProfile(const Interface& module, const std::string& name, const FlowValues& values) {
    FirstRefusal refusal;
    refusal.note(call<&Interface::onuFlowProfileCreate>(module, name));
    onuQos::onuFlowProfileRule rule{.cPcp = values.cPcp, .cVlan = values.cVlan};
    if (!rule.cVlan.empty()) {  // which is pushed in any case
        refusal.note(call<&Interface::onuFlowProfileRuleSet>(
            module, name, rule, onuQos::onuFlowProfileRuleTypeCVlan, onuQos::onuFlowProfileOperationSet));
    }
    refusal.note(call<&Interface::onuFlowProfileRuleSet>(
        module, name, rule, onuQos::onuFlowProfileRuleTypeCPcp, onuQos::onuFlowProfileOperationSet));
    if (values.guarRateUs != 0) {
        onuQos::onuFlowProfileAction action{.guarRateUs = values.guarRateUs,
                                            .peakRateUs = values.peakRateUs,
                                            .flowPriorityUs = values.flowPriorityUs,
                                            .flowPriorityDs = values.flowPriorityDs};
        refusal.note(call<&Interface::onuFlowProfileActionSet>(
            module, name, action, onuQos::onuFlowProfileActionTypeAll, onuQos::onuFlowProfileOperationSet));
    }
    return refusal.result();
}

}  // namespace oltmgrd
