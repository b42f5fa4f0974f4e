#include "moduleTest.h"

#include <algorithm>
#include <map>
#include <regex>
#include <sstream>
#include <string_view>

void PrintTo(const Snapshot& snapshot, std::ostream* out) {
    std::ostringstream dump;
    singleton<onuQos>::instance().onuQosDump(0, &dump);
    *out << snapshot.hardware.tContProfiles.size() << " T-CONT profiles, "
         << snapshot.hardware.flowProfiles.size() << " flow profiles and "
         << snapshot.hardware.bindings.size() << " bindings pushed; the module now:\n"
         << dump.str();
}

ModuleTest::ModuleTest() {
    startAgain();
}

ModuleTest::~ModuleTest() {
    standin::faults::clearAll();
    module_.configurationApplyStop();
}

standin::Inventory ModuleTest::inventory() {
    const int technology = onuQos::TCONT_PROFILE_RATE_MAX == 9953280 ? 2 : 1;
    standin::Inventory platform;
    for (const unsigned int port : {1U, 2U}) {
        platform.ports.push_back({.interface = port, .olt = port, .port = port, .technology = technology});
        for (unsigned int onu = 1; onu <= 3; ++onu) {
            platform.onus.push_back({.interface = 100 * port + onu, .parent = port, .port = onu});
        }
    }
    platform.features = {{5, true}, {isActive(13) ? 13 : 15, technology == 2}};
    return platform;
}

void ModuleTest::startAgain(const standin::Inventory& platform) {
    const auto features = platform.features;
    standin::reset();
    standin::configure(platform);
    module_.onuTContProfileRatesSet();
    module_.onuTContProfileSrDbaConfSet();
    ASSERT_TRUE(module_.applyDefaultSettings());
    const onuQosTables known = tables();
    for (const auto& port : platform.ports) {
        if (!known.onuQosOltCacMap.contains(port.interface)) {
            ASSERT_EQ(module_.onuQosOltIntfInit(port.interface), onuQos::onuQosResOk);
        }
    }
    for (const auto& onu : platform.onus) {
        if (!known.onuQosOnuCacMap.contains(onu.interface)) {
            ASSERT_EQ(module_.onuQosOnuIntfInit(onu.interface), onuQos::onuQosResOk);
        }
        module_.interfaceStateChange(static_cast<int>(onu.interface), Interfaces::interfaceEvent_t{});
    }
    log_.clear();
}

onuQosTables ModuleTest::tables() const {
    onuQosTables copy;
    EXPECT_EQ(module_.onuQosTablesGet(copy), onuQos::onuQosResOk);
    return copy;
}

Snapshot ModuleTest::snapshot() const {
    return {.tables = tables(), .hardware = standin::hardware::snapshot()};
}

std::vector<std::string> ModuleTest::logLines() {
    static const std::regex kLineNumber("^onuQos\\.cpp:[0-9]+:");
    std::vector<std::string> lines;
    for (const auto& line : log_.lines()) {
        lines.push_back(std::regex_replace(line.text, kLineNumber, "onuQos.cpp::"));
    }
    log_.clear();
    return lines;
}

void ModuleTest::fail(const std::string& operation, int answer, std::uint64_t times, std::uint64_t after) {
    const auto known = standin::operationNamed(operation);
    ASSERT_TRUE(known.has_value()) << operation;
    standin::faults::set(*known, {.answer = answer, .times = times, .after = after});
}

std::vector<standin::Call> ModuleTest::callsOf(const std::function<void()>& change) {
    standin::calls::traceStart();
    change();
    return standin::calls::traceStop();
}

std::vector<std::string> ModuleTest::traceOf(const std::function<void()>& change) {
    std::vector<std::string> trace;
    for (const auto& call : callsOf(change)) {
        if (call.operation != standin::Operation::exclusiveLock &&
            call.operation != standin::Operation::sharedLock) {
            trace.push_back(std::string(name(call.operation)) + "(" + call.arguments + ")");
        }
    }
    return trace;
}

