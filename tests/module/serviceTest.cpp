#include "moduleTest.h"

// Service bindings.

namespace {

class ServiceTest : public ModuleTest {
protected:
    Res apply(const std::string& service, const std::string& flow, const std::string& tCont,
              unsigned int virtualPort, int termPointType = 0, short termPointId = 1) {
        return bind(101, service, flow, tCont, virtualPort, termPointType, termPointId);
    }

    Res remove(const std::string& service) { return module_.onuQosServiceRemove(101, service); }
};

}  // namespace

TEST_F(ServiceTest, theNextCallsWorkOnFromWhatAFailureLeft) {
    makeFlow("f");
    makeRates("t", 2048, 2048);
    fail("interfaceParentGet", 1, 1, 2);  // past the admission check, in the accounting of the T-CONT
    EXPECT_EQ(apply("s", "f", "t", 10), onuQosResError);
    EXPECT_EQ(apply("s", "f", "t", 10), onuQosResOk);
    EXPECT_EQ(onuText(), "s | | 0 | 00");
    EXPECT_EQ(apply("s2", "f", "t", 10), onuQosResOk) << "the T-CONT counts as accounted now";
    EXPECT_EQ(onuText(), "s s2 | | 0 | 11");
    EXPECT_EQ(remove("s2"), onuQosResOk);
    EXPECT_EQ(remove("s"), onuQosResError) << "nothing to take off";
    EXPECT_EQ(onuText(), "| | 0 | 00");

    EXPECT_EQ(apply("s", "f", "t", 10), onuQosResOk);
    fail("interfaceParentGet");
    EXPECT_EQ(remove("s"), onuQosResError);
    EXPECT_EQ(onuText(), "| t onu | 5952 | 11");
    EXPECT_EQ(apply("s", "f", "t", 10), onuQosResError) << "accounted already";
    EXPECT_EQ(onuText(), "s | t onu | 5952 | 11");
    EXPECT_EQ(remove("s"), onuQosResOk);
    EXPECT_EQ(onuText(), "| | 0 | 00");
    expectMirrorAgrees();
}

