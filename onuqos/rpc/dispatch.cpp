#include "rpc/dispatch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <type_traits>

#include "rte/BLL/core/rpcProxy.h"
#include "rte/BLL/core/transportOperations.h"

namespace {

/// The library calls every XDR routine through one type.
template <auto Routine>
xdrproc_t xdr() {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(Routine));
}

/// Room for the decoded argument of any procedure: the largest structure sets its size.
struct ArgumentRoom {
    alignas(rpc_onuflowprofile_create_and_set_1_argument)
        std::array<std::byte, sizeof(rpc_onuflowprofile_create_and_set_1_argument)> bytes{};
};

template <typename Argument>
constexpr bool fits = (sizeof(Argument) <= sizeof(ArgumentRoom)) &&
                      (std::alignment_of_v<Argument> <= std::alignment_of_v<ArgumentRoom>);

// How a decoded argument reaches a handler: not at all, as itself, or as the fields of its structure.

template <auto Handler>
void* serveVoid(void*, svc_req* request) {
    return Handler(request);
}

template <auto Handler, typename Argument>
void* serveOne(void* argument, svc_req* request) {
    static_assert(fits<Argument>);
    return Handler(*static_cast<Argument*>(argument), request);
}

template <auto Handler, typename Arguments>
void* serveTwo(void* argument, svc_req* request) {
    static_assert(fits<Arguments>);
    auto& [first, second] = *static_cast<Arguments*>(argument);
    return Handler(first, second, request);
}

template <auto Handler, typename Arguments>
void* serveThree(void* argument, svc_req* request) {
    static_assert(fits<Arguments>);
    auto& [first, second, third] = *static_cast<Arguments*>(argument);
    return Handler(first, second, third, request);
}

