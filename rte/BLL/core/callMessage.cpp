#include "rte/BLL/core/callMessage.h"

// After the library's own header, which it does not include itself.
#include <rpc/svc_mt.h>

#include <arpa/inet.h>

#include <cstddef>
#include <cstring>

namespace rte {
namespace {

/// Of no registered flavour.
constexpr int kDeniedFlavour = -1;

std::uint32_t itemAt(const opaque_auth& credentials, std::size_t offset) {
    std::uint32_t item = 0;
    std::memcpy(&item, credentials.oa_base + offset, sizeof item);
    return ntohl(item);
}

/// Whether AUTH_SYS credentials hold all that they announce: a time stamp, the client's name, user, group,
/// and further groups.
bool areWhole(const opaque_auth& credentials) {
    constexpr std::size_t kWithoutNameAndGroups = 5 * BYTES_PER_XDR_UNIT;
    const std::size_t room = credentials.oa_length;
    if (room < kWithoutNameAndGroups) {
        return false;
    }
    const std::size_t name = RNDUP(std::size_t{itemAt(credentials, BYTES_PER_XDR_UNIT)});
    if (name > room - kWithoutNameAndGroups) {
        return false;
    }
    const std::size_t groups = itemAt(credentials, name + kWithoutNameAndGroups - BYTES_PER_XDR_UNIT);
    return groups <= (room - kWithoutNameAndGroups - name) / BYTES_PER_XDR_UNIT;
}

/// Announces a name that is longer than the library accepts.
void spoil(opaque_auth& credentials) {
    std::memset(credentials.oa_base + BYTES_PER_XDR_UNIT, 0xFF, BYTES_PER_XDR_UNIT);
}

}  // namespace

bool CallMessage::begin(std::span<const char> bytes, rpc_msg* message) {
    // The library's streams are not const; one that decodes writes nothing.
    xdrmem_create(&stream_, const_cast<char*>(bytes.data()), static_cast<u_int>(bytes.size()), XDR_DECODE);
    if (!xdr_callmsg(&stream_, message)) {
        return false;
    }
    transaction_ = message->rm_xid;
    opaque_auth& credentials = message->rm_call.cb_cred;
    if (credentials.oa_flavor == RPCSEC_GSS || credentials.oa_flavor == AUTH_DES) {
        credentials.oa_flavor = kDeniedFlavour;
    } else if (credentials.oa_flavor == AUTH_SYS && !areWhole(credentials)) {
        spoil(credentials);
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
