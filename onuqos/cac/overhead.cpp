#include "onuqos/rules/overhead.h"

#include "onuqos/cac/ports.h"
#include "onuqos/entity/onuQos.h"

rules::Result ratesOverhead(const std::map<std::uint32_t, onuQosOltCacInfo>& ports, unsigned int onuIntf,
                            rules::RatePair rate, rules::RatePair& overhead, rules::FailedStep* failed) {
    constexpr const char* kOperation = "onuQosRatesOverheadGet";
    const ReadLock lock(kOperation);
    if (!lock) {
        noteFailure(failed, "sharedLock");
        return rules::Result::error;
    }
    if (const auto type = onuTypeCheck(onuIntf, failed); type != rules::Result::ok) {
        return type;
    }
    if (onuPortOf(kOperation, ports, onuIntf, failed) == ports.end()) {
        return rules::Result::error;
    }
    overhead = rules::tContOverhead(rate.fixed, rate.assured);
    return rules::Result::ok;
}

onuQos::onuQosRes onuQos::onuQosRatesOverheadGet(unsigned int onuIntf, unsigned int fixedRate,
                                                 unsigned int assuredRate, unsigned int& fixedOverhead,
                                                 unsigned int& assuredOverhead) {
    rules::RatePair overhead;
    const rules::Result result = ratesOverhead(
        onuQosOltCacMap, onuIntf, {.fixed = fixedRate, .assured = assuredRate}, overhead, nullptr);
    if (result == rules::Result::ok) {
        fixedOverhead = overhead.fixed;
        assuredOverhead = overhead.assured;
    }
    return resultOf(result);
}

onuQos::onuQosRes onuQos::onuQosOnuOverheadGet(unsigned int onuIntf, unsigned int& fixedOverhead,
                                               unsigned int& assuredOverhead) {
    constexpr const char* kOperation = "onuQosOnuOverheadGet";
    const ReadLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    if (const auto type = onuTypeCheck(onuIntf); type != rules::Result::ok) {
        return resultOf(type);
    }
    const auto port = onuPortOf(kOperation, onuQosOltCacMap, onuIntf);
    if (port == onuQosOltCacMap.end()) {
        return onuQosResError;
    }
    bool first = true;
    for (auto other = onuQosOnuCacMap.cbegin(); first && other != onuQosOnuCacMap.cend(); ++other) {
        const auto& [intf, onu] = *other;
        if (intf == onuIntf) {
            continue;
        }
        const auto parent = onuParentOf(kOperation, intf);
        if (!parent) {
            return onuQosResError;
        }
        first = *parent != port->first || !onu.configured;
    }
    const onuQosOltCacInfo& sums = port->second;
    const rules::RatePair overhead = rules::onuOverhead(first, sums.fixedAlloc, sums.assuredAlloc);
    fixedOverhead = overhead.fixed;
    assuredOverhead = overhead.assured;
    return onuQosResOk;
}
