#include <onuqos.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "moduleTest.h"
#include "onuqos/rpc/conversions.h"
#include "onuqos/rpc/dispatch.h"
#include "onuqos/rules/vlanBitmap.h"

// The dispatcher and the wire. What travels is written down byte by byte (XDR, RFC 4506).

namespace {

using Bytes = std::string;

template <typename... Values>
Bytes numbers(Values... values) {
    Bytes items;
    for (const std::uint32_t value : {static_cast<std::uint32_t>(values)...}) {
        items += {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
                  static_cast<char>(value >> 8), static_cast<char>(value)};
    }
    return items;
}

Bytes text(const std::string& value) {
    return numbers(value.size()) + value + Bytes((4 - value.size() % 4) % 4, '\0');
}

/// A fixed array of char: an item of four bytes an element, sign-extended, and zeros after the value.
Bytes chars(std::string value, std::size_t size) {
    value.resize(size, '\0');
    Bytes items;
    for (const char element : value) {
        items += numbers(static_cast<signed char>(element));
    }
    return items;
}

Bytes name(const std::string& value) {
    return chars(value, 65);
}

/// T-CONT id, type, fixed, assured and maximum rate, allocation type, weight, priority.
template <typename... Fields>
Bytes tCont(const std::string& profile, Fields... fields) {
    return name(profile) + numbers(fields...);
}

struct WireRule {
    int pcp = 0;
    std::vector<unsigned int> vlans = {};
    int direction = 0, type = 0, operation = 0;
};

Bytes rule(const WireRule& value) {
    std::string bitmap(512, '\0');
    for (const unsigned int vlan : value.vlans) {
        bitmap[vlan / 8] = static_cast<char>(bitmap[vlan / 8] | 1 << (7 - vlan % 8));
    }
    return numbers(value.pcp) + chars(bitmap, 512) + numbers(value.direction, value.type, value.operation);
}

const Bytes kNoTCont = tCont("", 0, 0, 0, 0, 0, 0, 0, 0);
const Bytes kNoFlow = name("") + rule({}) + numbers(0, 0, 0, 0, 0, 0);

struct Reply {
    accept_stat status{};
    Bytes result;

    bool operator==(const Reply&) const = default;
};

void PrintTo(const Reply& reply, std::ostream* out) {
    *out << "status " << reply.status << ", " << reply.result.size() << " bytes "
         << testing::PrintToString(reply.result);
}

const Reply kGarbage{GARBAGE_ARGS, ""};

Reply success(const Bytes& result) {
    return {.status = SUCCESS, .result = result};
}

/// A transport that takes its request from memory and keeps what is sent.
class MemoryTransport {
public:
    /// What the dispatcher sends in answer to one request.
    std::vector<Reply> call(rpcproc_t procedure, const Bytes& argument) {
        argument_ = argument;
        replies_.clear();
        svc_req request{};
        request.rq_prog = 0x20000026;
        request.rq_vers = 1;
        request.rq_proc = procedure;
        request.rq_xprt = &transport_;
        rpcOnuqosDispatch(&request, &transport_);
        return replies_;
    }

    int freed = 0;
    int refuseReplies = 0;
    bool refuseFree = false;

private:
    static MemoryTransport& of(SVCXPRT* transport) {
        return *static_cast<MemoryTransport*>(transport->xp_p1);
    }

    static bool_t decode(SVCXPRT* transport, xdrproc_t routine, void* argument) {
        Bytes& bytes = of(transport).argument_;
        XDR xdrs;
        xdrmem_create(&xdrs, bytes.data(), static_cast<u_int>(bytes.size()), XDR_DECODE);
        return routine(&xdrs, argument);
    }

    static bool_t reply(SVCXPRT* transport, rpc_msg* message) {
        auto& self = of(transport);
        if (self.refuseReplies > 0) {
            --self.refuseReplies;
            return FALSE;
        }
        auto& accepted = message->rm_reply.rp_acpt;
        std::vector<char> room(4096);
        XDR xdrs;
        xdrmem_create(&xdrs, room.data(), static_cast<u_int>(room.size()), XDR_ENCODE);
        if (accepted.ar_stat == SUCCESS) {
            EXPECT_TRUE(accepted.ar_results.proc(&xdrs, accepted.ar_results.where));
        }
        self.replies_.push_back({accepted.ar_stat, Bytes(room.data(), xdr_getpos(&xdrs))});
        return TRUE;
    }

