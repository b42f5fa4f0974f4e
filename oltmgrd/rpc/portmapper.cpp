#include "oltmgrd/rpc/portmapper.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace oltmgrd {
namespace {

constexpr std::uint16_t kPort = 111;
constexpr int kConnectMilliseconds = 200;
constexpr int kDescriptorMax = 1024;

bool isPortmapper(const sockaddr_storage& peer, socklen_t length) {
    if (peer.ss_family == AF_INET) {
        return ntohs(reinterpret_cast<const sockaddr_in&>(peer).sin_port) == kPort;
    }
    if (peer.ss_family == AF_INET6) {
        return ntohs(reinterpret_cast<const sockaddr_in6&>(peer).sin6_port) == kPort;
    }
    if (peer.ss_family != AF_UNIX || length <= offsetof(sockaddr_un, sun_path)) {
        return false;
    }
    const char* path = reinterpret_cast<const sockaddr_un&>(peer).sun_path;
    return std::string_view(path, ::strnlen(path, length - offsetof(sockaddr_un, sun_path)))
        .ends_with("/rpcbind.sock");
}

}  // namespace

bool portmapperIsThere() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    int error = 0;
    if (::connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        error = errno;
    }
    if (error == EINPROGRESS) {
        pollfd waiting{.fd = probe, .events = POLLOUT, .revents = 0};
        ::poll(&waiting, 1, kConnectMilliseconds);
        socklen_t size = sizeof error;
        ::getsockopt(probe, SOL_SOCKET, SO_ERROR, &error, &size);
    }
    ::close(probe);
    return error == 0;
}

void cutPortmapperCalls() {
    for (int descriptor = 0; descriptor < kDescriptorMax; ++descriptor) {
        sockaddr_storage peer{};
        socklen_t length = sizeof peer;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &length) == 0 &&
            isPortmapper(peer, length)) {
            ::shutdown(descriptor, SHUT_RDWR);
        }
    }
}

}  // namespace oltmgrd
