#include "moduleTest.h"
#include "onuqos/entity/CZqUtil.h"

// The entity: events, defaults, the end of a configuration apply, dumps and messages.

namespace {

class EntityTest : public ModuleTest {
protected:
    /// A profile of each family, bound on both ports, and the alarms of both ports raised.
    void fill() {
        makeTCont("gold");
        makeFlow("hsi");
        for (const unsigned int port : {1U, 2U}) {
            ASSERT_EQ(bind(100 * port + 1, "internet", "hsi", "gold", 10), onuQosResOk);
            ASSERT_EQ(module_.onuQosOltCacAlarm(port, true), onuQosResOk);
        }
    }

    /// Expects tables without anything configured, and these alarms.
    void expectEmpty(bool alarm1, bool alarm2) {
        empty_.onuQosOltCacAlarmMap[1] = alarm1;
        empty_.onuQosOltCacAlarmMap[2] = alarm2;
        EXPECT_EQ(tables(), empty_);
    }

    std::string message(const std::string& name, const std::string& argument) {
        std::ostringstream out;
        out.width(40);  // a caller's formatting has no effect
        out.fill('*');
        module_.externalMessage(name, argument, &out);
        return out.str();
    }

    /// The lines that start the entries of all interfaces with binding tables.
    std::string interfaces() const {
        std::string text;
        for (const auto& [intf, services] : tables().onuQosServiceIntfMap) {
            text += " \tintf: " + std::to_string(intf) + "\n";
        }
        return text;
    }

    static std::string dumpText(const std::array<std::string, 6>& sections) {
        return " onuFlowProfileMap:\n -----------------\n" + sections[0] +
               "\n tContProfileMap:\n ---------------\n" + sections[1] +
               "\n onuQosServiceIntfMap:\n --------------------\n" + sections[2] +
               "\n onuQosOltCacMap:\n --------------------\n" + sections[3] +
               "\n onuQosOnuCacMap:\n --------------------\n" + sections[4] +
               "\n onuQosOltCacAlarmMap:\n --------------------\n" + sections[5];
    }

    onuQosTables empty_ = tables();
};

}  // namespace

TEST_F(EntityTest, eventsOfOnusReachTheHardwareLayer) {
    const auto failed = [](const std::string& operation, const std::string& lookUp, const char* intf) {
        return refusalLine(operation, lookUp + "() failed for intf: " + intf);
    };
    const std::string stateOf = "interfaceStateChange", configOf = "onuConfigEventHandler";
    const std::string trace = "onuQos::onuConfigEventHandler(";
    const std::string byType = "interfaceGetTypeById", byHandle = "interfaceGetOMApiInterfaceById";
    const std::string type = byType + "(101)", handle = byHandle + "(101)";
    enum { kState, kReady };
    const auto raise = [this](int kind, unsigned int intf, int value) {
        kind == kState
            ? module_.interfaceStateChange(static_cast<int>(intf), Interfaces::interfaceEvent_t{value})
            : module_.onuConfigEventHandler(intf, value != 0, value == 0);
    };
    struct Row {
        int kind;
        unsigned int intf;
        int value;
        std::string fault;  ///< the look-up that fails
        Lines calls, log;
    };
    // clang-format off
    const Row rows[] = {
        {kState, 101, 3, "", {type, handle, "onuStateHandler(0/1/1, 101, false)"}, {}},
        {kState, 101, 4, "", {type, handle, "onuStateHandler(0/1/1, 101, true)"}, {}},
        {kState, 101, 2, "", {type}, {}},
        {kState, 1, 4, "", {byType + "(1)"}, {}},
        {kState, 999, 4, "", {byType + "(999)"}, {failed(stateOf, byType, "999")}},
        {kState, 101, 4, byHandle, {type, handle, "onuStateHandler(0/0/0, 101, true)"}, {failed(stateOf, byHandle, "101")}},
        {kReady, 101, true, "", {type, handle, "onuReadyHandler(0/1/1, 101, true)"}, {trace + "101,True)\n"}},
        {kReady, 101, false, "", {type, handle, "onuReadyHandler(0/1/1, 101, false)"}, {trace + "101,False)\n"}},
        {kReady, 1, true, "", {byType + "(1)"}, {trace + "1,True)\n"}},
        {kReady, 101, true, byType, {type}, {trace + "101,True)\n", failed(configOf, byType, "101")}},
        {kReady, 101, true, byHandle, {type, handle, "onuReadyHandler(0/0/0, 101, true)"},
         {trace + "101,True)\n", failed(configOf, byHandle, "101")}},
    };
    // clang-format on
    standin::log::setLevel(3);
    const onuQosTables before = tables();
    for (const Row& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows));
        if (!row.fault.empty()) {
            fail(row.fault);
        }
        EXPECT_EQ(traceOf([&] { raise(row.kind, row.intf, row.value); }), row.calls);
        EXPECT_EQ(logLines(), row.log);
    }
    EXPECT_EQ(tables(), before);
    standin::log::setLevel(1);
    raise(kReady, 101, true);
    EXPECT_THAT(logLines(), IsEmpty()) << "the trace is no error";
}

