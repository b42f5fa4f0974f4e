#include <onuqos.h>

#include "rpc/api.h"

// The server procedures. Each owns the reply record of its procedure, which lives until its next call; only
// the thread that runs the receive loop comes here. Records of profiles are cleared first, so that a refusal
// never hands one client what another has read.

rpcOnuFlowProfileRes* rpc_onuflowprofile_create_1_svc(char* name, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    reply = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileCreate(name));
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_delete_1_svc(char* name, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    reply = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileDelete(name));
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_rename_1_svc(char* oldName, char* newName, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    reply = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileRename(oldName, newName));
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_copy_1_svc(char* srcName, char* dstName, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    reply = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileCopy(srcName, dstName));
    return &reply;
}

rpcOnuFlowProfileInfoRes* rpc_onuflowprofile_get_1_svc(char* name, struct svc_req*) {
    static rpcOnuFlowProfileInfoRes reply;
    reply = {};
    reply.res = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileGet(name, &reply.info));
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_rule_set_1_svc(char* name, rpcOnuFlowProfileRule rule,
                                                        struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    reply = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileRuleSet(name, &rule));
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_action_set_1_svc(char* name, rpcOnuFlowProfileAction action,
                                                          struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    reply = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileActionSet(name, &action));
    return &reply;
}

rpcOnuFlowProfileAttachedRes* rpc_onuflowprofile_attached_get_1_svc(char* name, struct svc_req*) {
    static rpcOnuFlowProfileAttachedRes reply;
    reply.res = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileIsApplied(name, &reply.attached));
    return &reply;
}

rpcOnuFlowProfileActionDef* rpc_onuflowprofile_action_default_get_1_svc(struct svc_req*) {
    static rpcOnuFlowProfileActionDef reply;
    reply.res = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileActionDefaultGet(&reply.action));
    return &reply;
}

rpcOnuFlowProfileInfoRes* rpc_onuflowprofile_first_get_1_svc(struct svc_req*) {
    static rpcOnuFlowProfileInfoRes reply;
    reply = {};
    reply.res = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileFirstGet(&reply.info));
    return &reply;
}

