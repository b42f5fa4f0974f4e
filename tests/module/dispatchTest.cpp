#include "rpc/dispatch.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <type_traits>
#include <vector>

#include "moduleTest.h"
#include "wireBytes.h"

using bytes::Bytes;
using bytes::name;
using bytes::number;
using bytes::numbers;
using bytes::rule;
using bytes::tCont;
using bytes::text;
using testing::ElementsAre;

namespace {

const std::string kLongest(64, 'n');
const Bytes kNoTCont = tCont("", {});
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

Reply success(const Bytes& result) {
    return {.status = SUCCESS, .result = result};
}

/// A transport that takes its request from memory and keeps what is sent.
class MemoryTransport {
public:
    /// What the dispatcher sends in answer to one request.
    std::vector<Reply> call(rpcproc_t procedure, const Bytes& argument) {
        argument_.assign(argument.begin(), argument.end());
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
        auto& bytes = of(transport).argument_;
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

    std::vector<char> argument_;
    std::vector<Reply> replies_;
    using Operations = std::remove_const_t<std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>>;

    Operations operations_{.xp_recv = nullptr,
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

/// A request and the bytes of the reply.
struct Row {
    rpcproc_t procedure;
    Bytes argument;
    Bytes result;
};

/// An argument that decodes, for every procedure that takes one.
std::map<rpcproc_t, Bytes> arguments() {
    const Bytes two = text("some") + text("names");
    const Bytes rate = text("some") + number(1024);
    const Bytes action = numbers(128, 256, 0, 0, 1, 0);
    std::map<rpcproc_t, Bytes> all{
        {3, two},
        {4, two},
        {6, text("some") + rule({})},
        {7, text("some") + action},
        {12, text("some") + name("some") + rule({}) + action + number(0)},
        {102, two},
        {103, two},
        {114, number(1)},
        {115, text("some") + tCont("some", {}) + number(0)},
        {201, number(1)},
    };
    for (const rpcproc_t procedure : {1U, 2U, 5U, 8U, 11U, 100U, 101U, 104U, 105U, 108U}) {
        all[procedure] = text("some");
    }
    for (const rpcproc_t procedure : {109U, 110U, 111U, 112U, 113U, 116U, 117U, 118U}) {
        all[procedure] = rate;
    }
    return all;
}

}  // namespace

class Dispatch : public ModuleTest {
protected:
    void converse(const std::vector<Row>& rows) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            SCOPED_TRACE("row " + std::to_string(i) + ", procedure " + std::to_string(rows[i].procedure));
            EXPECT_THAT(transport_.call(rows[i].procedure, rows[i].argument),
                        ElementsAre(success(rows[i].result)));
        }
    }

