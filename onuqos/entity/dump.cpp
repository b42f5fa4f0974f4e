#include <cstdlib>

#include "onuqos/entity/CZqUtil.h"
#include "onuqos/entity/onuQos.h"
#include "onuqos/support/log.h"

namespace {

/// How long the text of a VLAN list may become.
constexpr unsigned int kVlanTextMax = 100;

/// Appends pieces to a text: numbers in decimal, bools as 1 and 0, strings as they are.
class DumpText {
public:
    template <typename... Pieces>
    void line(const Pieces&... pieces) {
        (append(pieces), ...);
        text_ += "\n";
    }

    /// The title of a section and its underline; an empty line goes before all but the first.
    void section(const char* title, const char* underline) {
        if (!text_.empty()) {
            line();
        }
        line(" ", title, ":");
        line(" ", underline);
    }

    const std::string& text() const { return text_; }

private:
    void append(const char* piece) { text_ += piece; }
    void append(const std::string& piece) { text_ += piece; }
    void append(bool piece) { text_ += piece ? "1" : "0"; }
    void append(std::uint32_t piece) { text_ += std::to_string(piece); }
    void append(std::int32_t piece) { text_ += std::to_string(piece); }

    std::string text_;
};

void dump(DumpText& out, const std::string& key, const onuQos::onuFlowProfileInfo& profile) {
    const auto& [cPcp, cVlan] = profile.rule;
    const auto& [guarRateUs, peakRateUs, flowPriorityUs, flowPriorityDs] = profile.action;
    out.line(" \tname: ", key, "(", profile.name, ")");
    out.line(" \t\tUpstream/incoming rules:");
    if (const auto pcp = static_cast<std::int32_t>(cPcp); pcp != -1) {
        out.line(" \t\t\tcPcp: ", pcp);
    }
    if (!cVlan.empty()) {
        std::string vlans;
        const bool listed =
            CZqUtil::vectorValuesStringGet(cVlan, vlans, kVlanTextMax) == CZqUtil::CZqUtilResOk;
        out.line(" \t\t\tcvlan: ", listed ? vlans : "N/A");
    }
    out.line();
    out.line(" \t\tActions:");
    out.line(" \t\t\tguarRateUs: ", guarRateUs, ", peakRateUs: ", peakRateUs,
             ", flowPriorityUs: ", flowPriorityUs, ", flowPriorityDs: ", flowPriorityDs);
}

void dump(DumpText& out, const std::string& key, const tContProfileInfo& profile) {
    out.line(" \tname: ", key, " (", profile.name, ")");
    out.line(" \t\ttContId: ", profile.tContId, ", tContType: ", std::int32_t{profile.tContType},
             ", fixedRate: ", profile.fixedRate, ", assuredRate: ", profile.assuredRate,
             ", maximumRate: ", profile.maximumRate, ", dbaAllocType: ", std::int32_t{profile.dbaAllocType},
             ", dbaWeight: ", profile.dbaWeight, ", dbaPriority: ", profile.dbaPriority);
}

void dump(DumpText& out, std::uint32_t intf, const onuQosOnuCacInfo& onu) {
    const auto& tConts = onu.onuQosTContIntfCacInfoMap;
    if (!onu.configured && onu.fixedOverhead == 0 && onu.assuredOverhead == 0 && tConts.empty()) {
        return;
    }
    out.line(" \tintf: ", intf, ", configured: ", onu.configured, ", fixedOverhead: ", onu.fixedOverhead,
             ", assuredOverhead: ", onu.assuredOverhead);
    for (const auto& [name, overhead] : tConts) {
        out.line(" \t\tT-CONT profile: ", name, ", fixedOverhead: ", overhead.fixedOverhead,
                 ", assuredOverhead: ", overhead.assuredOverhead);
    }
}

}  // namespace

void onuQos::onuQosDump(unsigned int intf, std::ostringstream* out) {
    const BLLManager::sharedLock_t lock;  // silent when not obtained: the reader sees the empty reply
    if (!lock.obtained()) {
        return;
    }
    DumpText text;
    text.section("onuFlowProfileMap", "-----------------");
    for (const auto& [key, profile] : onuFlowProfileMap) {
        dump(text, key, profile);
    }
    text.section("tContProfileMap", "---------------");
    for (const auto& [key, profile] : tContProfileMap) {
        dump(text, key, profile);
    }
    text.section("onuQosServiceIntfMap", "--------------------");
    for (const auto& [onu, bindings] : onuQosServiceIntfMap) {
        if (intf != 0 && intf != onu) {
            continue;
        }
        text.line(" \tintf: ", onu);
        for (const auto& [service, binding] : bindings) {
            text.line(" \t\tservice: ", service, ", onuFlowProfileName: ", binding.onuFlowProfileName,
                      ", tContProfileName: ", binding.tContProfileName,
                      ", virtualPortId: ", binding.virtualPortId);
        }
    }
    text.section("onuQosOltCacMap", "--------------------");
    for (const auto& [port, info] : onuQosOltCacMap) {
        if (info != onuQosOltCacInfo{}) {
            text.line(" \tintf: ", port, ", fixedAlloc: ", info.fixedAlloc,
                      ", assuredAlloc: ", info.assuredAlloc, ", cacViolation: ", info.cacViolation);
        }
    }
    text.section("onuQosOnuCacMap", "--------------------");
    for (const auto& [onu, info] : onuQosOnuCacMap) {
        dump(text, onu, info);
    }
    text.section("onuQosOltCacAlarmMap", "--------------------");
    for (const auto& [port, raised] : onuQosOltCacAlarmMap) {
        if (raised) {
            text.line(" \tintf: ", port, ", alarm: ", raised);
        }
    }
    out->write(text.text().data(), static_cast<std::streamsize>(text.text().size()));
}

void onuQos::externalMessage(const std::string& name, const std::string& argument, std::ostringstream* out) {
    if (name == "onuQosDump") {
        onuQosDump(static_cast<unsigned int>(std::strtol(argument.c_str(), nullptr, 10)), out);
    } else if (name == "onuQosOMApiDump") {
        OMApi.onuQosOMApiDump(out);
    } else if (name == "onuQosOMApiDebug") {
        OMApi.onuQosOMApiDebug(argument != "0");
    }
}
