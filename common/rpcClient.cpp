#include "common/rpcClient.h"

#include <rpc/pmap_prot.h>

#include <string>

#include "common/errors.h"

namespace common {
namespace {

// A request or a reply with a flow profile takes about 2,400 bytes and a name or two.
constexpr u_int kDatagramBytes = 32768;

}  // namespace

RpcClient::RpcClient(bool udp, std::uint16_t port, rpcprog_t program, rpcvers_t version,
                     Clock::time_point deadline)
    : port_(port), socket_(udp, port, deadline), client_(nullptr) {
    sockaddr_in address = loopback(port);
    const netbuf where{sizeof address, sizeof address, &address};
    client_ =
        udp ? clnt_dg_create(socket_.descriptor(), &where, program, version, kDatagramBytes, kDatagramBytes)
            : clnt_vc_create(socket_.descriptor(), &where, program, version, 0, 0);
    if (client_ == nullptr) {
        throw NoAnswer("the RPC library cannot use the connection" + std::string(clnt_spcreateerror("")));
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
    } catch (const NoAnswer&) {
        status = RPC_CANTSEND;
    }
    if (status != RPC_SUCCESS) {
        throw NoAnswer("no portmapper answers on 127.0.0.1 " + transport + " port 111: " + kRemedy);
    }
    if (port == 0 || port > 0xFFFF) {
        throw NoAnswer("program " + std::to_string(program) + " version " + std::to_string(version) +
                       " is not registered with the portmapper for " + transport +
                       ": start oltmgrd, or give --port with the port of its ready line");
    }
    return static_cast<std::uint16_t>(port);
}

}  // namespace common
