#pragma once

#include <onuqos.h>

#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "BLEntity.h"
#include "Interfaces.h"
#include "onuQosOMApi.h"
#include "onuqos/rules/bindingTypes.h"
#include "onuqos/rules/boundProfiles.h"
#include "onuqos/rules/cacTypes.h"
#include "onuqos/rules/profileLimits.h"
#include "onuqos/rules/result.h"
#include "onuqos/rules/serviceVerdict.h"
#include "onuqos/rules/tContTypes.h"
#include "rte/BLL/core/rpcProxy.h"
#include "servprofile.h"
#include "singleton.h"

struct onuQosTables;
struct onuQosPortLedger;
struct TContRate;
struct FlowActionField;
struct FlowRuleStep;
struct CheckedService;
struct ServiceRequest;

/// The ranges and steps of rates that the module reports to clients, kbit/s. For flow profiles they are the
/// ones it holds them to; a T-CONT rate is held to the default of its type as least value, and rounded by
/// `onuQosRoundRateTcont`.
struct onuQosRanges_t {
    std::uint32_t guarRateUsMin, guarRateUsMax;
    std::uint32_t peakRateUsMin, peakRateUsMax;
    std::uint32_t fixedRateMin, fixedRateMax;
    std::uint32_t assuredRateMin, assuredRateMax;
    std::uint32_t maximumRateMin, maximumRateMax;
    std::uint32_t onuFlowRateGranularity;
    std::uint32_t tContRateGranularity;
};

/// The ONU quality-of-service entity: T-CONT profiles, ONU flow profiles, service bindings and the bandwidth
/// admission control of the PON ports.
///
/// There is one object, `singleton<onuQos>::instance()`; loading the library makes it and registers it with
/// the platform's manager. Operations may be called from any thread once `start` has returned; `start` and
/// `stop` belong to the manager's thread. Unless said otherwise an operation holds the platform lock for its
/// whole run, exclusive where it writes and shared where it reads, and answers `onuQosResError` (bool
/// operations: false) with a log line when it does not obtain it. The lock is re-entrant, so callers may hold
/// it: the exclusive one for an operation that writes. Every write first checks everything here, then asks
/// the platform, and changes a table only when the platform accepted. Outputs are written only on success.
/// Rates are in kbit/s.
class [[gnu::visibility("default")]] onuQos : public BLEntity, public singleton<onuQos> {
public:
    /// Results of all table operations.
    enum onuQosRes : std::int32_t {
        onuQosResOk = 0,             ///< success, also of a request that changes nothing
        onuQosResError = 1,          ///< lock, platform, missing entry or empty name
        onuQosResBadName = 2,        ///< the name is longer than 64 bytes
        onuQosResExists = 3,         ///< a profile of that name exists
        onuQosResTableFull = 4,      ///< the family has 256 profiles
        onuQosResNotFound = 5,       ///< no profile of that name
        onuQosResNoMore = 6,         ///< no further profile
        onuQosResOutOfRange = 7,     ///< outside the domain, or not configurable for the type
        onuQosResGuarAbovePeak = 8,  ///< guaranteed above peak rate
        onuQosResRateError = 9,  ///< a T-CONT rate is out of range or breaks its type's rule; not admitted
        onuQosResPartOfService = 10,  ///< a service profile names the profile
        onuQosResApplied = 11,        ///< a service binding uses the profile
        onuQosResDuplicateTContId = 12,
        onuQosResDuplicateVirtualPortId = 13,
        onuQosResWrongIntf = 14,  ///< interface of the wrong type or not configurable
        onuQosResReserved = 15,   ///< answered by no operation
        onuQosResDuplicateOnuFlowProfile = 16,
        onuQosResOMApiRefused = 18  ///< the platform answered 5 to a binding
    };

    // Entity (entity/)

    ~onuQos() override;

    /// The module stores nothing through the platform; both do nothing.
    void applyConfiguration(boost::shared_ptr<Storage::Setting> setting) override;
    void saveConfiguration(boost::shared_ptr<Storage::Setting> setting) const override;

