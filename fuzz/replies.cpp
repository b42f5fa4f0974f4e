// The encoder of replies: an input is a reply, its result and the room that there is for it. What comes out
// is compared with what the RPC library's routines make of it in as much room as they like.

#include "rte/BLL/core/replyEncoding.h"

#include <rpc/svc_mt.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "check.h"

namespace fuzz {
namespace {

/// Room for any reply that an input of 16 KiB makes, bytes.
constexpr std::size_t kPlenty = 32'768;

/// Takes values off an input, zeros once it has ended.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

    std::uint32_t number() {
        std::uint32_t value = 0;
        const auto taken = bytes(sizeof value);
        std::memcpy(&value, taken.data(), taken.size());
        return value;
    }
    std::uint32_t below(std::uint32_t limit) { return number() % limit; }
    std::string_view bytes(std::size_t most) {
        const auto taken = rest_.substr(0, most);
        rest_.remove_prefix(taken.size());
        return taken;
    }

private:
    std::string_view rest_;
};

/// A result: numbers, then bytes; encoding it fails at an item, if wanted.
struct Result {
    std::uint32_t numbers;
    std::string_view bytes;
    bool isBroken;
};

bool_t xdrResult(XDR* xdrs, Result* result) {
    for (std::uint32_t i = 0; i < result->numbers; ++i) {
        if (!xdr_u_int(xdrs, &i)) {
            return FALSE;
        }
    }
    auto* bytes = const_cast<char*>(result->bytes.data());
    auto size = static_cast<u_int>(result->bytes.size());
    return !result->isBroken && xdr_bytes(xdrs, &bytes, &size, ~0U);
}

xdrproc_t xdr(auto routine) {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(routine));
}

int encodeAsItIs(SVCAUTH*, XDR* xdrs, xdrproc_t routine, caddr_t where) {
    return routine(xdrs, where);
}

rpc_msg replyOf(Choices& choices, Result& result, opaque_auth verifier) {
    rpc_msg reply{};
    reply.rm_direction = REPLY;
    if (choices.below(4) == 0) {
        reply.rm_reply.rp_stat = MSG_DENIED;
        reply.rm_reply.rp_rjct.rj_stat = choices.below(2) == 0 ? AUTH_ERROR : RPC_MISMATCH;
        reply.rm_reply.rp_rjct.rj_vers = {.low = choices.number(), .high = choices.number()};
        return reply;
    }
    accepted_reply& accepted = reply.rm_reply.rp_acpt;
    accepted.ar_verf = verifier;
    accepted.ar_stat = static_cast<accept_stat>(choices.below(8));
    if (accepted.ar_stat == SUCCESS) {
        accepted.ar_results = {.where = reinterpret_cast<caddr_t>(&result), .proc = xdr(xdrResult)};
    } else {
        accepted.ar_vers = {.low = choices.number(), .high = choices.number()};
    }
    return reply;
}

/// What the library makes of the reply; nothing if it cannot be encoded.
std::string expected(rpc_msg reply, std::uint32_t transaction) {
    std::string bytes(kPlenty, '\0');
    reply.rm_xid = transaction;
    XDR xdrs;
    xdrmem_create(&xdrs, bytes.data(), static_cast<u_int>(bytes.size()), XDR_ENCODE);
    bytes.resize(xdr_replymsg(&xdrs, &reply) ? xdr_getpos(&xdrs) : 0);
    return bytes;
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Choices choices(data, size);
    SVCAUTH::svc_auth_ops operations{
        .svc_ah_wrap = fuzz::encodeAsItIs, .svc_ah_unwrap = nullptr, .svc_ah_destroy = nullptr};
    SVCXPRT_EXT extension{.flags = 0, .xp_auth = {.svc_ah_ops = &operations, .svc_ah_private = nullptr}};
    SVCXPRT transport{};
    transport.xp_p3 = &extension;

    const std::uint32_t transaction = choices.number();
    const std::size_t room = choices.below(4) == 0 ? fuzz::kPlenty : choices.below(4096) / 4 * 4;
    const auto verifier = choices.bytes(choices.below(MAX_AUTH_BYTES + 40));
    fuzz::Result result{.numbers = choices.below(600), .bytes = {}, .isBroken = choices.below(8) == 0};
    const rpc_msg reply = fuzz::replyOf(choices, result,
                                        {.oa_flavor = static_cast<enum_t>(choices.below(8)),
                                         .oa_base = const_cast<char*>(verifier.data()),
                                         .oa_length = static_cast<u_int>(verifier.size())});
    result.bytes = choices.bytes(size);

    const std::string whole = fuzz::expected(reply, transaction);
    const auto block = std::make_unique_for_overwrite<char[]>(room);
    const auto encoded = [&](auto encode) {
        return std::string(block.get(), encode(&transport, transaction, reply, std::span(block.get(), room)));
    };
    const bool fits = whole.size() <= room;
    fuzz::require(encoded(rte::encodeReply) == (fits ? whole : ""), "a datagram is what the library makes");
    const bool fitsWithMark = whole.size() + 4 <= room && !whole.empty();
    std::string record = encoded(rte::encodeReplyRecord);
    fuzz::require(record.empty() == !fitsWithMark, "a record is there when it fits");
    if (fitsWithMark) {
        const std::uint32_t mark = htonl(0x80000000U | static_cast<std::uint32_t>(whole.size()));
        fuzz::require(std::memcmp(record.data(), &mark, sizeof mark) == 0 && record.substr(4) == whole,
                      "a record is a mark and what the library makes");
    }
    return 0;
}