    static bool_t free(SVCXPRT* transport, xdrproc_t routine, void* argument) {
        ++of(transport).freed;
        xdr_free(routine, argument);
        return of(transport).refuseFree ? FALSE : TRUE;
    }

    Bytes argument_;
    std::vector<Reply> replies_;
    std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>> operations_{.xp_recv = nullptr,
                                                                                      .xp_stat = nullptr,
                                                                                      .xp_getargs = decode,
                                                                                      .xp_reply = reply,
                                                                                      .xp_freeargs = free,
                                                                                      .xp_destroy = nullptr};
    SVCXPRT transport_ = [this] {
        SVCXPRT transport{};
        transport.xp_ops = &operations_;
        transport.xp_p1 = this;
        return transport;
    }();
};

class RpcTest : public ModuleTest {
protected:
    /// A request and the bytes of the reply.
    struct Row {
        rpcproc_t procedure;
        Bytes argument;
        Bytes result;
    };

    /// Each request comes cut short first, which neither changes nor decodes anything.
    void converse(const std::vector<Row>& rows) {
        for (const auto& [procedure, argument, result] : rows) {
            SCOPED_TRACE("procedure " + std::to_string(procedure) + " of " +
                         testing::PrintToString(argument));
            const Snapshot before = snapshot();
            transport_.freed = 0;
            const std::size_t step = argument.size() > 400 ? 20 : 1;
            for (std::size_t length = 0; length < argument.size(); length += step) {
                EXPECT_THAT(transport_.call(procedure, argument.substr(0, length)), ElementsAre(kGarbage));
            }
            EXPECT_EQ(transport_.freed, 0);
            EXPECT_EQ(snapshot(), before);
            EXPECT_THAT(transport_.call(procedure, argument), ElementsAre(success(result)));
            EXPECT_EQ(transport_.freed, 1);
        }
    }

    MemoryTransport transport_;
};

}  // namespace

// clang-format off
TEST_F(RpcTest, tContProfilesByteForByte) {
    const Bytes gold = text("gold");
    const std::string cut = std::string(70, 'm');
    converse({
        {100, gold, numbers(0)},
        {100, gold, numbers(11)},
        {105, gold, numbers(0, 0)},
        {105, text("tin"), numbers(0, 0)},
        {109, gold + numbers(2), numbers(0)},
        {110, gold + numbers(5), numbers(0)},
        {110, gold + numbers(3), numbers(0)},
        {113, gold + numbers(1024), numbers(0)},
        {112, gold + numbers(512), numbers(0)},
        {111, gold + numbers(0xFFFFFFFF), numbers(15)},
        {116, gold + numbers(3), numbers(1)},
        {116, gold + numbers(2), numbers(0)},
        {117, gold + numbers(5), numbers(0)},
        {118, gold + numbers(6), numbers(0)},
        {104, gold, tCont("gold", 2, 3, 0, 512, 1024, 2, 5, 6) + numbers(0)},
        {112, gold + numbers(0xFFFFFFFF), numbers(0)},
        {116, gold + numbers(1), numbers(0)},
        {104, gold, tCont("gold", 2, 3, 0, 256, 1024, 1, 5, 6) + numbers(0)},
        {104, text("tin"), kNoTCont + numbers(3)},  // nothing of what the last client read
        {107, "", tCont("gold", 2, 3, 0, 256, 1024, 0, 0, 0) + numbers(0)},
        {106, "", tCont("", 1, 5, 0, 0, 256, 1, 1, 0) + numbers(0)},
        {114, numbers(1), tCont("", 1, 5, 256, 0, 256, 0, 0, 0) + numbers(0)},
        {114, numbers(9), tCont("", 1, 5, 0, 0, 0, 0, 0, 0) + numbers(0)},
        {103, gold + text("silver"), numbers(0)},
        {102, text("silver") + text("s\x80\xFF"), numbers(0)},
        {108, gold, tCont("s\x80\xFF", 2, 3, 0, 256, 1024, 0, 0, 0) + numbers(0)},
        {108, text("s\x80\xFF"), kNoTCont + numbers(14)},
        {102, text("s\x80\xFF") + text(cut), numbers(0)},
        {104, text(cut), tCont(cut.substr(0, 64), 2, 3, 0, 256, 1024, 1, 1, 0) + numbers(0)},
        {101, text(cut), numbers(0)},
        {101, text(cut), numbers(3)},
        {115, text("new") + tCont("other", 4, 1, 512, 0, 0, 2, 9, 9) + numbers(2 + 4 + 8 + 64), numbers(0)},
        {104, text("new"), tCont("new", 4, 1, 512, 0, 512, 1, 1, 0) + numbers(0)},
        {115, text("new") + tCont("new", 7, 1, 512, 0, 0, 2, 9, 9) + numbers(2), numbers(15)},
    });
}