// clang-format off
constexpr std::array kProcedures{
    Procedure{1, "rpc_onuflowprofile_create", xdr<xdr_wrapstring>, xdr<xdr_rpcOnuFlowProfileRes>,
              serveOne<rpc_onuflowprofile_create_1_svc, char*>},
    Procedure{2, "rpc_onuflowprofile_delete", xdr<xdr_wrapstring>, xdr<xdr_rpcOnuFlowProfileRes>,
              serveOne<rpc_onuflowprofile_delete_1_svc, char*>},
    Procedure{3, "rpc_onuflowprofile_rename", xdr<xdr_rpc_onuflowprofile_rename_1_argument>,
              xdr<xdr_rpcOnuFlowProfileRes>,
              serveTwo<rpc_onuflowprofile_rename_1_svc, rpc_onuflowprofile_rename_1_argument>},
    Procedure{4, "rpc_onuflowprofile_copy", xdr<xdr_rpc_onuflowprofile_copy_1_argument>,
              xdr<xdr_rpcOnuFlowProfileRes>,
              serveTwo<rpc_onuflowprofile_copy_1_svc, rpc_onuflowprofile_copy_1_argument>},
    Procedure{5, "rpc_onuflowprofile_get", xdr<xdr_wrapstring>, xdr<xdr_rpcOnuFlowProfileInfoRes>,
              serveOne<rpc_onuflowprofile_get_1_svc, char*>},
    Procedure{6, "rpc_onuflowprofile_rule_set", xdr<xdr_rpc_onuflowprofile_rule_set_1_argument>,
              xdr<xdr_rpcOnuFlowProfileRes>,
              serveTwo<rpc_onuflowprofile_rule_set_1_svc, rpc_onuflowprofile_rule_set_1_argument>},
    Procedure{7, "rpc_onuflowprofile_action_set", xdr<xdr_rpc_onuflowprofile_action_set_1_argument>,
              xdr<xdr_rpcOnuFlowProfileRes>,
              serveTwo<rpc_onuflowprofile_action_set_1_svc, rpc_onuflowprofile_action_set_1_argument>},
    Procedure{8, "rpc_onuflowprofile_attached_get", xdr<xdr_wrapstring>, xdr<xdr_rpcOnuFlowProfileAttachedRes>,
              serveOne<rpc_onuflowprofile_attached_get_1_svc, char*>},
    Procedure{9, "rpc_onuflowprofile_action_default_get", xdr<xdr_void>, xdr<xdr_rpcOnuFlowProfileActionDef>,
              serveVoid<rpc_onuflowprofile_action_default_get_1_svc>},
    Procedure{10, "rpc_onuflowprofile_first_get", xdr<xdr_void>, xdr<xdr_rpcOnuFlowProfileInfoRes>,
              serveVoid<rpc_onuflowprofile_first_get_1_svc>},
    Procedure{11, "rpc_onuflowprofile_next_get", xdr<xdr_wrapstring>, xdr<xdr_rpcOnuFlowProfileInfoRes>,
              serveOne<rpc_onuflowprofile_next_get_1_svc, char*>},
    Procedure{12, "rpc_onuflowprofile_create_and_set", xdr<xdr_rpc_onuflowprofile_create_and_set_1_argument>,
              xdr<xdr_rpcOnuFlowProfileRes>,
              serveThree<rpc_onuflowprofile_create_and_set_1_svc, rpc_onuflowprofile_create_and_set_1_argument>},

    Procedure{100, "rpc_tcontprofile_create", xdr<xdr_wrapstring>, xdr<xdr_rpcTContProfileRes>,
              serveOne<rpc_tcontprofile_create_1_svc, char*>},
    Procedure{101, "rpc_tcontprofile_delete", xdr<xdr_wrapstring>, xdr<xdr_rpcTContProfileRes>,
              serveOne<rpc_tcontprofile_delete_1_svc, char*>},
    Procedure{102, "rpc_tcontprofile_rename", xdr<xdr_rpc_tcontprofile_rename_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveTwo<rpc_tcontprofile_rename_1_svc, rpc_tcontprofile_rename_1_argument>},
    Procedure{103, "rpc_tcontprofile_copy", xdr<xdr_rpc_tcontprofile_copy_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveTwo<rpc_tcontprofile_copy_1_svc, rpc_tcontprofile_copy_1_argument>},
    Procedure{104, "rpc_tcontprofile_get", xdr<xdr_wrapstring>, xdr<xdr_rpcTContProfileInfoRes>,
              serveOne<rpc_tcontprofile_get_1_svc, char*>},
    Procedure{105, "rpc_tcontprofile_attached_get", xdr<xdr_wrapstring>, xdr<xdr_rpcTContProfileAttachedRes>,
              serveOne<rpc_tcontprofile_attached_get_1_svc, char*>},
    Procedure{106, "rpc_tcontprofile_default_get", xdr<xdr_void>, xdr<xdr_rpcTContProfileInfoRes>,
              serveVoid<rpc_tcontprofile_default_get_1_svc>},
    Procedure{107, "rpc_tcontprofile_first_get", xdr<xdr_void>, xdr<xdr_rpcTContProfileInfoRes>,
              serveVoid<rpc_tcontprofile_first_get_1_svc>},
    Procedure{108, "rpc_tcontprofile_next_get", xdr<xdr_wrapstring>, xdr<xdr_rpcTContProfileInfoRes>,
              serveOne<rpc_tcontprofile_next_get_1_svc, char*>},
    Procedure{109, "rpc_tcontprofile_id_set", xdr<xdr_rpc_tcontprofile_id_set_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveTwo<rpc_tcontprofile_id_set_1_svc, rpc_tcontprofile_id_set_1_argument>},
    Procedure{110, "rpc_tcontprofile_type_set", xdr<xdr_rpc_tcontprofile_type_set_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveTwo<rpc_tcontprofile_type_set_1_svc, rpc_tcontprofile_type_set_1_argument>},
    Procedure{111, "rpc_tcontprofile_fixed_rate_set", xdr<xdr_rpc_tcontprofile_fixed_rate_set_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveTwo<rpc_tcontprofile_fixed_rate_set_1_svc, rpc_tcontprofile_fixed_rate_set_1_argument>},
    Procedure{112, "rpc_tcontprofile_assured_rate_set", xdr<xdr_rpc_tcontprofile_assured_rate_set_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveTwo<rpc_tcontprofile_assured_rate_set_1_svc, rpc_tcontprofile_assured_rate_set_1_argument>},
    Procedure{113, "rpc_tcontprofile_maximum_rate_set", xdr<xdr_rpc_tcontprofile_maximum_rate_set_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveTwo<rpc_tcontprofile_maximum_rate_set_1_svc, rpc_tcontprofile_maximum_rate_set_1_argument>},
    Procedure{114, "rpc_tcontprofile_default_type_get", xdr<xdr_rpcTContProfileType>,
              xdr<xdr_rpcTContProfileInfoRes>,
              serveOne<rpc_tcontprofile_default_type_get_1_svc, rpcTContProfileType>},
    Procedure{115, "rpc_tcontprofile_create_and_set", xdr<xdr_rpc_tcontprofile_create_and_set_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveThree<rpc_tcontprofile_create_and_set_1_svc, rpc_tcontprofile_create_and_set_1_argument>},
    Procedure{116, "rpc_tcontprofile_alloc_type_set", xdr<xdr_rpc_tcontprofile_alloc_type_set_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveTwo<rpc_tcontprofile_alloc_type_set_1_svc, rpc_tcontprofile_alloc_type_set_1_argument>},
    Procedure{117, "rpc_tcontprofile_srdba_weight_set", xdr<xdr_rpc_tcontprofile_srdba_weight_set_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveTwo<rpc_tcontprofile_srdba_weight_set_1_svc, rpc_tcontprofile_srdba_weight_set_1_argument>},
    Procedure{118, "rpc_tcontprofile_srdba_priority_set", xdr<xdr_rpc_tcontprofile_srdba_priority_set_1_argument>,
              xdr<xdr_rpcTContProfileRes>,
              serveTwo<rpc_tcontprofile_srdba_priority_set_1_svc, rpc_tcontprofile_srdba_priority_set_1_argument>},

    Procedure{200, "rpc_tcontprofile_conf_apply_state_get", xdr<xdr_void>,
              xdr<xdr_rpcTContProfileConfApplyStateRes>, serveVoid<rpc_tcontprofile_conf_apply_state_get_1_svc>},
    Procedure{201, "rpc_cac_olt_get", xdr<xdr_u_int>, xdr<xdr_rpcCacOltRes>,
              serveOne<rpc_cac_olt_get_1_svc, u_int>},
    Procedure{202, "rpc_onu_qos_port_ranges_get", xdr<xdr_void>, xdr<xdr_rpcOnuQosRangesRes>,
              serveVoid<rpc_onu_qos_port_ranges_get_1_svc>},
};
// clang-format on

