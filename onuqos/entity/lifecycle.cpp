#include <atomic>
#include <boost/bind/bind.hpp>

#include "BLLManager.h"
#include "Features.h"
#include "onuEquipment.h"
#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/ledger.h"
#include "onuqos/support/features.h"
#include "onuqos/support/log.h"
#include "onuqos/support/platformObject.h"

using namespace boost::placeholders;

namespace {

/// Set and cleared by the configuration-apply notifications, read by operations on any thread.
std::atomic<bool> configurationApplyInProgress{false};

}  // namespace

bool onuQos::configurationApplying() {
    return configurationApplyInProgress;
}

bool onuQos::start() {
    std::vector<Interfaces::Interface> interfaces;
    platformObject<Interfaces>().interfaceListGet(interfaces);
    if (!rpcProxy.start()) {
        return false;
    }

    auto& manager = platformObject<BLLManager>();
    manager.configurationApplyStartEvent().appendPost(boost::bind(&onuQos::configurationApplyStart, this));
    manager.configurationApplyStopEvent().appendPost(boost::bind(&onuQos::configurationApplyStop, this));
    if (isActive(kOnuEquipmentFeature)) {
        platformObject<onuEquipment>().onuConfigEvent().appendPost(
            boost::bind(&onuQos::onuConfigEventHandler, this, _1, _2, _3));
    }
    platformObject<Interfaces>().interfaceEvent().appendPost(
        boost::bind(&onuQos::interfaceStateChange, this, _1, _2));
    manager.externalMessageEvent().appendPost(boost::bind(&onuQos::externalMessage, this, _1, _2, _3));

    onuTContProfileRatesSet();
    onuTContProfileSrDbaConfSet();

    for (const Interfaces::Interface& interface : interfaces) {
        const unsigned int intf = interface.intf;
        if (interface.type == Interfaces::interfaceTypeOnu && onuQosOnuIntfInit(intf) != onuQosResOk) {
            logError("start", "ONUQOS ERROR - onuQosOnuIntfInit() failed for intf: ", intf);
            return false;
        }
        if (interface.type == Interfaces::interfaceTypeOltPon && onuQosOltIntfInit(intf) != onuQosResOk) {
            logError("start", "ONUQOS ERROR - onuQosOltIntfInit() failed for intf: ", intf);
            return false;
        }
    }
    return true;
}

bool onuQos::stop() {
    rpcProxy.stop(false);

    auto& manager = platformObject<BLLManager>();
    manager.configurationApplyStartEvent().unsubscribePost(
        boost::bind(&onuQos::configurationApplyStart, this));
    manager.configurationApplyStopEvent().unsubscribePost(boost::bind(&onuQos::configurationApplyStop, this));
    if (isActive(kOnuEquipmentFeature)) {
        platformObject<onuEquipment>().onuConfigEvent().unsubscribePost(
            boost::bind(&onuQos::onuConfigEventHandler, this, _1, _2, _3));
    }
    platformObject<Interfaces>().interfaceEvent().unsubscribePost(
        boost::bind(&onuQos::interfaceStateChange, this, _1, _2));
    manager.externalMessageEvent().unsubscribePost(boost::bind(&onuQos::externalMessage, this, _1, _2, _3));
    return true;
}

bool onuQos::applyDefaultSettings() {
    constexpr const char* kOperation = "applyDefaultSettings";
    onuFlowProfileMap.clear();
    tContProfileMap.clear();
    for (auto& [intf, bindings] : onuQosServiceIntfMap) {
        bindings.clear();
    }
    boundProfiles_.clear();
    configuredOnus_.clear();
    for (auto& [intf, port] : onuQosOltCacMap) {
        rules::clear(port);
    }
    for (auto& [intf, onu] : onuQosOnuCacMap) {
        rules::clear(onu);
    }

    if (OMApi.onuQosClearConfig() != 0) {
        logErrorPieces(kOperation, "ONUQOS ERROR - OMApi.onuQosClearConfig()\n");
        return false;
    }

    for (const auto& [intf, raised] : onuQosOltCacAlarmMap) {
        if (raised && onuQosOltCacAlarm(intf, false) != onuQosResOk) {
            logError(kOperation, "ONUQOS ERROR - onuQosOltCacAlarm() failed for OLT ", intf);
            return false;
        }
    }
    return true;
}

void onuQos::configurationApplyStart() {
    configurationApplyInProgress = true;
}

void onuQos::configurationApplyStop() {
    std::vector<Interfaces::Interface> interfaces;
    platformObject<Interfaces>().interfaceListGet(interfaces);
    configurationApplyInProgress = false;
    for (const Interfaces::Interface& interface : interfaces) {
        if (interface.type == Interfaces::interfaceTypeOltPon &&
            onuQosOltCacStateUpdate(interface.intf) != onuQosResOk) {
            logError("configurationApplyStop",
                     "ONUQOS ERROR - onuQosOltCacStateUpdate() failed for OLT intf: ", interface.intf);
        }
    }
}

onuQos::onuQosRes onuQos::tContProfileConsApplyStateGet(bool* applying) {
    *applying = configurationApplying();
    return onuQosResOk;
}