TEST_F(ServiceTest, rulesOfTheBindingsOfAnOnu) {
    for (const char* name : {"f", "f2", "f3"}) {
        makeFlow(name);
    }
    makeTCont("t", tContType5, 1);
    makeTCont("t2", tContType5, 2);
    makeTCont("same id", tContType5, 1);
    makeRates("rates", 2048, 2048, 3);
    EXPECT_EQ(apply("A", "f", "t", 10), onuQosResOk);
    EXPECT_EQ(apply("B", "f2", "t2", 11), onuQosResOk);
    standin::ports::overrideAvailable(1, standin::ports::Available{0, 0});

    const auto duplicate = [](const std::string& flow, const std::string& tCont, int virtualPort) {
        return "applyOMApiService failed for intf: 101, profile: C, ONU Flow profile: " + flow +
               ", T-CONT profile: " + tCont + ", virtualPortId: " + std::to_string(virtualPort);
    };
    const std::string noProfile = "Map.find() failed for intf: 101, profile: C";
    const std::string sameId = "onuQosResDuplicateTContId failed for intf: 101, profile: C";
    const std::string notAdmitted = "onuQosActualCacOnServiceApply() failed for intf: 101, profile: C";
    const std::string noType = "termPointType failed for intf: 101, profile: C";
    constexpr auto kVirtualPort = onuQosResDuplicateVirtualPortId;
    struct Row {
        const char* what;
        std::string service, flow, tCont;
        unsigned int virtualPort;
        Res res;
        std::string log;
        int termPointType = 0;
    };
    // clang-format off
    const Row rows[] = {
        {"bound already", "A", "x", "y", 99, onuQosResOk, "", 9},
        {"no flow profile", "C", "x", "y", 12, onuQosResNotFound, "onuFlowProfile" + noProfile},
        {"no T-CONT profile", "C", "f", "y", 12, onuQosResNotFound, "tContProfile" + noProfile},
        {"port of another flow", "C", "f2", "t", 10, kVirtualPort, duplicate("f2", "t", 10)},
        {"port of another T-CONT", "C", "f", "t2", 10, kVirtualPort, duplicate("f", "t2", 10)},
        {"port before id", "C", "f", "same id", 10, kVirtualPort, duplicate("f", "same id", 10)},
        {"flow on another port", "C", "f", "t", 12, onuQosResDuplicateOnuFlowProfile, duplicate("f", "t", 12)},
        {"flow of A before port of B", "C", "f", "t2", 11, onuQosResDuplicateOnuFlowProfile, duplicate("f", "t2", 11)},
        {"id", "C", "f3", "same id", 12, onuQosResDuplicateTContId, sameId},
        {"id of A before port of B", "C", "f3", "same id", 11, onuQosResDuplicateTContId, sameId},
        {"port before bandwidth", "C", "f3", "rates", 11, kVirtualPort, duplicate("f3", "rates", 11)},
        {"no bandwidth", "C", "f3", "rates", 12, onuQosResRateError, notAdmitted},
        {"bandwidth before type", "C", "f3", "rates", 12, onuQosResRateError, notAdmitted, 3},
        {"no such type", "C", "f3", "t", 12, onuQosResError, noType, 3},
        {"no such type", "C", "f3", "t", 12, onuQosResError, noType, -1},
    };
    // clang-format on
    const Snapshot before = snapshot();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(apply(row.service, row.flow, row.tCont, row.virtualPort, row.termPointType), row.res);
        const Lines lines = logLines();
        EXPECT_EQ(lines.empty() ? "" : lines.back(),
                  row.log.empty() ? "" : refusalLine("onuQosServiceApply", row.log));
        EXPECT_EQ(snapshot(), before);
    }
    for (const unsigned int intf : {1U, 999U}) {
        EXPECT_EQ(bind(intf, "C", "f3", "t", 12), onuQosResWrongIntf);
        EXPECT_EQ(module_.onuQosServiceRemove(intf, "C"), onuQosResWrongIntf);
        const std::string text =
            "onuQosIsIntfConfigurable() failed for intf: " + std::to_string(intf) + ", profile: C";
        EXPECT_THAT(logLines(), ElementsAre(refusalLine("onuQosServiceApply", text),
                                            refusalLine("onuQosServiceRemove", text)));
    }
    EXPECT_EQ(remove("C"), onuQosResOk);
    fail("onuQosServiceApply", 5);
    EXPECT_EQ(apply("C", "f3", "t", 12), onuQosResOMApiRefused);
    EXPECT_THAT(logLines(),
                ElementsAre(refusalLine("onuQosServiceApply",
                                        "OMApi.onuQosServiceApply() failed for intf: 101, profile: f3-t")));
    EXPECT_EQ(snapshot(), before);

    // Further bindings of an accounted T-CONT are admitted without a question.
    EXPECT_THAT(traceOf([this] { EXPECT_EQ(apply("C", "f3", "t", 12, 2, -2), onuQosResOk); }),
                ElementsAre("interfaceGetTypeById(101)", "interfaceGetOMApiInterfaceById(101)",
                            "onuQosServiceApply(0/1/1, 101, f3-t, f3, t, 12, 1, 1, 4294967294)"));
    EXPECT_EQ(tables().onuQosOltCacMap, before.tables.onuQosOltCacMap);
    // A configuration apply asks for no bandwidth, accounts, and leaves the port's state for its end.
    standin::ports::setDistances(1, 0, 54);
    module_.configurationApplyStart();
    EXPECT_EQ(bind(102, "D", "f", "rates", 12), onuQosResOk);
    EXPECT_GT(tables().onuQosOltCacMap.at(1).fixedAlloc, 4032U);
    EXPECT_FALSE(tables().onuQosOltCacMap.at(1).cacViolation);
    EXPECT_EQ(remove("B"), onuQosResOk);
    EXPECT_TRUE(tables().onuQosOltCacMap.at(1).cacViolation) << "remove looks at the state all the same";
    standin::ports::setDistances(1, 0, 20);
    module_.configurationApplyStop();
    EXPECT_FALSE(tables().onuQosOltCacMap.at(1).cacViolation);
    expectMirrorAgrees();
    EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(ServiceTest, identicalBindingsShareThePlatformsOne) {
    makeFlow("f");
    makeRates("t", 2048, 2048);
    EXPECT_THAT(traceOf([this] { EXPECT_EQ(apply("s", "f", "t", 10, 1), onuQosResOk); }),
                testing::Contains("onuQosServiceApply(0/1/1, 101, f-t, f, t, 10, 1, 6, 1)"));
    EXPECT_THAT(traceOf([this] { EXPECT_EQ(apply("s2", "f", "t", 10, 9), onuQosResOk); }),
                ElementsAre("interfaceGetTypeById(101)"));
    EXPECT_EQ(onuText(), "s s2 | t onu | 5952 | 11");
    EXPECT_THAT(traceOf([this] { EXPECT_EQ(remove("s"), onuQosResOk); }),
                ElementsAre("interfaceGetTypeById(101)"));
    EXPECT_EQ(onuText(), "s2 | t onu | 5952 | 00") << "out of both sets though another binding uses them";
    EXPECT_TRUE(module_.onuFlowProfileIsApplied("f"));
    EXPECT_TRUE(module_.tContProfileIsApplied("t"));
    expectMirrorAgrees();

    // Answer 5 is logged and counts as removed.
    fail("onuQosServiceRemove", 5);
    EXPECT_EQ(remove("s2"), onuQosResOk);
    EXPECT_EQ(logLines().size(), 1U);
    EXPECT_EQ(onuText(), "| | 0 | 00");
    EXPECT_FALSE(module_.onuFlowProfileIsApplied("f"));
}

