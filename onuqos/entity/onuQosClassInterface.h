#pragma once

#include "onuqos/entity/onuQos.h"

/// The class interface of the module for a host that loads the library at run time and so cannot link to it.
/// The host calls, for instance, `(module.entity.*module.onuQosServiceRemove)(intf, service)`.
struct onuQosClassInterface {
    onuQos& entity;

    onuQos::onuQosRes (onuQos::*onuQosServiceApply)(unsigned int, const std::string&, const std::string&,
                                                    const std::string&, unsigned int,
                                                    servprofile::onuTermPointType, short);
    decltype(&onuQos::onuQosServiceRemove) onuQosServiceRemove;
    decltype(&onuQos::flowIdToServiceName) flowIdToServiceName;
    decltype(&onuQos::onuQosOltPortDistanceChangedEventHandler) onuQosOltPortDistanceChangedEventHandler;
    decltype(&onuQos::tContProfileConsApplyStateGet) tContProfileConsApplyStateGet;
    decltype(&onuQos::onuQosTablesGet) onuQosTablesGet;
    decltype(&onuQos::onuQosProfilesGet) onuQosProfilesGet;

    decltype(&onuQos::tContProfileCreate) tContProfileCreate;
    decltype(&onuQos::tContProfileDelete) tContProfileDelete;
    decltype(&onuQos::tContProfileRename) tContProfileRename;
    decltype(&onuQos::tContProfileGet) tContProfileGet;
    decltype(&onuQos::tContProfileIdSet) tContProfileIdSet;
    decltype(&onuQos::tContProfileTypeSet) tContProfileTypeSet;
    decltype(&onuQos::tContProfileFixedRateSet) tContProfileFixedRateSet;
    decltype(&onuQos::tContProfileAssuredRateSet) tContProfileAssuredRateSet;
    decltype(&onuQos::tContProfileMaximumRateSet) tContProfileMaximumRateSet;
    decltype(&onuQos::tContProfileAllocTypeSet) tContProfileAllocTypeSet;
    decltype(&onuQos::tContProfileSrdbaWeightSet) tContProfileSrdbaWeightSet;
    decltype(&onuQos::tContProfileSrdbaPrioritySet) tContProfileSrdbaPrioritySet;
    decltype(&onuQos::tContProfileCreateAndSet) tContProfileCreateAndSet;

    decltype(&onuQos::onuFlowProfileCreate) onuFlowProfileCreate;
    decltype(&onuQos::onuFlowProfileDelete) onuFlowProfileDelete;
    decltype(&onuQos::onuFlowProfileRename) onuFlowProfileRename;
    decltype(&onuQos::onuFlowProfileCopy) onuFlowProfileCopy;
    decltype(&onuQos::onuFlowProfileGet) onuFlowProfileGet;
    decltype(&onuQos::onuFlowProfileRuleSet) onuFlowProfileRuleSet;
    decltype(&onuQos::onuFlowProfileActionSet) onuFlowProfileActionSet;
    decltype(&onuQos::onuFlowProfileCreateAndSet) onuFlowProfileCreateAndSet;

    /// `onuQosServiceApply` with a verdict.
    onuQos::onuQosRes (onuQos::*onuQosServiceApplyExplained)(unsigned int, const std::string&,
                                                             const std::string&, const std::string&,
                                                             unsigned int, servprofile::onuTermPointType,
                                                             short, rules::ServiceVerdict*);
    decltype(&onuQos::onuQosServiceCheck) onuQosServiceCheck;
    decltype(&onuQos::onuQosPortLedgerGet) onuQosPortLedgerGet;
    decltype(&onuQos::onuQosCacOltGet) onuQosCacOltGet;
};

extern "C" {

/// The name under which a host finds `onuQosClassInterfaceGet` in the loaded library.
#define ONUQOS_CLASS_INTERFACE_GET "onuQosClassInterfaceGet"

/// Valid for as long as the library is loaded.
[[gnu::visibility("default")]] const onuQosClassInterface* onuQosClassInterfaceGet();

}  // extern "C"
