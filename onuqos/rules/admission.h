#pragma once

#include <cstdint>

#include "onuqos/rules/limits.h"
#include "onuqos/rules/overhead.h"

/// Whether the rates of a T-CONT still fit on a PON port: functions of their inputs alone. Rates in kbit/s.
namespace rules {

/// The answer to an admission check, with the numbers that decided.
struct AdmissionVerdict {
    std::uint32_t port = 0;  ///< interface index
    RatePair rate;
    RatePair overhead;
    Band fixedBand{};  ///< the bands of the rates, with the percentages that gave the overhead
    Band assuredBand{};
    std::uint64_t fixedDemand = 0;  ///< rates with overheads, and what the port holds where that counts
    std::uint64_t totalDemand = 0;
    std::uint64_t fixedFree = 0;  ///< the limits that the demand has to keep
    std::uint64_t totalFree = 0;
    LimitVerdict limits;

    constexpr explicit operator bool() const { return static_cast<bool>(limits); }
};

/// What the rates take, before the demand is held against limits.
constexpr AdmissionVerdict admissionDemand(std::uint32_t port, RatePair rate) {
    AdmissionVerdict verdict;
    verdict.port = port;
    verdict.rate = rate;
    verdict.fixedBand = bandOf(kFixedPercent, rate.fixed);
    verdict.assuredBand = bandOf(kAssuredPercent, rate.assured);
    verdict.overhead = tContOverhead(rate.fixed, rate.assured);
    return verdict;
}

constexpr AdmissionVerdict decided(AdmissionVerdict verdict, std::uint64_t fixedFree,
                                   std::uint64_t totalFree) {
    verdict.fixedFree = fixedFree;
    verdict.totalFree = totalFree;
    verdict.limits = limitVerdict(verdict.fixedDemand, verdict.totalDemand, fixedFree, totalFree);
    return verdict;
}

/// What the port holds, and the rates with their overheads on top, against the limits of the class. The sums
/// are 32 bits wide, as the records are.
constexpr AdmissionVerdict estimatedAdmission(std::uint32_t port, const onuQosOltCacInfo& held, RatePair rate,
                                              std::uint32_t fixedLimit, std::uint32_t totalLimit) {
    AdmissionVerdict verdict = admissionDemand(port, rate);
    const std::uint32_t fixed = rate.fixed + verdict.overhead.fixed + held.fixedAlloc;
    const std::uint32_t total = fixed + held.assuredAlloc + rate.assured + verdict.overhead.assured;
    verdict.fixedDemand = fixed;
    verdict.totalDemand = total;
    return decided(verdict, fixedLimit, totalLimit);
}

/// The rates with their overheads against what the platform reports free.
constexpr AdmissionVerdict actualAdmission(std::uint32_t port, RatePair rate, RatePair available) {
    AdmissionVerdict verdict = admissionDemand(port, rate);
    const std::uint32_t fixed = rate.fixed + verdict.overhead.fixed;
    const std::uint32_t assured = rate.assured + verdict.overhead.assured;
    verdict.fixedDemand = fixed;
    verdict.totalDemand = std::uint64_t{fixed} + assured;
    return decided(verdict, available.fixed, available.assured);
}

}  // namespace rules
