#include <gtest/gtest.h>
#include <onuqos.h>

#include <cstring>
#include <deque>
#include <random>

#include "entity/onuQos.h"
#include "plainXdr.h"
#include "rpc/conversions.h"
#include "wireBytes.h"

namespace {

using bytes::Bytes;

template <auto Routine>
xdrproc_t xdr() {
    return reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(Routine));
}

Bytes encodedInMemory(xdrproc_t routine, void* record) {
    std::vector<char> room(8192);
    XDR xdrs;
    xdrmem_create(&xdrs, room.data(), static_cast<u_int>(room.size()), XDR_ENCODE);
    EXPECT_TRUE(routine(&xdrs, record));
    return {room.data(), xdr_getpos(&xdrs)};
}

bool decodeInMemory(xdrproc_t routine, Bytes wire, void* record) {
    XDR xdrs;
    xdrmem_create(&xdrs, wire.data(), static_cast<u_int>(wire.size()), XDR_DECODE);
    return routine(&xdrs, record) != FALSE && xdr_getpos(&xdrs) == wire.size();
}

/// A record-marking stream over memory, as small as the library makes its buffers, that hands out what it
/// has in pieces of uneven size.
struct Stream {
    static constexpr u_int kBufferSize = 100;

    std::deque<char> wire;
    std::minstd_rand random;

    static int readSome(void* handle, void* to, int room) {
        auto& stream = *static_cast<Stream*>(handle);
        int count = 0;
        const auto most = std::uniform_int_distribution(1, 37)(stream.random);
        for (; count < std::min(room, most) && !stream.wire.empty(); ++count) {
            static_cast<char*>(to)[count] = stream.wire.front();
            stream.wire.pop_front();
        }
        return count > 0 ? count : -1;
    }

    static int write(void* handle, void* from, int count) {
        auto& stream = *static_cast<Stream*>(handle);
        stream.wire.insert(stream.wire.end(), static_cast<char*>(from), static_cast<char*>(from) + count);
        return count;
    }

    bool pass(xdr_op operation, xdrproc_t routine, void* record) {
        XDR xdrs{};
        xdrrec_create(&xdrs, kBufferSize, kBufferSize, this, readSome, write);
        xdrs.x_op = operation;
        if (operation == XDR_DECODE) {
            xdrrec_skiprecord(&xdrs);
        }
        bool passed = routine(&xdrs, record) != FALSE;
        if (operation == XDR_ENCODE) {
            passed = xdrrec_endofrecord(&xdrs, TRUE) != FALSE && passed;
        }
        xdr_destroy(&xdrs);
        return passed;
    }

    /// Puts `message` into records of fragments whose lengths are no multiple of an item.
    void putFragmented(const Bytes& message) {
        for (std::size_t at = 0; at < message.size();) {
            const std::size_t length = std::min<std::size_t>(
                message.size() - at, std::uniform_int_distribution<std::size_t>(1, 90)(random));
            const std::uint32_t last = at + length == message.size() ? 0x80000000 : 0;
            const Bytes fragment =
                bytes::number(static_cast<std::uint32_t>(length) | last) + message.substr(at, length);
            wire.insert(wire.end(), fragment.begin(), fragment.end());
            at += length;
        }
    }
};

struct RecordKind {
    std::string name;
    std::size_t size;
    xdrproc_t routine;
    std::size_t wireBytes;
    bool named = false;  ///< begins with a string

    void fill(std::vector<char>& record, std::minstd_rand& random, std::string& text) const {
        for (char& byte : record) {
            byte = static_cast<char>(random() >> 8);
        }
        if (named) {
            char* pointer = text.data();
            std::memcpy(record.data(), &pointer, sizeof pointer);
        }
    }
};

template <typename Record, auto Routine>
RecordKind kind(const std::string& name, std::size_t wireBytes, bool named = false) {
    return {.name = name,
            .size = sizeof(Record),
            .routine = xdr<Routine>(),
            .wireBytes = wireBytes,
            .named = named};
}