    /// Starts the RPC proxy, subscribes to the platform's events, and makes the records of every port and ONU
    /// that exists. False at the first failure; what was done until then stays. Takes no lock of its own, and
    /// fills tables that are read without one: requests may be served only once it has returned.
    bool start() override;

    /// Empties profiles, bindings and accounting, clears the hardware layer and the raised alarms. False at
    /// the first refusal; what was done until then stays. Takes no lock of its own: the caller holds the
    /// exclusive lock.
    bool applyDefaultSettings() override;

    /// Stops the RPC proxy and unsubscribes; always true. Tables and hardware stay as they are.
    bool stop() override;

    void getDependencies(std::list<std::string> & names) override;

    /// Handlers of the configuration-apply notifications. Between them the guaranteed rate of a flow profile
    /// is not compared with its peak rate and bindings are not checked for admission; the end of the apply
    /// brings the state of every port up to date. They take no lock of their own.
    void configurationApplyStart();
    void configurationApplyStop();

    /// Whether a configuration apply is in progress. Takes no lock; always `onuQosResOk`.
    onuQosRes tContProfileConsApplyStateGet(bool* applying);

    /// Whether the OLT is of the 10G class: platform feature 15 or 13 is active. Takes no lock.
    bool getOltPortBw() const;

    /// Never fails and takes no lock.
    void getOnuQosPortRanges(onuQosRanges_t & ranges) const;

    /// Make the records of an interface: `onuQosResError` when it is of another type, has records already, or
    /// the platform does not answer; then nothing is made.
    onuQosRes onuQosOnuIntfInit(unsigned int intf);
    onuQosRes onuQosOltIntfInit(unsigned int intf);

    /// Whether services can be bound on the interface.
    bool onuQosIsIntfConfigurable(unsigned int intf) const;

    /// Handlers of platform events; they hand the state of an ONU on to the hardware layer. No lock.
    void interfaceStateChange(int intf, Interfaces::interfaceEvent_t event);
    void onuConfigEventHandler(unsigned int intf, bool ready, bool other);

    /// Answers the debug messages "onuQosDump", "onuQosOMApiDump" and "onuQosOMApiDebug" into `out`; ignores
    /// others.
    void externalMessage(const std::string& name, const std::string& argument, std::ostringstream* out);

    /// Writes all tables into `out`; of the bindings only those of `intf` unless that is 0. Writes nothing
    /// when the shared lock is not obtained.
    void onuQosDump(unsigned int intf, std::ostringstream* out);

    /// A copy of all tables as they are at one moment.
    onuQosRes onuQosTablesGet(onuQosTables & tables) const;

    // T-CONT type rules (tcont/rules.cpp). No lock: the rule tables are filled at start and then only read.

    void onuTContProfileRatesSet();
    void onuTContProfileSrDbaConfSet();
    bool tContProfileIsRateConfigurable(onuTContProfileType type, onuTContProfileRateType rate);
    bool tContProfileIsSrdbaConfigurable(onuTContProfileType type, onuTContProfileSrdbaType parm);

    /// Writes the rates and SR-DBA values that `type` defaults to, T-CONT id 1 and always type 5, and leaves
    /// name and applied interfaces alone. Zeros for a type that does not exist. Always `onuQosResOk`.
    onuQosRes tContProfileDefaultTypeGet(onuTContProfileType type, tContProfileInfo & info);

    /// The default profile: id 1, type 5, rates 0, 0 and 256.
    onuQosRes tContProfileDefaultGet(tContProfileInfo & info);
    void tContProfileDefaultSet(tContProfileInfo & info);

    /// Writes which attributes differ from the defaults of the profile's type (`tContProfileParm` bits).
    onuQosRes onuQosTContProfileParmsMaskSet(tContProfileInfo info, unsigned int& mask);

    /// `rate` rounded up to the step of the bandwidth class: 64; in the 10G class 128, or 1024 for fixed
    /// rates above 25600.
    unsigned int onuQosRoundRateTcont(unsigned int rate, onuTContProfileRateType type) const;

    // T-CONT profile store (tcont/store.cpp). An unknown name is NotFound, and so is the empty one to rename;
    // elsewhere an empty name is `onuQosResError`.

