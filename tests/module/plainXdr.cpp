#include "plainXdr.h"

#include <onuqos.h>

#include <map>

namespace {

template <auto Routine>
xdrproc_t xdr() {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(Routine));
}

}  // namespace

xdrproc_t plainXdr(const std::string& record) {
    static const std::map<std::string, xdrproc_t> routines{
        {"rpcOnuFlowProfileRule", xdr<xdr_rpcOnuFlowProfileRule>()},
        {"rpcOnuFlowProfileInfo", xdr<xdr_rpcOnuFlowProfileInfo>()},
        {"rpcOnuFlowProfileInfoRes", xdr<xdr_rpcOnuFlowProfileInfoRes>()},
        {"rpcTContProfileInfo", xdr<xdr_rpcTContProfileInfo>()},
        {"rpcTContProfileInfoRes", xdr<xdr_rpcTContProfileInfoRes>()},
        {"rpc_onuflowprofile_create_and_set_1_argument",
         xdr<xdr_rpc_onuflowprofile_create_and_set_1_argument>()},
    };
    return routines.at(record);
}
