#include <gmock/gmock.h>

#include "entity/CZqUtil.h"
#include "moduleTest.h"

namespace {

using enum onuQos::onuQosRes;
using testing::ElementsAre;
using testing::HasSubstr;
using Lines = std::vector<std::string>;
using Vlans = std::vector<std::uint16_t>;

class EventsTest : public ModuleTest {};

class DumpTest : public ModuleTest {
protected:
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
};

}  // namespace

TEST_F(EventsTest, whatTheHardwareLayerIsTold) {
    const auto state = [this](unsigned int intf, int event) {
        return [=, this] {
            module_.interfaceStateChange(static_cast<int>(intf), Interfaces::interfaceEvent_t{event});
        };
    };
    const auto ready = [this](unsigned int intf, bool ready, bool other) {
        return [=, this] { module_.onuConfigEventHandler(intf, ready, other); };
    };
    const auto failed = [](const std::string& operation, const std::string& lookUp, const char* intf) {
        return refusalLine(operation, lookUp + "() failed for intf: " + intf);
    };
    const std::string stateOf = "interfaceStateChange";
    const std::string configOf = "onuConfigEventHandler";
    const std::string trace = "onuQos::onuConfigEventHandler(";
    struct Row {
        std::function<void()> event;
        const char* fault;  ///< the look-up that fails
        Lines calls, log;
    };
    const std::string type = "interfaceGetTypeById(101)";
    const std::string handle = "interfaceGetOMApiInterfaceById(101)";
    // clang-format off
    const Row rows[] = {
        {state(101, 3), "", {type, handle, "onuStateHandler(0/1/1, 101, false)"}, {}},
        {state(101, 4), "", {type, handle, "onuStateHandler(0/1/1, 101, true)"}, {}},
        {state(101, 2), "", {type}, {}},
        {state(101, 5), "", {type}, {}},
        {state(1, 4), "", {"interfaceGetTypeById(1)"}, {}},
        {state(999, 4), "", {"interfaceGetTypeById(999)"}, {failed(stateOf, "interfaceGetTypeById", "999")}},
        {state(101, 2), "interfaceGetTypeById", {type}, {failed(stateOf, "interfaceGetTypeById", "101")}},
        {state(101, 4), "interfaceGetOMApiInterfaceById", {type, handle,
         "onuStateHandler(0/0/0, 101, true)"}, {failed(stateOf, "interfaceGetOMApiInterfaceById", "101")}},
        {ready(101, true, false), "", {type, handle, "onuReadyHandler(0/1/1, 101, true)"},
         {trace + "101,True)\n"}},
        {ready(101, false, true), "", {type, handle, "onuReadyHandler(0/1/1, 101, false)"},
         {trace + "101,False)\n"}},
        {ready(1, true, true), "", {"interfaceGetTypeById(1)"}, {trace + "1,True)\n"}},
        {ready(101, true, true), "interfaceGetTypeById", {type},
         {trace + "101,True)\n", failed(configOf, "interfaceGetTypeById", "101")}},
        {ready(101, true, true), "interfaceGetOMApiInterfaceById",
         {type, handle, "onuReadyHandler(0/0/0, 101, true)"},
         {trace + "101,True)\n", failed(configOf, "interfaceGetOMApiInterfaceById", "101")}},
    };
    // clang-format on
    standin::log::setLevel(3);
    const onuQosTables before = tables();
    for (const Row& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows));
        if (*row.fault != '\0') {
            fail(row.fault);
        }
        EXPECT_EQ(traceOf(row.event), row.calls);
        EXPECT_EQ(logLines(), row.log);
    }
    EXPECT_EQ(tables(), before);
    standin::log::setLevel(1);
    ready(101, true, true)();
    EXPECT_EQ(logLines(), Lines{}) << "the trace is no error";
}

