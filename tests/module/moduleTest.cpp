#include "moduleTest.h"

#include <algorithm>
#include <sstream>

#include "BLLManager.h"

namespace {

/// The same words for what is stored and for what was pushed.
template <typename Profile>
std::string tContWords(const Profile& profile) {
    std::ostringstream text;
    text << profile.tContId << " " << profile.tContType << " " << profile.fixedRate << "/"
         << profile.assuredRate << "/" << profile.maximumRate << " " << profile.dbaAllocType << " "
         << profile.dbaWeight << " " << profile.dbaPriority;
    return text.str();
}

template <typename Rule, typename Action>
std::string flowWords(const std::string& name, const Rule& rule, const Action& action) {
    return testing::PrintToString(std::tuple(name, rule.cPcp, rule.cVlan, action.guarRateUs,
                                             action.peakRateUs, action.flowPriorityUs,
                                             action.flowPriorityDs));
}

}  // namespace

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

Lines logLines(standin::LogCapture& log) {
    const std::string file = "onuQos.cpp:";
    const std::string digits = "0123456789";
    Lines lines;
    for (const auto& [level, text] : log.lines()) {
        const bool numbered = text.starts_with(file) && text.find_first_of(digits) == file.size();
        lines.push_back(numbered ? file + text.substr(text.find_first_not_of(digits, file.size())) : text);
    }
    log.clear();
    return lines;
}

ModuleTest::~ModuleTest() {
    standin::faults::clearAll();
    module_.configurationApplyStop();
}

standin::Inventory ModuleTest::inventory() {
    standin::Inventory platform;
    for (const unsigned int port : {1U, 2U}) {
        platform.ports.push_back({.interface = port, .olt = port, .port = port, .technology = kTenG ? 2 : 1});
        for (unsigned int onu = 1; onu <= 3; ++onu) {
            platform.onus.push_back({.interface = 100 * port + onu, .parent = port, .port = onu});
        }
    }
    platform.features = {{5, true}, {featureOfProcess(), kTenG}};
    return platform;
}

void ModuleTest::startAgain(const standin::Inventory& platform) {
    log_.reset();
    standin::reset();
    standin::configure(platform);
    module_.onuTContProfileRatesSet();
    module_.onuTContProfileSrDbaConfSet();
    ASSERT_TRUE(applyDefaults());
    standin::reset();  // forgets the alarms that were cleared with the tables
    standin::configure(platform);
    log_.emplace();
    const onuQosTables known = tables();
    for (const auto& port : platform.ports) {
        if (!known.onuQosOltCacMap.contains(port.interface)) {
            ASSERT_EQ(module_.onuQosOltIntfInit(port.interface), onuQosResOk);
        }
    }
    for (const auto& onu : platform.onus) {
        if (!known.onuQosOnuCacMap.contains(onu.interface)) {
            ASSERT_EQ(module_.onuQosOnuIntfInit(onu.interface), onuQosResOk) << onu.interface;
        }
    }
    log_->clear();
}

bool ModuleTest::applyDefaults() {
    const BLLManager::exclusiveLock_t lock;
    EXPECT_TRUE(lock.obtained());
    return module_.applyDefaultSettings();
}

