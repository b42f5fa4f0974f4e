#include "onuqos/cac/ports.h"
#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/ledger.h"

namespace {

/// The records that the accounting of an ONU changes, or why there are none.
struct Account {
    rules::Result result = rules::Result::error;
    onuQosOnuCacInfo* onu = nullptr;
    onuQosOltCacInfo* port = nullptr;
    std::uint32_t portIntf = 0;
};

Account accountOf(At at, unsigned int onuIntf, std::map<std::uint32_t, onuQosOnuCacInfo>& onus,
                  std::map<std::uint32_t, onuQosOltCacInfo>& ports) {
    if (const auto type = onuTypeCheck(onuIntf); type != rules::Result::ok) {
        return {.result = type};
    }
    const auto onu = onus.find(onuIntf);
    if (onu == onus.end()) {
        logError(at, "ONUQOS ERROR - onuQosOnuCacMap.find() failed for ONU intf: ", onuIntf);
        return {};
    }
    const auto port = onuPortOf(at, ports, onuIntf);
    if (port == ports.end()) {
        return {};
    }
    return {.result = rules::Result::ok, .onu = &onu->second, .port = &port->second, .portIntf = port->first};
}

}  // namespace

onuQos::onuQosRes onuQos::onuQosCalcAllocRatesOnTContChange(unsigned int onuIntf,
                                                            const std::string& tContProfileName, bool add) {
    constexpr const char* kOperation = "onuQosCalcAllocRatesOnTContChange";
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    const Account account = accountOf(kOperation, onuIntf, onuQosOnuCacMap, onuQosOltCacMap);
    if (account.result != rules::Result::ok) {
        return resultOf(account.result);
    }
    const auto profile = tContProfileMap.find(tContProfileName);
    if (profile == tContProfileMap.end()) {
        logError(kOperation, "ONUQOS ERROR - tContProfileMap.find() failed for profile: ", tContProfileName);
        return onuQosResNotFound;
    }
    if (rules::isAccounted(*account.onu, tContProfileName) == add) {
        logError(kOperation,
                 "ONUQOS ERROR - onuQosTContIntfCacInfoMap.find() failed for ONU intf: ", onuIntf);
        return onuQosResError;
    }
    const rules::RatePair rate{.fixed = profile->second.fixedRate, .assured = profile->second.assuredRate};

    if (!add) {
        rules::removeTCont(*account.port, *account.onu, tContProfileName, rate);
        return onuQosResOk;
    }
    rules::RatePair overhead;
    if (onuQosRatesOverheadGet(onuIntf, rate.fixed, rate.assured, overhead.fixed, overhead.assured) !=
        onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosRatesOverheadGet() failed for ONU intf: ", onuIntf);
        return onuQosResError;
    }
    rules::addTCont(*account.port, *account.onu, tContProfileName, rate, overhead);
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosCalcAllocRatesOnOnuChange(unsigned int onuIntf, bool add) {
    constexpr const char* kOperation = "onuQosCalcAllocRatesOnOnuChange";
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    const Account account = accountOf(kOperation, onuIntf, onuQosOnuCacMap, onuQosOltCacMap);
    if (account.result != rules::Result::ok) {
        return resultOf(account.result);
    }
    if (account.onu->configured == add) {
        logError(kOperation,
                 "ONUQOS ERROR - onuQosOnuCacMap[intf].configured() failed for ONU intf: ", onuIntf);
        return onuQosResError;
    }

    if (!add) {
        rules::removeOnu(*account.port, *account.onu);
        if (auto& onus = configuredOnus_[account.portIntf];
            onus > 0) {  // the ONU may have come from another port
            --onus;
        }
        return onuQosResOk;
    }
    rules::RatePair overhead;
    if (onuQosOnuOverheadGet(onuIntf, overhead.fixed, overhead.assured) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosOnuOverheadGet() failed for ONU intf: ", onuIntf);
        return onuQosResError;
    }
    rules::addOnu(*account.port, *account.onu, overhead);
    ++configuredOnus_[account.portIntf];
    return onuQosResOk;
}
