#include <netinet/in.h>
#include <rpc/pmap_clnt.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "rte/BLL/core/rpcProxy.h"
#include "rte/BLL/core/transports.h"

namespace {

constexpr int kListenBacklog = 128;

struct Service {
    unsigned long prog;
    unsigned long vers;
    void (*dispatch)(struct svc_req*, SVCXPRT*);
};

/// Tells of a step that failed. `format` takes source file, line, program twice, version, and `more`.
template <typename... More>
void tell(int line, const char* format, const Service& service, More... more) {
    std::fprintf(stderr, format, "rte/BLL/core/rpcProxy", line, service.prog, service.prog, service.vers,
                 more...);
}

/// The messages of one transport; those of the socket end in errno and its text.
struct Messages {
    const char* socket;
    const char* bind;
    const char* listen;
    const char* create;
    const char* registration;
};

constexpr Messages kUdpMessages{
    .socket = "%s:%d Cannot create UDP socket for RPC service 0x%08lx/%lu, version %lu (%d - %s).\n",
    .bind = "%s:%d Cannot bind UDP socket for RPC service 0x%08lx/%lu, version %lu (%d - %s).\n",
    .listen = nullptr,
    .create = "%s:%d Cannot create UDP RPC service 0x%08lx/%lu, version %lu.\n",
    .registration = "%s:%d Cannot register UDP RPC service 0x%08lx/%lu, version %lu.\n"};

constexpr Messages kTcpMessages{
    .socket = "%s:%d Cannot create TCP socket for RPC service 0x%08lx/%lu, version %lu (%d - %s).\n",
    .bind = "%s:%d Cannot bind TCP socket for RPC service 0x%08lx/%lu, version %lu (%d - %s).\n",
    .listen =
        "%s:%d Cannot set TCP socket for RPC service 0x%08lx/%lu, version %lu to listen mode (%d - %s).\n",
    .create = "%s:%d Cannot create TCP RPC service 0x%08lx/%lu, version %lu.\n",
    .registration = "%s:%d Cannot register TCP RPC service 0x%08lx/%lu, version %lu.\n"};

void tellErrno(int line, const char* format, const Service& service) {
    const int error = errno;
    tell(line, format, service, error, std::strerror(error));
}

/// A socket on a free port of the loopback address; -1 when that failed and was told.
int loopbackSocket(int type, int protocol, const Messages& messages, const Service& service) {
    const int descriptor = socket(AF_INET, type, protocol);
    if (descriptor == -1) {
        tellErrno(__LINE__, messages.socket, service);
        return -1;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = 0;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1) {
        tellErrno(__LINE__, messages.bind, service);
        close(descriptor);
        return -1;
    }
    return descriptor;
}

/// The RPC library owns the descriptor from a successful creation on, also when the registration fails:
/// without a portmapper the transport still serves clients that know its port.
void registerTransport(SVCXPRT* transport, int descriptor, int protocol, const Messages& messages,
                       const Service& service) {
    if (transport == nullptr) {
        tell(__LINE__, messages.create, service);
        close(descriptor);
        return;
    }
    if (!svc_register(transport, service.prog, service.vers, service.dispatch, protocol)) {
        tell(__LINE__, messages.registration, service);
    }
}

void registerUdp(const Service& service) {
    const int descriptor = loopbackSocket(SOCK_DGRAM, IPPROTO_UDP, kUdpMessages, service);
    if (descriptor == -1) {
        return;
    }
    SVCXPRT* transport = svcudp_create(descriptor);
    if (transport != nullptr) {
        rte::adoptDatagrams(transport);
    }
    registerTransport(transport, descriptor, IPPROTO_UDP, kUdpMessages, service);
}

void registerTcp(const Service& service) {
    const int descriptor = loopbackSocket(SOCK_STREAM, IPPROTO_TCP, kTcpMessages, service);
    if (descriptor == -1) {
        return;
    }
    if (listen(descriptor, kListenBacklog) != 0) {
        tellErrno(__LINE__, kTcpMessages.listen, service);
        close(descriptor);
        return;
    }
    SVCXPRT* transport = svctcp_create(descriptor, 0, 0);
    if (transport != nullptr) {
        rte::adoptListener(transport);
    }
    registerTransport(transport, descriptor, IPPROTO_TCP, kTcpMessages, service);
}

}  // namespace

void rpcProxyRegisterSvc(unsigned long prog, unsigned long vers,
                         void (*dispatch)(struct svc_req*, SVCXPRT*)) {
    pmap_unset(prog, vers);  // a registration that an earlier process left behind would lead clients astray
    const Service service{.prog = prog, .vers = vers, .dispatch = dispatch};
    registerUdp(service);
    registerTcp(service);
}
