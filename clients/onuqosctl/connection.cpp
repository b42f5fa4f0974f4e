#include "clients/onuqosctl/connection.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <rpc/pmap_prot.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "common/errors.h"

namespace onuqosctl {
namespace {

// A request or a reply with a flow profile takes about 2,400 bytes and a name or two.
constexpr u_int kDatagramBytes = 32768;

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// A TCP socket that connects to a free port of the ephemeral range can be given that very port and meet
// itself.
bool isConnectedToItself(int descriptor, const sockaddr_in& address) {
    sockaddr_in own{};
    socklen_t length = sizeof own;
    return ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&own), &length) == 0 &&
           own.sin_port == address.sin_port && own.sin_addr.s_addr == address.sin_addr.s_addr;
}

int awaitConnected(int descriptor, Clock::time_point deadline) {
    const timeval left = timeLeft(deadline);
    pollfd waiting{descriptor, POLLOUT, 0};
    const int ready = ::poll(&waiting, 1, static_cast<int>(left.tv_sec * 1000 + left.tv_usec / 1000 + 1));
    if (ready <= 0) {
        return ready == 0 ? ETIMEDOUT : errno;
    }
    int error = 0;
    socklen_t length = sizeof error;
    ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length);
    return error;
}

int connectTo(int descriptor, const sockaddr_in& address, Clock::time_point deadline) {
    int error = 0;
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        error = errno == EINPROGRESS || errno == EINTR ? awaitConnected(descriptor, deadline) : errno;
    }
    return error == 0 && isConnectedToItself(descriptor, address) ? ECONNREFUSED : error;
}

}  // namespace

timeval timeLeft(Clock::time_point deadline) {
    const auto left = std::max(std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()),
                               std::chrono::microseconds(1));
    return {static_cast<time_t>(left.count() / 1'000'000),
            static_cast<suseconds_t>(left.count() % 1'000'000)};
}

LoopbackSocket::LoopbackSocket(bool udp, std::uint16_t port, Clock::time_point deadline)
    : descriptor_(::socket(AF_INET, (udp ? SOCK_DGRAM : SOCK_STREAM) | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    const std::string where =
        std::string("127.0.0.1 ") + (udp ? "udp" : "tcp") + " port " + std::to_string(port);
    if (descriptor_ < 0) {
        throw common::NoAnswer("no socket can be had: " + std::string(std::strerror(errno)));
    }
    const int error = connectTo(descriptor_, loopback(port), deadline);
    if (error != 0) {
        ::close(descriptor_);
        throw common::NoAnswer(error == ECONNREFUSED ? "nothing listens on " + where
                                                     : "cannot reach " + where + ": " + std::strerror(error));
    }
    ::fcntl(descriptor_, F_SETFL, ::fcntl(descriptor_, F_GETFL) & ~O_NONBLOCK);
}

LoopbackSocket::~LoopbackSocket() {
    ::close(descriptor_);
}

RpcClient::RpcClient(bool udp, std::uint16_t port, rpcprog_t program, rpcvers_t version,
                     Clock::time_point deadline)
    : port_(port), socket_(udp, port, deadline), client_(nullptr) {
    sockaddr_in address = loopback(port);
    const netbuf where{sizeof address, sizeof address, &address};
    client_ =
        udp ? clnt_dg_create(socket_.descriptor(), &where, program, version, kDatagramBytes, kDatagramBytes)
            : clnt_vc_create(socket_.descriptor(), &where, program, version, 0, 0);
    if (client_ == nullptr) {
        throw common::NoAnswer("the RPC library cannot use the connection" +
                               std::string(clnt_spcreateerror("")));
    }
}

RpcClient::~RpcClient() {
    clnt_destroy(client_);
}

rpc_err RpcClient::lastError() const {
    rpc_err error{};
    clnt_geterr(client_, &error);
    return error;
}

void RpcClient::setTimeouts(timeval total, timeval retry) {
    clnt_control(client_, CLSET_TIMEOUT, reinterpret_cast<char*>(&total));
    clnt_control(client_, CLSET_RETRY_TIMEOUT, reinterpret_cast<char*>(&retry));
}

std::uint16_t portFromPortmapper(bool udp, rpcprog_t program, rpcvers_t version, Clock::time_point deadline) {
    const std::string transport = udp ? "udp" : "tcp";
    constexpr const char* kRemedy =
        "start rpcbind, or give --port with the port of oltmgrd's ready line (rpc-udp, rpc-tcp)";
    u_int port = 0;
    clnt_stat status = RPC_FAILED;
    try {
        RpcClient portmapper(udp, PMAPPORT, PMAPPROG, PMAPVERS, deadline);
        pmap wanted{program, version, static_cast<u_long>(udp ? IPPROTO_UDP : IPPROTO_TCP), 0};
        const timeval left = timeLeft(deadline);
        portmapper.setTimeouts(left, {1, 0});
        status = clnt_call(portmapper.get(), PMAPPROC_GETPORT, reinterpret_cast<xdrproc_t>(xdr_pmap),
                           reinterpret_cast<char*>(&wanted), reinterpret_cast<xdrproc_t>(xdr_u_int),
                           reinterpret_cast<char*>(&port), left);
    } catch (const common::NoAnswer&) {
        status = RPC_CANTSEND;
    }
    if (status != RPC_SUCCESS) {
        throw common::NoAnswer("no portmapper answers on 127.0.0.1 " + transport + " port 111: " + kRemedy);
    }
    if (port == 0 || port > 0xFFFF) {
        throw common::NoAnswer("program " + std::to_string(program) + " version " + std::to_string(version) +
                               " is not registered with the portmapper for " + transport +
                               ": start oltmgrd, or give --port with the port of its ready line");
    }
    return static_cast<std::uint16_t>(port);
}

}  // namespace onuqosctl
