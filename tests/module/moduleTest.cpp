#include "moduleTest.h"

#include <algorithm>
#include <map>
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

std::string lockLine(const std::string& operation) {
    return "Error obtaining exclusive lock in onuQos::" + operation + ".\n";
}

std::string errorLine(const std::string& operation, const std::string& text) {
    return "onuQos.cpp::" + operation + ":" + text + "\n";
}

std::string refusalLine(const std::string& operation, const std::string& text) {
    return errorLine(operation, "ONUQOS ERROR - " + text);
}

std::vector<std::string> logLines(standin::LogCapture& log) {
    const std::string file = "onuQos.cpp:";
    const std::string digits = "0123456789";
    std::vector<std::string> lines;
    for (const auto& [level, text] : log.lines()) {
        const bool numbered = text.starts_with(file) && text.find_first_of(digits) == file.size();
        lines.push_back(numbered ? file + text.substr(text.find_first_not_of(digits, file.size())) : text);
    }
    log.clear();
    return lines;
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
    log_.reset();
    standin::reset();
    standin::configure(platform);
    module_.onuTContProfileRatesSet();
    module_.onuTContProfileSrDbaConfSet();
    ASSERT_TRUE(module_.applyDefaultSettings());
    standin::reset();  // forgets the alarms that were cleared with the tables
    standin::configure(platform);
    log_.emplace();
    const onuQosTables known = tables();
    for (const auto& port : platform.ports) {
        if (!known.onuQosOltCacMap.contains(port.interface)) {
            ASSERT_EQ(module_.onuQosOltIntfInit(port.interface), onuQos::onuQosResOk);
        }
    }
    for (const auto& onu : platform.onus) {
        if (!known.onuQosOnuCacMap.contains(onu.interface)) {
            ASSERT_EQ(module_.onuQosOnuIntfInit(onu.interface), onuQos::onuQosResOk) << onu.interface;
        }
        module_.interfaceStateChange(static_cast<int>(onu.interface), Interfaces::interfaceEvent_t{});
    }
    log_->clear();
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
    return ::logLines(*log_);
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

void ModuleTest::refuseEachCall(const RefusedChange& changed) {
    const auto startOver = [&] {
        startAgain();
        changed.prepare();
        ASSERT_EQ(logLines(), std::vector<std::string>{});
    };
    startOver();
    int done = 0;
    const auto calls = callsOf([&] { done = changed.change(); });
    EXPECT_EQ(logLines(), std::vector<std::string>{});
    const Snapshot after = snapshot();

    auto row = changed.calls.begin();
    std::map<standin::Operation, std::uint64_t> occurrences;
    for (const auto& [operation, arguments] : calls) {
        const std::uint64_t occurrence = occurrences[operation]++;
        SCOPED_TRACE(std::string(name(operation)) + " no. " + std::to_string(occurrence + 1) + " refused");
        Refusal refusal{.call = "isActive", .leaves = Refusal::Leaves::done};
        if (operation != standin::Operation::isActive) {
            ASSERT_NE(row, changed.calls.end()) << "a call that is not listed";
            refusal = *row++;
            ASSERT_EQ(refusal.call, name(operation));
        }
        startOver();
        const Snapshot before = snapshot();
        standin::faults::set(operation, {.answer = 1, .times = 1, .after = occurrence});
        const int answer = changed.change();
        EXPECT_TRUE(standin::faults::list().empty()) << "the call was not made again";
        EXPECT_EQ(logLines(), refusal.log);
        EXPECT_EQ(answer, refusal.leaves == Refusal::Leaves::done ? done : refusal.answer);
        if (refusal.leaves == Refusal::Leaves::other) {
            EXPECT_EQ(changed.describe(), refusal.left);
            expectMirrorAgrees();
        } else {
            EXPECT_EQ(snapshot(), refusal.leaves == Refusal::Leaves::done ? after : before);
        }
    }
    EXPECT_EQ(row, changed.calls.end()) << "listed and not called: " << row->call;
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

std::string ModuleTest::tContText(const std::string& name) const {
    const auto profiles = tables().tContProfileMap;
    const auto found = profiles.find(name);
    if (found == profiles.end()) {
        return "none";
    }
    const tContProfileInfo& info = found->second;
    std::ostringstream text;
    text << info.tContId << " " << info.tContType << " " << info.fixedRate << "/" << info.assuredRate << "/"
         << info.maximumRate << " " << info.dbaAllocType << " " << info.dbaWeight << " " << info.dbaPriority;
    return text.str();
}

void ModuleTest::makeTCont(const std::string& name, onuTContProfileType type, unsigned int id) {
    ASSERT_EQ(module_.tContProfileCreate(name), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileTypeSet(name, type), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileIdSet(name, id), onuQos::onuQosResOk);
}

void ModuleTest::makeRates(const std::string& name, unsigned int fixed, unsigned int assured,
                           unsigned int id) {
    makeTCont(name, tContType5, id);
    ASSERT_EQ(module_.tContProfileMaximumRateSet(name, onuQos::TCONT_PROFILE_RATE_MAX), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileFixedRateSet(name, fixed), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileAssuredRateSet(name, assured), onuQos::onuQosResOk);
}

void ModuleTest::makeFlow(const std::string& name) {
    ASSERT_EQ(module_.onuFlowProfileCreate(name), onuQos::onuQosResOk);
}

onuQos::onuQosRes ModuleTest::bind(unsigned int onu, const std::string& service, const std::string& flow,
                                   const std::string& tCont, unsigned int virtualPort) {
    return module_.onuQosServiceApply(onu, service, flow, tCont, virtualPort, servprofile::onuTermPointType0,
                                      1);
}
