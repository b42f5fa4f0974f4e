// The transports of the RPC programs, served by a receive loop of the test's own, next to transports of the
// RPC library that serve the same program: what both answer is compared.

#include <gmock/gmock.h>
#include <netinet/in.h>
#include <poll.h>
#include <rpc/rpc.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "rpc/wire.h"
#include "rte/BLL/core/connectionHub.h"
#include "rte/BLL/core/datagramOperations.h"

using wire::call;
using wire::fragment;
using wire::items;
using wire::record;
using wire::text;

namespace {

constexpr std::uint32_t kProgram = 0x20000098;
constexpr std::uint32_t kVersion = 3;
constexpr std::chrono::seconds kPatience{30};

// What the program does.
constexpr std::uint32_t kNothing = 0;
constexpr std::uint32_t kEcho = 1;      ///< a string
constexpr std::uint32_t kBlock = 2;     ///< so many bytes
constexpr std::uint32_t kCaller = 3;    ///< the client's port
constexpr std::uint32_t kSilence = 4;   ///< no reply
constexpr std::uint32_t kHangUp = 5;    ///< closes the connection
constexpr std::uint32_t kNonsense = 6;  ///< a result that cannot be encoded

std::size_t served = 0;

xdrproc_t xdr(auto routine) {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(routine));
}

bool_t xdrText(XDR* xdrs, char** text) {
    return xdr_string(xdrs, text, ~0U);
}

bool_t refuse(XDR*, void*) {
    return FALSE;
}

void dispatch(svc_req* request, SVCXPRT* transport) {
    ++served;
    if (request->rq_proc == kNothing) {
        svc_sendreply(transport, xdr(xdr_void), nullptr);
    } else if (request->rq_proc == kEcho) {
        char* string = nullptr;
        if (svc_getargs(transport, xdr(xdrText), &string)) {
            svc_sendreply(transport, xdr(xdrText), &string);
            svc_freeargs(transport, xdr(xdrText), &string);
        } else {
            svcerr_decode(transport);
        }
    } else if (request->rq_proc == kBlock) {
        u_int size = 0;
        svc_getargs(transport, xdr(xdr_u_int), &size);
        const std::string block(size, 'b');
        const char* bytes = block.c_str();
        svc_sendreply(transport, xdr(xdrText), &bytes) || (svcerr_systemerr(transport), true);
    } else if (request->rq_proc == kCaller) {
        u_int port = static_cast<const sockaddr_in*>(svc_getrpccaller(transport)->buf)->sin_port;
        svc_sendreply(transport, xdr(xdr_u_int), &port);
    } else if (request->rq_proc == kHangUp) {
        svc_sendreply(transport, xdr(xdr_void), nullptr);
        svc_destroy(transport);
    } else if (request->rq_proc == kNonsense) {
        svc_sendreply(transport, xdr(refuse), nullptr) || (svcerr_systemerr(transport), true);
    } else if (request->rq_proc != kSilence) {
        svcerr_noproc(transport);
    }
}

