#include "onuqos/rpc/dispatch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <tuple>
#include <type_traits>

#include "onuqos/entity/onuQos.h"
#include "onuqos/rpc/serverXdr.h"
#include "rte/BLL/core/rpcProxy.h"

namespace {

/// What an XDR routine carries, and what a server procedure takes and gives.
template <typename Routine>
struct Carried;
template <>
struct Carried<bool_t (*)()> {
    struct Type {};
};
template <typename Record>
struct Carried<bool_t (*)(XDR*, Record*)> {
    using Type = Record;
};

template <typename Handler>
struct Signature;
template <typename Reply, typename... Parameters>
struct Signature<Reply* (*)(Parameters...)> {
    using Result = Reply;
    using Taken = std::tuple<Parameters...>;
};

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

/// A decoded argument reaches its handler not at all, as itself, or as the fields of its structure.
template <auto Argument, auto Handler>
void* serve(void* decoded, svc_req* request) {
    using Record = typename Carried<decltype(Argument)>::Type;
    using Taken = typename Signature<decltype(Handler)>::Taken;
    static_assert(sizeof(Record) <= sizeof(ArgumentRoom) && alignof(Record) <= alignof(ArgumentRoom));
    auto& argument = *static_cast<Record*>(decoded);
    const auto call = [request](auto&... values) {
        static_assert(
            std::is_same_v<Taken, std::tuple<std::remove_reference_t<decltype(values)>..., svc_req*>>);
        return Handler(values..., request);
    };
    if constexpr (std::is_empty_v<Record>) {
        return call();
    } else if constexpr (std::tuple_size_v<Taken> == 2) {
        return call(argument);
    } else if constexpr (std::tuple_size_v<Taken> == 3) {
        auto& [first, second] = argument;
        return call(first, second);
    } else {
        auto& [first, second, third] = argument;
        return call(first, second, third);
    }
}

template <auto Argument, auto Result, auto Handler>
constexpr Procedure row(rpcproc_t number, std::string_view name) {
    static_assert(std::is_same_v<typename Carried<decltype(Result)>::Type,
                                 typename Signature<decltype(Handler)>::Result>);
    return {.number = number,
            .name = name,
            .argument = xdr<Argument>,
            .result = xdr<Result>,
            .serve = serve<Argument, Handler>};
}

// clang-format off
constexpr std::array kProcedures{
    row<onuqos_xdr_wrapstring, xdr_rpcOnuFlowProfileRes, rpc_onuflowprofile_create_1_svc>(1, "rpc_onuflowprofile_create"),
    row<onuqos_xdr_wrapstring, xdr_rpcOnuFlowProfileRes, rpc_onuflowprofile_delete_1_svc>(2, "rpc_onuflowprofile_delete"),
    row<xdr_rpc_onuflowprofile_rename_1_argument, xdr_rpcOnuFlowProfileRes, rpc_onuflowprofile_rename_1_svc>(3, "rpc_onuflowprofile_rename"),
    row<xdr_rpc_onuflowprofile_copy_1_argument, xdr_rpcOnuFlowProfileRes, rpc_onuflowprofile_copy_1_svc>(4, "rpc_onuflowprofile_copy"),
    row<onuqos_xdr_wrapstring, xdr_rpcOnuFlowProfileInfoRes, rpc_onuflowprofile_get_1_svc>(5, "rpc_onuflowprofile_get"),
    row<xdr_rpc_onuflowprofile_rule_set_1_argument, xdr_rpcOnuFlowProfileRes, rpc_onuflowprofile_rule_set_1_svc>(6, "rpc_onuflowprofile_rule_set"),
    row<xdr_rpc_onuflowprofile_action_set_1_argument, xdr_rpcOnuFlowProfileRes, rpc_onuflowprofile_action_set_1_svc>(7, "rpc_onuflowprofile_action_set"),
    row<onuqos_xdr_wrapstring, xdr_rpcOnuFlowProfileAttachedRes, rpc_onuflowprofile_attached_get_1_svc>(8, "rpc_onuflowprofile_attached_get"),
    row<xdr_void, xdr_rpcOnuFlowProfileActionDef, rpc_onuflowprofile_action_default_get_1_svc>(9, "rpc_onuflowprofile_action_default_get"),
    row<xdr_void, xdr_rpcOnuFlowProfileInfoRes, rpc_onuflowprofile_first_get_1_svc>(10, "rpc_onuflowprofile_first_get"),
    row<onuqos_xdr_wrapstring, xdr_rpcOnuFlowProfileInfoRes, rpc_onuflowprofile_next_get_1_svc>(11, "rpc_onuflowprofile_next_get"),
    row<xdr_rpc_onuflowprofile_create_and_set_1_argument, xdr_rpcOnuFlowProfileRes, rpc_onuflowprofile_create_and_set_1_svc>(12, "rpc_onuflowprofile_create_and_set"),

    row<onuqos_xdr_wrapstring, xdr_rpcTContProfileRes, rpc_tcontprofile_create_1_svc>(100, "rpc_tcontprofile_create"),
    row<onuqos_xdr_wrapstring, xdr_rpcTContProfileRes, rpc_tcontprofile_delete_1_svc>(101, "rpc_tcontprofile_delete"),
    row<xdr_rpc_tcontprofile_rename_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_rename_1_svc>(102, "rpc_tcontprofile_rename"),
    row<xdr_rpc_tcontprofile_copy_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_copy_1_svc>(103, "rpc_tcontprofile_copy"),
    row<onuqos_xdr_wrapstring, xdr_rpcTContProfileInfoRes, rpc_tcontprofile_get_1_svc>(104, "rpc_tcontprofile_get"),
    row<onuqos_xdr_wrapstring, xdr_rpcTContProfileAttachedRes, rpc_tcontprofile_attached_get_1_svc>(105, "rpc_tcontprofile_attached_get"),
    row<xdr_void, xdr_rpcTContProfileInfoRes, rpc_tcontprofile_default_get_1_svc>(106, "rpc_tcontprofile_default_get"),
    row<xdr_void, xdr_rpcTContProfileInfoRes, rpc_tcontprofile_first_get_1_svc>(107, "rpc_tcontprofile_first_get"),
    row<onuqos_xdr_wrapstring, xdr_rpcTContProfileInfoRes, rpc_tcontprofile_next_get_1_svc>(108, "rpc_tcontprofile_next_get"),
    row<xdr_rpc_tcontprofile_id_set_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_id_set_1_svc>(109, "rpc_tcontprofile_id_set"),
    row<xdr_rpc_tcontprofile_type_set_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_type_set_1_svc>(110, "rpc_tcontprofile_type_set"),
    row<xdr_rpc_tcontprofile_fixed_rate_set_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_fixed_rate_set_1_svc>(111, "rpc_tcontprofile_fixed_rate_set"),
    row<xdr_rpc_tcontprofile_assured_rate_set_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_assured_rate_set_1_svc>(112, "rpc_tcontprofile_assured_rate_set"),
    row<xdr_rpc_tcontprofile_maximum_rate_set_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_maximum_rate_set_1_svc>(113, "rpc_tcontprofile_maximum_rate_set"),
    row<xdr_rpcTContProfileType, xdr_rpcTContProfileInfoRes, rpc_tcontprofile_default_type_get_1_svc>(114, "rpc_tcontprofile_default_type_get"),
    row<xdr_rpc_tcontprofile_create_and_set_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_create_and_set_1_svc>(115, "rpc_tcontprofile_create_and_set"),
    row<xdr_rpc_tcontprofile_alloc_type_set_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_alloc_type_set_1_svc>(116, "rpc_tcontprofile_alloc_type_set"),
    row<xdr_rpc_tcontprofile_srdba_weight_set_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_srdba_weight_set_1_svc>(117, "rpc_tcontprofile_srdba_weight_set"),
    row<xdr_rpc_tcontprofile_srdba_priority_set_1_argument, xdr_rpcTContProfileRes, rpc_tcontprofile_srdba_priority_set_1_svc>(118, "rpc_tcontprofile_srdba_priority_set"),

    row<xdr_void, xdr_rpcTContProfileConfApplyStateRes, rpc_tcontprofile_conf_apply_state_get_1_svc>(200, "rpc_tcontprofile_conf_apply_state_get"),
    row<xdr_u_int, xdr_rpcCacOltRes, rpc_cac_olt_get_1_svc>(201, "rpc_cac_olt_get"),
    row<xdr_void, xdr_rpcOnuQosRangesRes, rpc_onu_qos_port_ranges_get_1_svc>(202, "rpc_onu_qos_port_ranges_get"),
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
