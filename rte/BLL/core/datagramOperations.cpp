#include "rte/BLL/core/datagramOperations.h"

#include <netinet/udp.h>

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
    // An older kernel does not know the option, and would send replies that are to be taken apart as one.
    int segment = 0;
    socklen_t size = sizeof segment;
    segments_ = ::getsockopt(transport->xp_fd, SOL_UDP, UDP_SEGMENT, &segment, &size) == 0;
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

std::size_t DatagramOperations::runFrom(std::size_t first) const {
    const auto alike = [this, first](std::size_t other) {
        return replies_.pieces[other].iov_len == replies_.pieces[first].iov_len &&
               std::memcmp(&replies_.peers[other], &replies_.peers[first], sizeof(sockaddr_in)) == 0;
    };
    std::size_t next = first + 1;
    while (segments_ && next < replies_.count && alike(next)) {
        ++next;
    }
    return next - first;
}

std::size_t DatagramOperations::gatherRuns() {
    std::size_t runs = 0;
    for (std::size_t first = 0, length = 0; first < replies_.count; first += length) {
        length = runFrom(first);
        Run& run = runs_[runs];
        msghdr& message = (runHeaders_[runs++].msg_hdr = {});
        message.msg_name = &replies_.peers[first];
        message.msg_namelen = sizeof replies_.peers[first];
        message.msg_iov = &replies_.pieces[first];
        message.msg_iovlen = length;
        if (length > 1) {
            message.msg_control = run.control.data();
            message.msg_controllen = run.control.size();
            cmsghdr* option = CMSG_FIRSTHDR(&message);
            option->cmsg_level = SOL_UDP;
            option->cmsg_type = UDP_SEGMENT;
            option->cmsg_len = CMSG_LEN(sizeof(std::uint16_t));
            const auto size = static_cast<std::uint16_t>(replies_.pieces[first].iov_len);
            std::memcpy(CMSG_DATA(option), &size, sizeof size);
        }
    }
    return runs;
}

void DatagramOperations::sendReplies(int descriptor) {
    if (replies_.count == 1) {  // is cheaper that way, which a client notices that makes one call at a time
        sendSingly(descriptor, replies_.headers[0].msg_hdr);
        replies_.count = 0;
        return;
    }
    const std::size_t runs = gatherRuns();
    for (std::size_t sent = 0; sent < runs;) {
        const int count = ::sendmmsg(descriptor, &runHeaders_[sent], static_cast<unsigned int>(runs - sent),
                                     MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count > 0) {
            sent += static_cast<std::size_t>(count);
        } else {
            sendSingly(descriptor, runHeaders_[sent++].msg_hdr);
        }
    }
    replies_.count = 0;
}

void DatagramOperations::sendSingly(int descriptor, const msghdr& message) {
    // One that cannot be sent is lost, as any datagram may be; those after it are not.
    for (const iovec& piece : std::span(message.msg_iov, message.msg_iovlen)) {
        ::sendto(descriptor, piece.iov_base, piece.iov_len, MSG_DONTWAIT | MSG_NOSIGNAL,
                 static_cast<const sockaddr*>(message.msg_name), message.msg_namelen);
    }
}

bool_t DatagramOperations::freeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments) {
    return of(transport).call_.freeArguments(routine, arguments);
}

}  // namespace rte
