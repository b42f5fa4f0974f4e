#include "rte/BLL/core/datagramOperations.h"

#include <cstring>
#include <utility>

#include "rte/BLL/core/replyEncoding.h"

namespace rte {
namespace {

/// Where datagrams wait while this process has to wait for a processor, bytes; the kernel drops what does not
/// fit, and takes less for it where it is so set.
constexpr int kReceiveBuffer = 4 << 20;

}  // namespace

DatagramOperations::Batch::Batch(std::size_t room)
    : bytes(std::make_unique_for_overwrite<char[]>(kBatch * room)) {
    for (std::size_t i = 0; i < kBatch; ++i) {
        pieces[i] = {.iov_base = bytes.get() + i * room, .iov_len = room};
        headers[i].msg_hdr.msg_name = &peers[i];
        headers[i].msg_hdr.msg_namelen = sizeof peers[i];
        headers[i].msg_hdr.msg_iov = &pieces[i];
        headers[i].msg_hdr.msg_iovlen = 1;
    }
}

DatagramOperations::DatagramOperations(SVCXPRT* transport)
    : AdoptedTransport(transport), calls_(kDatagramMax), replies_(UDPMSGSIZE) {
    // The library asks for the address that each datagram was sent to; with one address of its own the socket
    // needs no look into the routing table for each.
    const int off = 0;
    ::setsockopt(transport->xp_fd, IPPROTO_IP, IP_PKTINFO, &off, sizeof off);
    ::setsockopt(transport->xp_fd, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    operations().xp_recv = receive;
    operations().xp_stat = status;
    operations().xp_getargs = decodeArguments;
    operations().xp_reply = reply;
    operations().xp_freeargs = freeArguments;
    adopt();
}

DatagramOperations::~DatagramOperations() {
    destroyTransport();
}

DatagramOperations& DatagramOperations::of(const SVCXPRT* transport) {
    return static_cast<DatagramOperations&>(AdoptedTransport::of(transport));
}

void DatagramOperations::restore(SVCXPRT* transport) {
    transport->xp_rtaddr = {};  // it points into `calls_`
}

void DatagramOperations::receiveBatch(int descriptor) {
    // What select saw may be gone: a datagram with a bad checksum for instance.
    const int count = ::recvmmsg(descriptor, calls_.headers.data(), kBatch, MSG_DONTWAIT, nullptr);
    next_ = 0;
    calls_.count = count < 0 ? 0 : static_cast<std::size_t>(count);
}

bool DatagramOperations::begin(SVCXPRT* transport, std::size_t index, rpc_msg* message) {
    const auto* bytes = static_cast<const char*>(calls_.pieces.at(index).iov_base);
    if (!call_.begin(std::span(bytes, calls_.headers.at(index).msg_len), message)) {
        return false;
    }
    sockaddr_in& peer = calls_.peers.at(index);
    std::memcpy(&transport->xp_raddr, &peer, sizeof peer);
    transport->xp_addrlen = sizeof peer;
    transport->xp_rtaddr = {.maxlen = sizeof peer, .len = sizeof peer, .buf = &peer};
    return true;
}

bool_t DatagramOperations::receive(SVCXPRT* transport, rpc_msg* message) {
    DatagramOperations& self = of(transport);
    if (self.next_ == self.calls_.count) {
        self.receiveBatch(transport->xp_fd);
    }
    while (self.next_ < self.calls_.count) {
        if (self.begin(transport, self.next_++, message)) {
            return TRUE;
        }
    }
    return FALSE;
}

xprt_stat DatagramOperations::status(SVCXPRT* transport) {
    DatagramOperations& self = of(transport);
    if (self.next_ < self.calls_.count) {
        return XPRT_MOREREQS;
    }
    self.sendReplies(transport->xp_fd);
    if (self.calls_.count == kBatch && ++self.batches_ < kBatchesOfTurn) {
        return XPRT_MOREREQS;  // a full batch may not have been all
    }
    self.batches_ = 0;
    return XPRT_IDLE;
}

bool_t DatagramOperations::decodeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments) {
    return of(transport).call_.decodeArguments(transport, routine, arguments);
}

bool_t DatagramOperations::reply(SVCXPRT* transport, rpc_msg* message) {
    DatagramOperations& self = of(transport);
    Batch& replies = self.replies_;
    if (self.next_ == 0) {
        return FALSE;  // to no call
    }
    if (replies.count == kBatch) {
        self.sendReplies(transport->xp_fd);
    }
    iovec& piece = replies.pieces.at(replies.count);
    piece.iov_len = encodeReply(transport, self.call_.transaction(), *message,
                                std::span(static_cast<char*>(piece.iov_base), std::size_t{UDPMSGSIZE}));
    if (piece.iov_len == 0) {
        return FALSE;
    }
    replies.peers.at(replies.count++) = self.calls_.peers.at(self.next_ - 1);
    return TRUE;
}

void DatagramOperations::sendReplies(int descriptor) {
    // One that cannot be sent is lost, as any datagram may be; those after it are not.
    if (replies_.count == 1) {  // is cheaper that way, which a client notices that makes one call at a time
        ::sendto(descriptor, replies_.pieces[0].iov_base, replies_.pieces[0].iov_len,
                 MSG_DONTWAIT | MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&replies_.peers[0]),
                 sizeof replies_.peers[0]);
        replies_.count = 0;
    }
    for (std::size_t sent = 0; sent < replies_.count;) {
        const int count =
            ::sendmmsg(descriptor, &replies_.headers.at(sent),
                       static_cast<unsigned int>(replies_.count - sent), MSG_DONTWAIT | MSG_NOSIGNAL);
        sent += count > 0 ? static_cast<std::size_t>(count) : 1;
    }
    replies_.count = 0;
}

bool_t DatagramOperations::freeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments) {
    return of(transport).call_.freeArguments(routine, arguments);
}

}  // namespace rte