TEST_F(EventsTest, recordsAreMadeOnceAndOnlyWhereThePlatformAnswers) {
    standin::Inventory more = inventory();
    more.ports.push_back({.interface = 17, .port = 17, .technology = more.ports[0].technology});
    more.onus.push_back({.interface = 299, .parent = 2, .port = 9});
    standin::configure(more);
    const onuQosTables before = tables();
    const auto onu = [this](unsigned int intf) { return module_.onuQosOnuIntfInit(intf); };
    const auto port = [this](unsigned int intf) { return module_.onuQosOltIntfInit(intf); };
    const std::string available = "onuQosOltActualAvailRatesGet";
    const std::string notAvailable =
        errorLine("onuQosOltIntfInit",
                  "onuQosOltIntfInit::ONUQOS ERROR - onuQosOltActualAvailRatesGet failed for intf: 17");
    struct Row {
        std::function<Res(unsigned int)> init;
        unsigned int intf;
        const char* fault;
        Lines log;
    };
    // clang-format off
    const Row rows[] = {
        {onu, 299, "exclusiveLock", {lockLine("onuQosOnuIntfInit")}},
        {onu, 299, "interfaceGetTypeById", {}},
        {onu, 1, "", {}},
        {onu, 101, "",
         {refusalLine("onuQosOnuIntfInit", "onuQosServiceIntfMap.find() failed for intf: 101")}},
        {onu, 299, "addOnuIntf",
         {refusalLine("onuQosOnuIntfInit", "OMApi.addOnuIntf() failed for intf: 299")}},
        {port, 17, "exclusiveLock", {lockLine("onuQosOltIntfInit")}},
        {port, 17, "interfaceGetTypeById", {}},
        {port, 101, "", {}},
        {port, 1, "", {refusalLine("onuQosOltIntfInit", "onuQosOltCacMap.find() failed for intf: 1")}},
        {port, 17, "getOltPort",
         {refusalLine(available, "getGponImpl()->getOltPort() failed for OLT intf: 17"), notAvailable}},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows));
        if (*row.fault != '\0') {
            fail(row.fault);
        }
        EXPECT_EQ(row.init(row.intf), onuQosResError);
        EXPECT_EQ(logLines(), row.log);
    }
    EXPECT_EQ(tables(), before);

    EXPECT_TRUE(module_.onuQosIsIntfConfigurable(101));
    EXPECT_FALSE(module_.onuQosIsIntfConfigurable(1));
    EXPECT_FALSE(module_.onuQosIsIntfConfigurable(299));
    standin::interfaces::overrideType(101, 3);
    EXPECT_FALSE(module_.onuQosIsIntfConfigurable(101));
    standin::interfaces::overrideType(101, std::nullopt);
    EXPECT_TRUE(module_.onuQosIsIntfConfigurable(101)) << "its records decide";
    fail("sharedLock");
    EXPECT_FALSE(module_.onuQosIsIntfConfigurable(101));
    EXPECT_THAT(logLines(), ElementsAre(lockLine("onuQosIsIntfConfigurable")));
}

TEST_F(DumpTest, anEmptyModuleDumpsItsHeadings) {
    EXPECT_EQ(message("onuQosDump", "999"), dumpText({}));
    EXPECT_EQ(message("onuQosDump", ""), dumpText({"", "", interfaces(), "", "", ""}));
}

