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

#include "rpc/portmapper.h"
#include "rte/BLL/core/rpcProxy.h"
#include "standin/inventory.h"
#include "standin/manager.h"
#include "standin/threads.h"

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
Client connectTo(int protocol, rpcvers_t version = RPC_ONUQOS_VERS) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(portmapper::portOf(protocol));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int descriptor = socket(AF_INET, protocol == IPPROTO_TCP ? SOCK_STREAM : SOCK_DGRAM, protocol);
    EXPECT_EQ(connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    CLIENT* client = protocol == IPPROTO_TCP
                         // As small as the library makes its buffers: records travel in many fragments.
                         ? clnttcp_create(&address, RPC_ONUQOS_PROG, version, &descriptor, 100, 100)
                         : clntudp_create(&address, RPC_ONUQOS_PROG, version, kPatience, &descriptor);
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

/// The result of a reply, -1 without one.
template <typename Reply>
int resOf(const Reply* reply) {
    if (reply == nullptr) {
        return -1;
    }
    if constexpr (requires { reply->res; }) {
        return static_cast<int>(reply->res);
    } else {
        return static_cast<int>(*reply);
    }
}

template <auto Routine>
xdrproc_t xdr() {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(Routine));
}

clnt_stat callRaw(const Client& client, rpcproc_t procedure, xdrproc_t routine, void* argument) {
    return clnt_call(client.get(), procedure, routine, static_cast<char*>(argument), xdr<xdr_void>(), nullptr,
                     kPatience);
}

std::string items(std::initializer_list<std::uint32_t> values) {
    std::string bytes;
    for (const std::uint32_t value : values) {
        const std::uint32_t big = htonl(value);
        bytes.append(reinterpret_cast<const char*>(&big), sizeof big);
    }
    return bytes;
}

int descriptorOf(const Client& client) {
    int descriptor = -1;
    EXPECT_TRUE(clnt_control(client.get(), CLGET_FD, reinterpret_cast<char*>(&descriptor)));
    return descriptor;
}