static_assert(std::ranges::adjacent_find(kProcedures, std::ranges::greater_equal{}, &Procedure::number) ==
                  kProcedures.end(),
              "ascending, none twice");

}  // namespace

std::span<const Procedure> onuqosProcedures() {
    return kProcedures;
}

void rpcOnuqosDispatch(struct svc_req* request, SVCXPRT* transport) {
    adoptConnection(transport);
    if (request->rq_proc == NULLPROC) {
        svc_sendreply(transport, xdr<xdr_void>(), nullptr);
        return;
    }
    const auto procedure = std::ranges::lower_bound(kProcedures, request->rq_proc, {}, &Procedure::number);
    if (procedure == kProcedures.end() || procedure->number != request->rq_proc) {
        svcerr_noproc(transport);
        return;
    }
    ArgumentRoom room;
    void* argument = room.bytes.data();
    const xdrproc_t argumentRoutine = procedure->argument();
    if (!svc_getargs(transport, argumentRoutine, argument)) {
        svcerr_decode(transport);
        // What decoded before the failure is released here: the transport counts the argument as not taken.
        xdr_free(argumentRoutine, argument);
        return;
    }
    void* result = procedure->serve(argument, request);
    if (result != nullptr && !svc_sendreply(transport, procedure->result(), result)) {
        svcerr_systemerr(transport);
    }
    if (!svc_freeargs(transport, argumentRoutine, argument)) {
        std::fputs("unable to free arguments", stderr);
    }
}

void* rpcOnuqosStart(void*) {
    rpcProxyRegisterSvc(RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, rpcOnuqosDispatch);
    return nullptr;
}
