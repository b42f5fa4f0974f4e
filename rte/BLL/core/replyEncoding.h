#pragma once

#include <rpc/rpc.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace rte {

/// Encodes the reply to the call `transaction` at the beginning of `room`, whose address is divisible by
/// four: header and results, as the RPC library's own transports do. Returns its length; 0 if it does not fit
/// or its results cannot be encoded.
std::size_t encodeReply(SVCXPRT* transport, std::uint32_t transaction, const rpc_msg& reply,
                        std::span<char> room);

/// The same as a record of one fragment, mark and all (RFC 5531, section 11).
std::size_t encodeReplyRecord(SVCXPRT* transport, std::uint32_t transaction, const rpc_msg& reply,
                              std::span<char> room);

}  // namespace rte