    /// Creates the default profile. Exists; BadName; TableFull; Error when the platform refuses.
    onuQosRes tContProfileCreate(const std::string& name);
    /// PartOfService while a service profile names it; bindings do not protect it.
    onuQosRes tContProfileDelete(const std::string& name);
    /// Exists also for a profile renamed to itself; PartOfService. The new name is not checked.
    onuQosRes tContProfileRename(const std::string& oldName, const std::string& newName);
    onuQosRes tContProfileGet(const std::string& name, tContProfileInfo& info) const;
    onuQosRes tContProfileExist(const std::string& name);
    bool tContProfileExists(const std::string& name) const;
    /// Iteration in the order of the names' bytes; NoMore at the end and when there is no profile.
    onuQosRes tContProfileFirstGet(tContProfileInfo & info) const;
    onuQosRes tContProfileNextGet(const std::string& name, tContProfileInfo& info) const;
    /// Whether the profile exists and a binding names it.
    bool tContProfileIsApplied(const std::string& name) const;
    /// Whether the profile exists and a service profile names it.
    bool tContProfileIsPartOfService(const std::string& name) const;
    /// Whether the profile's set of applied interfaces holds any; an unknown profile writes a log line.
    bool profileIsAppliedTCont(const std::string& name) const;
    bool profileAppliedIntfGetTCont(const std::string& name, std::set<std::uint32_t>& intfs) const;
    /// Fills all but the SR-DBA values; Error for a type outside 1 to 5, with name and id written even then.
    onuQosRes tContProfileToOMApi(const tContProfileInfo& info, onuQosOMApi::onuQosOMApiTContProfileInfo& om)
        const;

    // T-CONT profile attributes (tcont/setters.cpp). All: Error (empty name, platform), NotFound, Applied.
    // A value that the profile already has is Ok without asking the platform, but for weight and priority.

    /// 1 to `kTContIdMax`, and 0 for the default, 1; else OutOfRange.
    onuQosRes tContProfileIdSet(const std::string& name, unsigned int id);
    /// 1 to 5, and 0 for the default, 5; else Error. Resets the rates to those of the new type.
    onuQosRes tContProfileTypeSet(const std::string& name, onuTContProfileType type);
    /// From the type's default to `TCONT_PROFILE_RATE_MAX`, so 0 only where the default is 0; rounded up to
    /// the class's step. 0xFFFFFFFF restores the default. OutOfRange when the type does not carry the rate;
    /// RateError outside the range or against the type's rule. Rates that follow the set one for the type
    /// change with it.
    onuQosRes tContProfileFixedRateSet(const std::string& name, unsigned int rate);
    onuQosRes tContProfileAssuredRateSet(const std::string& name, unsigned int rate);
    onuQosRes tContProfileMaximumRateSet(const std::string& name, unsigned int rate);
    /// 1 or 2; else, and for type 1, OutOfRange.
    onuQosRes tContProfileAllocTypeSet(const std::string& name, onuTContProfileDbaCtrlMode mode);
    /// Any value; the platform decides. OutOfRange for a type that does not exist.
    onuQosRes tContProfileSrdbaWeightSet(const std::string& name, unsigned int weight);
    onuQosRes tContProfileSrdbaPrioritySet(const std::string& name, unsigned int priority);

    // T-CONT create-and-set and copy (tcont/createAndSet.cpp)

    /// Brings a profile, new or not, to the id, type and rates of `info` that `mask` selects; SR-DBA bits are
    /// ignored. Rates not selected stay, or take the defaults of a new type. The whole wanted state is
    /// checked first. A profile made by the call is deleted again when a later step is refused; a profile
    /// that existed keeps the steps done. OutOfRange; RateError when the wanted rates break the type's rule,
    /// or when a step on the way does: rates are written one at a time, so a valid state can still be out of
    /// reach (a small assured rate beside a fixed one, or fixed and assured trading places). Applied; Error
    /// for no such type; and the results of create.
    onuQosRes tContProfileCreateAndSet(const std::string& name, const tContProfileInfo& info,
                                       unsigned int mask);
    /// Makes a new profile with the id, type and rates of an existing one; SR-DBA values are not copied.
    onuQosRes tContProfileCopy(const std::string& srcName, const std::string& dstName);

