#pragma once

#include <rpc/rpc.h>

#include <cstdint>
#include <span>

namespace rte {

/// The call message that a transport serves (RFC 5531, section 9). Holds no bytes: they stay where they are
/// until the call has been dispatched.
class CallMessage {
public:
    /// Decodes the header into `message`, which has room for credentials as the RPC library gives it to
    /// `xp_recv`. False if `bytes`, whose address is divisible by four, do not begin with that of a call.
    ///
    /// RPCSEC_GSS and AUTH_DES credentials, which no transport of ours serves, are replaced by a flavour that
    /// the library denies at once: its own code for them keeps memory for each context that is begun, and
    /// asks a key server. Of AUTH_SYS credentials that are cut short the library would write a line to
    /// standard output, for which there may be no reader; it denies them without.
    bool begin(std::span<const char> bytes, rpc_msg* message);

    /// The operations `xp_getargs` and `xp_freeargs`. Nothing is read beyond the message.
    bool_t decodeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments);
    bool_t freeArguments(xdrproc_t routine, void* arguments);

    std::uint32_t transaction() const { return transaction_; }

private:
    XDR stream_{};
    std::uint32_t transaction_ = 0;
};

}  // namespace rte
