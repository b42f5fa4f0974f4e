// What the RPC library alone costs: a server that rpcgen makes from the same interface definition, whose
// handlers answer constants at once. Prints its ports as oltmgrd does and serves until it is killed.

#include <arpa/inet.h>
#include <onuqos.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>

extern "C" void rpc_onuqos_prog_1(struct svc_req* request, SVCXPRT* transport);

namespace {

int bound(int type) {
    const int descriptor = socket(AF_INET, type, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        (type == SOCK_STREAM && listen(descriptor, 128) != 0)) {
        std::perror("referenceServer");
        std::exit(1);
    }
    return descriptor;
}

void serve(SVCXPRT* transport) {
    // Protocol 0 leaves the portmapper alone.
    if (transport == nullptr ||
        !svc_register(transport, RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, rpc_onuqos_prog_1, 0)) {
        std::fputs("referenceServer: cannot register\n", stderr);
        std::exit(1);
    }
}

}  // namespace

int main(int argc, char**) {
    if (argc > 1) {
        std::fputs("usage: referenceServer\nServes constants until it is killed.\n", stderr);
        return 2;
    }
    SVCXPRT* udp = svcudp_create(bound(SOCK_DGRAM));
    serve(udp);
    SVCXPRT* tcp = svctcp_create(bound(SOCK_STREAM), 0, 0);
    serve(tcp);
    std::printf("referenceServer ready rpc-udp=%u rpc-tcp=%u\n", udp->xp_port, tcp->xp_port);
    std::fflush(stdout);
    // The same loop as the management process, so that only the handling differs.
    while (true) {
        fd_set ready = svc_fdset;
        timeval timeout{.tv_sec = 1, .tv_usec = 0};
        if (select(FD_SETSIZE, &ready, nullptr, nullptr, &timeout) > 0) {
            svc_getreqset(&ready);
        }
    }
}

// Handlers: a constant record each.

void* rpc_onuqos_null_1_svc(struct svc_req*) {
    static char reply;
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_create_1_svc(char*, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_delete_1_svc(char*, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_rename_1_svc(char*, char*, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_copy_1_svc(char*, char*, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    return &reply;
}

rpcOnuFlowProfileInfoRes* rpc_onuflowprofile_get_1_svc(char*, struct svc_req*) {
    static rpcOnuFlowProfileInfoRes reply;
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_rule_set_1_svc(char*, rpcOnuFlowProfileRule, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_action_set_1_svc(char*, rpcOnuFlowProfileAction, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    return &reply;
}

rpcOnuFlowProfileAttachedRes* rpc_onuflowprofile_attached_get_1_svc(char*, struct svc_req*) {
    static rpcOnuFlowProfileAttachedRes reply;
    return &reply;
}

rpcOnuFlowProfileActionDef* rpc_onuflowprofile_action_default_get_1_svc(struct svc_req*) {
    static rpcOnuFlowProfileActionDef reply;
    return &reply;
}

rpcOnuFlowProfileInfoRes* rpc_onuflowprofile_first_get_1_svc(struct svc_req*) {
    static rpcOnuFlowProfileInfoRes reply;
    return &reply;
}

rpcOnuFlowProfileInfoRes* rpc_onuflowprofile_next_get_1_svc(char*, struct svc_req*) {
    static rpcOnuFlowProfileInfoRes reply;
    return &reply;
}

rpcOnuFlowProfileRes* rpc_onuflowprofile_create_and_set_1_svc(char*, rpcOnuFlowProfileInfo,
                                                              rpcOnuFlowProfileParmsMask, struct svc_req*) {
    static rpcOnuFlowProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_create_1_svc(char*, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_delete_1_svc(char*, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_rename_1_svc(char*, char*, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_copy_1_svc(char*, char*, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileInfoRes* rpc_tcontprofile_get_1_svc(char*, struct svc_req*) {
    static rpcTContProfileInfoRes reply;
    return &reply;
}

rpcTContProfileAttachedRes* rpc_tcontprofile_attached_get_1_svc(char*, struct svc_req*) {
    static rpcTContProfileAttachedRes reply;
    return &reply;
}

rpcTContProfileInfoRes* rpc_tcontprofile_default_get_1_svc(struct svc_req*) {
    static rpcTContProfileInfoRes reply;
    return &reply;
}

rpcTContProfileInfoRes* rpc_tcontprofile_first_get_1_svc(struct svc_req*) {
    static rpcTContProfileInfoRes reply;
    return &reply;
}

rpcTContProfileInfoRes* rpc_tcontprofile_next_get_1_svc(char*, struct svc_req*) {
    static rpcTContProfileInfoRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_id_set_1_svc(char*, int, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_type_set_1_svc(char*, rpcTContProfileType, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_fixed_rate_set_1_svc(char*, int, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_assured_rate_set_1_svc(char*, int, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_maximum_rate_set_1_svc(char*, int, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileInfoRes* rpc_tcontprofile_default_type_get_1_svc(rpcTContProfileType, struct svc_req*) {
    static rpcTContProfileInfoRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_create_and_set_1_svc(char*, rpcTContProfileInfo,
                                                          rpcTContProfileParmsMask, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_alloc_type_set_1_svc(char*, rpcTContProfileAllocType, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_srdba_weight_set_1_svc(char*, int, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileRes* rpc_tcontprofile_srdba_priority_set_1_svc(char*, int, struct svc_req*) {
    static rpcTContProfileRes reply;
    return &reply;
}

rpcTContProfileConfApplyStateRes* rpc_tcontprofile_conf_apply_state_get_1_svc(struct svc_req*) {
    static rpcTContProfileConfApplyStateRes reply;
    return &reply;
}

rpcCacOltRes* rpc_cac_olt_get_1_svc(u_int, struct svc_req*) {
    static rpcCacOltRes reply;
    return &reply;
}

rpcOnuQosRangesRes* rpc_onu_qos_port_ranges_get_1_svc(struct svc_req*) {
    static rpcOnuQosRangesRes reply;
    return &reply;
}
