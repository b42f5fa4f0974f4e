#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "onuqos/rules/admission.h"
#include "onuqos/rules/bindingTypes.h"
#include "onuqos/rules/classLimits.h"
#include "onuqos/rules/failedStep.h"
#include "onuqos/rules/largestRate.h"
#include "onuqos/rules/result.h"

/// Why a service is bound or not, with the numbers of the decision.
namespace rules {

enum class ServiceReason : std::uint8_t {
    none,  ///< accepted, or bound already
    lock,
    wrongInterface,
    flowProfileNotFound,
    tContProfileNotFound,
    duplicateVirtualPort,
    duplicateFlowProfile,
    duplicateTContId,
    admissionFixed,
    admissionTotal,
    admissionUnknown,  ///< a look-up failed: nothing is known of the port
    termPointType,
    platformFailed,
    accounting,  ///< the last two: after the binding was made
    stateUpdate
};

/// What makes an interface one on which services can be bound, or not.
struct InterfaceState {
    bool hasRecords = false;
    std::optional<int> type{};  ///< the platform's number; nothing where it does not tell

    static constexpr int kOnu = 4;

    /// An ONU whose type cannot be told just now remains one.
    constexpr bool configurable() const { return hasRecords && type.value_or(kOnu) == kOnu; }
};

/// What the over-commitment alarm of a port looks at, before the T-CONT is bound.
struct PortFigures {
    onuQosOltCacInfo held;
    OnuOnPort onu{};
    std::uint32_t minDistance = 0;
    std::uint32_t maxDistance = 0;
    std::uint32_t fixedLimit = 0;
    std::uint32_t totalLimit = 0;
};

/// What a late failure leaves in place.
struct Standing {
    bool binding = false;
    bool tCont = false;  ///< its rates are part of the port's sums
    bool onu = false;    ///< the overhead of the ONU is, which this binding is the first of
};

struct ServiceVerdict {
    Result result = Result::ok;
    ServiceReason reason = ServiceReason::none;
    FailedStep failed{};
    InterfaceState interface {};

    std::optional<onuQosServiceIntfInfo> alreadyBound{};  ///< what the service is bound to
    bool differs = false;                                 ///< from what was asked for

    std::string otherService{};  ///< the one that stands against the binding
    onuQosServiceIntfInfo other{};
    std::uint32_t tContId = 0;  ///< of the T-CONT profile
    onuTContProfileType tContType{};
    std::vector<std::uint32_t> freeTContIds{};

    std::optional<AdmissionVerdict> admission{};  ///< where a check was made and could be decided
    std::optional<PortFigures> port{};
    ClassLimits classLimits{};

    Standing stands{};

    explicit operator bool() const { return reason == ServiceReason::none; }
};

/// What the platform reported free: for fixed rates, and for fixed and assured rates together.
constexpr RatePair availableOf(const AdmissionVerdict& actual) {
    return {.fixed = static_cast<std::uint32_t>(actual.fixedFree),
            .assured = static_cast<std::uint32_t>(actual.totalFree)};
}

/// The largest rates that the port of a decided admission takes; zeros where none.
inline RatePair largestAdmitted(const ServiceVerdict& verdict) {
    const AdmissionVerdict& admission = *verdict.admission;
    return largestRates(verdict.tContType, admission.rate, verdict.classLimits,
                        [&](RatePair rate) { return admits(availableOf(admission), rate); });
}

/// Whether the port keeps its limits, and so raises no alarm, once these rates are bound.
constexpr LimitVerdict alarmVerdict(const PortFigures& port, RatePair rate) {
    return portVerdict(heldWith(port.held, port.onu, rate), port.fixedLimit, port.totalLimit);
}

/// The largest rates that the port takes without an alarm. The figures of the port are known.
inline RatePair largestWithoutAlarm(const ServiceVerdict& verdict) {
    const AdmissionVerdict& admission = *verdict.admission;
    return largestRates(verdict.tContType, admission.rate, verdict.classLimits, [&](RatePair rate) {
        return admits(availableOf(admission), rate) && alarmVerdict(*verdict.port, rate);
    });
}

}  // namespace rules
