#include "rte/BLL/core/connectionHub.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <span>
#include <system_error>
#include <type_traits>
#include <utility>

#include "rte/BLL/core/peerQueue.h"
#include "rte/BLL/core/replyEncoding.h"

namespace rte {
namespace {

// Calls of a connection in a turn: as many as the first number, and fewer when so many connections have some
// that a round of all of them would take longer than the second number of calls.
constexpr std::size_t kCallsOfConnection = 16;
constexpr std::size_t kCallsOfRound = 1024;
constexpr int kStepsOfTurn = 64;
constexpr int kAcceptedAtOnce = 64;

// A connection is not silent while its socket holds input that this process has not come to read yet. So many
// are asked before one is closed all the same.
constexpr int kLooksForSilence = 64;

// Bytes read at once, and replies gathered before they are sent: while there is plenty of memory, and after,
// when 4,096 connections that all stop in the middle must do with it.
constexpr std::size_t kReadRoomy = 65'536;
constexpr std::size_t kReadTight = 2'048;
constexpr std::size_t kGatherRoomy = 49'152;
constexpr std::size_t kGatherTight = 4'096;
constexpr std::size_t kReplyRoom = 65'536;
constexpr std::size_t kRoomyPart = 8;  // memory is plentiful while no more than this part of it is held

// Connections are kept above the descriptors that select can take, which stay free for the process's other
// transports. Some more are left to it for files.
constexpr rlim_t kDescriptorsWanted = FD_SETSIZE + 4096 + 256;
constexpr rlim_t kDescriptorsLeft = 128;

constexpr std::chrono::nanoseconds kStallLook = std::chrono::seconds(1);

/// Raises the soft limit as far as it is of use; returns it.
rlim_t raiseDescriptorLimit() {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t wanted = std::min(limit.rlim_max, kDescriptorsWanted);
    if (limit.rlim_cur < wanted) {
        const rlimit raised{.rlim_cur = wanted, .rlim_max = limit.rlim_max};
        return ::setrlimit(RLIMIT_NOFILE, &raised) == 0 ? wanted : limit.rlim_cur;
    }
    return limit.rlim_cur;
}

int moveAboveSelect(int descriptor) {
    const int above = ::fcntl(descriptor, F_DUPFD_CLOEXEC, FD_SETSIZE);
    if (above == -1) {
        return descriptor;
    }
    ::close(descriptor);
    return above;
}

int selectable(int descriptor) {
    if (descriptor >= FD_SETSIZE) {
        ::close(descriptor);
        errno = EMFILE;
        return -1;
    }
    return descriptor;
}

void watch(int epoll, int descriptor, const void* data) {
    epoll_event event{.events = EPOLLIN, .data = {.ptr = const_cast<void*>(data)}};
    if (::epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) != 0) {
        throw std::system_error(errno, std::generic_category(), "epoll_ctl");
    }
}

bool isCarriedOut(const rpc_msg& reply) {
    return reply.rm_reply.rp_stat == MSG_ACCEPTED && reply.rm_reply.rp_acpt.ar_stat == SUCCESS;
}

}  // namespace

