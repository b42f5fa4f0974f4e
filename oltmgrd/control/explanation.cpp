#include "oltmgrd/control/explanation.h"

#include <algorithm>

#include "common/name.h"

namespace oltmgrd {
namespace {

using rules::ServiceReason;
using rules::ServiceVerdict;

struct ReasonName {
    ServiceReason reason;
    const char* name;
    const char* step;  ///< what was looked at; a step that failed comes in its place
};

constexpr ReasonName kReasons[] = {
    {ServiceReason::lock, "lock", "platformLock"},
    {ServiceReason::wrongInterface, "wrongInterface", "interfaceState"},
    {ServiceReason::flowProfileNotFound, "flowProfileNotFound", "profiles"},
    {ServiceReason::tContProfileNotFound, "tcontProfileNotFound", "profiles"},
    {ServiceReason::duplicateVirtualPort, "duplicateVirtualPort", "checkBinding"},
    {ServiceReason::duplicateFlowProfile, "duplicateFlowProfile", "checkBinding"},
    {ServiceReason::duplicateTContId, "duplicateTContId", "checkBinding"},
    {ServiceReason::admissionFixed, "admissionFixed", "actualVerdict"},
    {ServiceReason::admissionTotal, "admissionTotal", "actualVerdict"},
    {ServiceReason::admissionUnknown, "admissionUnknown", "actualVerdict"},
    {ServiceReason::termPointType, "termPointType", "uniType"},
    {ServiceReason::platformFailed, "platformFailed", "platform"},
    {ServiceReason::accounting, "accounting", "accounting"},
    {ServiceReason::stateUpdate, "stateUpdate", "stateUpdate"},
};

Json pairJson(rules::RatePair pair) {
    return {{"fixed", pair.fixed}, {"assured", pair.assured}};
}

Json limitName(rules::Limit limit) {
    return limit == rules::Limit::none ? Json() : Json(limit == rules::Limit::fixed ? "fixed" : "total");
}

Json bindingJson(const onuQosServiceIntfInfo& binding) {
    return {{"flowProfile", common::nameToJson(binding.onuFlowProfileName)},
            {"tcontProfile", common::nameToJson(binding.tContProfileName)},
            {"virtualPort", binding.virtualPortId}};
}

Json askedJson(const AppliedService& asked) {
    return {{"flowProfile", common::nameToJson(asked.flowProfile)},
            {"tcontProfile", common::nameToJson(asked.tcontProfile)},
            {"virtualPort", asked.virtualPort},
            {"termPointType", asked.termPoint.type},
            {"termPointId", asked.termPoint.id}};
}

/// A rate that the type does not carry is null.
Json carriedJson(onuTContProfileType type, rules::RatePair rates) {
    const onuTContProfileRates carried = rules::tContRateRules(type);
    return {{"fixed", carried.fixedRateConfigurable ? Json(rates.fixed) : Json()},
            {"assured", carried.assuredRateConfigurable ? Json(rates.assured) : Json()}};
}

Json admissionJson(const ServiceVerdict& verdict) {
    const rules::AdmissionVerdict& admission = *verdict.admission;
    const rules::RatePair largest = rules::largestAdmitted(verdict);
    Json json{
        {"port", admission.port},
        {"rate", pairJson(admission.rate)},
        {"overhead", pairJson(admission.overhead)},
        {"overheadPercent", pairJson({admission.fixedBand.value, admission.assuredBand.value})},
        {"overheadBand", pairJson({admission.fixedBand.from, admission.assuredBand.from})},
        {"demand", {{"fixed", admission.fixedDemand}, {"total", admission.totalDemand}}},
        {"free", {{"fixed", admission.fixedFree}, {"total", admission.totalFree}}},
        {"binding", limitName(admission.limits.binding)},
        {"missing", {{"fixed", admission.limits.missingFixed}, {"total", admission.limits.missingTotal}}},
        {"largest", carriedJson(verdict.tContType, largest)},
        {"largestWithoutAlarm", nullptr},
        {"alarmAtLargest", nullptr},
        {"ledger", nullptr}};
    if (verdict.port) {
        const rules::PortFigures& port = *verdict.port;
        json["largestWithoutAlarm"] = carriedJson(verdict.tContType, rules::largestWithoutAlarm(verdict));
        json["alarmAtLargest"] = limitName(rules::alarmVerdict(port, largest).binding);
        json["ledger"] = {{"fixed", port.held.fixedAlloc},       {"assured", port.held.assuredAlloc},
                          {"limitFixed", port.fixedLimit},       {"limitTotal", port.totalLimit},
                          {"violation", port.held.cacViolation}, {"minDistance", port.minDistance},
                          {"maxDistance", port.maxDistance}};
    }
    return json;
}

Json refusalJson(const char* operation, const AppliedService& asked, const ServiceVerdict& verdict) {
    const auto* row = std::ranges::find(kReasons, verdict.reason, &ReasonName::reason);
    const bool failed = verdict.failed.name != nullptr;
    Json json{{"operation", operation},
              {"reason", row->name},
              {"step", failed ? verdict.failed.name : row->step},
              {"interface", asked.interface},
              {"service", common::nameToJson(asked.service)}};
    json.update(askedJson(asked));
    if (failed) {
        json["answer"] = verdict.failed.answer ? Json(*verdict.failed.answer) : Json();
    }
    switch (verdict.reason) {
        case ServiceReason::wrongInterface:
            json["interfaceState"] = {
                {"hasRecords", verdict.interface.hasRecords},
                {"type", verdict.interface.type ? Json(*verdict.interface.type) : Json()}};
            break;
        case ServiceReason::duplicateVirtualPort:
        case ServiceReason::duplicateFlowProfile:
        case ServiceReason::duplicateTContId:
            json["other"] = {{"service", common::nameToJson(verdict.otherService)}};
            json["other"].update(bindingJson(verdict.other));
            if (verdict.reason == ServiceReason::duplicateTContId) {
                json["tcontId"] = verdict.tContId;
                json["freeTcontIds"] = verdict.freeTContIds;
            }
            break;
        case ServiceReason::admissionFixed:
        case ServiceReason::admissionTotal:
            json["admission"] = admissionJson(verdict);
            break;
        case ServiceReason::accounting:
        case ServiceReason::stateUpdate:
            json["stands"] = {{"binding", verdict.stands.binding},
                              {"tcontAccounted", verdict.stands.tCont},
                              {"onuAccounted", verdict.stands.onu}};
            break;
        default:
            break;
    }
    return json;
}

Json warningJson(const AppliedService& asked, const FlowAboveMaximum& rates) {
    return {{"reason", "flowAboveMaximum"},
            {"flowProfile", common::nameToJson(asked.flowProfile)},
            {"tcontProfile", common::nameToJson(asked.tcontProfile)},
            {"guarRateUs", rates.guaranteed},
            {"peakRateUs", rates.peak},
            {"maximumRate", rates.maximum}};
}

}  // namespace

Json explanationOf(const char* operation, const AppliedService& asked, const ServiceOutcome& outcome) {
    const ServiceVerdict& verdict = outcome.verdict;
    if (!verdict) {
        return {{"explanation", refusalJson(operation, asked, verdict)}};
    }
    if (outcome.aboveMaximum) {
        return {{"warning", warningJson(asked, *outcome.aboveMaximum)}};
    }
    if (!verdict.alreadyBound) {
        return Json::object();
    }
    Json bound = bindingJson(*verdict.alreadyBound);
    if (outcome.boundTermPoint) {
        bound["termPointType"] = outcome.boundTermPoint->type;
        bound["termPointId"] = outcome.boundTermPoint->id;
    }
    Json json{{"changed", false}, {"alreadyBound", std::move(bound)}, {"differs", outcome.differs}};
    if (outcome.differs) {
        json["service"] = common::nameToJson(asked.service);
        json["asked"] = askedJson(asked);
    }
    return json;
}

}  // namespace oltmgrd