    // ONU flow profiles (flow/)

    /// The classification rule of an ONU flow profile.
    struct onuFlowProfileRule {
        std::uint32_t cPcp = 0xFFFFFFFF;   ///< customer PCP 0 to 7 (IEEE 802.1Q), 0xFFFFFFFF for none
        std::vector<std::uint16_t> cVlan;  ///< customer VLAN ids, 1 to 4094, in the order they were put

        bool operator==(const onuFlowProfileRule&) const = default;
    };

    /// The action of an ONU flow profile. Rates in kbit/s, multiples of 64, from 128; priorities 0 to 7.
    struct onuFlowProfileAction {
        std::uint32_t guarRateUs = 0;
        std::uint32_t peakRateUs = 0;
        std::uint32_t flowPriorityUs = 0;
        std::uint32_t flowPriorityDs = 0;

        bool operator==(const onuFlowProfileAction&) const = default;
    };

    struct onuFlowProfileInfo {
        std::string name;  ///< equals the key of the record
        onuFlowProfileRule rule;
        onuFlowProfileAction action;
        std::set<std::uint32_t> appliedIntfSet;  ///< ONUs on which a service binding uses the profile

        bool operator==(const onuFlowProfileInfo&) const = default;
    };

    enum onuFlowProfileRuleType : std::int32_t {
        onuFlowProfileRuleTypeNone = -1,
        onuFlowProfileRuleTypeCPcp = 0,
        onuFlowProfileRuleTypeCVlan = 1,
        onuFlowProfileRuleTypeAll = 2  ///< stores the whole rule without telling the platform
    };

    enum onuFlowProfileActionType : std::int32_t {
        onuFlowProfileActionTypeNone = -1,
        onuFlowProfileActionTypeGuarRateUs = 0,
        onuFlowProfileActionTypePeakRateUs = 1,
        onuFlowProfileActionTypeFlowPriorityUs = 2,
        onuFlowProfileActionTypeFlowPriorityDs = 3,
        onuFlowProfileActionTypeAll = 4  ///< the four fields in this order
    };

    enum onuFlowProfileOperation : std::int32_t {
        onuFlowProfileOperationDelete = -1,
        onuFlowProfileOperationAdd = 0,
        onuFlowProfileOperationSet = 1
    };

    // Store (flow/store.cpp); answers as for T-CONT profiles.

    onuQosRes onuFlowProfileCreate(const std::string& name);
    onuQosRes onuFlowProfileDelete(const std::string& name);
    onuQosRes onuFlowProfileRename(const std::string& oldName, const std::string& newName);
    /// Makes a new profile with the rule and action of an existing one. The rule is not told to the platform.
    /// A failure after the creation leaves the new profile as far as it got.
    onuQosRes onuFlowProfileCopy(const std::string& srcName, const std::string& dstName);
    onuQosRes onuFlowProfileGet(const std::string& name, onuFlowProfileInfo& info) const;
    onuQosRes onuFlowProfileFirstGet(onuFlowProfileInfo & info) const;
    onuQosRes onuFlowProfileNextGet(const std::string& name, onuFlowProfileInfo& info) const;
    onuQosRes onuFlowProfileExist(const std::string& name);
    bool onuFlowProfileExists(const std::string& name) const;
    bool onuFlowProfileIsApplied(const std::string& name) const;
    bool onuFlowProfileIsPartOfService(const std::string& name) const;
    bool profileIsAppliedOnuFlow(const std::string& name) const;
    bool profileAppliedIntfGetOnuFlow(const std::string& name, std::set<std::uint32_t>& intfs) const;
    onuQosRes onuFlowProfileToOMApi(const onuFlowProfileInfo& info,
                                    onuQosOMApi::onuQosOMApiFlowProfileInfo& om) const;

