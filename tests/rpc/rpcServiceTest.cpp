#include <arpa/inet.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <onuqos.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>

#include "BLLManager.h"
#include "rpc/portmapper.h"
#include "rpc/wire.h"
#include "rte/BLL/core/rpcProxy.h"
#include "standin/inventory.h"
#include "standin/manager.h"
#include "standin/threads.h"

using wire::items;
using wire::record;

namespace {

constexpr timeval kPatience{.tv_sec = 60, .tv_usec = 0};

void* startNothing(void*) {
    return nullptr;
}

struct CloseClient {
    void operator()(CLIENT* client) const { clnt_destroy(client); }
};
using Client = std::unique_ptr<CLIENT, CloseClient>;

/// A client with a socket of its own, so that the library neither walks reserved ports nor asks a portmapper.
Client connectTo(int protocol) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(portmapper::portOf(protocol));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int descriptor = socket(AF_INET, protocol == IPPROTO_TCP ? SOCK_STREAM : SOCK_DGRAM, protocol);
    EXPECT_EQ(connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    CLIENT* client = protocol == IPPROTO_TCP
                         // As small as the library makes its buffers: records travel in many fragments.
                         ? clnttcp_create(&address, RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, &descriptor, 100, 100)
                         : clntudp_create(&address, RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, kPatience, &descriptor);
    if (client == nullptr) {
        close(descriptor);
        ADD_FAILURE() << clnt_spcreateerror("client");
        return nullptr;
    }
    timeval patience = kPatience;
    clnt_control(client, CLSET_TIMEOUT, reinterpret_cast<char*>(&patience));
    clnt_control(client, CLSET_FD_CLOSE, nullptr);
    return Client(client);
}

int descriptorOf(const Client& client) {
    int descriptor = -1;
    EXPECT_TRUE(clnt_control(client.get(), CLGET_FD, reinterpret_cast<char*>(&descriptor)));
    return descriptor;
}

void transmit(int descriptor, std::string_view bytes) {
    ASSERT_EQ(send(descriptor, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
}

std::string callWith(std::uint32_t id, std::uint32_t procedure, const std::string& name) {
    return wire::call(id, RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, procedure, wire::text(name));
}

/// Loads the built module, starts the entities, and runs the process's receive loop, once for all tests.
class Service : public testing::TestWithParam<int> {
protected:
    static void SetUpTestSuite() {
        library_ = dlopen(ONUQOS_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library_, nullptr) << dlerror();
        standin::configure({});
        standin::manager::startAll();
        ASSERT_TRUE(standin::threads::awaitEnd("onuqos_mng", std::chrono::seconds(60)));
        loop_ = std::make_unique<RPCProxy>(startNothing, "BLLManager_mng");
        ASSERT_TRUE(loop_->start());
    }

    static void TearDownTestSuite() {
        loop_.reset();
        EXPECT_TRUE(standin::manager::stopAll().empty());
        svc_unregister(RPC_ONUQOS_PROG, RPC_ONUQOS_VERS);
        // The transports stay with the RPC library, as they do in a process that ends.
    }

    Client client_ = connectTo(GetParam());

private:
    inline static void* library_ = nullptr;
    inline static std::unique_ptr<RPCProxy> loop_;
};

std::string transportName(const testing::TestParamInfo<int>& transport) {
    return transport.param == IPPROTO_TCP ? "Tcp" : "Udp";
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(On, Service, testing::Values(IPPROTO_UDP, IPPROTO_TCP), transportName);

TEST_P(Service, oddlyFragmentedRecordsAreServed) {
    char gold[] = "gold";
    std::string request = items({1, 0, 2, RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, 12, 0, 0, 0, 0, 4}) + gold;
    for (std::uint32_t i = 0; i < 65 + 1 + 512; ++i) {
        request += items({i < 65    ? 0
                          : i == 65 ? 5
                                    : 0xABCDEF00 | (i - 66) * 2 % 256});  // name, PCP, bytes of the bitmap
    }
    request += items({0, 0, 0, 256, 512, 1, 2, 0, 0, 0x7E});
    const Client client = connectTo(IPPROTO_TCP);
    const int descriptor = descriptorOf(client);
    for (std::size_t at = 0, length = 7; at < request.size(); at += length, length = length % 89 + 6) {
        length = std::min(length, request.size() - at);
        const auto last = at + length == request.size() ? 0x80000000 : 0;
        const std::uint32_t mark = htonl(static_cast<std::uint32_t>(length) | last);
        ASSERT_EQ(send(descriptor, &mark, sizeof mark, 0), ssize_t{sizeof mark});
        ASSERT_EQ(send(descriptor, &request[at], length, 0), static_cast<ssize_t>(length));
    }
    std::uint32_t reply[8]{};  // mark, id, direction, accepted, verifier, its length, success, result
    ASSERT_EQ(recv(descriptor, reply, sizeof reply, MSG_WAITALL), ssize_t{sizeof reply});
    EXPECT_EQ(ntohl(reply[7]), 0U);
    const auto* got = rpc_onuflowprofile_get_1(gold, client_.get());
    ASSERT_TRUE(got != nullptr && got->res == rpcOnuFlowProfileResOk);
    EXPECT_EQ(got->info.rule.cPcp, 5);
    for (int i = 0; i < 512; ++i) {
        ASSERT_EQ(static_cast<unsigned char>(got->info.rule.cVlan[i]), i * 2 % 256) << i;
    }
    const auto* deleted = rpc_onuflowprofile_delete_1(gold, client_.get());
    EXPECT_TRUE(deleted != nullptr && *deleted == rpcOnuFlowProfileResOk);
}

// More than the server takes before it looks at others, and the last of a connection comes in two parts.
TEST_P(Service, requestsThatQueueAreAnsweredInOrder) {
    constexpr std::uint32_t kCalls = 40;
    constexpr std::uint32_t kCutShort = 20;
    const bool tcp = GetParam() == IPPROTO_TCP;
    const int descriptor = descriptorOf(client_);
    const auto expectAnswer = [descriptor, tcp](std::uint32_t id) {
        std::array<char, 1000> reply{};
        pollfd ready{.fd = descriptor, .events = POLLIN, .revents = 0};  // the library made it non-blocking
        ASSERT_EQ(poll(&ready, 1, 1000 * static_cast<int>(kPatience.tv_sec)), 1) << id;
        std::uint32_t mark = 0;
        if (tcp) {
            ASSERT_EQ(recv(descriptor, &mark, sizeof mark, MSG_WAITALL), ssize_t{sizeof mark});
        }
        const std::size_t size = tcp ? ntohl(mark) & 0x7FFFFFFF : reply.size();
        ASSERT_LE(size, reply.size());
        ASSERT_GE(recv(descriptor, reply.data(), size, tcp ? MSG_WAITALL : 0), 24);
        const std::uint32_t status = id == kCutShort ? GARBAGE_ARGS : SUCCESS;
        EXPECT_EQ(std::string(reply.data(), 24), items({id, REPLY, MSG_ACCEPTED, AUTH_NONE, 0, status}));
    };

    std::string stream;
    for (std::uint32_t id = 0; id < kCalls; ++id) {
        const std::string whole = callWith(id, 104, "none");
        const std::string call = id == kCutShort ? whole.substr(0, whole.size() - 4) : whole;
        if (tcp) {
            stream += record(call);
        } else {
            transmit(descriptor, call);
        }
    }
    const std::size_t part = stream.size() - std::min<std::size_t>(stream.size(), 30);
    transmit(descriptor, std::string_view(stream).substr(0, part));
    for (std::uint32_t id = 0; id < kCalls - 1; ++id) {
        expectAnswer(id);
    }
    transmit(descriptor, std::string_view(stream).substr(part));
    expectAnswer(kCalls - 1);
}

TEST_P(Service, aClientWithManyRequestsDoesNotHoldUpOthers) {
    const Client other = connectTo(IPPROTO_TCP);
    ASSERT_NE(rpc_onuqos_null_1(other.get()), nullptr);  // accepted before the others queue
    ASSERT_NE(rpc_onuqos_null_1(client_.get()), nullptr);
    const bool tcp = GetParam() == IPPROTO_TCP;
    const std::string name = tcp ? "t" : "u";  // made by the last of the calls
    // More than are served in two turns: the first may begin before the other client has asked.
    constexpr std::uint32_t kCalls = 200;
    {
        const BLLManager::exclusiveLock_t held;  // the first request waits for it, the rest queue behind
        ASSERT_TRUE(held.obtained());
        for (std::uint32_t id = 0; id < kCalls; ++id) {
            const std::string call = callWith(id, id == kCalls - 1 ? 100 : 104, name);
            transmit(descriptorOf(client_), tcp ? record(call) : call);
        }
        transmit(descriptorOf(other), record(callWith(kCalls, 101, name)));
    }
    std::uint32_t reply[8]{};
    ASSERT_EQ(recv(descriptorOf(other), reply, sizeof reply, MSG_WAITALL), ssize_t{sizeof reply});
    EXPECT_EQ(ntohl(reply[7]), rpcTContProfileResNotFound) << "served behind the last of the others";
}