TEST_F(RpcTest, onuFlowProfilesByteForByte) {
    const auto flow = [](const std::string& profile, const WireRule& itsRule, const std::array<unsigned int, 4>& action) {
        return name(profile) + rule(itsRule) + numbers(action[0], action[1], action[2], action[3], 0, 0);
    };
    const Bytes hsi = text("hsi");
    const std::string longest(64, 'n');
    const WireRule voipRule{.pcp = 7, .vlans = {1, 10, 4094}};
    converse({
        {1, hsi, numbers(0)},
        {1, hsi, numbers(10)},
        {8, hsi, numbers(0, 0)},
        {8, text("tin"), numbers(0, 0)},
        {5, hsi, flow("hsi", {.pcp = -1}, {128, kHighest, 0, 0}) + numbers(0)},
        {9, "", numbers(128, kHighest, 0, 0, 0, 0, 0)},
        {12, text("voip") + flow("other", {.pcp = 7, .vlans = {1, 10, 4094}, .direction = 7, .type = 8}, {1024, 2048, 1, 2}) +
             numbers(0x7E), numbers(0)},
        {5, text("voip"), flow("voip", voipRule, {1024, 2048, 1, 2}) + numbers(0)},
        {5, text("tin"), kNoFlow + numbers(3)},
        {6, hsi + rule({.type = 2}), numbers(1)},
        {6, hsi + rule({.type = -2}), numbers(1)},
        {6, hsi + rule({.pcp = 8, .type = 0}), numbers(18)},
        {6, hsi + rule({.vlans = {2048, 7, 8}, .type = 1}), numbers(0)},
        {6, hsi + rule({.vlans = {0}, .type = 1}), numbers(1)},
        {7, hsi + numbers(0, 0, 0, 0, 4, 0), numbers(1)},
        {7, hsi + numbers(0, 4096, 0, 0, 1, 0), numbers(0)},
        {7, hsi + numbers(8192, 0, 0, 0, 0, 0), numbers(12)},
        {10, "", flow("hsi", {.pcp = -1, .vlans = {7, 8, 2048}}, {128, 4096, 0, 0}) + numbers(0)},
        {11, hsi, flow("voip", voipRule, {1024, 2048, 1, 2}) + numbers(0)},
        {11, text("voip"), kNoFlow + numbers(17)},
        {4, hsi + text("iptv"), numbers(0)},
        {3, text("iptv") + text("voip"), numbers(10)},
        {3, text("iptv") + text(longest), numbers(0)},
        {5, text(longest), flow(longest, {.pcp = -1, .vlans = {7, 8, 2048}}, {128, 4096, 0, 0}) + numbers(0)},
        {2, hsi, numbers(0)},
    });
}
// clang-format on

TEST_F(RpcTest, stateRangesAndAdmission) {
    unsigned int est[2]{}, act[2]{};
    bool violation = true;
    ASSERT_EQ(module_.onuQosCacOltGet(1, est[0], est[1], act[0], act[1], violation), onuQosResOk);
    const unsigned int least = byClass(256U, 1024U);
    converse({{200, "", numbers(0, 0)},
              {201, numbers(1), numbers(est[0], est[1], act[0], act[1], 0, 0)},
              {202, "",
               numbers(128, kHighest, 128, kHighest, least, kHighest, least, kHighest, least, kHighest, 64,
                       byClass(64, 1024), 0)}});
    standin::ports::overrideAvailable(1, standin::ports::Available{.fixed = 12'345'000, .total = 23'456'000});
    fail("getAvailableBandwith");
    EXPECT_EQ(transport_.call(201, numbers(1)).at(0).result.substr(8), numbers(0xFFFFFFFF, 0xFFFFFFFF, 0, 0));
    EXPECT_EQ(transport_.call(201, numbers(1)).at(0).result.substr(8), numbers(98760, 187648, 0, 0));
    module_.configurationApplyStart();
    converse({{200, "", numbers(1, 0)}});
    module_.configurationApplyStop();
    converse({{200, "", numbers(0, 0)}});
}