    /// Defaults and rounding take no lock. Guaranteed rate 128, peak rate the class's highest, priorities 0.
    void onuFlowProfileRuleDefaultSet(onuFlowProfileRule & rule) const;
    void onuFlowProfileActionDefaultSet(onuFlowProfileAction & action) const;
    onuQosRes onuFlowProfileActionDefaultGet(onuFlowProfileAction & action) const;
    /// `rate` rounded up to a multiple of 64, modulo 2^32.
    std::uint32_t onuQosRoundRateOnuFlow(std::uint32_t rate) const;

    // Rules and actions (flow/ruleSet.cpp, flow/actionSet.cpp). Both write the value that was meant back into
    // their record: a sorted list, a rounded rate, a default. Error (empty name, platform), NotFound,
    // Applied.

    /// PCP above 7 is OutOfRange; VLAN ids outside 1 to 4094, and types other than PCP, VLAN and all, Error.
    onuQosRes onuFlowProfileRuleSet(const std::string& name, onuFlowProfileRule& rule,
                                    onuFlowProfileRuleType type, onuFlowProfileOperation operation);
    /// OutOfRange; GuarAbovePeak unless a configuration apply is in progress. With all fields selected, those
    /// before the first refusal stay set.
    onuQosRes onuFlowProfileActionSet(const std::string& name, onuFlowProfileAction& action,
                                      onuFlowProfileActionType type, onuFlowProfileOperation operation);
    /// Extension points: accept everything. No lock.
    onuQosRes onuFlowProfileRuleCheck(const std::string& name, const onuFlowProfileRule& rule,
                                      onuFlowProfileRuleType type, onuFlowProfileOperation operation);
    onuQosRes onuFlowProfileActionCheck(const std::string& name, const onuFlowProfileAction& action,
                                        onuFlowProfileActionType type, onuFlowProfileOperation operation);
    onuQosRes onuFlowProfileRuleToOMApi(const onuFlowProfileRule& rule,
                                        onuQosOMApi::onuQosOMApiFlowProfileRule& om) const;
    onuQosRes onuFlowProfileActionToOMApi(const onuFlowProfileAction& action,
                                          onuQosOMApi::onuQosOMApiFlowProfileAction& om) const;

    /// Brings a profile, new or not, to the values of `info` that `mask` selects (rules/flowParms.h). Checks
    /// them all first, as given. A profile made by the call is deleted again when a later step is refused.
    onuQosRes onuFlowProfileCreateAndSet(const std::string& name, const onuFlowProfileInfo& info,
                                         std::uint32_t mask);

    // Bandwidth admission control (cac/)

    onuQosRes getOltPortBwIntf(unsigned int oltIntf, oltPortBw& bandwidthClass) const;

    /// The largest sum of fixed rates that the port can carry over its fibre distances; 0 where the distances
    /// differ by more than the class allows. No lock of its own.
    onuQosRes onuQosGetOltMaxFixedRate(unsigned int oltIntf, unsigned int& maxFixedRate) const;
    /// No lock of its own.
    onuQosRes onuQosPonLinkDistanceGet(unsigned int oltIntf, unsigned int& minDistance,
                                       unsigned int& maxDistance) const;
    /// What the platform reports free: for fixed rates, and for fixed and assured rates together. No lock of
    /// its own.
    onuQosRes onuQosOltActualAvailRatesGet(unsigned int oltIntf, unsigned int& availFixedRate,
                                           unsigned int& availAssuredRate) const;
    /// The speeds of the link, or of the port when the link is down.
    onuQosRes onuQosOltIntfCacSpeedGet(unsigned int oltIntf, unsigned int& first, unsigned int& second) const;
    /// The overhead of a T-CONT with these rates on an ONU, and of the ONU itself. WrongIntf for other
    /// interfaces.
    onuQosRes onuQosRatesOverheadGet(unsigned int onuIntf, unsigned int fixedRate, unsigned int assuredRate,
                                     unsigned int& fixedOverhead, unsigned int& assuredOverhead);
    onuQosRes onuQosOnuOverheadGet(unsigned int onuIntf, unsigned int& fixedOverhead,
                                   unsigned int& assuredOverhead);

