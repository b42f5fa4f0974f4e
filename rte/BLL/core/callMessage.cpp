#include "rte/BLL/core/callMessage.h"

// After the library's own header, which it does not include itself.
#include <rpc/svc_mt.h>

namespace rte {
namespace {

/// Of no registered flavour.
constexpr int kDeniedFlavour = -1;

}  // namespace

bool CallMessage::begin(std::span<const char> bytes, rpc_msg* message) {
    // The library's streams are not const; one that decodes writes nothing.
    xdrmem_create(&stream_, const_cast<char*>(bytes.data()), static_cast<u_int>(bytes.size()), XDR_DECODE);
    if (!xdr_callmsg(&stream_, message)) {
        return false;
    }
    transaction_ = message->rm_xid;
    auto& flavour = message->rm_call.cb_cred.oa_flavor;
    if (flavour == RPCSEC_GSS || flavour == AUTH_DES) {
        flavour = kDeniedFlavour;
    }
    return true;
}

bool_t CallMessage::decodeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments) {
    return SVCAUTH_UNWRAP(&SVC_XP_AUTH(transport), &stream_, routine, static_cast<caddr_t>(arguments));
}

bool_t CallMessage::freeArguments(xdrproc_t routine, void* arguments) {
    stream_.x_op = XDR_FREE;
    return routine(&stream_, arguments);
}

}  // namespace rte