TEST_F(DumpTest, everySection) {
    const std::string peak = std::to_string(onuQos::ONUFLOW_PROFILE_PEAK_RATE_MAX);
    const std::string maximum = std::to_string(onuQos::TCONT_PROFILE_RATE_MAX);
    makeFlow("plain");
    makeFlow("rich");
    Vlans odd;
    for (std::uint16_t vlan = 199; vlan < 200; vlan = static_cast<std::uint16_t>(vlan - 2)) {
        odd.push_back(vlan);
    }
    onuQos::onuFlowProfileRule rule{.cPcp = 0, .cVlan = odd};
    EXPECT_EQ(module_.onuFlowProfileRuleSet("rich", rule, onuQos::onuFlowProfileRuleTypeAll,
                                            onuQos::onuFlowProfileOperationAdd),
              onuQosResOk);
    makeRates("t", 2048, 2048, 6);
    EXPECT_EQ(module_.tContProfileAllocTypeSet("t", tContDbaMode1), onuQosResOk);
    EXPECT_EQ(module_.tContProfileSrdbaWeightSet("t", 0xFFFFFFFF), onuQosResOk);
    EXPECT_EQ(module_.tContProfileSrdbaPrioritySet("t", 7), onuQosResOk);
    makeTCont("one", tContType1, 2);
    EXPECT_EQ(bind(101, "z", "plain", "t", 0xFFFFFFFF), onuQosResOk);
    EXPECT_EQ(bind(101, "a", "rich", "t", 10), onuQosResOk);
    EXPECT_EQ(module_.onuFlowProfileRename("plain", "now"), onuQosResOk);
    EXPECT_EQ(bind(203, "s", "rich", "t", 10), onuQosResOk);
    standin::ports::setDistances(2, 0, 54);
    EXPECT_EQ(module_.onuQosOltCacStateUpdate(2), onuQosResOk);

    std::string vlans;
    for (int vlan = 1; vlan <= 67; vlan += 2) {
        vlans += std::to_string(vlan) + ",";
    }
    const std::string actions = "\n \t\tActions:\n \t\t\tguarRateUs: 128, peakRateUs: " + peak +
                                ", flowPriorityUs: 0, flowPriorityDs: 0\n";
    std::string services = interfaces();
    const std::string of101 =
        " \tintf: 101\n"
        " \t\tservice: a, onuFlowProfileName: rich, tContProfileName: t, virtualPortId: 10\n"
        " \t\tservice: z, onuFlowProfileName: plain, tContProfileName: t, virtualPortId: 4294967295\n";
    const std::string of203 =
        " \tintf: 203\n \t\tservice: s, onuFlowProfileName: rich, tContProfileName: t, virtualPortId: 10\n";
    services.replace(services.find(" \tintf: 101\n"), 12, of101);
    services.replace(services.find(" \tintf: 203\n"), 12, of203);
    const std::string accounted =
        ", configured: 1, fixedOverhead: 1920, assuredOverhead: 11520\n"
        " \t\tT-CONT profile: t, fixedOverhead: 1984, assuredOverhead: 960\n";
    std::array<std::string, 6> sections{
        " \tname: now(now)\n \t\tUpstream/incoming rules:\n" + actions +
            " \tname: rich(rich)\n \t\tUpstream/incoming rules:\n \t\t\tcPcp: 0\n \t\t\tcvlan: " + vlans +
            "\n" + actions,
        " \tname: one (one)\n \t\ttContId: 2, tContType: 1, fixedRate: 256, assuredRate: 0, maximumRate: "
        "256, "
        "dbaAllocType: 2, dbaWeight: 1, dbaPriority: 0\n"
        " \tname: t (t)\n \t\ttContId: 6, tContType: 5, fixedRate: 2048, assuredRate: 2048, maximumRate: " +
            maximum + ", dbaAllocType: 1, dbaWeight: 4294967295, dbaPriority: 7\n",
        services,
        " \tintf: 1, fixedAlloc: 5952, assuredAlloc: 14528, cacViolation: 0\n"
        " \tintf: 2, fixedAlloc: 5952, assuredAlloc: 14528, cacViolation: 1\n",
        " \tintf: 101" + accounted + " \tintf: 203" + accounted,
        " \tintf: 2, alarm: 1\n"};
    EXPECT_EQ(message("onuQosDump", ""), dumpText(sections));
    const std::pair<const char*, std::string> arguments[] = {
        {"101", of101}, {" +101x", of101}, {"4294967397", of101}, {"102", " \tintf: 102\n"},
        {"999", ""},    {"-1", ""},        {"abc", services},     {"0x65", services}};
    for (const auto& [argument, shown] : arguments) {
        sections[2] = shown;
        EXPECT_EQ(message("onuQosDump", argument), dumpText(sections)) << argument;
    }

    fail("sharedLock");
    EXPECT_EQ(message("onuQosDump", ""), "");
    EXPECT_EQ(logLines(), Lines{});
}

TEST_F(DumpTest, otherMessages) {
    makeFlow("f");
    EXPECT_EQ(message("onuQosdump", ""), "");
    EXPECT_EQ(message("", "1"), "");
    EXPECT_THAT(message("onuQosOMApiDump", "ignored"), HasSubstr("  f: PCP -1"));
    const std::pair<const char*, const char*> arguments[] = {
        {"1", "true"}, {"yes", "true"}, {"0", "false"}, {"", "true"}, {"00", "true"}};
    for (const auto& [argument, on] : arguments) {
        EXPECT_THAT(traceOf([&] { EXPECT_EQ(message("onuQosOMApiDebug", argument), ""); }),
                    ElementsAre("onuQosOMApiDebug(" + std::string(on) + ")"));
    }
}

TEST(VectorValuesString, rangesDoublesAndLimits) {
    Vlans upTo200, odd;
    for (std::uint16_t i = 200; i > 0; --i) {
        upTo200.push_back(i);
        odd.push_back(static_cast<std::uint16_t>(2 * i - 1));
    }
    struct Row {
        Vlans values;
        unsigned int limit;
        std::string before, after;
    };
    // clang-format off
    const Row rows[] = {
        {{8, 7, 5, 3, 2, 1}, 0, "", "1-3,5,7-8"},
        {{0, 1, 2}, 0, "", "0-2"},
        {{5, 5}, 0, "", "5,5"},
        {{5, 5, 6, 6, 7}, 0, "", "5,5-6,6-7"},
        {{65535, 0}, 0, "", "0,65535"},
        {{1, 2}, 0, "", "1-2"},
        {upTo200, 100, "", "1-200"},
        {odd, 10, "", "1,3,5,7,"},
        {{1, 3, 5, 7, 9}, 10, "", "1,3,5,7,9"},
        {{1, 3}, 3, "", "1,"},
        {{1, 3}, 4, "", "1,3"},
        {{1}, 1, "", ""},
        {{1}, 6, "VLAN ", "VLAN "},
        {{1}, 7, "VLAN ", "VLAN 1"},
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