    /// Whether rates still fit on the ONU's port: by the module's own sums, and by what the platform reports.
    /// False also when that cannot be told.
    bool onuQosEstCacOnServiceApply(unsigned int onuIntf, unsigned int fixedRate, unsigned int assuredRate);
    bool onuQosActualCacOnServiceApply(unsigned int onuIntf, unsigned int fixedRate,
                                       unsigned int assuredRate);
    /// Exists when a binding of the ONU uses flow profile `firstName`; NotFound unless `secondName` names
    /// both a flow profile and a T-CONT profile. Makes the ONU's binding table where there is none, and holds
    /// the exclusive lock for that reason.
    onuQosRes onuQosFlowCacOnServiceApply(unsigned int onuIntf, const std::string& firstName,
                                          const std::string& secondName);
    /// Add the rates and overhead of a T-CONT profile on an ONU to its port's sums, or take them off; no
    /// limit is checked. A refusal changes nothing.
    onuQosRes onuQosCalcAllocRatesOnTContChange(unsigned int onuIntf, const std::string& tContProfileName,
                                                bool add);
    /// The same for the ONU's own overhead.
    onuQosRes onuQosCalcAllocRatesOnOnuChange(unsigned int onuIntf, bool add);
    /// What is free on a port by the module's own sums. WrongIntf for other interfaces.
    onuQosRes onuQosOltEstAvailRatesGet(unsigned int oltIntf, unsigned int& availFixedRate,
                                        unsigned int& availAssuredRate) const;
    /// The values that management sees: estimated rates, bounded by each other and by the actual ones; actual
    /// rates, 0xFFFFFFFF when the platform cannot tell; whether the port is over-committed.
    onuQosRes onuQosCacOltGet(unsigned int oltIntf, unsigned int& estAvailFixedRate,
                              unsigned int& estAvailAssuredRate, unsigned int& actAvailFixedRate,
                              unsigned int& actAvailAssuredRate, bool& cacViolation);
    /// What a port holds and what limits it (rules/portLedger.h); never walks over bindings or ONUs.
    /// WrongIntf for other interfaces; Error for a port without a record.
    onuQosRes onuQosPortLedgerGet(unsigned int oltIntf, onuQosPortLedger& ledger) const;
    /// Decides whether a port is over-committed, and raises or clears its alarm accordingly.
    onuQosRes onuQosOltCacStateUpdate(unsigned int oltIntf);
    /// Raises or clears the over-commitment alarm of a port; reported once a transition.
    onuQosRes onuQosOltCacAlarm(unsigned int oltIntf, bool raise);
    /// To be called when the fibre distances of a port have changed. No lock of its own.
    void onuQosOltPortDistanceChangedEventHandler(unsigned int oltIntf);

    // Service bindings (service/)

    /// Binds a pair of profiles to a virtual port of an ONU under a service name. Ok without a change when
    /// the service is bound already. NotFound; WrongIntf; the three Duplicate results; RateError when the
    /// port lacks the bandwidth; OMApiRefused when the platform answers 5; Error. A failure after the
    /// platform accepted leaves the binding in place.
    onuQosRes onuQosServiceApply(unsigned int onuIntf, const std::string& serviceName,
                                 const std::string& onuFlowProfileName, const std::string& tContProfileName,
                                 unsigned int virtualPortId, servprofile::onuTermPointType termPointType,
                                 short termPointId);
    /// The same, and fills `verdict`, unless it is null, with why it answered so. For that a refusal for want
    /// of bandwidth looks up the fibre distances and the technology of the port, and one of an interface
    /// without records its type: after the decision, under the same lock. Nothing else is called in addition.
    onuQosRes onuQosServiceApply(unsigned int onuIntf, const std::string& serviceName,
                                 const std::string& onuFlowProfileName, const std::string& tContProfileName,
                                 unsigned int virtualPortId, servprofile::onuTermPointType termPointType,
                                 short termPointId, rules::ServiceVerdict* verdict);
    /// What `onuQosServiceApply` would answer at this moment, as far as it is decided before the hardware
    /// layer is told; its lines are written under the name of this operation. Changes nothing. `verdict`
    /// holds the figures of the port also of a T-CONT that is admitted.
    onuQosRes onuQosServiceCheck(unsigned int onuIntf, const std::string& serviceName,
                                 const std::string& onuFlowProfileName, const std::string& tContProfileName,
                                 unsigned int virtualPortId, servprofile::onuTermPointType termPointType,
                                 short termPointId, rules::ServiceVerdict& verdict) const;
    /// Removes a binding; Ok also when there is none. WrongIntf; Error, with the binding kept when the
    /// platform refused and gone when a later step failed.
    onuQosRes onuQosServiceRemove(unsigned int onuIntf, const std::string& serviceName);
    /// The service that hardware flow `flowId` of an ONU belongs to; Error when there is none.
    onuQosRes flowIdToServiceName(unsigned int onuIntf, unsigned int flowId, std::string& serviceName) const;
    /// Copies of the profiles that a binding names, without the many interfaces on which they are applied.
    /// NotFound unless both exist.
    onuQosRes onuQosProfilesGet(const std::string& onuFlowProfileName, const std::string& tContProfileName,
                                onuFlowProfileInfo& onuFlowProfile, tContProfileInfo& tContProfile) const;
    /// The platform's name of a binding: the two names with "-" between them. No lock.
    void onuQosOMApiServiceNameGen(const std::string& onuFlowProfileName, const std::string& tContProfileName,
                                   std::string& bindingName) const;

