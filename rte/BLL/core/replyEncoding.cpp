#include "rte/BLL/core/replyEncoding.h"

#include <arpa/inet.h>
#include <rpc/svc_mt.h>

#include <cstring>

namespace rte {
namespace {

constexpr std::uint32_t kLastFragment = 0x80000000;

xdrproc_t nothing() {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(xdr_void));
}

}  // namespace

std::size_t encodeReply(SVCXPRT* transport, std::uint32_t transaction, const rpc_msg& reply,
                        std::span<char> room) {
    rpc_msg message = reply;
    message.rm_xid = transaction;
    const bool hasResults =
        message.rm_reply.rp_stat == MSG_ACCEPTED && message.rm_reply.rp_acpt.ar_stat == SUCCESS;
    if (hasResults) {
        // They go through the authentication flavour, apart from the header.
        message.rm_reply.rp_acpt.ar_results = {.where = nullptr, .proc = nothing()};
    }
    XDR stream;
    xdrmem_create(&stream, room.data(), static_cast<u_int>(room.size()), XDR_ENCODE);
    if (!xdr_replymsg(&stream, &message)) {
        return 0;
    }
    if (hasResults) {
        const auto& results = reply.rm_reply.rp_acpt.ar_results;
        if (!SVCAUTH_WRAP(&SVC_XP_AUTH(transport), &stream, results.proc, results.where)) {
            return 0;
        }
    }
    return xdr_getpos(&stream);
}

std::size_t encodeReplyRecord(SVCXPRT* transport, std::uint32_t transaction, const rpc_msg& reply,
                              std::span<char> room) {
    if (room.size() < sizeof(std::uint32_t)) {
        return 0;
    }
    const std::size_t size = encodeReply(transport, transaction, reply, room.subspan(sizeof(std::uint32_t)));
    if (size == 0) {
        return 0;
    }
    const std::uint32_t mark = htonl(kLastFragment | static_cast<std::uint32_t>(size));
    std::memcpy(room.data(), &mark, sizeof mark);
    return sizeof mark + size;
}

}  // namespace rte