onuQosTables ModuleTest::tables() const {
    onuQosTables copy;
    EXPECT_EQ(module_.onuQosTablesGet(copy), onuQosResOk);
    return copy;
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

Lines ModuleTest::traceOf(const std::function<void()>& change) {
    Lines trace;
    for (const auto& [operation, arguments] : callsOf(change)) {
        if (operation != standin::Operation::exclusiveLock && operation != standin::Operation::sharedLock) {
            trace.push_back(std::string(name(operation)) + "(" + arguments + ")");
        }
    }
    return trace;
}

void ModuleTest::expectMirrorAgrees(const std::set<std::string>& withoutRule) const {
    auto [now, hardware] = snapshot();
    std::multiset<std::string> stored, pushed;
    for (const auto& profile : hardware.tContProfiles) {
        pushed.insert(profile.name + " " + tContWords(profile));
        if (const auto found = now.tContProfileMap.find(profile.name); found != now.tContProfileMap.end()) {
            const auto unpushed = [](auto pushedValue, auto& storedValue, auto byDefault) {
                storedValue =
                    pushedValue == 0 && storedValue == byDefault ? decltype(byDefault){} : storedValue;
            };
            unpushed(profile.dbaAllocType, found->second.dbaAllocType, tContDbaMode2);
            unpushed(profile.dbaWeight, found->second.dbaWeight, 1U);
        }
    }
    for (const auto& [name, profile] : now.tContProfileMap) {
        EXPECT_EQ(profile.name, name);
        stored.insert(name + " " + tContWords(profile));
    }
    for (const auto& profile : hardware.flowProfiles) {
        pushed.insert(flowWords(profile.name, profile, profile));
    }
    for (const auto& [name, profile] : now.onuFlowProfileMap) {
        EXPECT_EQ(profile.name, name);
        stored.insert(flowWords(name, withoutRule.contains(name) ? Rule{} : profile.rule, profile.action));
    }
    EXPECT_EQ(pushed, stored);

    std::set<std::tuple<unsigned int, std::string, unsigned int>> bound, bindings;
    for (const auto& [onu, services] : now.onuQosServiceIntfMap) {
        for (const auto& [service, binding] : services) {
            bound.emplace(onu, binding.onuFlowProfileName + "-" + binding.tContProfileName,
                          binding.virtualPortId);
        }
    }
    for (const auto& binding : hardware.bindings) {
        bindings.emplace(binding.interface, binding.name, binding.virtualPort);
    }
    EXPECT_EQ(bindings, bound);
}

std::string ModuleTest::onuText() const {
    const onuQosTables now = tables();
    const auto& onu = now.onuQosOnuCacMap.at(101);
    const auto& port = now.onuQosOltCacMap.at(1);
    std::string text;
    for (const auto& [service, binding] : now.onuQosServiceIntfMap.at(101)) {
        text += service + " ";
    }
    text += "| ";
    for (const auto& [profile, overhead] : onu.onuQosTContIntfCacInfoMap) {
        text += profile + " ";
    }
    std::size_t flows = 0, tConts = 0;
    for (const auto& [name, profile] : now.onuFlowProfileMap) {
        flows += profile.appliedIntfSet.size();
    }
    for (const auto& [name, profile] : now.tContProfileMap) {
        tConts += profile.appliedIntfs.size();
    }
    return text + (onu.configured ? "onu " : "") + "| " + std::to_string(port.fixedAlloc) +
           (port.cacViolation ? " violation" : "") + (now.onuQosOltCacAlarmMap.at(1) ? " alarm" : "") +
           " | " + std::to_string(flows) + std::to_string(tConts);
}

std::string ModuleTest::tContText(const std::string& name) const {
    const auto profiles = tables().tContProfileMap;
    const auto found = profiles.find(name);
    return found == profiles.end() ? "none" : tContWords(found->second);
}

void ModuleTest::makeTCont(const std::string& name, onuTContProfileType type, unsigned int id) {
    ASSERT_EQ(module_.tContProfileCreate(name), onuQosResOk);
    ASSERT_EQ(module_.tContProfileTypeSet(name, type), onuQosResOk);
    ASSERT_EQ(module_.tContProfileIdSet(name, id), onuQosResOk);
}

void ModuleTest::makeRates(const std::string& name, unsigned int fixed, unsigned int assured,
                           unsigned int id) {
    makeTCont(name, tContType5, id);
    ASSERT_EQ(module_.tContProfileMaximumRateSet(name, kHighest), onuQosResOk);
    ASSERT_EQ(module_.tContProfileFixedRateSet(name, fixed), onuQosResOk);
    ASSERT_EQ(module_.tContProfileAssuredRateSet(name, assured), onuQosResOk);
}

onuQos::onuQosRes ModuleTest::ruleSet(const std::string& name, Rule rule, int type,
                                      onuQos::onuFlowProfileOperation operation) {
    return module_.onuFlowProfileRuleSet(name, rule, onuQos::onuFlowProfileRuleType{type}, operation);
}

onuQos::onuQosRes ModuleTest::actionSet(const std::string& name, Action action, int type,
                                        onuQos::onuFlowProfileOperation operation) {
    return module_.onuFlowProfileActionSet(name, action, onuQos::onuFlowProfileActionType{type}, operation);
}

onuQos::onuQosRes ModuleTest::bind(unsigned int onu, const std::string& service, const std::string& flow,
                                   const std::string& tCont, unsigned int virtualPort, int termPointType,
                                   short termPointId) {
    return module_.onuQosServiceApply(onu, service, flow, tCont, virtualPort,
                                      servprofile::onuTermPointType{termPointType}, termPointId);
}