int bound(int type) {
    const int descriptor = socket(AF_INET, type, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    if ((type & SOCK_STREAM) != 0) {
        EXPECT_EQ(listen(descriptor, 128), 0);
    }
    return descriptor;
}

/// A client's socket, connected to what `server` is bound to.
class Client {
public:
    explicit Client(int server, int type = SOCK_STREAM, int receiveBuffer = 0)
        : descriptor_(socket(AF_INET, type | SOCK_NONBLOCK, 0)) {
        if (receiveBuffer != 0) {
            setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
        }
        sockaddr_in address{};
        socklen_t size = sizeof address;
        EXPECT_EQ(getsockname(server, reinterpret_cast<sockaddr*>(&address), &size), 0);
        connect(descriptor_, reinterpret_cast<sockaddr*>(&address), size);
    }
    ~Client() { close(descriptor_); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    int descriptor() const { return descriptor_; }

    /// Sends as much as goes; the rest.
    std::string_view send(std::string_view bytes) const {
        const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        return bytes.substr(sent < 0 ? 0 : static_cast<std::size_t>(sent));
    }

    /// Reads up to `most` bytes of what has come.
    void read(std::size_t most = 1U << 20U) {
        std::string bytes(most, '\0');
        const ssize_t size = recv(descriptor_, bytes.data(), bytes.size(), 0);
        if (size > 0) {
            received += bytes.substr(0, static_cast<std::size_t>(size));
        }
        isClosed = isClosed || size == 0 || (size < 0 && errno == ECONNRESET);
    }

    std::string received;
    bool isClosed = false;

private:
    int descriptor_;
};

class Transports : public testing::Test {
protected:
    Transports() : listener_(bound(SOCK_STREAM | SOCK_NONBLOCK)), datagrams_(bound(SOCK_DGRAM)) {
        serveBy({});
    }
    ~Transports() override {
        svc_destroy(libraryTcp_);
        svc_destroy(libraryUdp_);
        close(listener_);
        svc_unregister(kProgram, kVersion);
    }

    void SetUp() override {
        ASSERT_TRUE(svc_register(libraryTcp_, kProgram, kVersion, dispatch, 0));
        served = 0;
    }

    void serveBy(const rte::ConnectionLimits& limits) {
        hub_.reset();
        hub_ = std::make_unique<rte::ConnectionHub>(limits);
    }

    /// A round of the receive loop.
    void serve() {
        hub_->accept(listener_);
        fd_set ready = svc_fdset;
        timeval wait{.tv_sec = 0, .tv_usec = 1000};
        if (select(FD_SETSIZE, &ready, nullptr, nullptr, &wait) > 0) {
            svc_getreqset(&ready);
        }
    }

    /// Serves until `condition` holds.
    template <typename Condition>
    void serveUntil(Condition condition) {
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (!condition()) {
            serve();
            ASSERT_LT(std::chrono::steady_clock::now(), end);
        }
    }

    /// Serves until the client has received `bytes`, or more.
    void expectReceived(Client& client, std::size_t bytes) {
        serveUntil([&client, bytes] {
            client.read();
            return client.received.size() >= bytes || client.isClosed;
        });
        EXPECT_EQ(client.received.size(), bytes);
    }

    void expectAnswered(Client& client, std::uint32_t id) {
        client.received.clear();
        client.send(record(call(id, kProgram, kVersion, kNothing)));
        expectReceived(client, 28);
        EXPECT_EQ(client.received, record(items({id, 1, 0, 0, 0, 0})));
    }

    void expectClosed(Client& client) {
        serveUntil([&client] {
            client.read();
            return client.isClosed;
        });
    }

    int listener_;
    int datagrams_;
    std::unique_ptr<rte::ConnectionHub> hub_;
    SVCXPRT* libraryTcp_ = svctcp_create(bound(SOCK_STREAM), 0, 0);
    SVCXPRT* libraryUdp_ = svcudp_create(bound(SOCK_DGRAM));
    rte::DatagramOperations ours_{svcudp_create(datagrams_)};
};

std::string callOf(std::uint32_t procedure, const std::string& arguments = {}) {
    return call(7, kProgram, kVersion, procedure, arguments);
}

std::string withCredentials(std::uint32_t flavour, const std::string& credentials) {
    return items({7, 0, 2, kProgram, kVersion, kNothing, flavour}) + text(credentials) + items({0, 0});
}

}  // namespace

TEST_F(Transports, answerAsTheLibraryDoes) {
    const std::string unixCredentials = items({0, 4}) + "host" + items({0, 0, 2, 100, 101});
    const std::pair<const char*, std::string> rows[] = {
        {"no argument", callOf(kNothing)},
        {"an argument", callOf(kEcho, text("gold"))},
        {"an empty argument", callOf(kEcho, text(""))},
        {"an argument that is cut short", callOf(kEcho, text("gold").substr(0, 6))},
        {"an argument that is longer than its record", callOf(kEcho, items({0x7FFFFFFF}))},
        {"bytes behind the argument", callOf(kEcho, text("gold") + "more")},
        {"a long reply", callOf(kBlock, items({8000}))},
        {"a result that cannot be sent", callOf(77) + items({1})},
        {"an unknown procedure", callOf(99)},
        {"another version", call(7, kProgram, 9, kNothing)},
        {"an unknown program", call(7, 0x20000097, kVersion, kNothing)},
        {"credentials of a user", withCredentials(AUTH_SYS, unixCredentials)},
        {"credentials of a user without name", withCredentials(AUTH_SYS, items({0, 0, 0, 0, 0}))},
        {"credentials of a user with too long a name", withCredentials(AUTH_SYS, items({0, 256, 0, 0, 0}))},
        {"credentials of a user in too many groups", withCredentials(AUTH_SYS, items({0, 0, 0, 0, 17}))},
        {"short credentials", withCredentials(AUTH_SHORT, "abcd")},
        {"credentials of an unknown flavour", withCredentials(77, "abcd")},
    };
    Client hub(listener_);
    Client library(libraryTcp_->xp_fd);
    Client datagrams(datagrams_, SOCK_DGRAM);
    Client libraryDatagrams(libraryUdp_->xp_fd, SOCK_DGRAM);
    for (const auto& [name, bytes] : rows) {
        SCOPED_TRACE(name);
        for (Client* client : {&hub, &library}) {
            client->received.clear();
            client->send(record(bytes));
        }
        for (Client* client : {&datagrams, &libraryDatagrams}) {
            client->received.clear();
            client->send(bytes);
        }
        serveUntil([&] {
            bool all = true;
            for (Client* client : {&hub, &library, &datagrams, &libraryDatagrams}) {
                client->read();
                all = all && !client->received.empty();
            }
            return all && hub.received.size() >= library.received.size();
        });
        EXPECT_EQ(hub.received, library.received);
        EXPECT_EQ(datagrams.received, hub.received.substr(4));
        if (name != std::string_view("an argument that is cut short")) {  // the library reads beyond its end
            EXPECT_EQ(datagrams.received, libraryDatagrams.received);
        }
    }
    EXPECT_FALSE(hub.isClosed);
}

TEST_F(Transports, writeNothingOfCredentialsThatAreCutShort) {
    const std::string whole = items({0, 4}) + "host" + items({0, 0, 2, 100, 101});
    const std::string denied = record(items({7, REPLY, MSG_DENIED, AUTH_ERROR, AUTH_BADCRED}));
    Client client(listener_);
    testing::internal::CaptureStdout();
    for (std::size_t size = 0; size < whole.size(); size += 4) {
        SCOPED_TRACE(size);
        client.received.clear();
        client.send(record(withCredentials(AUTH_SYS, whole.substr(0, size))));
        expectReceived(client, denied.size());
        EXPECT_EQ(client.received, denied);
    }
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Transports, denyContextsThatTheLibraryWouldKeep) {
    const std::string initiate = items({1, 1, 0, 1, 0});
    for (const auto flavour : {std::uint32_t{RPCSEC_GSS}, std::uint32_t{AUTH_DES}}) {
        const std::string bytes = withCredentials(flavour, initiate);
        const std::string denied = items({7, REPLY, MSG_DENIED, AUTH_ERROR, AUTH_REJECTEDCRED});
        Client connection(listener_);
        connection.send(record(bytes));
        expectReceived(connection, 4 + denied.size());
        EXPECT_EQ(connection.received, record(denied));
        Client datagrams(datagrams_, SOCK_DGRAM);
        datagrams.send(bytes);
        expectReceived(datagrams, denied.size());
        EXPECT_EQ(datagrams.received, denied);
    }
}

TEST_F(Transports, closeConnectionsThatDoNotSpeakRpc) {
    std::string oldVersion = callOf(kNothing);
    oldVersion[11] = 1;
    std::string reply = callOf(kNothing);
    reply[7] = 1;
    for (const std::string& bytes : {record(oldVersion), record(reply), record("GET "), record(""),
                                     items({0x80100001}), std::string("GET / HTTP/1.1\r\n\r\n")}) {
        Client client(listener_);
        client.send(record(callOf(kNothing)) + bytes);
        expectClosed(client);
        EXPECT_EQ(client.received, record(items({7, 1, 0, 0, 0, 0}))) << "of the call that came before";
    }
    EXPECT_EQ(hub_->connections(), 0U);
}

TEST_F(Transports, takeCallsAndSendRepliesOfAnyLength) {
    const std::string large = text(std::string((1U << 20U) - 44, 'x'));
    Client client(listener_);
    const std::string bytes = record(callOf(kEcho, large));
    std::string_view rest = bytes;
    serveUntil([&] {
        rest = client.send(rest);
        client.read();
        return client.received.size() >= 28 + large.size();
    });
    EXPECT_TRUE(client.received == record(items({7, 1, 0, 0, 0, 0}) + large));
    client.received.clear();
    const std::string failed = record(items({7, 1, 0, 0, 0, SYSTEM_ERR}));
    client.send(record(callOf(kBlock, items({1U << 20U}))) + record(callOf(kNonsense)));
    expectReceived(client, 2 * failed.size());
    EXPECT_EQ(client.received, failed + failed) << "longer than a record may be; not to be encoded";
    EXPECT_EQ(hub_->held(), 0U);

    Client datagrams(datagrams_, SOCK_DGRAM);
    datagrams.send(callOf(kEcho, text(std::string(8000, 'x'))));
    datagrams.send(callOf(kEcho, text(std::string(60'000, 'x'))));
    expectReceived(datagrams, 24 + 4 + 8000);
    EXPECT_EQ(served, 5U) << "the last, of which the reply does not fit in a datagram, too";
}

TEST_F(Transports, everyReplyIsADatagramOfItsOwn) {
    Client first(datagrams_, SOCK_DGRAM);
    Client second(datagrams_, SOCK_DGRAM);
    // Lengths of text that two clients ask for in turn; replies alike, and too many of them, may be sent at
    // once.
    for (const auto& lengths : std::vector<std::vector<std::size_t>>{{0, 0, 0, 4, 4, 400, 4, 0},
                                                                     std::vector<std::size_t>(16, 600),
                                                                     std::vector<std::size_t>(10, 8000)}) {
        std::vector<std::string> expected;
        for (const std::size_t length : lengths) {
            expected.push_back(text(std::string(length, static_cast<char>('a' + expected.size()))));
            first.send(callOf(kEcho, expected.back()));
            if (expected.size() % 5 == 0) {
                second.send(callOf(kEcho, expected.back()));
            }
        }
        for (std::size_t i = 0; i < expected.size(); ++i) {
            for (Client* client : {&first, &second}) {
                if (client == &first || (i + 1) % 5 == 0) {
                    client->received.clear();
                    serveUntil([client] {
                        client->read();
                        return !client->received.empty();
                    });
                    EXPECT_TRUE(client->received == items({7, 1, 0, 0, 0, 0}) + expected[i]) << i;
                }
            }
        }
    }
}

TEST_F(Transports, tellADispatcherWhoCalls) {
    Client first(listener_);
    Client second(listener_);
    Client third(datagrams_, SOCK_DGRAM);
    for (Client* client : {&first, &second, &third}) {
        sockaddr_in own{};
        socklen_t size = sizeof own;
        getsockname(client->descriptor(), reinterpret_cast<sockaddr*>(&own), &size);
        const std::string reply = items({7, 1, 0, 0, 0, 0, own.sin_port});
        const bool isStream = client != &third;
        client->send(isStream ? record(callOf(kCaller)) : callOf(kCaller));
        expectReceived(*client, reply.size() + (isStream ? 4 : 0));
        EXPECT_EQ(client->received, isStream ? record(reply) : reply);
    }
}

TEST_F(Transports, aCallWithoutReplyLeavesTheOthersTheirs) {
    Client client(listener_);
    client.send(record(call(1, kProgram, kVersion, kNothing)) +
                record(call(2, kProgram, kVersion, kSilence)) +
                record(call(3, kProgram, kVersion, kNothing)));
    expectReceived(client, 56);
    EXPECT_EQ(client.received, record(items({1, 1, 0, 0, 0, 0})) + record(items({3, 1, 0, 0, 0, 0})));
}

TEST_F(Transports, aDispatcherCanHangUp) {
    Client other(listener_);
    Client client(listener_);
    client.send(record(callOf(kHangUp)) + record(callOf(kNothing)));
    expectClosed(client);
    EXPECT_EQ(client.received, record(items({7, 1, 0, 0, 0, 0})));
    EXPECT_EQ(served, 1U);
    expectAnswered(other, 1);
}

// A correct client may send all its calls before it reads, and close its end.
TEST_F(Transports, aClientThatReadsLateGetsEveryReply) {
    constexpr std::uint32_t kCalls = 3000;
    constexpr std::uint32_t kSize = 2348;
    Client late(listener_);
    Client other(listener_);
    std::string bytes;
    for (std::uint32_t id = 0; id < kCalls; ++id) {
        bytes += record(call(id, kProgram, kVersion, kBlock, items({kSize})));
    }
    std::string_view rest = bytes;
    serveUntil([&] {
        rest = late.send(rest);
        return rest.empty();
    });
    shutdown(late.descriptor(), SHUT_WR);
    for (std::uint32_t id = 0; id < 100; ++id) {
        expectAnswered(other, id);
    }
    const std::size_t begun = served;
    expectAnswered(other, 0);
    EXPECT_EQ(served, begun + 1) << "while its replies wait, no call of the client is begun";
    EXPECT_LT(begun, kCalls) << "or the test shows nothing";
    EXPECT_LT(hub_->held(), 300'000U);

    expectClosed(late);
    std::string expected;
    for (std::uint32_t id = 0; id < kCalls; ++id) {
        expected += record(items({id, 1, 0, 0, 0, 0}) + text(std::string(kSize, 'b')));
    }
    EXPECT_TRUE(late.received == expected) << late.received.size() << " bytes";
    EXPECT_EQ(hub_->held(), 0U);
}

TEST_F(Transports, aBusyClientIsServedInTurnWithOthers) {
    Client busy(listener_);
    Client other(listener_);
    expectAnswered(busy, 0);
    expectAnswered(other, 0);
    constexpr std::uint32_t kCalls = 1000;
    std::string bytes;
    for (std::uint32_t id = 0; id < kCalls; ++id) {
        bytes += record(call(id, kProgram, kVersion, kNothing));
    }
    busy.send(bytes);
    other.send(record(callOf(kNothing)));
    served = 0;
    other.received.clear();
    expectReceived(other, 28);
    EXPECT_LE(served, 100U);
    busy.received.clear();
    expectReceived(busy, kCalls * std::size_t{28});
}

TEST_F(Transports, whoHasBeenSilentForLongestMakesRoom) {
    serveBy({.connections = 3});
    Client client(listener_);
    expectAnswered(client, 1);
    Client stranger(listener_);
    Client half(listener_);
    stranger.send(record(callOf(kEcho, "x")));  // refused, which carries out nothing
    expectReceived(stranger, 28);
    half.send("\x80");
    serve();
    Client newcomer(listener_);
    expectAnswered(newcomer, 2);
    expectClosed(stranger);
    EXPECT_FALSE(half.isClosed);
    Client next(listener_);
    expectAnswered(next, 3);
    expectClosed(half);
    expectAnswered(client, 4);
    Client last(listener_);
    expectAnswered(last, 5);
    expectClosed(newcomer);  // the client was silent for longer at first, but not now
    expectAnswered(client, 6);
}

TEST_F(Transports, whoHasAskedAndWaitsForItsTurnIsNotSilent) {
    serveBy({.connections = 3});
    Client asking(listener_);
    Client silent(listener_);
    Client other(listener_);
    hub_->accept(listener_);
    asking.send(record(callOf(kNothing)));
    Client newcomer(listener_);
    hub_->accept(listener_);
    expectReceived(asking, 28);
    expectClosed(silent);
    expectAnswered(other, 1);
    expectAnswered(newcomer, 2);
}

TEST_F(Transports, unfinishedRecordsThatCostTheMostMakeRoomInMemory) {
    serveBy({.memory = 400'000});
    Client small(listener_);
    Client large(listener_);
    Client next(listener_);
    const std::string whole = record(callOf(kEcho, text(std::string(500'000, 'x'))));
    const auto send = [this](Client& client, std::string_view bytes) {
        serveUntil([&] {
            bytes = client.send(bytes);
            return bytes.empty();
        });
    };
    send(small, whole.substr(0, 50));
    send(large, whole.substr(0, 300'000));
    serveUntil([this] { return hub_->held() >= 300'000; });
    send(next, whole.substr(0, 200'000));
    expectClosed(large);
    EXPECT_LE(hub_->held(), 400'000U);
    send(small, record(callOf(kNothing)).substr(0, 0) + whole.substr(50, 1000));
    expectAnswered(*std::make_unique<Client>(listener_), 1);
    small.read();
    next.read();
    EXPECT_FALSE(small.isClosed || next.isClosed);
}

TEST_F(Transports, whoStopsReadingIsCutAndWhoReadsSlowlyIsNot) {
    serveBy({.stall = std::chrono::milliseconds(400)});
    std::string bytes;
    for (int i = 0; i < 500; ++i) {
        bytes += record(callOf(kBlock, items({8000})));
    }
    Client idle(listener_);
    Client stopped(listener_);
    Client slow(listener_);
    expectAnswered(idle, 1);
    stopped.send(bytes);
    slow.send(bytes);
    serveUntil([this, &slow] {
        slow.read(1);
        return hub_->connections() < 3;
    });
    EXPECT_FALSE(slow.isClosed);
    const auto again = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (std::chrono::steady_clock::now() < again) {
        slow.read(1);
        serve();
    }
    expectClosed(stopped);
    expectReceived(slow, 500 * (28 + std::size_t{8004}));
    expectAnswered(slow, 1);
    expectAnswered(idle, 2);
}
