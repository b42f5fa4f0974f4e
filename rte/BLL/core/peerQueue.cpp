#include "rte/BLL/core/peerQueue.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace rte {

PeerQueue::PeerQueue()
    : netlink_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_SOCK_DIAG)) {}

PeerQueue::~PeerQueue() {
    if (netlink_ != -1) {
        ::close(netlink_);
    }
}

std::optional<std::uint32_t> PeerQueue::unread(const sockaddr_in& own, const sockaddr_in& peer) const {
    struct {
        nlmsghdr header;
        inet_diag_req_v2 request;
    } question{};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.request.sdiag_family = AF_INET;
    question.request.sdiag_protocol = IPPROTO_TCP;
    question.request.idiag_states = ~0U;
    // The socket that is asked about is the peer's: what is remote to us is local to it.
    question.request.id.idiag_sport = peer.sin_port;
    question.request.id.idiag_dport = own.sin_port;
    question.request.id.idiag_src[0] = peer.sin_addr.s_addr;
    question.request.id.idiag_dst[0] = own.sin_addr.s_addr;
    question.request.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    question.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;

    std::array<char, 1024> answer;
    if (::send(netlink_, &question, sizeof question, 0) != ssize_t{sizeof question}) {
        return std::nullopt;
    }
    const ssize_t size = ::recv(netlink_, answer.data(), answer.size(), 0);  // answered within send
    nlmsghdr header{};
    inet_diag_msg told{};
    if (size < static_cast<ssize_t>(NLMSG_HDRLEN + sizeof told)) {
        return std::nullopt;
    }
    std::memcpy(&header, answer.data(), sizeof header);
    std::memcpy(&told, answer.data() + NLMSG_HDRLEN, sizeof told);
    return header.nlmsg_type == SOCK_DIAG_BY_FAMILY ? std::optional(told.idiag_rqueue) : std::nullopt;
}

}  // namespace rte