Descriptor::Descriptor(int descriptor, const char* what) : descriptor_(descriptor) {
    if (descriptor == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

Descriptor::~Descriptor() {
    close();
}

void Descriptor::close() {
    if (descriptor_ != -1) {
        ::close(std::exchange(descriptor_, -1));
    }
}

void Descriptor::reset(int descriptor) {
    close();
    descriptor_ = descriptor;
}

ConnectionHub::ConnectionHub(const ConnectionLimits& limits)
    : limits_(limits),
      input_(kReadRoomy),
      replies_(kReplyRoom),
      epoll_(selectable(::epoll_create1(EPOLL_CLOEXEC)), "epoll_create1"),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"),
      timer_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create"),
      spare_(::fcntl(wake_.get(), F_DUPFD_CLOEXEC, 0), "fcntl") {
    watch(epoll_.get(), wake_.get(), &wake_);
    watch(epoll_.get(), timer_.get(), &timer_);
    const rlim_t descriptors = raiseDescriptorLimit();
    // The kernel makes the table of descriptors longer now, and not while connections come in: in a process
    // of several threads that takes some ten milliseconds each time.
    ::close(::fcntl(wake_.get(), F_DUPFD_CLOEXEC,
                    static_cast<int>(std::min(descriptors, kDescriptorsWanted)) - 1));
    limits_.connections =
        std::min<std::size_t>(limits_.connections, descriptors - std::min(kDescriptorsLeft, descriptors / 4));

    static const std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>> operations{
        .xp_recv = receive,
        .xp_stat = status,
        .xp_getargs = decodeArguments,
        .xp_reply = reply,
        .xp_freeargs = freeArguments,
        .xp_destroy = destroy};
    static const std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops2)>> moreOperations{
        .xp_control = control};
    transport_.xp_fd = epoll_.get();
    transport_.xp_ops = &operations;
    transport_.xp_ops2 = &moreOperations;
    transport_.xp_verf.oa_base = verifier_.data();
    transport_.xp_p1 = this;
    transport_.xp_p3 = &extension_;
    ::xprt_register(&transport_);
}

ConnectionHub::~ConnectionHub() {
    ::xprt_unregister(&transport_);
}

// The operations of the transport.

ConnectionHub& ConnectionHub::of(SVCXPRT* transport) {
    return *static_cast<ConnectionHub*>(transport->xp_p1);
}

bool_t ConnectionHub::receive(SVCXPRT* transport, rpc_msg* message) {
    ConnectionHub& hub = of(transport);
    if (!hub.inTurn_) {
        hub.beginTurn();
    }
    return hub.nextCall(message) ? TRUE : FALSE;
}

xprt_stat ConnectionHub::status(SVCXPRT* transport) {
    ConnectionHub& hub = of(transport);
    hub.inCall_ = false;
    if (std::exchange(hub.hangsUp_, false)) {
        hub.hangUp();
    } else if (hub.current_ != nullptr && !hub.goesOn()) {
        hub.finish();
    }
    return hub.endTurn() ? XPRT_IDLE : XPRT_MOREREQS;
}

bool_t ConnectionHub::decodeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments) {
    return of(transport).call_.decodeArguments(transport, routine, arguments);
}

bool_t ConnectionHub::reply(SVCXPRT* transport, rpc_msg* message) {
    ConnectionHub& hub = of(transport);
    if (!hub.inCall_) {
        return FALSE;
    }
    const auto encode = [&hub, transport, message] {
        return encodeReplyRecord(transport, hub.call_.transaction(), *message,
                                 std::span(hub.replies_).subspan(hub.gathered_));
    };
    std::size_t size = encode();
    if (size == 0) {
        hub.replies_.resize(hub.gathered_ + sizeof(std::uint32_t) + RecordReader::kRecordMax);
        size = encode();
    }
    if (size != 0 && isCarriedOut(*message)) {
        hub.becomesClient(*hub.current_);
    }
    hub.gathered_ += size;
    return size != 0 ? TRUE : FALSE;
}

bool_t ConnectionHub::freeArguments(SVCXPRT* transport, xdrproc_t routine, void* arguments) {
    return of(transport).call_.freeArguments(routine, arguments);
}

void ConnectionHub::destroy(SVCXPRT* transport) {
    ConnectionHub& hub = of(transport);
    hub.hangsUp_ = hub.inCall_;
}

bool_t ConnectionHub::control(SVCXPRT*, u_int, void*) {
    return FALSE;
}

// Who is connected.

int ConnectionHub::accept(int listener) {
    int accepted = 0;
    while (accepted < kAcceptedAtOnce) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        const int descriptor =
            ::accept4(listener, reinterpret_cast<sockaddr*>(&peer), &size, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (descriptor != -1) {
            while (connections() >= limits_.connections && evict()) {
            }
            add(moveAboveSelect(descriptor), peer);
            ++accepted;
        } else if (errno == EMFILE || errno == ENFILE) {
            if (!evict()) {
                // Others have taken all descriptors: the client is turned away, or it would be asked for
                // without end.
                spare_.close();
                ::close(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
                spare_.reset(::fcntl(wake_.get(), F_DUPFD_CLOEXEC, 0));
                return accepted;
            }
        } else if (errno != EINTR && errno != ECONNABORTED) {
            return accepted;
        }
    }
    return accepted;
}

void ConnectionHub::add(int descriptor, const sockaddr_in& peer) {
    strangers_.emplace_back(descriptor, peer, Clock::now());
    Entry& entry = strangers_.back();
    entry.place = std::prev(strangers_.end());
    entry.interest = EPOLLIN;
    epoll_event event{.events = entry.interest, .data = {.ptr = &entry}};
    if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &event) != 0) {
        strangers_.pop_back();
    }
}

void ConnectionHub::touch(Entry& entry) {
    auto& list = listOf(entry);
    list.splice(list.end(), list, entry.place);
}

void ConnectionHub::becomesClient(Entry& entry) {
    if (!std::exchange(entry.isClient, true)) {
        clients_.splice(clients_.end(), strangers_, entry.place);
    }
}

