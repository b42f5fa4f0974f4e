#include "olt.h"

#include <algorithm>
#include <string_view>

#include "BLLManager.h"
#include "check.h"
#include "oltmgrd/platform/standin/host.h"
#include "standin/hardware.h"
#include "standin/inventory.h"
#include "standin/log.h"
#include "standin/manager.h"
#include "standin/reset.h"
#include "standin/serviceProfiles.h"

namespace fuzz {
namespace {

standin::Inventory inventory() {
    standin::Inventory olt;
    olt.ports = {{.interface = 1, .port = 1}, {.interface = 2, .port = 2}};
    olt.onus = {{.interface = 101, .parent = 1, .port = 1},
                {.interface = 102, .parent = 1, .port = 2},
                {.interface = 103, .parent = 1, .port = 3},
                {.interface = 201, .parent = 2, .port = 1}};
    olt.features = {{5, true}};
    return olt;
}

void requireOneLine(const standin::LogLine& line) {
    std::string_view text = line.text;
    require(text.ends_with('\n'), "a line of the log ends");
    text.remove_suffix(1);
    require(isOneLine(text), "a line of the log is one line");
}

}  // namespace

oltmgrd::Host& host() {
    static const std::unique_ptr<oltmgrd::Host> kHost = oltmgrd::standinHost();
    return *kHost;
}

Olt& Olt::instance() {
    static Olt olt;
    return olt;
}

Olt::Olt() {
    configure();
    standin::manager::startAll();
}

void Olt::configure() {
    standin::reset();
    standin::configure(inventory());
    standin::log::toCallback(requireOneLine);
}

void Olt::startEmpty() {
    configure();
    bool applying = false;
    module_.tContProfileConsApplyStateGet(&applying);
    if (applying) {
        module_.configurationApplyStop();
    }
    {
        const BLLManager::exclusiveLock_t lock;
        require(lock.obtained() && module_.applyDefaultSettings(), "the module takes its default settings");
    }
    configure();  // forgets the alarms that went with the tables
}

void Olt::startWithProfiles() {
    startEmpty();
    for (const char* name : {"gold", "silver", "tin"}) {
        require(module_.tContProfileCreate(name) == onuQos::onuQosResOk, "a T-CONT profile is made");
    }
    require(module_.tContProfileTypeSet("gold", tContType3) == onuQos::onuQosResOk, "a type is set");
    require(module_.tContProfileMaximumRateSet("silver", 10240) == onuQos::onuQosResOk, "a rate is set");
    for (const char* name : {"hsi", "voip", "iptv"}) {
        require(module_.onuFlowProfileCreate(name) == onuQos::onuQosResOk, "a flow profile is made");
    }
    onuQos::onuFlowProfileRule rule{.cPcp = 5, .cVlan = {10, 100, 4094}};
    for (const auto type : {onuQos::onuFlowProfileRuleTypeCPcp, onuQos::onuFlowProfileRuleTypeCVlan}) {
        require(module_.onuFlowProfileRuleSet("voip", rule, type, onuQos::onuFlowProfileOperationSet) ==
                    onuQos::onuQosResOk,
                "a rule is set");
    }
    standin::serviceProfiles::add({.name = "television", .tContProfile = "tin", .flowProfile = "iptv"});
}

onuQosTables Olt::tables() const {
    onuQosTables tables;
    require(module_.onuQosTablesGet(tables) == onuQos::onuQosResOk, "the lock is free");
    require(tables.tContProfileMap.size() <= kProfileCountMax, "no more T-CONT profiles than there may be");
    require(tables.onuFlowProfileMap.size() <= kProfileCountMax, "no more flow profiles than there may be");
    for (const auto& [name, profile] : tables.tContProfileMap) {
        require(profile.name == name, "a T-CONT profile bears its key");
    }
    for (const auto& [name, profile] : tables.onuFlowProfileMap) {
        require(profile.name == name, "a flow profile bears its key");
    }
    return tables;
}

void Olt::requireMirrored(const onuQosTables& tables) {
    const standin::Hardware hardware = standin::hardware::snapshot();
    require(std::ranges::equal(tables.tContProfileMap, hardware.tContProfiles,
                               [](const auto& row, const standin::TContProfile& pushed) {
                                   const tContProfileInfo& stored = row.second;
                                   return pushed.name == stored.name && pushed.tContId == stored.tContId &&
                                          pushed.tContType == stored.tContType &&
                                          pushed.fixedRate == stored.fixedRate &&
                                          pushed.assuredRate == stored.assuredRate &&
                                          pushed.maximumRate == stored.maximumRate;
                               }),
            "the hardware layer has the T-CONT profiles of the module");
    require(std::ranges::equal(tables.onuFlowProfileMap, hardware.flowProfiles,
                               [](const auto& row, const standin::FlowProfile& pushed) {
                                   const onuQos::onuFlowProfileAction& stored = row.second.action;
                                   return pushed.name == row.first &&
                                          pushed.guarRateUs == stored.guarRateUs &&
                                          pushed.peakRateUs == stored.peakRateUs &&
                                          pushed.flowPriorityUs == stored.flowPriorityUs &&
                                          pushed.flowPriorityDs == stored.flowPriorityDs;
                               }),
            "the hardware layer has the flow profiles of the module");
}

}  // namespace fuzz