TEST_F(RpcTest, aStringIsRefusedOnlyWhenItIsLongerThanItsRecord) {
    for (const rpcproc_t procedure : {100U, 102U, 115U}) {
        for (const std::uint32_t length : {5U, 65537U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            EXPECT_THAT(transport_.call(procedure, numbers(length) + "gold"), ElementsAre(kGarbage));
        }
    }
    EXPECT_THAT(transport_.call(102, text("gold") + text(std::string(1'000'000, 'x'))),
                ElementsAre(success(numbers(3))));
    EXPECT_THAT(transport_.call(100, text(std::string(1'000'000, 'x'))), ElementsAre(success(numbers(13))));
}

TEST_F(RpcTest, unknownProceduresAndFailuresOfTheTransport) {
    for (rpcproc_t number = 0; number <= 300; ++number) {
        const bool known =
            number <= 12 || (number >= 100 && number <= 118) || (number >= 200 && number <= 202);
        EXPECT_EQ(transport_.call(number, "").at(0).status == PROC_UNAVAIL, !known) << number;
    }
    for (const rpcproc_t unknown : {0x7FFFFFFFU, 0xFFFFFFFFU}) {
        EXPECT_THAT(transport_.call(unknown, text("gold")), ElementsAre(Reply{PROC_UNAVAIL, ""}));
    }
    EXPECT_THAT(transport_.call(0, "ignored"), ElementsAre(success("")));
    transport_.freed = 0;
    transport_.refuseReplies = 1;
    EXPECT_THAT(transport_.call(100, text("gold")), ElementsAre(Reply{SYSTEM_ERR, ""}));
    EXPECT_TRUE(module_.tContProfileExists("gold"));
    EXPECT_EQ(transport_.freed, 1);
    transport_.refuseFree = true;
    testing::internal::CaptureStderr();
    EXPECT_THAT(transport_.call(101, text("gold")), ElementsAre(success(numbers(0))));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "unable to free arguments");
}

TEST(Wire, eachVlanHasItsBit) {
    for (std::uint16_t vlan = 0; vlan < 4096; ++vlan) {
        char bitmap[ONUQOS_VLAN_BITMAP_BYTES]{}, expected[ONUQOS_VLAN_BITMAP_BYTES]{};
        expected[vlan / 8] = static_cast<char>(1 << (7 - vlan % 8));
        ASSERT_EQ(rules::vlansFromBitmap(expected), std::vector{vlan});
        ASSERT_TRUE(rules::vlansToBitmap({vlan, vlan}, bitmap));
        ASSERT_EQ(std::memcmp(bitmap, expected, sizeof bitmap), 0) << vlan;
    }
    char bitmap[ONUQOS_VLAN_BITMAP_BYTES]{};
    EXPECT_FALSE(rules::vlansToBitmap({1, 4096}, bitmap));
}

TEST(Wire, valuesWithoutAWireFormEndTheConversion) {
    const tContProfileInfo bad{"gold", 9, onuTContProfileType{6}, 9, 2, 3, tContDbaMode0, 9, 5, {}};
    rpcTContProfileInfo record{};
    EXPECT_FALSE(wire::tContRatesSet(record, bad));
    EXPECT_FALSE(wire::tContSrdbaSet(record, bad));
    EXPECT_EQ(record.tContId, 9U) << "written before the type";
    EXPECT_EQ(record.tContType + record.fixedRate + record.dbaAllocType + record.dbaWeight, 0U);
}

TEST(Wire, resultsMapToTheCodesOfTheirFamily) {
    // By result 0 to 19; 31 where the family has no code.
    constexpr int kFlow[] = {0, 1, 16, 10, 2, 3, 17, 18, 12, 31, 4, 5, 31, 31, 19, 31, 31, 31, 31, 31};
    constexpr int kTCont[] = {0, 1, 13, 11, 2, 3, 14, 15, 31, 7, 4, 5, 17, 18, 16, 19, 31, 31, 31, 31};
    auto& module = singleton<onuQos>::instance();
    for (int res = 0; res < 20; ++res) {
        auto flow = static_cast<rpcOnuFlowProfileRes>(31);
        auto tCont = static_cast<rpcTContProfileRes>(31);
        EXPECT_EQ(module.onuFlowProfileResTypeSet(onuQos::onuQosRes{res}, flow), kFlow[res] != 31);
        EXPECT_EQ(module.tContProfileResTypeSet(onuQos::onuQosRes{res}, tCont), kTCont[res] != 31);
        EXPECT_EQ(flow, kFlow[res]);
        EXPECT_EQ(tCont, kTCont[res]);
    }
}
