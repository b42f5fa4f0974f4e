#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "zqOMApi.h"

/// The hardware layer's operation-and-maintenance interface for ONU quality of service: takes profiles and
/// service bindings and programs them into the OLT. Operations that return int answer 0 when the change was
/// accepted and anything else when it was refused; a refused change has no effect. Rates are in kbit/s.
/// All operations may be called with the business-logic lock held and take no lock that a caller can see.
class [[gnu::visibility("default")]] onuQosOMApi : public zqOMTable {
public:
    /// A T-CONT profile (T-CONT types and alloc-ids as in ITU-T G.984.3).
    struct onuQosOMApiTContProfileInfo {
        std::string name;
        std::uint32_t tContId = 0;
        std::int32_t tContType = 0;
        std::uint32_t fixedRate = 0;
        std::uint32_t assuredRate = 0;
        std::uint32_t maximumRate = 0;
        std::int32_t dbaAllocType = 0;
        std::uint32_t dbaWeight = 0;
        std::uint32_t dbaPriority = 0;
    };

    /// Which attributes of a profile `onuTContProfileParmsSet` takes from its record.
    enum onuQosOMApiTContParm : int {
        onuQosOMApiTContParmId = 1,          ///< T-CONT id
        onuQosOMApiTContParmRates = 6,       ///< fixed, assured and maximum rate
        onuQosOMApiTContParmWeight = 8,      ///< SR-DBA weight
        onuQosOMApiTContParmPriority = 9,    ///< SR-DBA priority
        onuQosOMApiTContParmAllocType = 10,  ///< DBA allocation type, weight and priority
        onuQosOMApiTContParmType = 11        ///< T-CONT id, type and the three rates
    };

    /// The classification rule of an ONU flow profile.
    struct onuQosOMApiFlowProfileRule {
        std::uint32_t cPcp = 0;  ///< IEEE 802.1Q priority code point; 0xFFFFFFFF for none
        std::vector<std::uint16_t> cVlan;
    };

    /// The action of an ONU flow profile.
    struct onuQosOMApiFlowProfileAction {
        std::uint32_t guarRateUs = 0;
        std::uint32_t peakRateUs = 0;
        std::uint32_t flowPriorityUs = 0;
        std::uint32_t flowPriorityDs = 0;
    };

    struct onuQosOMApiFlowProfileInfo {
        std::string name;
        onuQosOMApiFlowProfileRule rule;
        onuQosOMApiFlowProfileAction action;
    };

    /// Which field of a rule `onuFlowProfileRuleSet` takes.
    enum onuQosOMApiFlowProfileRuleType : int {
        onuQosOMApiFlowProfileRuleCPcp = 0,
        onuQosOMApiFlowProfileRuleCVlan = 1
    };

    /// Which field of an action `onuFlowProfileActionSet` takes.
    enum onuQosOMApiFlowProfileActionType : int {
        onuQosOMApiFlowProfileActionGuarRateUs = 0,
        onuQosOMApiFlowProfileActionPeakRateUs = 1,
        onuQosOMApiFlowProfileActionFlowPriorityUs = 2,
        onuQosOMApiFlowProfileActionFlowPriorityDs = 3
    };

    /// The kind of user-network interface that a binding ends at; the numbers are the platform's.
    enum onuQosOMApiUniType : int {
        onuQosOMApiUniType1 = 1,
        onuQosOMApiUniType6 = 6,
        onuQosOMApiUniType7 = 7
    };

    onuQosOMApi();
    ~onuQosOMApi() override;

    /// Announces a new T-CONT profile with all its attributes.
    int onuTContProfileCreate(const onuQosOMApiTContProfileInfo& profile);
    int onuTContProfileDelete(const std::string& name);
    int tContProfileRename(const std::string& oldName, const std::string& newName);
    /// Changes the attributes of profile `name` that `parm` selects; the record's other fields, its name
    /// included, carry no meaning.
    int onuTContProfileParmsSet(const std::string& name, const onuQosOMApiTContProfileInfo& profile,
                                onuQosOMApiTContParm parm);

    /// Announces a new ONU flow profile with its rule and action.
    int onuFlowProfileCreate(const onuQosOMApiFlowProfileInfo& profile);
    int onuFlowProfileDelete(const std::string& name);
    int flowProfileRename(const std::string& oldName, const std::string& newName);
    /// Change the one field that `type` names; the record's other fields carry no meaning.
    int onuFlowProfileRuleSet(const std::string& name, const onuQosOMApiFlowProfileRule& rule,
                              onuQosOMApiFlowProfileRuleType type);
    int onuFlowProfileActionSet(const std::string& name, const onuQosOMApiFlowProfileAction& action,
                                onuQosOMApiFlowProfileActionType type);

    /// Binds a pair of profiles to a virtual port of an ONU under the platform's name of the binding.
    int onuQosServiceApply(zqOMApiInterface_s handle, unsigned int intf, const std::string& bindingName,
                           const std::string& onuFlowProfileName, const std::string& tContProfileName,
                           unsigned int virtualPortId, unsigned int tContId, onuQosOMApiUniType uniType,
                           unsigned int termPointId);
    int onuQosServiceRemove(zqOMApiInterface_s handle, unsigned int intf, const std::string& bindingName,
                            unsigned int virtualPortId);
    /// The platform's name of the binding that carries flow `flowId` of ONU `intf`.
    int flowIdToServiceName(unsigned int intf, unsigned int flowId, std::string& bindingName) const;

    /// Prepares the hardware layer for an ONU.
    int addOnuIntf(unsigned int intf);
    /// Tell the hardware layer that an ONU went up or down, and that it became ready or unready.
    void onuStateHandler(zqOMApiInterface_s handle, unsigned int intf, bool up);
    void onuReadyHandler(zqOMApiInterface_s handle, unsigned int intf, bool ready);

    /// Removes all profiles and bindings from the hardware layer.
    int onuQosClearConfig();

    /// Writes the hardware layer's own tables into `out`, and switches its debug output.
    void onuQosOMApiDump(std::ostringstream * out);
    void onuQosOMApiDebug(bool on) const;
};