    // Conversions for the RPC handlers (rpc/conversions.cpp). They write nothing and answer false for a value
    // without a counterpart. No lock.

    bool onuFlowProfileResTypeSet(onuQosRes res, rpcOnuFlowProfileRes & rpcRes);
    bool tContProfileResTypeSet(onuQosRes res, rpcTContProfileRes & rpcRes);
    bool onuFlowProfileRuleTypeSet(rpcOnuFlowProfileRuleType rpcType, onuFlowProfileRuleType & type) const;
    bool onuFlowProfileActionTypeSet(rpcOnuFlowProfileActionType rpcType, onuFlowProfileActionType & type)
        const;

    /// Rates of the bandwidth class, kbit/s; set once by the constructor. Granularity and least rate of a
    /// T-CONT are only reported (`onuQosRanges_t`).
    static std::uint32_t TCONT_RATE_GRANULARITY;
    static std::uint32_t TCONT_PROFILE_RATE_MIN;
    static std::uint32_t TCONT_PROFILE_RATE_MAX;
    static std::uint32_t OLT_TOTAL_RATE_MAX;
    static std::uint32_t OLT_FIXED_RATE_MAX;
    static std::uint32_t ONUFLOW_PROFILE_US_PEAK_RATE_DEF;
    static std::uint32_t ONUFLOW_PROFILE_PEAK_RATE_MAX;
    static std::uint32_t ONUFLOW_PROFILE_GUAR_RATE_MAX;

private:
    friend class singleton<onuQos>;
    onuQos();

    using ServiceBindings = std::map<std::string, onuQosServiceIntfInfo>;

    /// Whether a configuration apply is in progress. No lock.
    static bool configurationApplying();

    // The caller of these holds the platform lock.

    template <typename Step>
    onuQosRes tContProfileChange(const char* operation, const std::string& name,
                                 onuQosOMApi::onuQosOMApiTContParm parm, Step step);
    onuQosRes tContProfileRateSet(const std::string& name, unsigned int rate, const TContRate& row);

    onuQosRes onuFlowProfileRulePush(onuFlowProfileInfo & profile, FlowRuleStep step);
    onuQosRes onuFlowProfileActionFieldSet(onuFlowProfileInfo & profile, onuFlowProfileAction & action,
                                           const FlowActionField& field, onuFlowProfileOperation operation);

    /// Whether rates fit on the ONU's port by what the platform reports; nothing when that cannot be told,
    /// and then `failed`, unless it is null, holds why. Locks as `onuQosActualCacOnServiceApply`.
    std::optional<rules::AdmissionVerdict> onuQosActualAdmission(unsigned int onuIntf, rules::RatePair rate,
                                                                 rules::FailedStep* failed) const;
    /// Locks as `onuQosIsIntfConfigurable`.
    rules::InterfaceState onuQosIntfState(unsigned int intf, rules::FailedStep* failed) const;

