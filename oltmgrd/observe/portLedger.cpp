#include "oltmgrd/observe/portLedger.h"

#include <map>

#include "BLLManager.h"
#include "onuqos/rules/limits.h"

namespace oltmgrd {
namespace {

/// What the module hands on where the platform does not tell a rate.
constexpr unsigned int kUnknown = 0xFFFFFFFF;

std::optional<rules::RatePair> freeOf(const onuQosClassInterface& module, std::uint32_t interface) {
    unsigned int estimatedFixed = 0;
    unsigned int estimatedTotal = 0;
    rules::RatePair free;
    bool violation = false;
    if (call<&onuQosClassInterface::onuQosCacOltGet>(module, interface, estimatedFixed, estimatedTotal,
                                                     free.fixed, free.assured,
                                                     violation) != onuQos::onuQosResOk ||
        free.fixed == kUnknown) {
        return std::nullopt;
    }
    return free;
}

const char* technologyName(oltPortBw technology) {
    return technology == oltPortBw10G ? "10g" : "gpon";
}

Json ratesJson(std::int64_t fixed, std::int64_t total) {
    return {{"fixed", fixed}, {"total", total}};
}

std::uint64_t committed(const onuQosOltCacInfo& sums) {
    return std::uint64_t{sums.fixedAlloc} + sums.assuredAlloc;
}

/// What is left by the sums; below 0 by as much as the port is over-committed.
Json estimatedJson(const onuQosPortLedger& ledger) {
    if (!ledger.line) {
        return nullptr;
    }
    return ratesJson(std::int64_t{ledger.line->limitFixed} - ledger.sums.fixedAlloc,
                     std::int64_t{ledger.limitTotal} - static_cast<std::int64_t>(committed(ledger.sums)));
}

/// Which limit the sums exceed now, in a word.
Json overCommitmentJson(const onuQosPortLedger& ledger) {
    if (!ledger.line) {
        return nullptr;
    }
    const auto verdict = rules::portVerdict(ledger.sums, ledger.line->limitFixed, ledger.limitTotal);
    const bool fixed = verdict.missingFixed != 0;
    const bool total = verdict.missingTotal != 0;
    return fixed && total ? "both" : fixed ? "fixed" : total ? "total" : "no";
}

}  // namespace

std::optional<onuQosPortLedger> ledgerOf(const onuQosClassInterface& module, std::uint32_t interface) {
    onuQosPortLedger ledger;
    return call<&onuQosClassInterface::onuQosPortLedgerGet>(module, interface, ledger) == onuQos::onuQosResOk
               ? std::optional(ledger)
               : std::nullopt;
}

std::optional<std::vector<PortLedger>> portLedgers(const onuQosClassInterface& module,
                                                   const ServiceSide& services, const Host& host,
                                                   std::optional<std::uint32_t> port) {
    std::vector<PortLedger> ports;
    std::map<std::uint32_t, std::size_t> places;
    const HostInterfaces interfaces = host.interfaces();
    for (const std::uint32_t interface : interfaces.ports) {
        if (!port || *port == interface) {
            places[interface] = ports.size();
            ports.push_back({.interface = interface});
        }
    }
    const auto counts = services.counts();
    for (const HostOnu& onu : interfaces.onus) {
        const auto place = places.find(onu.port);
        if (place == places.end()) {
            continue;
        }
        const auto count = counts.find(onu.interface);
        PortLedger& on = ports[place->second];
        ++on.onus;
        on.services += count == counts.end() ? 0 : count->second;
        on.onusWithoutService += count == counts.end() ? 1 : 0;
    }
    const BLLManager::sharedLock_t lock;
    if (!lock.obtained()) {
        return std::nullopt;
    }
    for (PortLedger& on : ports) {
        on.module = ledgerOf(module, on.interface);
        on.free = freeOf(module, on.interface);
    }
    return ports;
}

Json figuresJson(const onuQosPortLedger& ledger) {
    return {{"fixed", ledger.sums.fixedAlloc},
            {"assured", ledger.sums.assuredAlloc},
            {"limitFixed", ledger.line ? Json(ledger.line->limitFixed) : Json()},
            {"limitTotal", ledger.limitTotal}};
}

Json toJson(const PortLedger& port) {
    const auto& line = port.module ? port.module->line : std::nullopt;
    const auto ofModule = [&port](auto value) { return port.module ? Json(value(*port.module)) : Json(); };
    const auto ofLine = [&line](auto value) { return line ? Json(value(*line)) : Json(); };
    Json json{{"interface", port.interface},
              {"technology", ofLine([](const auto& it) { return technologyName(it.technology); })},
              {"class", ofModule([](const auto& it) { return technologyName(it.bandwidthClass); })},
              {"minDistance", ofLine([](const auto& it) { return it.minDistance; })},
              {"maxDistance", ofLine([](const auto& it) { return it.maxDistance; })}};
    json.update(port.module ? figuresJson(*port.module)
                            : Json{{"fixed", nullptr},
                                   {"assured", nullptr},
                                   {"limitFixed", nullptr},
                                   {"limitTotal", nullptr}});
    json["available"] = {{"estimated", ofModule(estimatedJson)},
                         {"actual", port.free ? ratesJson(port.free->fixed, port.free->assured) : Json()}};
    json["overCommitted"] = ofModule(overCommitmentJson);
    json["violation"] = ofModule([](const auto& it) { return it.sums.cacViolation; });
    json["onus"] = port.onus;
    json["configuredOnus"] = ofModule([](const auto& it) { return it.configuredOnus; });
    json["onusWithoutService"] = port.onusWithoutService;
    json["services"] = port.services;
    return json;
}

}  // namespace oltmgrd
