#include <arpa/inet.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <onuqos.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <memory>

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
    char gold[] = "gold", silver[] = "silver", tin[] = "tin", gold2[] = "gold2";
    EXPECT_NE(rpc_onuqos_null_1(to), nullptr);

    EXPECT_EQ(resOf(rpc_tcontprofile_create_1(gold, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_copy_1(gold, silver, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_rename_1(silver, gold2, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_id_set_1(gold, 3, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_type_set_1(gold, rpcTContProfileType5, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_maximum_rate_set_1(gold, 1024, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_assured_rate_set_1(gold, 256, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_fixed_rate_set_1(gold, 512, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_fixed_rate_set_1(gold, -1, to)), rpcTContProfileResOk) << "the default";
    EXPECT_EQ(resOf(rpc_tcontprofile_alloc_type_set_1(gold, rpcTContProfileAllocType2, to)),
              rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_srdba_weight_set_1(gold, -1, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_srdba_priority_set_1(gold, 5, to)), rpcTContProfileResOk);
    const auto* got = rpc_tcontprofile_get_1(gold, to);
    ASSERT_EQ(resOf(got), rpcTContProfileResOk);
    EXPECT_STREQ(got->info.name, "gold");
    EXPECT_EQ(got->info.tContId, 3U);
    EXPECT_EQ(got->info.tContType, rpcTContProfileType5);
    EXPECT_EQ(got->info.fixedRate, 0U);
    EXPECT_EQ(got->info.assuredRate, 256U);
    EXPECT_EQ(got->info.maximumRate, 1024U);
    EXPECT_EQ(got->info.dbaAllocType, rpcTContProfileAllocType2);
    EXPECT_EQ(got->info.dbaWeight, 0xFFFFFFFFU);
    EXPECT_EQ(got->info.dbaPriority, 5U);
    EXPECT_EQ(resOf(rpc_tcontprofile_attached_get_1(gold, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_default_get_1(to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_tcontprofile_default_type_get_1(rpcTContProfileType2, to)), rpcTContProfileResOk);
    rpcTContProfileInfo wanted{};
    wanted.tContType = rpcTContProfileType1;
    EXPECT_EQ(resOf(rpc_tcontprofile_create_and_set_1(tin, wanted, rpcTContProfileParmsTContType, to)),
              rpcTContProfileResOk);
    const auto* first = rpc_tcontprofile_first_get_1(to);
    ASSERT_EQ(resOf(first), rpcTContProfileResOk);
    EXPECT_STREQ(first->info.name, "gold");
    EXPECT_EQ(resOf(rpc_tcontprofile_next_get_1(tin, to)), rpcTContProfileResNoMore);
    for (char* name : {gold, gold2, tin}) {
        EXPECT_EQ(resOf(rpc_tcontprofile_delete_1(name, to)), rpcTContProfileResOk);
    }

    rpcOnuFlowProfileInfo flow{};
    flow.rule.cPcp = 7;
    std::memset(flow.rule.cVlan, '\xFF', sizeof flow.rule.cVlan);
    flow.rule.cVlan[0] = '\x7F';
    flow.rule.cVlan[511] = '\xFE';
    rpcOnuFlowProfileAction action{.guarRateUs = 256,
                                   .peakRateUs = 512,
                                   .flowPriorityUs = 0,
                                   .flowPriorityDs = 0,
                                   .actionType = rpcOnuFlowProfileActionTypePeakRateUs,
                                   .operation = rpcOnuFlowProfileOperationSet};
    EXPECT_EQ(resOf(rpc_onuflowprofile_create_1(gold, to)), rpcOnuFlowProfileResOk);
    EXPECT_EQ(resOf(rpc_onuflowprofile_copy_1(gold, silver, to)), rpcOnuFlowProfileResOk);
    EXPECT_EQ(resOf(rpc_onuflowprofile_rename_1(silver, gold2, to)), rpcOnuFlowProfileResOk);
    flow.rule.ruleType = rpcOnuFlowProfileRuleTypeCVlan;
    flow.rule.operation = rpcOnuFlowProfileOperationSet;
    EXPECT_EQ(resOf(rpc_onuflowprofile_rule_set_1(gold, flow.rule, to)), rpcOnuFlowProfileResOk);
    EXPECT_EQ(resOf(rpc_onuflowprofile_action_set_1(gold, action, to)), rpcOnuFlowProfileResOk);
    const auto* flowGot = rpc_onuflowprofile_get_1(gold, to);
    ASSERT_EQ(resOf(flowGot), rpcOnuFlowProfileResOk);
    EXPECT_EQ(flowGot->info.rule.cPcp, -1);
    EXPECT_EQ(std::memcmp(flowGot->info.rule.cVlan, flow.rule.cVlan, sizeof flow.rule.cVlan), 0);
    EXPECT_EQ(flowGot->info.action.peakRateUs, 512U);
    EXPECT_EQ(resOf(rpc_onuflowprofile_attached_get_1(gold, to)), rpcOnuFlowProfileResOk);
    EXPECT_EQ(resOf(rpc_onuflowprofile_action_default_get_1(to)), rpcOnuFlowProfileResOk);
    EXPECT_EQ(resOf(rpc_onuflowprofile_create_and_set_1(tin, flow, rpcOnuFlowProfileParmsCPcp, to)),
              rpcOnuFlowProfileResOk);
    EXPECT_EQ(resOf(rpc_onuflowprofile_first_get_1(to)), rpcOnuFlowProfileResOk);
    EXPECT_EQ(resOf(rpc_onuflowprofile_next_get_1(tin, to)), rpcOnuFlowProfileResNoMore);
    for (char* name : {gold, gold2, tin}) {
        EXPECT_EQ(resOf(rpc_onuflowprofile_delete_1(name, to)), rpcOnuFlowProfileResOk);
    }

    const auto* applying = rpc_tcontprofile_conf_apply_state_get_1(to);
    ASSERT_EQ(resOf(applying), rpcTContProfileResOk);
    EXPECT_FALSE(applying->applying);
    EXPECT_EQ(resOf(rpc_cac_olt_get_1(1, to)), rpcTContProfileResOk);
    EXPECT_EQ(resOf(rpc_cac_olt_get_1(101, to)), rpcTContProfileResError) << "not a port";
    const auto* ranges = rpc_onu_qos_port_ranges_get_1(to);
    ASSERT_EQ(resOf(ranges), rpcTContProfileResOk);
    EXPECT_EQ(ranges->data.maximumRateMax, 1244160U);
}

TEST_P(Service, iteratesAFullTable) {
    CLIENT* const to = client_.get();
    const auto nameOf = [](int number) {
        std::string name = "profile " + std::to_string(1000 + number);
        return name + std::string(64 - name.size(), '.');
    };
    for (int number = 0; number < 256; ++number) {
        ASSERT_EQ(resOf(rpc_tcontprofile_create_1(nameOf(number).data(), to)), rpcTContProfileResOk);
    }
    char oneMore[] = "one more";
    EXPECT_EQ(resOf(rpc_tcontprofile_create_1(oneMore, to)), rpcTContProfileResTableFull);
    int seen = 0;
    std::string last;
    for (const auto* reply = rpc_tcontprofile_first_get_1(to); resOf(reply) == rpcTContProfileResOk;
         reply = rpc_tcontprofile_next_get_1(last.data(), to)) {
        last = reply->info.name;
        ASSERT_EQ(last, nameOf(seen++));
    }
    EXPECT_EQ(seen, 256);
    for (int number = 0; number < 256; ++number) {
        ASSERT_EQ(resOf(rpc_tcontprofile_delete_1(nameOf(number).data(), to)), rpcTContProfileResOk);
    }
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
