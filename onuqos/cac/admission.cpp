#include "onuqos/rules/admission.h"

#include <algorithm>

#include "onuqos/cac/ports.h"
#include "onuqos/entity/onuQos.h"

namespace {

struct AdmissionCheck {
    const char* operation;
    const char* refused;
};

/// What both checks do: `decide(port, record)` holds the demand against what is free, and answers nothing,
/// with its line written, when that cannot be told. Nothing when a look-up fails, of which `failed` is told.
template <typename Decide>
std::optional<rules::AdmissionVerdict> admission(const std::map<std::uint32_t, onuQosOltCacInfo>& ports,
                                                 const AdmissionCheck& check, unsigned int onuIntf,
                                                 rules::RatePair rate, rules::FailedStep* failed,
                                                 Decide decide) {
    const ReadLock lock(check.operation);
    if (!lock) {
        noteFailure(failed, "sharedLock");
        return std::nullopt;
    }
    if (onuTypeCheck(onuIntf, failed) != rules::Result::ok) {
        return std::nullopt;
    }
    const auto port = onuPortOf(check.operation, ports, onuIntf, failed);
    if (port == ports.end()) {
        return std::nullopt;
    }
    rules::RatePair overhead;
    if (ratesOverhead(ports, onuIntf, rate, overhead, failed) != rules::Result::ok) {
        logError(check.operation, "ONUQOS ERROR - onuQosRatesOverheadGet() failed for intf: ", onuIntf);
        return std::nullopt;
    }
    const std::optional<rules::AdmissionVerdict> verdict = decide(port->first, port->second);
    if (verdict && !*verdict) {
        logError(check.operation, check.refused, onuIntf);
    }
    return verdict;
}

}  // namespace

bool onuQos::onuQosEstCacOnServiceApply(unsigned int onuIntf, unsigned int fixedRate,
                                        unsigned int assuredRate) {
    constexpr AdmissionCheck kCheck{.operation = "onuQosEstCacOnServiceApply",
                                    .refused = "ONUQOS ERROR - estimated CAC check() failed for intf: "};
    const rules::RatePair rate{.fixed = fixedRate, .assured = assuredRate};
    const auto verdict = admission(
        onuQosOltCacMap, kCheck, onuIntf, rate, nullptr,
        [rate](std::uint32_t port, const onuQosOltCacInfo& held) -> std::optional<rules::AdmissionVerdict> {
            return rules::estimatedAdmission(port, held, rate, OLT_FIXED_RATE_MAX, OLT_TOTAL_RATE_MAX);
        });
    return verdict && *verdict;
}

bool onuQos::onuQosActualCacOnServiceApply(unsigned int onuIntf, unsigned int fixedRate,
                                           unsigned int assuredRate) {
    const auto verdict =
        onuQosActualAdmission(onuIntf, {.fixed = fixedRate, .assured = assuredRate}, nullptr);
    return verdict && *verdict;
}

std::optional<rules::AdmissionVerdict> onuQos::onuQosActualAdmission(unsigned int onuIntf,
                                                                     rules::RatePair rate,
                                                                     rules::FailedStep* failed) const {
    constexpr AdmissionCheck kCheck{.operation = "onuQosActualCacOnServiceApply",
                                    .refused = "ONUQOS ERROR - actual CAC check() failed for intf: "};
    return admission(
        onuQosOltCacMap, kCheck, onuIntf, rate, failed,
        [&](std::uint32_t port, const onuQosOltCacInfo&) -> std::optional<rules::AdmissionVerdict> {
            rules::RatePair available;
            if (actualAvailable(port, available, failed) != rules::Result::ok) {
                logError(kCheck.operation,
                         "ONUQOS ERROR - onuQosOltActualAvailRatesGet() failed for OLT intf: ", port);
                return std::nullopt;
            }
            return rules::actualAdmission(port, rate, available);
        });
}

onuQos::onuQosRes onuQos::onuQosFlowCacOnServiceApply(unsigned int onuIntf, const std::string& firstName,
                                                      const std::string& secondName) {
    constexpr const char* kOperation = "onuQosFlowCacOnServiceApply";
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    if (!onuFlowProfileMap.contains(secondName)) {
        logError(kOperation, "ONUQOS ERROR - onuFlowProfileMap.find() failed for intf: ", onuIntf);
        return onuQosResNotFound;
    }
    if (!tContProfileMap.contains(secondName)) {
        logError(kOperation, "ONUQOS ERROR - tContProfileMap.find() failed for intf: ", onuIntf);
        return onuQosResNotFound;
    }
    for (const auto& [serviceName, binding] : onuQosServiceIntfMap[onuIntf]) {
        if (binding.onuFlowProfileName == firstName) {
            return onuQosResExists;
        }
    }
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosOltEstAvailRatesGet(unsigned int oltIntf, unsigned int& availFixedRate,
                                                    unsigned int& availAssuredRate) const {
    constexpr const char* kOperation = "onuQosOltEstAvailRatesGet";
    const ReadLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    rules::Result result{};
    const auto port = ponPortOf(kOperation, onuQosOltCacMap, oltIntf, result);
    if (result != rules::Result::ok) {
        return resultOf(result);
    }
    unsigned int maxFixedRate = 0;
    if (onuQosGetOltMaxFixedRate(oltIntf, maxFixedRate) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosGetOltMaxFixedRate failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    const onuQosOltCacInfo& sums = port->second;
    availFixedRate = rules::remaining(maxFixedRate, sums.fixedAlloc);
    availAssuredRate =
        rules::remaining(OLT_TOTAL_RATE_MAX, std::uint64_t{sums.fixedAlloc} + sums.assuredAlloc);
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosCacOltGet(unsigned int oltIntf, unsigned int& estAvailFixedRate,
                                          unsigned int& estAvailAssuredRate, unsigned int& actAvailFixedRate,
                                          unsigned int& actAvailAssuredRate, bool& cacViolation) {
    constexpr const char* kOperation = "onuQosCacOltGet";
    constexpr unsigned int kUnknown = 0xFFFFFFFF;
    const ReadLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    unsigned int estFixed = 0;
    unsigned int estAssured = 0;
    if (onuQosOltEstAvailRatesGet(oltIntf, estFixed, estAssured) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosOltEstAvailRatesGet failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    estFixed = std::min(estFixed, estAssured);
    unsigned int actFixed = kUnknown;
    unsigned int actAssured = kUnknown;
    onuQosOltActualAvailRatesGet(oltIntf, actFixed, actAssured);

    estAvailFixedRate = std::min(estFixed, actFixed);
    estAvailAssuredRate = std::min(estAssured, actAssured);
    actAvailFixedRate = actFixed;
    actAvailAssuredRate = actAssured;
    cacViolation = onuQosOltCacMap.at(oltIntf).cacViolation;
    return onuQosResOk;
}
