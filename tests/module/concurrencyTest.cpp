#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "moduleTest.h"

namespace {

using enum onuQos::onuQosRes;

constexpr unsigned int kRounds = 150;

/// The number after `label` in a line of a dump.
std::uint32_t numberAfter(const std::string& line, const std::string& label) {
    const auto at = line.find(label);
    EXPECT_NE(at, std::string::npos) << label << " in " << line;
    return at == std::string::npos ? 0
                                   : static_cast<std::uint32_t>(std::stoul(line.substr(at + label.size())));
}

std::string textBetween(const std::string& line, const std::string& label, const std::string& end) {
    const auto from = line.find(label) + label.size();
    return line.substr(from, line.find(end, from) - from);
}

/// A dump must show one state: the sums of a port are those of its ONUs and their T-CONTs, and an ONU is
/// accounted for what it binds. Ports with nothing on them are not in it.
void expectOneState(const std::string& dump) {
    std::map<std::string, std::pair<std::uint32_t, std::uint32_t>> rates;
    std::map<std::uint32_t, std::set<std::string>> bound, accounted;
    std::map<std::uint32_t, std::pair<std::uint32_t, std::uint32_t>> sums, shown{{1, {}}, {2, {}}};
    std::istringstream lines(dump);
    std::string section, tCont;
    std::uint32_t intf = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with("Map:")) {
            section = line.substr(1);
        } else if (line.starts_with(" \tname: ")) {
            tCont = textBetween(line, "name: ", " (");
        } else if (section == "tContProfileMap:" && line.starts_with(" \t\t")) {
            rates[tCont] = {numberAfter(line, "fixedRate: "), numberAfter(line, "assuredRate: ")};
        } else if (line.starts_with(" \tintf: ")) {
            intf = numberAfter(line, "intf: ");
            if (section == "onuQosOltCacMap:") {
                shown[intf] = {numberAfter(line, "fixedAlloc: "), numberAfter(line, "assuredAlloc: ")};
            } else if (section == "onuQosOnuCacMap:") {
                EXPECT_EQ(numberAfter(line, "configured: "), 1U);
                sums[intf / 100].first += numberAfter(line, "fixedOverhead: ");
                sums[intf / 100].second += numberAfter(line, "assuredOverhead: ");
            }
        } else if (section == "onuQosServiceIntfMap:" && line.starts_with(" \t\t")) {
            bound[intf].insert(textBetween(line, "tContProfileName: ", ","));
        } else if (section == "onuQosOnuCacMap:" && line.starts_with(" \t\t")) {
            const std::string name = textBetween(line, "profile: ", ",");
            accounted[intf].insert(name);
            sums[intf / 100].first += rates[name].first + numberAfter(line, "fixedOverhead: ");
            sums[intf / 100].second += rates[name].second + numberAfter(line, "assuredOverhead: ");
        }
    }
    EXPECT_EQ(accounted, bound) << dump;
    EXPECT_EQ(shown[1], sums[1]) << dump;
    EXPECT_EQ(shown[2], sums[2]) << dump;
}

class ConcurrencyTest : public ModuleTest {};

}  // namespace

TEST_F(ConcurrencyTest, everyDumpShowsOneStateWhileAllElseGoesOn) {
    constexpr unsigned int kOnus[] = {101, 102, 103, 201, 202, 203};
    constexpr unsigned int kProfiles = 3;
    for (unsigned int i = 0; i < kProfiles; ++i) {
        makeRates("t" + std::to_string(i), 256 << i, 512 << i, i + 1);
        makeFlow("f" + std::to_string(i));
    }
    std::atomic<int> running{0};
    std::vector<std::thread> threads;
    const auto start = [&](auto work) {
        ++running;
        threads.emplace_back([&running, work, seed = threads.size()] {
            std::mt19937 random(static_cast<unsigned int>(seed));
            for (unsigned int round = 0; round < kRounds; ++round) {
                work(round,
                     [&random](unsigned int limit) { return static_cast<unsigned int>(random() % limit); });
            }
            --running;
        });
    };
    const auto binding = [&](unsigned int, auto below) {
        const unsigned int onu = kOnus[below(6)];
        const std::string service = "s" + std::to_string(below(4));
        const unsigned int pair = below(kProfiles);
        if (below(2) == 0) {
            bind(onu, service, "f" + std::to_string(pair), "t" + std::to_string(below(kProfiles)), pair);
        } else {
            EXPECT_EQ(module_.onuQosServiceRemove(onu, service), onuQosResOk);
        }
        std::string found;
        module_.flowIdToServiceName(onu, below(100), found);
    };
    start(binding);
    start(binding);
    start([&](unsigned int, auto below) {  // changes that bindings forbid or let through
        const std::string digit = std::to_string(below(kProfiles));
        module_.tContProfileFixedRateSet("t" + digit, 256 << below(4));
        onuQos::onuFlowProfileRule rule{.cPcp = below(8), .cVlan = {1, 2, 3}};
        module_.onuFlowProfileRuleSet("f" + digit, rule, onuQos::onuFlowProfileRuleTypeCVlan,
                                      onuQos::onuFlowProfileOperationSet);
    });
    start([&](unsigned int round, auto) {
        const std::string name = "own" + std::to_string(round);
        onuQos::onuFlowProfileInfo info;
        info.action.flowPriorityDs = 5;
        EXPECT_EQ(module_.onuFlowProfileCreateAndSet(name, info, 0x40), onuQosResOk);
        EXPECT_EQ(module_.onuFlowProfileRename(name, "renamed"), onuQosResOk);
        EXPECT_EQ(module_.onuFlowProfileDelete("renamed"), onuQosResOk);
        EXPECT_EQ(module_.tContProfileCopy("t0", name), onuQosResOk);
        EXPECT_EQ(module_.tContProfileDelete(name), onuQosResOk);
    });
    start([&](unsigned int, auto below) {
        module_.interfaceStateChange(static_cast<int>(kOnus[below(6)]), Interfaces::interfaceEventUp);
        module_.onuConfigEventHandler(kOnus[below(6)], true, false);
        standin::ports::setDistances(1 + below(2), 0, below(2) == 0 ? 20 : 54);
        module_.onuQosOltPortDistanceChangedEventHandler(1 + below(2));
    });
    start([&](unsigned int, auto) {
        module_.configurationApplyStart();
        module_.configurationApplyStop();
    });
    for (int reader = 0; reader < 2; ++reader) {
        threads.emplace_back([&] {
            for (int dumps = 0; running > 0 || dumps < 10; ++dumps) {
                std::ostringstream dump;
                module_.externalMessage("onuQosDump", "", &dump);
                expectOneState(dump.str());
                unsigned int a = 0, b = 0, c = 0, d = 0;
                bool violation = false;
                EXPECT_EQ(module_.onuQosCacOltGet(1, a, b, c, d, violation), onuQosResOk);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (const auto& line : logLines()) {
        EXPECT_EQ(line.find("Error obtaining"), std::string::npos) << line;
    }
    for (const unsigned int port : {1U, 2U}) {
        EXPECT_EQ(module_.onuQosOltCacStateUpdate(port), onuQosResOk);
        EXPECT_EQ(tables().onuQosOltCacAlarmMap.at(port), tables().onuQosOltCacMap.at(port).cacViolation);
    }
    expectMirrorAgrees();
}