TEST_F(EntityTest, recordsAreMadeOnceAndOnlyForTheRightType) {
    const onuQosTables before = tables();
    for (const unsigned int intf : {1U, 101U}) {
        EXPECT_EQ(module_.onuQosOnuIntfInit(intf), onuQosResError);
        EXPECT_EQ(module_.onuQosOltIntfInit(intf), onuQosResError);
    }
    EXPECT_THAT(
        logLines(),
        ElementsAre(refusalLine("onuQosOltIntfInit", "onuQosOltCacMap.find() failed for intf: 1"),
                    refusalLine("onuQosOnuIntfInit", "onuQosServiceIntfMap.find() failed for intf: 101")));
    EXPECT_EQ(tables(), before);

    EXPECT_TRUE(module_.onuQosIsIntfConfigurable(101));
    EXPECT_FALSE(module_.onuQosIsIntfConfigurable(1));
    EXPECT_FALSE(module_.onuQosIsIntfConfigurable(299));
    standin::interfaces::overrideType(101, std::nullopt);
    EXPECT_TRUE(module_.onuQosIsIntfConfigurable(101)) << "its records decide";
    standin::interfaces::overrideType(101, 3);
    EXPECT_FALSE(module_.onuQosIsIntfConfigurable(101));
}

TEST_F(EntityTest, defaultsEmptyAllAndClearTheRaisedAlarms) {
    fill();
    const auto calls = callsOf([this] { EXPECT_TRUE(module_.applyDefaultSettings()); });
    EXPECT_EQ(calls.at(0).operation, standin::Operation::onuQosClearConfig) << "no lock of its own";
    expectEmpty(false, false);
    expectMirrorAgrees();
    EXPECT_THAT(standin::alarms::snapshot().active, IsEmpty());
    makeTCont("gold", tContType1);
    EXPECT_FALSE(module_.tContProfileIsApplied("gold"));
    EXPECT_THAT(traceOf([this] { EXPECT_TRUE(applyDefaults()); }), ElementsAre("onuQosClearConfig()"))
        << "nothing is raised any more";
    EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(EntityTest, defaultsStopAtTheFirstRefusal) {
    fill();
    fail("onuQosClearConfig");
    EXPECT_FALSE(applyDefaults());
    EXPECT_THAT(logLines(), ElementsAre(refusalLine("applyDefaultSettings", "OMApi.onuQosClearConfig()")));
    expectEmpty(true, true);
    EXPECT_EQ(standin::hardware::snapshot().bindings.size(), 2U);
    EXPECT_EQ(standin::alarms::snapshot().active.size(), 2U);
    fail("reportAlarm");
    EXPECT_FALSE(applyDefaults());
    EXPECT_EQ(logLines().back(), refusalLine("applyDefaultSettings", "onuQosOltCacAlarm() failed for OLT 1"));
    expectEmpty(true, true);
    fail("reportAlarm", 1, 1, 1);
    EXPECT_FALSE(applyDefaults());
    expectEmpty(false, true);
}

TEST_F(EntityTest, theEndOfAnApplyBringsEveryPortUpToDate) {
    bool applying = true;
    EXPECT_EQ(module_.tContProfileConsApplyStateGet(&applying), onuQosResOk);
    EXPECT_FALSE(applying);
    module_.configurationApplyStart();
    module_.tContProfileConsApplyStateGet(&applying);
    EXPECT_TRUE(applying);
    // A failing port does not keep the next one, nor the flag.
    ASSERT_EQ(module_.onuQosOltCacAlarm(1, true), onuQosResOk);
    ASSERT_EQ(module_.onuQosOltCacAlarm(2, true), onuQosResOk);
    fail("exclusiveLock");
    module_.configurationApplyStop();
    EXPECT_THAT(logLines(), ElementsAre(lockLine("onuQosOltCacStateUpdate"),
                                        refusalLine("configurationApplyStop",
                                                    "onuQosOltCacStateUpdate() failed for OLT intf: 1")));
    expectEmpty(true, false);
    EXPECT_EQ(module_.tContProfileConsApplyStateGet(&applying), onuQosResOk);
    EXPECT_FALSE(applying);
}

TEST_F(EntityTest, dumpsEverySection) {
    EXPECT_EQ(message("onuQosDump", "999"), dumpText({})) << "of an empty module";
    const std::string peak = std::to_string(kHighest);
    makeFlow("plain");
    makeFlow("rich");
    Vlans odd;
    std::string vlans;  // as far as the dump shows them
    for (std::uint16_t vlan = 1; vlan < 200; vlan = static_cast<std::uint16_t>(vlan + 2)) {
        odd.push_back(vlan);
        vlans += vlan <= 67 ? std::to_string(vlan) + "," : "";
    }
    EXPECT_EQ(ruleSet("rich", {.cPcp = 0, .cVlan = odd}), onuQosResOk);
    makeRates("t", 2048, 2048, 6);
    EXPECT_EQ(module_.tContProfileAllocTypeSet("t", tContDbaMode1), onuQosResOk);
    EXPECT_EQ(module_.tContProfileSrdbaWeightSet("t", 0xFFFFFFFF), onuQosResOk);
    EXPECT_EQ(module_.tContProfileSrdbaPrioritySet("t", 7), onuQosResOk);
    EXPECT_EQ(bind(101, "z", "plain", "t", 0xFFFFFFFF), onuQosResOk);
    EXPECT_EQ(bind(101, "a", "rich", "t", 10), onuQosResOk);
    EXPECT_EQ(module_.onuFlowProfileRename("plain", "now"), onuQosResOk);
    EXPECT_EQ(bind(203, "s", "rich", "t", 10), onuQosResOk);
    standin::ports::setDistances(2, 0, 54);
    EXPECT_EQ(module_.onuQosOltCacStateUpdate(2), onuQosResOk);

    const std::string actions = "\n \t\tActions:\n \t\t\tguarRateUs: 128, peakRateUs: " + peak +
                                ", flowPriorityUs: 0, flowPriorityDs: 0\n";
    std::string services = interfaces();
    const std::string of101 =
        " \tintf: 101\n"
        " \t\tservice: a, onuFlowProfileName: rich, tContProfileName: t, virtualPortId: 10\n"
        " \t\tservice: z, onuFlowProfileName: plain, tContProfileName: t, virtualPortId: 4294967295\n";
    services.replace(services.find(" \tintf: 101\n"), 12, of101);
    services.insert(services.find(" \tintf: 203\n") + 12,
                    " \t\tservice: s, onuFlowProfileName: rich, tContProfileName: t, virtualPortId: 10\n");
    const std::string accounted =
        ", configured: 1, fixedOverhead: 1920, assuredOverhead: 11520\n"
        " \t\tT-CONT profile: t, fixedOverhead: 1984, assuredOverhead: 960\n";
    std::array<std::string, 6> sections{
        " \tname: now(now)\n \t\tUpstream/incoming rules:\n" + actions +
            " \tname: rich(rich)\n \t\tUpstream/incoming rules:\n \t\t\tcPcp: 0\n \t\t\tcvlan: " + vlans +
            "\n" + actions,
        " \tname: t (t)\n \t\ttContId: 6, tContType: 5, fixedRate: 2048, assuredRate: 2048, maximumRate: " +
            peak + ", dbaAllocType: 1, dbaWeight: 4294967295, dbaPriority: 7\n",
        services,
        " \tintf: 1, fixedAlloc: 5952, assuredAlloc: 14528, cacViolation: 0\n"
        " \tintf: 2, fixedAlloc: 5952, assuredAlloc: 14528, cacViolation: 1\n",
        " \tintf: 101" + accounted + " \tintf: 203" + accounted,
        " \tintf: 2, alarm: 1\n"};
    const std::pair<const char*, std::string> arguments[] = {
        {"", services}, {" +101x", of101}, {"4294967397", of101}, {"102", " \tintf: 102\n"}, {"999", ""}};
    for (const auto& [argument, shown] : arguments) {
        sections[2] = shown;
        EXPECT_EQ(message("onuQosDump", argument), dumpText(sections)) << argument;
    }
    fail("sharedLock");
    EXPECT_EQ(message("onuQosDump", ""), "");
    EXPECT_THAT(logLines(), IsEmpty());

    EXPECT_EQ(message("onuQosdump", ""), "");
    EXPECT_THAT(message("onuQosOMApiDump", "ignored"), testing::HasSubstr("  now: PCP -1"));
    for (const std::string given : {"0", "", "00"}) {
        EXPECT_THAT(traceOf([&] { EXPECT_EQ(message("onuQosOMApiDebug", given), ""); }),
                    ElementsAre(given == "0" ? "onuQosOMApiDebug(false)" : "onuQosOMApiDebug(true)"));
    }
}

TEST(VectorValuesString, rangesDoublesAndLimits) {
    struct Row {
        Vlans values;
        unsigned int limit;
        std::string before, after;
    };
    // clang-format off
    const Row rows[] = {
        {{8, 7, 5, 3, 2, 1}, 0, "", "1-3,5,7-8"}, {{0, 1, 2}, 0, "", "0-2"}, {{5, 5}, 0, "", "5,5"},
        {{5, 5, 6, 6, 7}, 0, "", "5,5-6,6-7"},    {{65535, 0}, 0, "", "0,65535"},
        {{1, 3}, 3, "", "1,"}, {{1, 3}, 4, "", "1,3"}, {{9, 1, 2, 3, 4, 5, 6, 7}, 6, "", "1-7,9"},
        {{1}, 1, "", ""}, {{1}, 6, "VLAN ", "VLAN "}, {{1}, 7, "VLAN ", "VLAN 1"},
    };
    // clang-format on
    for (const Row& row : rows) {
        std::string text = row.before;
        EXPECT_EQ(CZqUtil::vectorValuesStringGet(row.values, text, row.limit), 0);
        EXPECT_EQ(text, row.after);
    }
    std::string text = "as it was";
    EXPECT_EQ(CZqUtil::vectorValuesStringGet(Vlans{}, text, 0), 1);
    EXPECT_EQ(text, "as it was");
}
