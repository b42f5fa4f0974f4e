#include "Ports.h"
#include "onuqos/cac/ports.h"
#include "onuqos/entity/onuQos.h"
#include "onuqos/rules/limits.h"
#include "onuqos/support/interfaceType.h"
#include "onuqos/support/log.h"
#include "onuqos/support/platformObject.h"

namespace {

/// The platform reports bytes per second.
constexpr std::uint32_t kBytesPerSecondInKbit = 125;

constexpr std::uint32_t kKbitInMbit = 1000;

/// The manager of the PON ports; null when the platform has none, which is logged.
OLTmanager* oltManager(At at, const char* text, unsigned int oltIntf) {
    try {
        return &platformObject<Ports>().getGponImpl();
    } catch (const Ports::nullImplException&) {
        logError(at, text, oltIntf);
        return nullptr;
    }
}

/// The port with this index; null when there is none, which is logged.
OltPort* oltPort(At at, OLTmanager& manager, unsigned int index, unsigned int oltIntf) {
    OltPort* port = manager.getOltPort(index);
    if (port == nullptr) {
        logError(at, "ONUQOS ERROR - getGponImpl()->getOltPort() failed for OLT intf: ", oltIntf);
    }
    return port;
}

}  // namespace

onuQos::onuQosRes onuQos::getOltPortBwIntf(unsigned int oltIntf, oltPortBw& bandwidthClass) const {
    constexpr const char* kOperation = "getOltPortBwIntf";
    Interfaces::interfaceType type{};
    Interfaces::pon_tech_t technology{};
    {
        const ReadLock lock(kOperation);
        if (!lock) {
            return onuQosResError;
        }
        if (platformObject<Interfaces>().interfaceGetTypePonTechnologyById(oltIntf, &type, &technology) !=
            0) {
            logError(kOperation, "interfaceGetTypePonTechnologyById failed for intf: ", oltIntf);
            return onuQosResError;
        }
    }
    if (type != Interfaces::interfaceTypeOltPon) {
        return onuQosResError;
    }
    switch (technology) {
        case Interfaces::ponTechGpon:
            bandwidthClass = oltPortBwGpon;
            return onuQosResOk;
        case Interfaces::ponTech10G:
            bandwidthClass = oltPortBw10G;
            return onuQosResOk;
        default:
            logError(kOperation, "unknown tech_type: ", static_cast<int>(technology), " for intf: ", oltIntf);
            return onuQosResError;
    }
}

