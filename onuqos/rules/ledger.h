#pragma once

#include <string>

#include "onuqos/rules/cacTypes.h"
#include "onuqos/rules/overhead.h"

/// The sums that bindings commit: the one place where they change, in 32-bit arithmetic. No limit is looked
/// at.
namespace rules {

inline bool isAccounted(const onuQosOnuCacInfo& onu, const std::string& tCont) {
    return onu.onuQosTContIntfCacInfoMap.contains(tCont);
}

/// Adds the rates of a T-CONT that is not accounted on the ONU, and the overhead, which is kept for its
/// removal.
inline void addTCont(onuQosOltCacInfo& port, onuQosOnuCacInfo& onu, const std::string& tCont, RatePair rate,
                     RatePair overhead) {
    port.fixedAlloc += rate.fixed + overhead.fixed;
    port.assuredAlloc += rate.assured + overhead.assured;
    onu.onuQosTContIntfCacInfoMap.insert_or_assign(
        tCont, onuQosTContIntfCacInfo{.fixedOverhead = overhead.fixed, .assuredOverhead = overhead.assured});
}

/// Takes off the rates of a T-CONT that is accounted on the ONU, and what was added on top.
inline void removeTCont(onuQosOltCacInfo& port, onuQosOnuCacInfo& onu, const std::string& tCont,
                        RatePair rate) {
    const auto accounted = onu.onuQosTContIntfCacInfoMap.find(tCont);
    port.fixedAlloc -= rate.fixed + accounted->second.fixedOverhead;
    port.assuredAlloc -= rate.assured + accounted->second.assuredOverhead;
    onu.onuQosTContIntfCacInfoMap.erase(accounted);
}

/// Adds the overhead of an ONU that is not configured.
inline void addOnu(onuQosOltCacInfo& port, onuQosOnuCacInfo& onu, RatePair overhead) {
    port.fixedAlloc += overhead.fixed;
    port.assuredAlloc += overhead.assured;
    onu.fixedOverhead = overhead.fixed;
    onu.assuredOverhead = overhead.assured;
    onu.configured = true;
}

/// Takes off the overhead of an ONU that is configured.
inline void removeOnu(onuQosOltCacInfo& port, onuQosOnuCacInfo& onu) {
    port.fixedAlloc -= onu.fixedOverhead;
    port.assuredAlloc -= onu.assuredOverhead;
    onu.fixedOverhead = onu.assuredOverhead = 0;
    onu.configured = false;
}

/// What the port of an ONU holds of the ONU itself.
enum class OnuOnPort { configured, further, first };

/// What a port holds once a T-CONT with these rates, not accounted before, is bound on an ONU.
constexpr onuQosOltCacInfo heldWith(onuQosOltCacInfo port, OnuOnPort onu, RatePair rate) {
    const auto add = [&port](RatePair added) {
        port.fixedAlloc += added.fixed;
        port.assuredAlloc += added.assured;
    };
    add(rate);
    add(tContOverhead(rate.fixed, rate.assured));
    if (onu != OnuOnPort::configured) {
        add(onuOverhead(onu == OnuOnPort::first, port.fixedAlloc, port.assuredAlloc));
    }
    return port;
}

inline void clear(onuQosOltCacInfo& port) {
    port = {};
}

inline void clear(onuQosOnuCacInfo& onu) {
    onu = {};
}

}  // namespace rules