const RecordKind kRecords[] = {
    kind<rpcOnuFlowProfileRule, xdr_rpcOnuFlowProfileRule>("rpcOnuFlowProfileRule", 2064),
    kind<rpcOnuFlowProfileInfo, xdr_rpcOnuFlowProfileInfo>("rpcOnuFlowProfileInfo", 2348),
    kind<rpcOnuFlowProfileInfoRes, xdr_rpcOnuFlowProfileInfoRes>("rpcOnuFlowProfileInfoRes", 2352),
    kind<rpcTContProfileInfo, xdr_rpcTContProfileInfo>("rpcTContProfileInfo", 292),
    kind<rpcTContProfileInfoRes, xdr_rpcTContProfileInfoRes>("rpcTContProfileInfoRes", 296),
    kind<rpc_onuflowprofile_create_and_set_1_argument, xdr_rpc_onuflowprofile_create_and_set_1_argument>(
        "rpc_onuflowprofile_create_and_set_1_argument", 4 + 8 + 2348 + 4, true),
};

}  // namespace

// The module replaces two routines of the library under the generated ones; nothing on the wire may change.
TEST(Wire, theModulesRoutinesAgreeWithTheGenerated) {
    std::minstd_rand random(20);  // NOLINT(cert-msc51-cpp): the same records in every run
    std::string text = "gold 65";
    for (const RecordKind& record : kRecords) {
        SCOPED_TRACE(record.name);
        const xdrproc_t plain = plainXdr(record.name);
        for (int round = 0; round < 50; ++round) {
            std::vector<char> sent(record.size);
            record.fill(sent, random, text);
            const Bytes wire = encodedInMemory(record.routine, sent.data());
            ASSERT_EQ(wire, encodedInMemory(plain, sent.data()));
            ASSERT_EQ(wire.size(), record.wireBytes);

            Stream ours;
            Stream theirs;
            ASSERT_TRUE(ours.pass(XDR_ENCODE, record.routine, sent.data()));
            ASSERT_TRUE(theirs.pass(XDR_ENCODE, plain, sent.data()));
            ASSERT_EQ(ours.wire, theirs.wire);
            Stream fragmented{.wire = {}, .random = random};
            fragmented.putFragmented(wire);

            const auto decodes = [&](const auto& decode) {
                std::vector<char> received(record.size);
                EXPECT_TRUE(decode(received.data()));
                EXPECT_EQ(encodedInMemory(plain, received.data()), wire);
                xdr_free(plain, received.data());
            };
            decodes([&](void* into) { return decodeInMemory(record.routine, wire, into); });
            decodes([&](void* into) { return theirs.pass(XDR_DECODE, record.routine, into); });
            decodes([&](void* into) { return fragmented.pass(XDR_DECODE, record.routine, into); });
            ASSERT_FALSE(HasFailure());
        }
    }
}

TEST(Wire, sizesOfTheOtherRecords) {
    const auto size = [](xdrproc_t routine, auto record) { return encodedInMemory(routine, &record).size(); };
    EXPECT_EQ(size(xdr<xdr_rpcOnuFlowProfileAction>(), rpcOnuFlowProfileAction{}), 24U);
    EXPECT_EQ(size(xdr<xdr_rpcCacOltInfo>(), rpcCacOltInfo{}), 20U);
    EXPECT_EQ(size(xdr<xdr_rpcOnuQosRangesData>(), rpcOnuQosRangesData{}), 48U);
}

TEST(Wire, eachVlanHasItsBit) {
    for (std::uint16_t vlan = 0; vlan < 4096; ++vlan) {
        char bitmap[ONUQOS_VLAN_BITMAP_BYTES]{};
        char expected[ONUQOS_VLAN_BITMAP_BYTES]{};
        expected[vlan / 8] = static_cast<char>(1 << (7 - vlan % 8));
        ASSERT_EQ(wire::vlansOf(expected), std::vector{vlan});
        ASSERT_TRUE(wire::vlansSet(bitmap, {vlan, vlan}));
        ASSERT_EQ(std::memcmp(bitmap, expected, sizeof bitmap), 0) << vlan;
    }
    char bitmap[ONUQOS_VLAN_BITMAP_BYTES]{};
    bitmap[0] = bitmap[511] = '\xFF';
    EXPECT_EQ(wire::vlansOf(bitmap), (std::vector<std::uint16_t>{0, 1, 2, 3, 4, 5, 6, 7, 4088, 4089, 4090,
                                                                 4091, 4092, 4093, 4094, 4095}));
    EXPECT_FALSE(wire::vlansSet(bitmap, {1, 4096}));
}