onuQos::onuQosRes onuQos::onuQosPonLinkDistanceGet(unsigned int oltIntf, unsigned int& minDistance,
                                                   unsigned int& maxDistance) const {
    constexpr const char* kOperation = "onuQosPonLinkDistanceGet";
    if (interfaceTypeOf(oltIntf) != Interfaces::interfaceTypeOltPon) {
        return onuQosResError;
    }
    OLTmanager* manager =
        oltManager(kOperation, "ONUQOS ERROR - getGponImpl() failed for OLT intf: ", oltIntf);
    if (manager == nullptr) {
        return onuQosResError;
    }
    OltPort* port = oltPort(kOperation, *manager, oltIntf - 1, oltIntf);
    if (port == nullptr) {
        return onuQosResError;
    }
    rpcOltPort config{};
    if (port->getOMconfig(config) != 0) {
        logError(kOperation, "ONUQOS ERROR - oltPort->getOMconfig(() failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    minDistance = config.minDistance;
    maxDistance = config.maxDistance;
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::onuQosGetOltMaxFixedRate(unsigned int oltIntf, unsigned int& maxFixedRate) const {
    constexpr const char* kOperation = "onuQosGetOltMaxFixedRate";
    unsigned int minDistance = 0;
    unsigned int maxDistance = 0;
    if (onuQosPonLinkDistanceGet(oltIntf, minDistance, maxDistance) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - onuQosGetOltMaxFixedRate failed for OLT intf: ", oltIntf);
        return onuQosResError;
    }
    oltPortBw bandwidthClass{};
    if (getOltPortBwIntf(oltIntf, bandwidthClass) != onuQosResOk) {
        logError(kOperation, "getOltPortBwIntf failed for intf: ", oltIntf);
        return onuQosResError;
    }
    maxFixedRate = rules::maxFixedRate(bandwidthClass, minDistance, maxDistance);
    return onuQosResOk;
}

rules::Result actualAvailable(unsigned int oltIntf, rules::RatePair& available, rules::FailedStep* failed) {
    constexpr const char* kOperation = "onuQosOltActualAvailRatesGet";
    const auto type = interfaceTypeOf(oltIntf, failed);
    if (type != Interfaces::interfaceTypeOltPon) {
        if (type) {
            noteFailure(failed, "interfaceGetTypeById");
        }
        return rules::Result::error;
    }
    OLTmanager* manager = oltManager(kOperation, "ONUQOS ERROR - getGponImpl() failed for intf: ", oltIntf);
    if (manager == nullptr) {
        noteFailure(failed, "getGponImpl");
        return rules::Result::error;
    }
    unsigned int olt = 0;
    if (const int answer = platformObject<Interfaces>().interfaceGetOltById(oltIntf, olt); answer != 0) {
        noteFailure(failed, "interfaceGetOltById", answer);
        logError(kOperation, "ONUQOS ERROR - interfaceGetOltById() failed for intf: ", oltIntf);
        return rules::Result::error;
    }
    OltPort* port = oltPort(kOperation, *manager, olt - 1, oltIntf);
    if (port == nullptr) {
        noteFailure(failed, "getOltPort");
        return rules::Result::error;
    }
    OltPort::OltPortAvailableBanwith platform{};
    if (const int answer = port->getAvailableBandwith(&platform); answer != 0) {
        noteFailure(failed, "getAvailableBandwith", answer);
        logError(kOperation,
                 "ONUQOS ERROR - getGponImpl()->getOltPort()->getAvailableBandwith() failed for OLT intf: ",
                 oltIntf);
        return rules::Result::error;
    }
    available = {.fixed = platform.fixed / kBytesPerSecondInKbit,
                 .assured = platform.total / kBytesPerSecondInKbit};
    return rules::Result::ok;
}

onuQos::onuQosRes onuQos::onuQosOltActualAvailRatesGet(unsigned int oltIntf, unsigned int& availFixedRate,
                                                       unsigned int& availAssuredRate) const {
    rules::RatePair available;
    const rules::Result result = actualAvailable(oltIntf, available, nullptr);
    if (result == rules::Result::ok) {
        availFixedRate = available.fixed;
        availAssuredRate = available.assured;
    }
    return resultOf(result);
}

onuQos::onuQosRes onuQos::onuQosOltIntfCacSpeedGet(unsigned int oltIntf, unsigned int& first,
                                                   unsigned int& second) const {
    const ReadLock lock("onuQosOltIntfCacSpeedGet");
    if (!lock || interfaceTypeOf(oltIntf) != Interfaces::interfaceTypeOltPon) {
        return onuQosResError;
    }
    const auto& interfaces = platformObject<Interfaces>();
    bool up = false;
    if (interfaces.interfacePhyStateGet(oltIntf, up) != 0) {
        return onuQosResError;
    }
    if (up) {
        dslSpeed_t speed{};
        if (interfaces.interfaceAccessSpeedGet(oltIntf, speed) != 0) {
            return onuQosResError;
        }
        first = speed.upstream;
        second = speed.downstream;
        return onuQosResOk;
    }
    int upstream = 0;
    int downstream = 0;
    if (interfaces.interfaceEthPhyCapabilityGet(oltIntf, upstream, downstream) != 0) {
        return onuQosResError;
    }
    first = static_cast<unsigned int>(upstream) * kKbitInMbit;
    second = static_cast<unsigned int>(downstream) * kKbitInMbit;
    return onuQosResOk;
}