bool ConnectionHub::evict() {
    auto& list = strangers_.empty() ? clients_ : strangers_;
    if (list.empty()) {
        return false;
    }
    for (int i = 0; i < kLooksForSilence && list.front().connection.hasUnread(); ++i) {
        touch(list.front());
    }
    close(list.front());
    return true;
}

void ConnectionHub::close(Entry& entry) {
    if (current_ == &entry) {
        current_ = nullptr;
        gathered_ = 0;
        inCall_ = false;
    }
    if (entry.isQueued) {
        std::erase(fresh_, &entry);
        std::erase(backlog_, &entry);
    }
    countWaiting(entry, false);
    held_ -= entry.counted;
    // Closing alone would leave it in the epoll instance where a child process has the descriptor as well.
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, entry.connection.descriptor(), nullptr);
    listOf(entry).erase(entry.place);
}

template <typename Action>
void ConnectionHub::forEach(Action action) {
    for (auto* list : {&strangers_, &clients_}) {
        for (auto next = list->begin(); next != list->end();) {
            action(*next++);  // which may close it
        }
    }
}

// A turn.

void ConnectionHub::beginTurn() {
    inTurn_ = true;
    now_ = Clock::now();
    steps_ = 0;
    bool isTime = false;
    std::array<epoll_event, kStepsOfTurn> events;
    const int count = ::epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), 0);
    for (int i = 0; i < count; ++i) {
        const epoll_event& event = events.at(static_cast<std::size_t>(i));
        if (event.data.ptr == &timer_) {
            isTime = true;
        } else if (event.data.ptr != &wake_) {
            see(*static_cast<Entry*>(event.data.ptr), event.events);
        }
    }
    if (isTime) {
        endStalled();
    }
}

/// Makes the first queued connection that has input the current one.
bool ConnectionHub::takeNext() {
    while (queued() != 0 && steps_ < kStepsOfTurn) {
        Entry& entry = dequeue();
        ++steps_;
        const std::size_t most = isRoomy() ? kReadRoomy : kReadTight;
        switch (entry.connection.takeInput(std::span(input_).first(most))) {
            case Connection::Step::moved:
                touch(entry);
                current_ = &entry;
                calls_ = 0;
                return true;
            case Connection::Step::nothing:
                settle(entry);
                break;
            case Connection::Step::lost:
                close(entry);
                break;
        }
    }
    return false;
}

bool ConnectionHub::nextCall(rpc_msg* message) {
    while (current_ != nullptr || takeNext()) {
        const auto record = current_->connection.nextRecord();
        if (!record) {
            finish();
        } else if (!call_.begin(*record, message)) {
            hangUp();
        } else {
            ++steps_;
            ++calls_;
            inCall_ = true;
            const sockaddr_in& peer = current_->connection.peer();
            std::memcpy(&transport_.xp_raddr, &peer, sizeof peer);
            transport_.xp_addrlen = sizeof peer;
            transport_.xp_rtaddr = {.maxlen = sizeof peer, .len = sizeof peer, .buf = &transport_.xp_raddr};
            return true;
        }
    }
    return false;
}

std::size_t ConnectionHub::callsMax() const {
    return std::clamp<std::size_t>(kCallsOfRound / (queued() + 1), 1, kCallsOfConnection);
}

/// Whether the current connection is to be asked for another call in this turn.
bool ConnectionHub::goesOn() {
    if (!current_->connection.hasInput() || calls_ >= callsMax() || steps_ >= kStepsOfTurn) {
        return false;
    }
    if (gathered_ <= (isRoomy() ? kGatherRoomy : kGatherTight)) {
        return true;
    }
    return sendGathered() && !current_->connection.isWaiting();
}

/// Sends the replies of the current connection. False, with the connection hung up, if it is lost.
bool ConnectionHub::sendGathered() {
    if (gathered_ == 0) {
        return true;
    }
    const auto step = current_->connection.send(std::span(replies_).first(std::exchange(gathered_, 0)), now_);
    if (replies_.size() > kReplyRoom) {
        std::vector<char>(kReplyRoom).swap(replies_);
    }
    if (step == Connection::Step::lost) {
        close(*current_);
        return false;
    }
    return true;
}

/// Ends the current connection's share of the turn.
void ConnectionHub::finish() {
    if (current_ == nullptr || !sendGathered()) {
        return;
    }
    Entry& entry = *std::exchange(current_, nullptr);
    if (entry.connection.hasFailed() || !entry.connection.putAside(now_)) {
        close(entry);
        return;
    }
    settle(entry);
    keepWithinMemory();
}