TEST(Wire, valuesWithoutAWireFormEndTheConversion) {
    const tContProfileInfo good{.name = "gold",
                                .tContId = 3,
                                .tContType = tContType4,
                                .fixedRate = 1,
                                .assuredRate = 2,
                                .maximumRate = 3,
                                .dbaAllocType = tContDbaMode2,
                                .dbaWeight = 4,
                                .dbaPriority = 5,
                                .appliedIntfs = {}};
    rpcTContProfileInfo record{};
    EXPECT_TRUE(wire::tContRatesSet(record, good) && wire::tContSrdbaSet(record, good));
    EXPECT_EQ(record.dbaAllocType, 1);
    tContProfileInfo bad = good;
    bad.tContId = 9;
    bad.tContType = onuTContProfileType{6};
    bad.dbaAllocType = tContDbaMode0;
    bad.dbaWeight = 9;
    bad.fixedRate = 9;
    EXPECT_FALSE(wire::tContRatesSet(record, bad));
    EXPECT_FALSE(wire::tContSrdbaSet(record, bad));
    EXPECT_EQ(record.tContId, 9U) << "written before the type";
    EXPECT_EQ(record.tContType, 4);
    EXPECT_EQ(record.fixedRate + record.dbaWeight, 5U);
}

TEST(Wire, aNameFieldIsReadUpToItsNulAndZeroBehindIt) {
    char field[ONUQOS_NAME_BYTES];
    std::memset(field, 'x', sizeof field);
    EXPECT_EQ(wire::nameOf(field), std::string(65, 'x'));
    wire::nameSet(field, "gold");
    Bytes expected = "gold";
    expected.resize(sizeof field);
    EXPECT_EQ(Bytes(field, sizeof field), expected);
    wire::nameSet(field, std::string(200, 'y'));
    expected.assign(64, 'y');
    expected.resize(sizeof field);
    EXPECT_EQ(Bytes(field, sizeof field), expected);
    EXPECT_EQ(wire::nameOf(field), std::string(64, 'y'));
}

TEST(Wire, resultsMapToTheCodesOfTheirFamily) {
    // By result 0 to 19; 31 where the family has no code.
    constexpr int kFlow[] = {0, 1, 16, 10, 2, 3, 17, 18, 12, 31, 4, 5, 31, 31, 19, 31, 31, 31, 31, 31};
    constexpr int kTCont[] = {0, 1, 13, 11, 2, 3, 14, 15, 31, 7, 4, 5, 17, 18, 16, 19, 31, 31, 31, 31};
    const auto& module = singleton<onuQos>::instance();
    for (int res = 0; res < 20; ++res) {
        auto flow = static_cast<rpcOnuFlowProfileRes>(31);
        auto tCont = static_cast<rpcTContProfileRes>(31);
        EXPECT_EQ(module.onuFlowProfileResTypeSet(static_cast<onuQos::onuQosRes>(res), flow),
                  kFlow[res] != 31);
        EXPECT_EQ(module.tContProfileResTypeSet(static_cast<onuQos::onuQosRes>(res), tCont),
                  kTCont[res] != 31);
        EXPECT_EQ(flow, kFlow[res]);
        EXPECT_EQ(tCont, kTCont[res]);
    }
    for (const int type : {-3, -2, -1, 0, 1, 2, 3, 4, 5}) {
        auto rule = static_cast<onuQos::onuFlowProfileRuleType>(99);
        auto action = static_cast<onuQos::onuFlowProfileActionType>(99);
        EXPECT_EQ(module.onuFlowProfileRuleTypeSet(static_cast<rpcOnuFlowProfileRuleType>(type), rule),
                  type >= -1 && type <= 1);
        EXPECT_EQ(module.onuFlowProfileActionTypeSet(static_cast<rpcOnuFlowProfileActionType>(type), action),
                  type >= -1 && type <= 3);
        EXPECT_EQ(rule, type >= -1 && type <= 1 ? type : 99);
        EXPECT_EQ(action, type >= -1 && type <= 3 ? type : 99);
    }
}
