#include "rte/BLL/core/connection.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace rte {
namespace {

bool isTransient(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

}  // namespace

Connection::Connection(int descriptor, const sockaddr_in& peer, Clock::time_point now)
    : descriptor_(descriptor), peer_(peer), progressAt_(now) {}

Connection::~Connection() {
    ::close(descriptor_);
}

Connection::Step Connection::takeInput(std::span<char> scratch) {
    if (hasAside()) {
        input_ = aside_.bytes().subspan(asideTaken_);
        return Step::moved;
    }
    const ssize_t size = ::recv(descriptor_, scratch.data(), scratch.size(), 0);
    if (size < 0) {
        return isTransient(errno) ? Step::nothing : Step::lost;
    }
    ended_ = size == 0;
    input_ = scratch.first(static_cast<std::size_t>(size));
    return ended_ ? Step::nothing : Step::moved;
}

bool Connection::hasUnread() const {
    char byte = 0;
    return ::recv(descriptor_, &byte, 1, MSG_PEEK) > 0;
}

std::optional<std::span<const char>> Connection::nextRecord() {
    const auto record = reader_.next(input_);
    if (record) {
        unfinishedSince_.reset();
    }
    return record;
}

bool Connection::putAside(Clock::time_point now) {
    reader_.release();
    if (reader_.held() != 0 && !unfinishedSince_) {
        unfinishedSince_ = now;
    }
    const auto rest = std::exchange(input_, {});
    if (!hasAside()) {
        asideTaken_ = 0;
        return aside_.append(rest);
    }
    asideTaken_ = aside_.bytes().size() - rest.size();
    if (rest.empty()) {
        aside_.release();
    }
    return true;
}

Connection::Step Connection::send(std::span<const char> replies, Clock::time_point now) {
    std::size_t sent = 0;
    if (!isWaiting()) {
        const ssize_t size = ::send(descriptor_, replies.data(), replies.size(), MSG_NOSIGNAL);
        if (size < 0 && !isTransient(errno)) {
            return Step::lost;
        }
        sent = size < 0 ? 0 : static_cast<std::size_t>(size);
        progressAt_ = now;
        waitingSent_ = 0;
    }
    if (!waiting_.append(replies.subspan(sent))) {
        return Step::lost;
    }
    return sent != 0 ? Step::moved : Step::nothing;
}

Connection::Step Connection::sendWaiting(Clock::time_point now) {
    const auto rest = waiting_.bytes().subspan(waitingSent_);
    const ssize_t size = ::send(descriptor_, rest.data(), rest.size(), MSG_NOSIGNAL);
    if (size < 0) {
        return isTransient(errno) ? Step::nothing : Step::lost;
    }
    progressAt_ = now;
    waitingSent_ += static_cast<std::size_t>(size);
    if (static_cast<std::size_t>(size) == rest.size()) {
        waiting_.release();
    }
    return Step::moved;
}

Clock::duration Connection::stalled(const PeerQueue& peers, Clock::time_point now) {
    int queued = 0;
    ::ioctl(descriptor_, SIOCOUTQ, &queued);
    sockaddr_in own{};
    socklen_t size = sizeof own;
    ::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&own), &size);
    const std::uint32_t unread = peers.unread(own, peer_).value_or(0);
    if (std::exchange(queuedAtSocket_, queued) != queued || std::exchange(unreadAtPeer_, unread) != unread) {
        progressAt_ = now;
    }
    return now - progressAt_;
}

double Connection::unfinishedCost(Clock::time_point now) const {
    if (!unfinishedSince_) {
        return 0;
    }
    return static_cast<double>(reader_.held()) *
           std::chrono::duration<double>(now - *unfinishedSince_).count();
}

}  // namespace rte