/// Closes the current connection, once its replies are sent as far as the socket takes them.
void ConnectionHub::hangUp() {
    if (current_ != nullptr && sendGathered()) {
        close(*current_);
    }
}

/// False while the turn goes on.
bool ConnectionHub::endTurn() {
    if (steps_ < kStepsOfTurn && (current_ != nullptr || queued() != 0)) {
        return false;
    }
    inTurn_ = false;
    const bool isAwake = queued() != 0;
    if (std::exchange(isAwake_, isAwake) != isAwake) {
        eventfd_t value = 1;
        if (isAwake) {
            ::eventfd_write(wake_.get(), value);
        } else {
            ::eventfd_read(wake_.get(), &value);
        }
    }
    return true;
}

// What half-done work asks for.

void ConnectionHub::see(Entry& entry, std::uint32_t events) {
    const bool isBroken = (events & (EPOLLERR | EPOLLHUP)) != 0;
    if (entry.isWaiting && !isBroken) {
        if (entry.connection.sendWaiting(now_) == Connection::Step::lost) {
            close(entry);
        } else {
            touch(entry);
            settle(entry);
        }
    } else if ((events & EPOLLIN) != 0 && !entry.isWaiting) {
        enqueue(entry);
    } else {
        close(entry);
    }
}

void ConnectionHub::enqueue(Entry& entry) {
    if (!std::exchange(entry.isQueued, true)) {
        (entry.connection.hasAside() ? backlog_ : fresh_).push_back(&entry);
    }
}

/// Takes from both queues in turn, so that who has just asked does not wait for all who have asked for much.
ConnectionHub::Entry& ConnectionHub::dequeue() {
    isBacklogNext_ = fresh_.empty() || (!isBacklogNext_ && !backlog_.empty());
    auto& queue = isBacklogNext_ ? backlog_ : fresh_;
    Entry& entry = *queue.front();
    queue.pop_front();
    entry.isQueued = false;
    return entry;
}

/// Has the connection looked at again when there is something to be done for it; closes it if there will not
/// be.
void ConnectionHub::settle(Entry& entry) {
    const Connection& connection = entry.connection;
    held_ = held_ - entry.counted + connection.held();
    entry.counted = connection.held();
    countWaiting(entry, connection.isWaiting());

    std::uint32_t interest = connection.hasEnded() ? 0U : std::uint32_t{EPOLLIN};
    if (connection.isWaiting()) {
        interest = EPOLLOUT;
    } else if (connection.hasAside()) {
        enqueue(entry);
    } else if (connection.hasEnded()) {
        close(entry);
        return;
    }
    if (std::exchange(entry.interest, interest) != interest) {
        epoll_event event{.events = interest, .data = {.ptr = &entry}};
        ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, connection.descriptor(), &event);
    }
}

void ConnectionHub::countWaiting(Entry& entry, bool isWaiting) {
    if (std::exchange(entry.isWaiting, isWaiting) == isWaiting) {
        return;
    }
    waiting_ = isWaiting ? waiting_ + 1 : waiting_ - 1;
    if (waiting_ == (isWaiting ? 1 : 0)) {
        // Ends with the last of them, so that an idle process is not woken.
        const auto look = std::min<std::chrono::nanoseconds>(kStallLook, limits_.stall / 4);
        itimerspec interval{};
        interval.it_interval.tv_sec = isWaiting ? look / std::chrono::seconds(1) : 0;
        interval.it_interval.tv_nsec = isWaiting ? (look % std::chrono::seconds(1)).count() : 0;
        interval.it_value = interval.it_interval;
        ::timerfd_settime(timer_.get(), 0, &interval, nullptr);
    }
}

void ConnectionHub::endStalled() {
    std::uint64_t expirations = 0;
    if (::read(timer_.get(), &expirations, sizeof expirations) < 0) {
        return;
    }
    const PeerQueue peers;
    forEach([this, &peers](Entry& entry) {
        if (entry.isWaiting && entry.connection.stalled(peers, now_) >= limits_.stall) {
            close(entry);
        }
    });
}

void ConnectionHub::keepWithinMemory() {
    while (held_ > limits_.memory) {
        Entry* worst = nullptr;
        std::pair<double, std::size_t> most;
        forEach([this, &worst, &most](Entry& entry) {
            // Without an unfinished record anywhere, the one that holds the most.
            const std::pair cost(entry.connection.unfinishedCost(now_), entry.counted);
            if (worst == nullptr || cost > most) {
                worst = &entry;
                most = cost;
            }
        });
        close(*worst);
    }
}

bool ConnectionHub::isRoomy() const {
    return held_ <= limits_.memory / kRoomyPart;
}

}  // namespace rte