rpcOnuFlowProfileInfoRes* rpc_onuflowprofile_next_get_1_svc(char* name, struct svc_req*) {
    static rpcOnuFlowProfileInfoRes reply;
    reply = {};
    reply.res = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileNextGet(name, &reply.info));
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_create_and_set_1_svc(char* name, rpcOnuFlowProfileInfo info,
                                                              rpcOnuFlowProfileParmsMask mask,
                                                              struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    reply = static_cast<rpcOnuFlowProfileRes>(onuFlowProfileCreateAndSet(name, &info, mask));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_create_1_svc(char* name, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply = static_cast<rpcTContProfileRes>(tContProfileCreate(name));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_delete_1_svc(char* name, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply = static_cast<rpcTContProfileRes>(tContProfileDelete(name));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_rename_1_svc(char* oldName, char* newName, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply = static_cast<rpcTContProfileRes>(tContProfileRename(oldName, newName));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_copy_1_svc(char* srcName, char* dstName, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply = static_cast<rpcTContProfileRes>(tContProfileCopy(srcName, dstName));
    return &reply;
}

rpcTContProfileInfoRes* rpc_tcontprofile_get_1_svc(char* name, struct svc_req*) {
    static rpcTContProfileInfoRes reply;
    reply = {};
    reply.res = static_cast<rpcTContProfileRes>(tContProfileGet(name, &reply.info));
    return &reply;
}

rpcTContProfileAttachedRes* rpc_tcontprofile_attached_get_1_svc(char* name, struct svc_req*) {
    static rpcTContProfileAttachedRes reply;
    reply.res = static_cast<rpcTContProfileRes>(tContProfileIsApplied(name, &reply.attached));
    return &reply;
}

rpcTContProfileInfoRes* rpc_tcontprofile_default_get_1_svc(struct svc_req*) {
    static rpcTContProfileInfoRes reply;
    reply = {};
    reply.res = static_cast<rpcTContProfileRes>(tContProfileDefaultGet(&reply.info));
    return &reply;
}

rpcTContProfileInfoRes* rpc_tcontprofile_first_get_1_svc(struct svc_req*) {
    static rpcTContProfileInfoRes reply;
    reply = {};
    reply.res = static_cast<rpcTContProfileRes>(tContProfileFirstGet(&reply.info));
    return &reply;
}

rpcTContProfileInfoRes* rpc_tcontprofile_next_get_1_svc(char* name, struct svc_req*) {
    static rpcTContProfileInfoRes reply;
    reply = {};
    reply.res = static_cast<rpcTContProfileRes>(tContProfileNextGet(name, &reply.info));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_id_set_1_svc(char* name, int tContId, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply = static_cast<rpcTContProfileRes>(tContProfileIdSet(name, static_cast<std::uint32_t>(tContId)));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_type_set_1_svc(char* name, rpcTContProfileType tContType,
                                                    struct svc_req*) {
    static rpcTContProfileRes reply;
    reply = static_cast<rpcTContProfileRes>(tContProfileTypeSet(name, tContType));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_fixed_rate_set_1_svc(char* name, int rate, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply = static_cast<rpcTContProfileRes>(tContProfileFixedRateSet(name, static_cast<std::uint32_t>(rate)));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_assured_rate_set_1_svc(char* name, int rate, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply =
        static_cast<rpcTContProfileRes>(tContProfileAssuredRateSet(name, static_cast<std::uint32_t>(rate)));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_maximum_rate_set_1_svc(char* name, int rate, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply =
        static_cast<rpcTContProfileRes>(tContProfileMaximumRateSet(name, static_cast<std::uint32_t>(rate)));
    return &reply;
}

rpcTContProfileInfoRes* rpc_tcontprofile_default_type_get_1_svc(rpcTContProfileType tContType,
                                                                struct svc_req*) {
    static rpcTContProfileInfoRes reply;
    reply = {};
    reply.res = static_cast<rpcTContProfileRes>(tContProfileDefaultTypeGet(tContType, &reply.info));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_create_and_set_1_svc(char* name, rpcTContProfileInfo info,
                                                          rpcTContProfileParmsMask mask, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply = static_cast<rpcTContProfileRes>(tContProfileCreateAndSet(name, &info, mask));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_alloc_type_set_1_svc(char* name, rpcTContProfileAllocType dbaAllocType,
                                                          struct svc_req*) {
    static rpcTContProfileRes reply;
    reply = static_cast<rpcTContProfileRes>(tContProfileAllocTypeSet(name, dbaAllocType));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_srdba_weight_set_1_svc(char* name, int weight, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply =
        static_cast<rpcTContProfileRes>(tContProfileSrdbaWeightSet(name, static_cast<std::uint32_t>(weight)));
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_srdba_priority_set_1_svc(char* name, int priority, struct svc_req*) {
    static rpcTContProfileRes reply;
    reply = static_cast<rpcTContProfileRes>(
        tContProfileSrdbaPrioritySet(name, static_cast<std::uint32_t>(priority)));
    return &reply;
}

rpcTContProfileConfApplyStateRes* rpc_tcontprofile_conf_apply_state_get_1_svc(struct svc_req*) {
    static rpcTContProfileConfApplyStateRes reply;
    reply.res = static_cast<rpcTContProfileRes>(tContProfileConsApplyStateGet(&reply.applying));
    return &reply;
}

rpcCacOltRes* rpc_cac_olt_get_1_svc(u_int intf, struct svc_req*) {
    static rpcCacOltRes reply;
    reply.res = static_cast<rpcTContProfileRes>(onuQosCacOltGet(intf, &reply.info));
    return &reply;
}

rpcOnuQosRangesRes* rpc_onu_qos_port_ranges_get_1_svc(struct svc_req*) {
    static rpcOnuQosRangesRes reply;
    reply.res = static_cast<rpcTContProfileRes>(onuQosPortRangesGet(&reply.data));
    return &reply;
}