void ModuleTest::expectMirrorAgrees(const MirrorGaps& gaps) const {
    const auto [now, hardware] = snapshot();

    std::map<std::string, standin::TContProfile> tConts;
    for (const auto& profile : hardware.tContProfiles) {
        tConts[profile.name] = profile;
    }
    EXPECT_EQ(tConts.size(), now.tContProfileMap.size());
    const auto srdbaAgrees = [](auto pushed, auto stored, auto byDefault) {
        using Number = std::int64_t;
        return Number{pushed} == Number{stored} || (pushed == 0 && Number{stored} == Number{byDefault});
    };
    for (const auto& [name, stored] : now.tContProfileMap) {
        SCOPED_TRACE("T-CONT profile " + name);
        EXPECT_EQ(stored.name, name);
        const auto& pushed = tConts[name];
        EXPECT_EQ(pushed.tContId, stored.tContId);
        EXPECT_EQ(pushed.tContType, stored.tContType);
        EXPECT_EQ(pushed.fixedRate, stored.fixedRate);
        EXPECT_EQ(pushed.assuredRate, stored.assuredRate);
        EXPECT_EQ(pushed.maximumRate, stored.maximumRate);
        EXPECT_TRUE(srdbaAgrees(pushed.dbaAllocType, stored.dbaAllocType, 2)) << pushed.dbaAllocType;
        EXPECT_TRUE(srdbaAgrees(pushed.dbaWeight, stored.dbaWeight, 1)) << pushed.dbaWeight;
        EXPECT_TRUE(srdbaAgrees(pushed.dbaPriority, stored.dbaPriority, 0)) << pushed.dbaPriority;
    }

    std::map<std::string, standin::FlowProfile> flows;
    for (const auto& profile : hardware.flowProfiles) {
        flows[profile.name] = profile;
    }
    EXPECT_EQ(flows.size(), now.onuFlowProfileMap.size());
    for (const auto& [name, stored] : now.onuFlowProfileMap) {
        SCOPED_TRACE("ONU flow profile " + name);
        EXPECT_EQ(stored.name, name);
        const auto& pushed = flows[name];
        EXPECT_EQ(pushed.cPcp, gaps.unpushedPcps.contains(name) ? 0xFFFFFFFF : stored.rule.cPcp);
        EXPECT_EQ(pushed.cVlan,
                  gaps.unpushedVlans.contains(name) ? decltype(pushed.cVlan){} : stored.rule.cVlan);
        EXPECT_EQ(pushed.guarRateUs, stored.action.guarRateUs);
        EXPECT_EQ(pushed.peakRateUs, stored.action.peakRateUs);
        EXPECT_EQ(pushed.flowPriorityUs, stored.action.flowPriorityUs);
        EXPECT_EQ(pushed.flowPriorityDs, stored.action.flowPriorityDs);
    }

    std::set<std::tuple<unsigned int, std::string, unsigned int>> bound;
    for (const auto& [onu, services] : now.onuQosServiceIntfMap) {
        for (const auto& [service, binding] : services) {
            bound.emplace(onu, binding.onuFlowProfileName + "-" + binding.tContProfileName,
                          binding.virtualPortId);
        }
    }
    std::set<std::tuple<unsigned int, std::string, unsigned int>> pushed;
    for (const auto& binding : hardware.bindings) {
        pushed.emplace(binding.interface, binding.name, binding.virtualPort);
    }
    EXPECT_EQ(pushed, bound);
}

void ModuleTest::makeTCont(const std::string& name, onuTContProfileType type, unsigned int id) {
    ASSERT_EQ(module_.tContProfileCreate(name), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileTypeSet(name, type), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileIdSet(name, id), onuQos::onuQosResOk);
}

void ModuleTest::makeFlow(const std::string& name) {
    ASSERT_EQ(module_.onuFlowProfileCreate(name), onuQos::onuQosResOk);
}

onuQos::onuQosRes ModuleTest::bind(unsigned int onu, const std::string& service, const std::string& flow,
                                   const std::string& tCont, unsigned int virtualPort) {
    return module_.onuQosServiceApply(onu, service, flow, tCont, virtualPort, servprofile::onuTermPointType0,
                                      1);
}