    CheckedService onuQosServiceDecide(const ServiceRequest& request, rules::ServiceVerdict& verdict) const;
    void onuQosServiceExplain(const ServiceRequest& request, rules::ServiceVerdict& verdict) const;
    bool onuQosBindingPush(const ServiceRequest& request, const CheckedService& checked,
                           rules::ServiceVerdict& verdict);
    void onuQosBindingAccount(const ServiceRequest& request, rules::ServiceVerdict& verdict);
    onuQosRes onuQosBindingWithdraw(unsigned int onuIntf, const std::string& serviceName,
                                    const onuQosServiceIntfInfo& binding);
    /// `onuFlowProfileMap` and `tContProfileMap`: at most 256 profiles each.
    std::map<std::string, onuFlowProfileInfo> onuFlowProfileMap;
    std::map<std::string, tContProfileInfo> tContProfileMap;
    std::map<std::uint32_t, ServiceBindings> onuQosServiceIntfMap;  ///< ONU, then service name
    std::map<onuTContProfileType, onuTContProfileRates> onuTContProfileRatesMap;
    std::map<onuTContProfileType, onuTContProfileSrdba> onuTContProfileSrdbaMap;
    std::map<std::uint32_t, onuQosOltCacInfo> onuQosOltCacMap;
    std::map<std::uint32_t, onuQosOnuCacInfo> onuQosOnuCacMap;
    std::map<std::uint32_t, bool> onuQosOltCacAlarmMap;  ///< whether the port's alarm is raised

    RPCProxy rpcProxy;
    onuQosOMApi OMApi;

    // Platforms and debuggers know the members above by their order: additions come after them.
    BoundProfiles boundProfiles_;                            ///< how many bindings name each profile
    std::map<std::uint32_t, std::uint32_t> configuredOnus_;  ///< how many a port has
};

/// All tables of the module at one moment.
struct onuQosTables {
    std::map<std::string, onuQos::onuFlowProfileInfo> onuFlowProfileMap;
    std::map<std::string, tContProfileInfo> tContProfileMap;
    std::map<std::uint32_t, std::map<std::string, onuQosServiceIntfInfo>> onuQosServiceIntfMap;
    std::map<std::uint32_t, onuQosOltCacInfo> onuQosOltCacMap;
    std::map<std::uint32_t, onuQosOnuCacInfo> onuQosOnuCacMap;
    std::map<std::uint32_t, bool> onuQosOltCacAlarmMap;

    bool operator==(const onuQosTables&) const = default;
};

extern template class singleton<onuQos>;

/// A verdict's result as the operations answer it.
constexpr onuQos::onuQosRes resultOf(rules::Result result) {
    return onuQos::onuQosRes{static_cast<std::int32_t>(result)};
}

static_assert(resultOf(rules::Result::ok) == onuQos::onuQosResOk &&
              resultOf(rules::Result::error) == onuQos::onuQosResError &&
              resultOf(rules::Result::notFound) == onuQos::onuQosResNotFound &&
              resultOf(rules::Result::outOfRange) == onuQos::onuQosResOutOfRange &&
              resultOf(rules::Result::guarAbovePeak) == onuQos::onuQosResGuarAbovePeak &&
              resultOf(rules::Result::rateError) == onuQos::onuQosResRateError &&
              resultOf(rules::Result::duplicateTContId) == onuQos::onuQosResDuplicateTContId &&
              resultOf(rules::Result::duplicateVirtualPortId) == onuQos::onuQosResDuplicateVirtualPortId &&
              resultOf(rules::Result::wrongIntf) == onuQos::onuQosResWrongIntf &&
              resultOf(rules::Result::duplicateOnuFlowProfile) == onuQos::onuQosResDuplicateOnuFlowProfile &&
              resultOf(rules::Result::omApiRefused) == onuQos::onuQosResOMApiRefused);

/// The start routine of the module's RPC proxy, in rpc/: registers the program. Returns null.
void* rpcOnuqosStart(void*);