/// Loads the built module, starts the entities, and runs the process's receive loop, once for all tests.
class Service : public testing::TestWithParam<int> {
protected:
    static void SetUpTestSuite() {
        library_ = dlopen(ONUQOS_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library_, nullptr) << dlerror();
        standin::Inventory platform;
        platform.ports = {{.interface = 1, .olt = 1}};
        platform.onus = {{.interface = 101, .parent = 1}};
        standin::configure(platform);
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

TEST_P(Service, eachProcedureAnswers) {
    CLIENT* const to = client_.get();
    const auto ok = [](const auto* reply) { EXPECT_EQ(resOf(reply), 0); };
    char gold[] = "gold", silver[] = "silver", tin[] = "tin", gold2[] = "gold2";
    EXPECT_NE(rpc_onuqos_null_1(to), nullptr);

    ok(rpc_tcontprofile_create_1(gold, to));
    ok(rpc_tcontprofile_copy_1(gold, silver, to));
    ok(rpc_tcontprofile_rename_1(silver, gold2, to));
    ok(rpc_tcontprofile_id_set_1(gold, 3, to));
    ok(rpc_tcontprofile_type_set_1(gold, rpcTContProfileType5, to));
    ok(rpc_tcontprofile_maximum_rate_set_1(gold, 1024, to));
    ok(rpc_tcontprofile_assured_rate_set_1(gold, 256, to));
    ok(rpc_tcontprofile_fixed_rate_set_1(gold, 512, to));
    ok(rpc_tcontprofile_fixed_rate_set_1(gold, -1, to));  // the default
    ok(rpc_tcontprofile_alloc_type_set_1(gold, rpcTContProfileAllocType2, to));
    ok(rpc_tcontprofile_srdba_weight_set_1(gold, -1, to));
    ok(rpc_tcontprofile_srdba_priority_set_1(gold, 5, to));
    const auto* got = rpc_tcontprofile_get_1(gold, to);
    ASSERT_EQ(resOf(got), rpcTContProfileResOk);
    EXPECT_EQ(std::string(got->info.name) + std::to_string(got->info.fixedRate), "gold0");
    EXPECT_EQ(got->info.dbaAllocType + got->info.dbaPriority, rpcTContProfileAllocType2 + 5U);
    ok(rpc_tcontprofile_attached_get_1(gold, to));
    ok(rpc_tcontprofile_default_get_1(to));
    ok(rpc_tcontprofile_default_type_get_1(rpcTContProfileType2, to));
    rpcTContProfileInfo wanted{};
    wanted.tContType = rpcTContProfileType1;
    ok(rpc_tcontprofile_create_and_set_1(tin, wanted, rpcTContProfileParmsTContType, to));
    ok(rpc_tcontprofile_first_get_1(to));
    EXPECT_EQ(resOf(rpc_tcontprofile_next_get_1(tin, to)), rpcTContProfileResNoMore);
    for (char* profile : {gold, gold2, tin}) {
        ok(rpc_tcontprofile_delete_1(profile, to));
    }

    rpcOnuFlowProfileInfo flow{};
    flow.rule.cPcp = 7;
    flow.rule.ruleType = rpcOnuFlowProfileRuleTypeCVlan;
    flow.rule.operation = rpcOnuFlowProfileOperationSet;
    std::memset(flow.rule.cVlan, '\xFF', sizeof flow.rule.cVlan - 1);
    flow.rule.cVlan[0] = '\x7F';
    flow.action = {256, 512, 0, 0, rpcOnuFlowProfileActionTypePeakRateUs, rpcOnuFlowProfileOperationSet};
    ok(rpc_onuflowprofile_create_1(gold, to));
    ok(rpc_onuflowprofile_copy_1(gold, silver, to));
    ok(rpc_onuflowprofile_rename_1(silver, gold2, to));
    ok(rpc_onuflowprofile_rule_set_1(gold, flow.rule, to));
    ok(rpc_onuflowprofile_action_set_1(gold, flow.action, to));
    const auto* flowGot = rpc_onuflowprofile_get_1(gold, to);
    ASSERT_EQ(resOf(flowGot), rpcOnuFlowProfileResOk);
    EXPECT_EQ(flowGot->info.rule.cPcp, -1);
    EXPECT_EQ(std::memcmp(flowGot->info.rule.cVlan, flow.rule.cVlan, sizeof flow.rule.cVlan), 0);
    ok(rpc_onuflowprofile_attached_get_1(gold, to));
    ok(rpc_onuflowprofile_action_default_get_1(to));
    ok(rpc_onuflowprofile_create_and_set_1(tin, flow, rpcOnuFlowProfileParmsCPcp, to));
    ok(rpc_onuflowprofile_first_get_1(to));
    EXPECT_EQ(resOf(rpc_onuflowprofile_next_get_1(tin, to)), rpcOnuFlowProfileResNoMore);
    for (char* profile : {gold, gold2, tin}) {
        ok(rpc_onuflowprofile_delete_1(profile, to));
    }

    ok(rpc_tcontprofile_conf_apply_state_get_1(to));
    ok(rpc_cac_olt_get_1(1, to));
    EXPECT_EQ(resOf(rpc_cac_olt_get_1(101, to)), rpcTContProfileResError) << "not a port";
    const auto* ranges = rpc_onu_qos_port_ranges_get_1(to);
    ASSERT_EQ(resOf(ranges), rpcTContProfileResOk);
    EXPECT_EQ(ranges->data.maximumRateMax, 1244160U);
}

TEST_P(Service, malformedRequestsGetTheErrorsOfTheProtocol) {
    for (const rpcproc_t unknown : {13U, 99U, 119U, 199U, 203U}) {
        EXPECT_EQ(callRaw(client_, unknown, xdr<xdr_void>(), nullptr), RPC_PROCUNAVAIL) << unknown;
    }
    EXPECT_EQ(callRaw(connectTo(GetParam(), 2), 0, xdr<xdr_void>(), nullptr), RPC_PROGVERSMISMATCH);
    // What an earlier request left in a buffer does not complete a later one.
    char name[] = "gold of an earlier request";
    char* argument = name;
    EXPECT_EQ(resOf(rpc_tcontprofile_get_1(name, client_.get())), rpcTContProfileResNotFound);
    EXPECT_EQ(callRaw(client_, 100, xdr<xdr_void>(), nullptr), RPC_CANTDECODEARGS);
    EXPECT_EQ(callRaw(client_, 102, xdr<xdr_wrapstring>(), &argument), RPC_CANTDECODEARGS);
    EXPECT_EQ(callRaw(client_, 0, xdr<xdr_void>(), nullptr), RPC_SUCCESS);
    EXPECT_EQ(resOf(rpc_tcontprofile_first_get_1(client_.get())), rpcTContProfileResNoMore);
}

// The items of a record in odd fragments lie on odd addresses, and across the ends of buffers.
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
    ASSERT_EQ(resOf(got), rpcOnuFlowProfileResOk);
    EXPECT_EQ(got->info.rule.cPcp, 5);
    for (int i = 0; i < 512; ++i) {
        ASSERT_EQ(static_cast<unsigned char>(got->info.rule.cVlan[i]), i * 2 % 256) << i;
    }
    EXPECT_EQ(resOf(rpc_onuflowprofile_delete_1(gold, client_.get())), rpcOnuFlowProfileResOk);
}

// More than the server takes before it looks at others, and the last of a connection comes in two parts.
TEST_P(Service, requestsThatQueueAreAnsweredInOrder) {
    constexpr std::uint32_t kCalls = 40;
    constexpr std::uint32_t kCutShort = 20;
    const bool tcp = GetParam() == IPPROTO_TCP;
    const int descriptor = descriptorOf(client_);
    const auto transmit = [descriptor](std::string_view bytes) {
        ASSERT_EQ(send(descriptor, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    };
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
        std::string call = items({id, CALL, 2, RPC_ONUQOS_PROG, RPC_ONUQOS_VERS, 104, 0, 0, 0, 0, 4});
        call += id == kCutShort ? "" : "none";
        if (tcp) {
            stream += items({0x80000000 | static_cast<std::uint32_t>(call.size())}) + call;
        } else {
            transmit(call);
        }
    }
    const std::size_t part = stream.size() - std::min<std::size_t>(stream.size(), 30);
    transmit(std::string_view(stream).substr(0, part));
    for (std::uint32_t id = 0; id < kCalls - 1; ++id) {
        expectAnswer(id);
    }
    transmit(std::string_view(stream).substr(part));
    expectAnswer(kCalls - 1);
}
