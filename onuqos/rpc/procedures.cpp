#include <onuqos.h>

#include <type_traits>

#include "onuqos/rpc/api.h"

namespace {

// Each procedure owns its reply record, which lives until its next call; only the thread that runs the
// receive loop comes here.

template <auto Procedure>
struct ReplyOf;
template <typename Reply, typename... Parameters, Reply* (*Procedure)(Parameters...)>
struct ReplyOf<Procedure> {
    using Type = Reply;
};

template <typename Record>
concept HasName = requires(Record record) {
    record.name;
};

/// The reply of a procedure that answers a result alone.
template <auto Procedure>
auto* told(std::uint32_t res) {
    static typename ReplyOf<Procedure>::Type reply;
    reply = static_cast<typename ReplyOf<Procedure>::Type>(res);
    return &reply;
}

/// The reply of a procedure that answers a record and a result; `ask(record)` fills the one and answers the
/// other. A profile's record is cleared first, so that a refusal never hands one client what another has
/// read.
template <auto Procedure, typename Ask>
auto* asked(Ask ask) {
    static typename ReplyOf<Procedure>::Type reply;
    auto& [record, res] = reply;
    if constexpr (HasName<std::remove_reference_t<decltype(record)>>) {
        record = {};
    }
    res = static_cast<std::remove_reference_t<decltype(res)>>(ask(&record));
    return &reply;
}

}  // namespace

