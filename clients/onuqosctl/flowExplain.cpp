#include "clients/onuqosctl/flowExplain.h"

#include <algorithm>

#include "common/name.h"
#include "onuqos/rules/flowRules.h"

namespace onuqosctl {
namespace {

using rules::FlowReason;

std::int32_t flowCode(rules::Result result) {
    switch (result) {
        case rules::Result::ok:
            return rpcOnuFlowProfileResOk;
        case rules::Result::guarAbovePeak:
            return rpcOnuFlowProfileResGuarAbovePeak;
        default:
            return rpcOnuFlowProfileResOutOfRange;
    }
}

const char* reasonName(FlowReason reason) {
    switch (reason) {
        case FlowReason::belowLeast:
            return "belowLeast";
        case FlowReason::aboveMost:
            return "aboveMost";
        case FlowReason::guaranteedAbovePeak:
            return "guaranteedAbovePeak";
        default:
            return "";
    }
}

std::string ruleText(FlowReason reason, bool isRate) {
    if (reason == FlowReason::guaranteedAbovePeak) {
        return "the peak rate must be at least the guaranteed rate";
    }
    return isRate ? "flow rates go from " + std::to_string(rules::kFlowRateMin) +
                        " kbit/s to the maximum that onuqosctl ranges shows"
                  : "priorities and PCP go from 0 to " + std::to_string(rules::kPriorityMax);
}

std::string option(const FlowAttribute& attribute, std::uint32_t value) {
    return std::string(" ") + attribute.option + " " + std::to_string(value);
}

/// The rate that an attribute is compared with; null for what is no rate.
const FlowAttribute* otherRate(const FlowAttribute& attribute) {
    if (attribute.kind != FlowAttribute::Kind::rateOrDefault) {
        return nullptr;
    }
    return actionAttribute(std::string(attribute.option) == "--peak" ? "guaranteed" : "peak");
}

/// The options of a command with another value for one field.
std::string optionsWith(const std::vector<FlowAssignment>& assignments, const FlowAttribute& changed,
                        std::uint32_t value) {
    std::string text;
    for (const FlowAssignment& assignment : assignments) {
        const FlowAttribute& attribute = *assignment.attribute;
        if (&attribute == &changed) {
            continue;
        }
        if (attribute.kind == FlowAttribute::Kind::vlans) {
            text += std::string(" ") + attribute.option + " '" + common::formatVlans(assignment.vlans) + "'";
        } else if (assignment.toDefault) {
            text += std::string(" ") + attribute.option +
                    (attribute.kind == FlowAttribute::Kind::pcp ? " none" : " default");
        } else {
            text += option(attribute, assignment.value);
        }
    }
    return text + option(changed, value);
}

Explanation tell(const rules::FlowVerdict& verdict, const FlowAttribute& attribute, std::uint32_t asked) {
    Explanation why;
    why.reason = reasonName(verdict.reason);
    why.value = attribute.option + 2;
    why.asked = asked;
    why.least = verdict.least;
    why.most = verdict.most;
    why.step = verdict.step;
    why.below = verdict.nearestBelow;
    why.above = verdict.nearestAbove;
    why.text = ruleText(verdict.reason, attribute.kind == FlowAttribute::Kind::rateOrDefault);
    return why;
}

/// VLAN ids and PCP are no part of the action.
rules::FlowVerdict ruleVerdict(const FlowAssignment& assignment, std::uint32_t& asked) {
    rules::FlowVerdict verdict;
    verdict.step = 1;
    if (assignment.attribute->kind == FlowAttribute::Kind::pcp) {
        asked = assignment.value;
        verdict.most = rules::kPriorityMax;
        verdict.reason =
            assignment.toDefault || rules::pcpValid(asked) ? FlowReason::none : FlowReason::aboveMost;
    } else {
        verdict.least = 1;
        verdict.most = rules::kVlanMax;
        auto sorted = assignment.vlans;
        std::ranges::sort(sorted);
        if (!rules::vlansValid(sorted)) {
            asked = sorted.front() == 0 ? 0 : sorted.back();
            verdict.reason = asked == 0 ? FlowReason::belowLeast : FlowReason::aboveMost;
        }
    }
    if (verdict.reason == FlowReason::belowLeast) {
        verdict.nearestAbove = verdict.least;
    } else if (!verdict) {
        verdict.nearestBelow = verdict.most;
    }
    return verdict;
}

/// A VLAN id or a PCP that is refused; no reason where it is none of them.
Explanation explainRule(const FlowAssignment& assignment) {
    std::uint32_t asked = 0;
    const rules::FlowVerdict verdict = ruleVerdict(assignment, asked);
    if (verdict) {
        return {};
    }
    Explanation why = tell(verdict, *assignment.attribute, asked);
    if (assignment.attribute->kind == FlowAttribute::Kind::vlans) {
        why.reason = "reservedVlan";
        why.text = "VLAN ids 1 to " + std::to_string(rules::kVlanMax) + " can be matched";
    }
    why.hint = "asked " + std::to_string(asked) + ": " + rangeText(why, false);
    return why;
}

}  // namespace

Explanation explainFlowSetter(std::int32_t result, const std::string& name, const FlowAssignment& assignment,
                              const rpcOnuFlowProfileAction& stored, const rules::ClassLimits& limits) {
    const FlowAttribute& attribute = *assignment.attribute;
    if (attribute.isRule()) {
        return explainRule(assignment);
    }
    if (assignment.toDefault || result == rpcOnuFlowProfileResError) {
        return {};
    }
    const FlowAttribute* other = otherRate(attribute);
    const bool isRate = other != nullptr;
    const std::uint32_t asked = assignment.value;
    const std::uint32_t rounded = isRate ? rules::flowRateRounded(asked) : asked;
    const rules::FlowVerdict verdict = rules::flowVerdict(
        attribute.ruleField, rounded, isRate ? std::optional(stored.*other->field) : std::nullopt, limits);
    if (flowCode(verdict.result()) != result) {
        return tablesChanged(bool(verdict), asked);
    }
    Explanation why = tell(verdict, attribute, asked);
    const std::string command = "onuqosctl flow set " + common::argumentForName(name);
    why.hint =
        "asked " + std::to_string(asked) +
        (rounded == asked ? "" : ", rounded up to " + std::to_string(rounded)) +
        (isRate ? std::string(", stored ") + (other->option + 2) + " " + std::to_string(stored.*other->field)
                : "") +
        ": " + rangeText(why, false);
    if (verdict.reason == FlowReason::guaranteedAbovePeak) {
        why.hint += "; for " + std::to_string(rounded) + " set" + option(*other, rounded) + " first";
        why.command = command + option(*other, rounded) + option(attribute, rounded);
    } else if (const auto nearest = proposal(why)) {
        why.command = command + option(attribute, *nearest);
    }
    return why;
}

Explanation explainFlowRequest(std::int32_t result, const std::string& command,
                               const std::vector<FlowAssignment>& assignments,
                               const rpcOnuFlowProfileAction& wanted, const rules::ClassLimits& limits) {
    if (result != rpcOnuFlowProfileResOutOfRange && result != rpcOnuFlowProfileResGuarAbovePeak) {
        return {};
    }
    const auto explain = [&](const FlowAttribute& attribute) {
        const FlowAttribute* other = otherRate(attribute);
        const std::uint32_t asked = wanted.*attribute.field;
        const auto verdict =
            rules::flowVerdict(attribute.ruleField, asked,
                               other != nullptr ? std::optional(wanted.*other->field) : std::nullopt, limits);
        Explanation why;
        if (flowCode(verdict.result()) == result) {
            why = tell(verdict, attribute, asked);
            why.hint = "asked " + std::to_string(asked) +
                       (other != nullptr ? std::string(", with ") + (other->option + 2) + " " +
                                               std::to_string(wanted.*other->field)
                                         : "") +
                       ": " + rangeText(why, false);
            why.command = command + optionsWith(assignments, attribute, *proposal(why));
        }
        return why;
    };
    Explanation why;
    // In the order in which the module looks at them.
    std::vector<FlowAssignment> ordered = assignments;
    std::ranges::stable_sort(ordered, {},
                             [](const FlowAssignment& assignment) { return assignment.attribute->bit; });
    for (const FlowAssignment& assignment : ordered) {
        if (!why.reason.empty()) {
            break;
        }
        if (assignment.attribute->isRule()) {
            why = result == rpcOnuFlowProfileResOutOfRange ? explainRule(assignment) : Explanation{};
        } else {
            why = explain(*assignment.attribute);
        }
    }
    return why.reason.empty() ? tablesChanged(true, std::nullopt) : why;
}

}  // namespace onuqosctl