    MemoryTransport transport_;
};

// clang-format off
TEST_F(Dispatch, tContProfilesByteForByte) {
    const Bytes gold = text("gold");
    const std::string cut = std::string(70, 'm');
    converse({
        {100, gold, number(0)},
        {100, gold, number(11)},
        {100, text(""), number(1)},
        {100, text(kLongest + "n"), number(13)},
        {105, gold, numbers(0, 0)},
        {105, text("tin"), numbers(0, 0)},
        {109, gold + number(2), number(0)},
        {109, gold + number(7), number(15)},
        {109, text("tin") + number(7), number(3)},
        {110, gold + number(6), number(1)},
        {110, gold + number(0xFFFFFFFF), number(1)},
        {110, gold + number(3), number(0)},
        {113, gold + number(1024), number(0)},
        {112, gold + number(512), number(0)},
        {112, gold + number(100), number(7)},
        {111, gold + number(0xFFFFFFFF), number(15)},
        {116, gold + number(0), number(1)},
        {116, gold + number(3), number(1)},
        {116, gold + number(2), number(0)},
        {117, gold + number(5), number(0)},
        {118, gold + number(6), number(0)},
        {104, gold, tCont("gold", {2, 3, 0, 512, 1024, 2, 5, 6}) + number(0)},
        {112, gold + number(0xFFFFFFFF), number(0)},
        {116, gold + number(1), number(0)},
        {104, gold, tCont("gold", {2, 3, 0, 256, 1024, 1, 5, 6}) + number(0)},
        {104, text("tin"), kNoTCont + number(3)},  // nothing of what the last client read
        {107, "", tCont("gold", {2, 3, 0, 256, 1024, 0, 0, 0}) + number(0)},
        {106, "", tCont("", {1, 5, 0, 0, 256, 1, 1, 0}) + number(0)},
        {114, number(1), tCont("", {1, 5, 256, 0, 256, 0, 0, 0}) + number(0)},
        {114, number(3), tCont("", {1, 5, 0, 256, 512, 0, 0, 0}) + number(0)},
        {114, number(9), tCont("", {1, 5, 0, 0, 0, 0, 0, 0}) + number(0)},
        {103, gold + text("silver"), number(0)},
        {103, gold + text("silver"), number(11)},
        {102, text("silver") + text("s\x80\xFF"), number(0)},
        {108, gold, tCont("s\x80\xFF", {2, 3, 0, 256, 1024, 0, 0, 0}) + number(0)},
        {108, text("s\x80\xFF"), kNoTCont + number(14)},
        {102, text("s\x80\xFF") + text(kLongest), number(0)},
        {104, text(kLongest), tCont(kLongest, {2, 3, 0, 256, 1024, 1, 1, 0}) + number(0)},
        {102, text(kLongest) + text(cut), number(0)},
        {104, text(cut), tCont(cut.substr(0, 64), {2, 3, 0, 256, 1024, 1, 1, 0}) + number(0)},
        {101, text(cut), number(0)},
        {101, text(cut), number(3)},
        {101, gold, number(0)},
        {107, "", kNoTCont + number(14)},
        {115, text("new") + tCont("other", {4, 1, 512, 0, 0, 2, 9, 9}) + number(2 + 4 + 8 + 64), number(0)},
        {104, text("new"), tCont("new", {4, 1, 512, 0, 512, 1, 1, 0}) + number(0)},
        {115, text("new") + tCont("new", {7, 1, 512, 0, 0, 2, 9, 9}) + number(2), number(15)},
    });
}

TEST_F(Dispatch, onuFlowProfilesByteForByte) {
    const auto flow = [](const std::string& profile, const bytes::Rule& itsRule, const std::array<int, 4>& action) {
        return name(profile) + rule(itsRule) + numbers(action[0], action[1], action[2], action[3], 0, 0);
    };
    const int highest = kTenG ? 9953280 : 1244160;
    const Bytes hsi = text("hsi");
    converse({
        {1, hsi, number(0)},
        {1, hsi, number(10)},
        {1, text(""), number(1)},
        {1, text(kLongest + "n"), number(16)},
        {8, hsi, numbers(0, 0)},
        {8, text("tin"), numbers(0, 0)},
        {5, hsi, flow("hsi", {.pcp = -1}, {128, highest, 0, 0}) + number(0)},
        {9, "", numbers(128, highest, 0, 0, 0, 0, 0)},
        {12, text("voip") + flow("other", {.pcp = 5, .vlans = {1, 10, 4094}, .direction = 7, .type = 8}, {1024, 2048, 1, 2}) +
             number(0x7E), number(0)},
        {5, text("voip"), flow("voip", {.pcp = 5, .vlans = {1, 10, 4094}}, {1024, 2048, 1, 2}) + number(0)},
        {5, text("tin"), kNoFlow + number(3)},
        {6, hsi + rule({.type = 2}), number(1)},
        {6, hsi + rule({.type = -2}), number(1)},
        {6, hsi + rule({.type = -1}), number(1)},
        {6, hsi + rule({.pcp = 8, .type = 0}), number(18)},
        {6, hsi + rule({.vlans = {2048, 7, 8}, .type = 1}), number(0)},
        {6, hsi + rule({.vlans = {0}, .type = 1}), number(1)},
        {6, hsi + rule({.vlans = {4095}, .type = 1}), number(1)},
        {7, hsi + numbers(0, 0, 0, 0, 4, 0), number(1)},
        {7, hsi + numbers(0, 4096, 0, 0, 1, 0), number(0)},
        {7, hsi + numbers(8192, 0, 0, 0, 0, 0), number(12)},
        {7, hsi + numbers(0, 0, 8, 0, 2, 0), number(18)},
        {10, "", flow("hsi", {.pcp = -1, .vlans = {7, 8, 2048}}, {128, 4096, 0, 0}) + number(0)},
        {11, hsi, flow("voip", {.pcp = 5, .vlans = {1, 10, 4094}}, {1024, 2048, 1, 2}) + number(0)},
        {11, text("voip"), kNoFlow + number(17)},
        {4, hsi + text("iptv"), number(0)},
        {3, text("iptv") + text("voip"), number(10)},
        {3, text("iptv") + text(kLongest), number(0)},
        {5, text(kLongest), flow(kLongest, {.pcp = -1, .vlans = {7, 8, 2048}}, {128, 4096, 0, 0}) + number(0)},
        {2, hsi, number(0)},
        {2, hsi, number(3)},
    });
}
// clang-format on

TEST_F(Dispatch, stateRangesAndAdmission) {
    unsigned int est[2]{};
    unsigned int act[2]{};
    bool violation = true;
    ASSERT_EQ(module_.onuQosCacOltGet(1, est[0], est[1], act[0], act[1], violation), onuQos::onuQosResOk);
    EXPECT_FALSE(violation);
    const unsigned int highest = kTenG ? 9953280 : 1244160;
    const unsigned int least = kTenG ? 1024 : 256;
    converse({
        {200, "", numbers(0, 0)},
        {201, number(1), numbers(est[0], est[1], act[0], act[1], 0, 0)},
        {202, "",
         numbers(128, highest, 128, highest, least, highest, least, highest, least, highest, 64,
                 kTenG ? 1024 : 64, 0)},
    });
    standin::ports::overrideAvailable(1, standin::ports::Available{.fixed = 12'345'000, .total = 23'456'000});
    fail("getAvailableBandwith");
    EXPECT_EQ(transport_.call(201, number(1)).at(0).result.substr(8), numbers(0xFFFFFFFF, 0xFFFFFFFF, 0, 0));
    EXPECT_EQ(transport_.call(201, number(1)).at(0).result.substr(8), numbers(98760, 187648, 0, 0));
    module_.configurationApplyStart();
    converse({{200, "", numbers(1, 0)}});
    module_.configurationApplyStop();
    converse({{200, "", numbers(0, 0)}});
}

TEST_F(Dispatch, knowsItsProceduresAndNoOthers) {
    std::vector<rpcproc_t> known;
    for (const Procedure& procedure : onuqosProcedures()) {
        known.push_back(procedure.number);
    }
    std::vector<rpcproc_t> expected;
    for (rpcproc_t number = 1; number <= 202; ++number) {
        if (number <= 12 || (number >= 100 && number <= 118) || number >= 200) {
            expected.push_back(number);
        }
    }
    EXPECT_EQ(known, expected);
    EXPECT_THAT(transport_.call(0, ""), ElementsAre(success("")));
    for (const rpcproc_t unknown : {13U, 99U, 119U, 199U, 203U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        EXPECT_THAT(transport_.call(unknown, text("gold")), ElementsAre(Reply{PROC_UNAVAIL, ""}));
    }
    EXPECT_EQ(transport_.freed, 0);
}

TEST_F(Dispatch, argumentsThatDoNotDecodeReachNoHandler) {
    const Snapshot before = snapshot();
    const Reply garbage{GARBAGE_ARGS, ""};
    for (const auto& [procedure, argument] : arguments()) {
        SCOPED_TRACE("procedure " + std::to_string(procedure));
        for (std::size_t length = 0; length<argument.size(); length += argument.size()> 400 ? 20 : 1) {
            EXPECT_THAT(transport_.call(procedure, argument.substr(0, length)), ElementsAre(garbage))
                << length;
        }
    }
    // More than is there, and more than is taken.
    for (const rpcproc_t procedure : {100U, 102U, 115U}) {
        for (const std::uint32_t length : {5U, 9001U, 65537U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            EXPECT_THAT(transport_.call(procedure, number(length) + "gold"), ElementsAre(garbage));
        }
    }
    EXPECT_THAT(transport_.call(102, text("gold") + text(std::string(65537, 'x'))), ElementsAre(garbage));
    EXPECT_EQ(transport_.freed, 0);
    EXPECT_EQ(snapshot(), before);

    EXPECT_THAT(transport_.call(102, text("gold") + text(std::string(65536, 'x'))),
                ElementsAre(success(number(3))));
    for (const auto& [procedure, argument] : arguments()) {
        EXPECT_EQ(transport_.call(procedure, argument).at(0).status, SUCCESS) << procedure;
    }
    EXPECT_EQ(transport_.freed, 1 + static_cast<int>(arguments().size()));
}

TEST_F(Dispatch, aReplyThatIsNotSentBecomesASystemError) {
    transport_.refuseReplies = 1;
    EXPECT_THAT(transport_.call(100, text("gold")), ElementsAre(Reply{SYSTEM_ERR, ""}));
    EXPECT_TRUE(module_.tContProfileExists("gold"));
    EXPECT_EQ(transport_.freed, 1);
}

TEST_F(Dispatch, argumentsThatAreNotFreedAreTold) {
    transport_.refuseFree = true;
    testing::internal::CaptureStderr();
    EXPECT_THAT(transport_.call(100, text("gold")), ElementsAre(success(number(0))));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "unable to free arguments");
}