rpcOnuFlowProfileRes* rpc_onuflowprofile_create_1_svc(char* name, struct svc_req*) {
    return told<rpc_onuflowprofile_create_1_svc>(onuFlowProfileCreate(name));
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_delete_1_svc(char* name, struct svc_req*) {
    return told<rpc_onuflowprofile_delete_1_svc>(onuFlowProfileDelete(name));
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_rename_1_svc(char* oldName, char* newName, struct svc_req*) {
    return told<rpc_onuflowprofile_rename_1_svc>(onuFlowProfileRename(oldName, newName));
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_copy_1_svc(char* srcName, char* dstName, struct svc_req*) {
    return told<rpc_onuflowprofile_copy_1_svc>(onuFlowProfileCopy(srcName, dstName));
}

rpcOnuFlowProfileInfoRes* rpc_onuflowprofile_get_1_svc(char* name, struct svc_req*) {
    return asked<rpc_onuflowprofile_get_1_svc>([=](auto* record) { return onuFlowProfileGet(name, record); });
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_rule_set_1_svc(char* name, rpcOnuFlowProfileRule rule,
                                                        struct svc_req*) {
    return told<rpc_onuflowprofile_rule_set_1_svc>(onuFlowProfileRuleSet(name, &rule));
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_action_set_1_svc(char* name, rpcOnuFlowProfileAction action,
                                                          struct svc_req*) {
    return told<rpc_onuflowprofile_action_set_1_svc>(onuFlowProfileActionSet(name, &action));
}

rpcOnuFlowProfileAttachedRes* rpc_onuflowprofile_attached_get_1_svc(char* name, struct svc_req*) {
    return asked<rpc_onuflowprofile_attached_get_1_svc>(
        [=](auto* record) { return onuFlowProfileIsApplied(name, record); });
}

rpcOnuFlowProfileActionDef* rpc_onuflowprofile_action_default_get_1_svc(struct svc_req*) {
    return asked<rpc_onuflowprofile_action_default_get_1_svc>(
        [=](auto* record) { return onuFlowProfileActionDefaultGet(record); });
}

rpcOnuFlowProfileInfoRes* rpc_onuflowprofile_first_get_1_svc(struct svc_req*) {
    return asked<rpc_onuflowprofile_first_get_1_svc>(
        [=](auto* record) { return onuFlowProfileFirstGet(record); });
}

rpcOnuFlowProfileInfoRes* rpc_onuflowprofile_next_get_1_svc(char* name, struct svc_req*) {
    return asked<rpc_onuflowprofile_next_get_1_svc>(
        [=](auto* record) { return onuFlowProfileNextGet(name, record); });
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_create_and_set_1_svc(char* name, rpcOnuFlowProfileInfo info,
                                                              rpcOnuFlowProfileParmsMask mask,
                                                              struct svc_req*) {
    return told<rpc_onuflowprofile_create_and_set_1_svc>(onuFlowProfileCreateAndSet(name, &info, mask));
}

rpcTContProfileRes* rpc_tcontprofile_create_1_svc(char* name, struct svc_req*) {
    return told<rpc_tcontprofile_create_1_svc>(tContProfileCreate(name));
}

rpcTContProfileRes* rpc_tcontprofile_delete_1_svc(char* name, struct svc_req*) {
    return told<rpc_tcontprofile_delete_1_svc>(tContProfileDelete(name));
}

rpcTContProfileRes* rpc_tcontprofile_rename_1_svc(char* oldName, char* newName, struct svc_req*) {
    return told<rpc_tcontprofile_rename_1_svc>(tContProfileRename(oldName, newName));
}

rpcTContProfileRes* rpc_tcontprofile_copy_1_svc(char* srcName, char* dstName, struct svc_req*) {
    return told<rpc_tcontprofile_copy_1_svc>(tContProfileCopy(srcName, dstName));
}

rpcTContProfileInfoRes* rpc_tcontprofile_get_1_svc(char* name, struct svc_req*) {
    return asked<rpc_tcontprofile_get_1_svc>([=](auto* record) { return tContProfileGet(name, record); });
}

rpcTContProfileAttachedRes* rpc_tcontprofile_attached_get_1_svc(char* name, struct svc_req*) {
    return asked<rpc_tcontprofile_attached_get_1_svc>(
        [=](auto* record) { return tContProfileIsApplied(name, record); });
}

rpcTContProfileInfoRes* rpc_tcontprofile_default_get_1_svc(struct svc_req*) {
    return asked<rpc_tcontprofile_default_get_1_svc>(
        [=](auto* record) { return tContProfileDefaultGet(record); });
}

rpcTContProfileInfoRes* rpc_tcontprofile_first_get_1_svc(struct svc_req*) {
    return asked<rpc_tcontprofile_first_get_1_svc>(
        [=](auto* record) { return tContProfileFirstGet(record); });
}

rpcTContProfileInfoRes* rpc_tcontprofile_next_get_1_svc(char* name, struct svc_req*) {
    return asked<rpc_tcontprofile_next_get_1_svc>(
        [=](auto* record) { return tContProfileNextGet(name, record); });
}

rpcTContProfileRes* rpc_tcontprofile_id_set_1_svc(char* name, int tContId, struct svc_req*) {
    return told<rpc_tcontprofile_id_set_1_svc>(tContProfileIdSet(name, static_cast<std::uint32_t>(tContId)));
}

rpcTContProfileRes* rpc_tcontprofile_type_set_1_svc(char* name, rpcTContProfileType tContType,
                                                    struct svc_req*) {
    return told<rpc_tcontprofile_type_set_1_svc>(tContProfileTypeSet(name, tContType));
}

rpcTContProfileRes* rpc_tcontprofile_fixed_rate_set_1_svc(char* name, int rate, struct svc_req*) {
    return told<rpc_tcontprofile_fixed_rate_set_1_svc>(
        tContProfileFixedRateSet(name, static_cast<std::uint32_t>(rate)));
}

rpcTContProfileRes* rpc_tcontprofile_assured_rate_set_1_svc(char* name, int rate, struct svc_req*) {
    return told<rpc_tcontprofile_assured_rate_set_1_svc>(
        tContProfileAssuredRateSet(name, static_cast<std::uint32_t>(rate)));
}

rpcTContProfileRes* rpc_tcontprofile_maximum_rate_set_1_svc(char* name, int rate, struct svc_req*) {
    return told<rpc_tcontprofile_maximum_rate_set_1_svc>(
        tContProfileMaximumRateSet(name, static_cast<std::uint32_t>(rate)));
}

rpcTContProfileInfoRes* rpc_tcontprofile_default_type_get_1_svc(rpcTContProfileType tContType,
                                                                struct svc_req*) {
    return asked<rpc_tcontprofile_default_type_get_1_svc>(
        [=](auto* record) { return tContProfileDefaultTypeGet(tContType, record); });
}

rpcTContProfileRes* rpc_tcontprofile_create_and_set_1_svc(char* name, rpcTContProfileInfo info,
                                                          rpcTContProfileParmsMask mask, struct svc_req*) {
    return told<rpc_tcontprofile_create_and_set_1_svc>(tContProfileCreateAndSet(name, &info, mask));
}

rpcTContProfileRes* rpc_tcontprofile_alloc_type_set_1_svc(char* name, rpcTContProfileAllocType dbaAllocType,
                                                          struct svc_req*) {
    return told<rpc_tcontprofile_alloc_type_set_1_svc>(tContProfileAllocTypeSet(name, dbaAllocType));
}

rpcTContProfileRes* rpc_tcontprofile_srdba_weight_set_1_svc(char* name, int weight, struct svc_req*) {
    return told<rpc_tcontprofile_srdba_weight_set_1_svc>(
        tContProfileSrdbaWeightSet(name, static_cast<std::uint32_t>(weight)));
}

rpcTContProfileRes* rpc_tcontprofile_srdba_priority_set_1_svc(char* name, int priority, struct svc_req*) {
    return told<rpc_tcontprofile_srdba_priority_set_1_svc>(
        tContProfileSrdbaPrioritySet(name, static_cast<std::uint32_t>(priority)));
}

rpcTContProfileConfApplyStateRes* rpc_tcontprofile_conf_apply_state_get_1_svc(struct svc_req*) {
    return asked<rpc_tcontprofile_conf_apply_state_get_1_svc>(
        [=](auto* record) { return tContProfileConsApplyStateGet(record); });
}

rpcCacOltRes* rpc_cac_olt_get_1_svc(u_int intf, struct svc_req*) {
    return asked<rpc_cac_olt_get_1_svc>([=](auto* record) { return onuQosCacOltGet(intf, record); });
}

rpcOnuQosRangesRes* rpc_onu_qos_port_ranges_get_1_svc(struct svc_req*) {
    return asked<rpc_onu_qos_port_ranges_get_1_svc>(
        [=](auto* record) { return onuQosPortRangesGet(record); });
}
