#pragma once

#include <onuqos.h>
#include <rpc/rpc.h>

#include <span>
#include <string_view>

/// A procedure of the program: its number, the name it has in the interface definition, how its argument and
/// its result travel, and the handler, which returns a record that lives until its next call.
struct Procedure {
    rpcproc_t number;
    std::string_view name;
    xdrproc_t (*argument)();
    xdrproc_t (*result)();
    void* (*serve)(void* argument, svc_req* request);
};

/// All procedures but the null procedure, by ascending number.
std::span<const Procedure> onuqosProcedures();

/// The dispatcher of program RPC_ONUQOS_PROG, version RPC_ONUQOS_VERS. Answers through the transport; one
/// request at a time.
void rpcOnuqosDispatch(struct svc_req* request, SVCXPRT* transport);