TEST_F(ServiceTest, bindingsKeepTheNamesOfProfilesThatAreGone) {
    for (const char* name : {"f", "f2", "f3"}) {
        makeFlow(name);
    }
    makeRates("t", 2048, 2048, 1);
    makeRates("t2", 2048, 2048, 2);
    makeTCont("same id", tContType5, 1);
    EXPECT_EQ(apply("a", "f", "t", 10), onuQosResOk);
    EXPECT_EQ(apply("b", "f2", "t2", 11), onuQosResOk);
    EXPECT_EQ(module_.tContProfileDelete("t"), onuQosResOk);
    EXPECT_EQ(module_.onuFlowProfileDelete("f"), onuQosResOk);
    EXPECT_EQ(module_.tContProfileRename("t2", "new"), onuQosResOk);
    EXPECT_EQ(apply("c", "f3", "same id", 12), onuQosResOk) << "a profile that is gone has no id";
    const onuQosTables bound = tables();

    EXPECT_EQ(remove("a"), onuQosResError);
    EXPECT_THAT(
        logLines(),
        ElementsAre(
            refusalLine("onuQosCalcAllocRatesOnTContChange", "tContProfileMap.find() failed for profile: t"),
            refusalLine("onuQosServiceRemove", "onuQosCalcAllocRatesOnTContChange() failed for intf: 101")));
    EXPECT_EQ(remove("b"), onuQosResError);
    EXPECT_TRUE(module_.profileIsAppliedTCont("new")) << "the sets know only today's names";
    const onuQosTables now = tables();
    EXPECT_EQ(now.onuQosServiceIntfMap.at(101).size(), 1U);
    EXPECT_EQ(now.onuQosOltCacMap, bound.onuQosOltCacMap);
    EXPECT_EQ(now.tContProfileMap, bound.tContProfileMap);
    EXPECT_EQ(standin::hardware::snapshot().bindings.size(), 1U);
}

TEST_F(ServiceTest, flowsBelongToTheFirstServiceOfTheirBindingsName) {
    makeFlow("vod-hd");
    makeFlow("vod");
    makeTCont("tc2", tContType5, 1);
    makeTCont("hd-tc2", tContType5, 2);
    EXPECT_EQ(apply("y", "vod-hd", "tc2", 10), onuQosResOk);  // flow 1
    EXPECT_EQ(apply("x", "vod", "hd-tc2", 11), onuQosResOk);  // flow 2 of the same name
    EXPECT_EQ(bind(102, "z", "vod", "tc2", 10), onuQosResOk);
    std::string service = "untouched";
    for (const auto& [onu, flow] : {std::pair(101U, 3U), std::pair(999U, 1U)}) {
        EXPECT_EQ(module_.flowIdToServiceName(onu, flow, service), onuQosResError);
        EXPECT_EQ(service, "untouched");
    }
    EXPECT_EQ(module_.flowIdToServiceName(101, 1, service), onuQosResOk);
    EXPECT_EQ(service, "x");
    EXPECT_EQ(remove("x"), onuQosResOk);
    EXPECT_EQ(module_.flowIdToServiceName(101, 2, service), onuQosResError) << "gone with its binding";
    EXPECT_EQ(module_.flowIdToServiceName(101, 1, service), onuQosResOk);
    EXPECT_EQ(service, "y");

    // Names that begin alike, asked for the one in the middle.
    const char* const words[] = {"a", "a-b", "a-b-c", "b", "c", "d"};
    for (unsigned int i = 0; i < 3; ++i) {
        makeFlow(words[i]);
        makeTCont(words[3 + i], tContType5, i + 1);
    }
    EXPECT_EQ(bind(103, "1", "a-b-c", "d", 10), onuQosResOk);
    EXPECT_EQ(bind(103, "2", "a", "b", 11), onuQosResOk);
    EXPECT_EQ(bind(103, "3", "a-b", "c", 12), onuQosResOk);
    EXPECT_EQ(module_.flowIdToServiceName(103, 6, service), onuQosResOk);
    EXPECT_EQ(service, "3");
}

TEST_F(ServiceTest, removalsAndTheEndOfAnApplyAskThePlatformInProportion) {
    makeTCont("t");
    constexpr unsigned int kEach = 8;
    const auto names = [](unsigned int i) { return "f" + std::to_string(i); };
    for (unsigned int i = 0; i < kEach; ++i) {
        makeFlow(names(i));
        for (const auto& onu : inventory().onus) {
            ASSERT_EQ(bind(onu.interface, names(i), names(i), "t", i), onuQosResOk);
        }
    }
    EXPECT_LE(traceOf([this] { module_.configurationApplyStop(); }).size(), 20U) << "ten questions a port";
    const auto before = standin::calls::count(standin::Operation::interfaceParentGet);
    for (const auto& onu : inventory().onus) {
        for (unsigned int i = 0; i < kEach; ++i) {
            EXPECT_EQ(module_.onuQosServiceRemove(onu.interface, names(i)), onuQosResOk);
        }
    }
    EXPECT_LE(standin::calls::count(standin::Operation::interfaceParentGet) - before,
              4 * kEach * inventory().onus.size());
}
