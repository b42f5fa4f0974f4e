#include <random>

#include "moduleTest.h"
#include "onuqos/rules/portLedger.h"

// Sums kept by the test itself, from the bindings and from its own copy of the documented tables.

namespace {

struct Rates {
    std::uint32_t fixed = 0;
    std::uint32_t assured = 0;

    bool operator==(const Rates&) const = default;
};

std::uint32_t share(std::uint32_t rate, std::uint32_t percent) {
    return (rate * percent / 100 + 63) / 64 * 64;
}

std::uint32_t fixedOverhead(std::uint32_t rate) {
    return share(rate, rate < 512      ? 400
                       : rate < 1024   ? 225
                       : rate < 2048   ? 138
                       : rate < 4032   ? 94
                       : rate < 8000   ? 51
                       : rate < 16000  ? 29
                       : rate < 32000  ? 19
                       : rate < 64000  ? 13
                       : rate < 128000 ? 10
                       : rate < 256000 ? 9
                                       : 8);
}

std::uint32_t assuredOverhead(std::uint32_t rate) {
    return share(rate, rate < 2048     ? 50
                       : rate < 4032   ? 44
                       : rate < 8000   ? 26
                       : rate < 16000  ? 16
                       : rate < 32000  ? 12
                       : rate < 64000  ? 10
                       : rate < 512000 ? 8
                                       : 7);
}

Rates onuOverhead(bool first, Rates port) {
    if (first) {
        return {1920, 11520};
    }
    const auto step = [](std::uint32_t sum) { return sum < 512 ? 0 : sum < 1024 ? 1 : sum < 2048 ? 2 : 3; };
    constexpr std::uint32_t kFixed[] = {256, 512, 960, 1920};
    constexpr std::uint32_t kAssured[] = {960, 1216, 1664, 2432};
    return {kFixed[step(port.fixed)], kAssured[step(port.assured)]};
}

struct Onu {
    std::map<std::string, std::string> tContOf;  ///< by service
    std::map<std::string, Rates> overheads;      ///< by T-CONT profile
    std::optional<Rates> own;
};

class LedgerTest : public ModuleTest {
protected:
    static constexpr unsigned int kOnus[] = {101, 102, 103, 201, 202, 203};

    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(random_() % limit); }
    std::string tCont() { return "t" + std::to_string(below(5)); }

    void bindAtRandom();
    void removeAtRandom();
    void rerateAtRandom();

    bool uses(const std::string& tCont) const {
        return std::ranges::any_of(onus_,
                                   [&](const auto& row) { return row.second.overheads.contains(tCont); });
    }

    void expectSums(int step) const {
        const onuQosTables now = tables();
        for (const unsigned int port : {1U, 2U}) {
            const auto& sums = now.onuQosOltCacMap.at(port);
            ASSERT_EQ((Rates{sums.fixedAlloc, sums.assuredAlloc}), ports_.at(port)) << "step " << step;
            onuQosPortLedger ledger;
            ASSERT_EQ(module_.onuQosPortLedgerGet(port, ledger), onuQosResOk);
            ASSERT_EQ((Rates{ledger.sums.fixedAlloc, ledger.sums.assuredAlloc}), ports_.at(port)) << step;
            ASSERT_EQ(ledger.sums.cacViolation, sums.cacViolation) << step;
            ASSERT_EQ(ledger.configuredOnus,
                      std::ranges::count_if(
                          onus_, [&](const auto& row) { return row.first / 100 == port && row.second.own; }))
                << step;
        }
        for (const auto& [intf, onu] : onus_) {
            const auto& record = now.onuQosOnuCacMap.at(intf);
            ASSERT_EQ(record.configured, onu.own.has_value()) << "step " << step;
            ASSERT_EQ((Rates{record.fixedOverhead, record.assuredOverhead}), onu.own.value_or(Rates{}))
                << step;
            ASSERT_EQ(record.onuQosTContIntfCacInfoMap.size(), onu.overheads.size()) << step;
            for (const auto& [name, overhead] : record.onuQosTContIntfCacInfoMap) {
                ASSERT_EQ((Rates{overhead.fixedOverhead, overhead.assuredOverhead}), onu.overheads.at(name))
                    << step;
            }
        }
    }

    std::mt19937 random_{31};
    std::map<unsigned int, Rates> ports_{{1, {}}, {2, {}}};
    std::map<unsigned int, Onu> onus_;
    std::map<std::string, Rates> rates_;
};

void LedgerTest::bindAtRandom() {
    const unsigned int intf = kOnus[below(6)];
    const unsigned int number = below(6);
    const std::string service = "s" + std::to_string(number), name = tCont();
    // A flow profile and a virtual port for each service: only admission can refuse, or nothing.
    const auto res = bind(intf, service, "f" + std::to_string(number), name, number);
    Onu& onu = onus_[intf];
    if (res != onuQosResOk || onu.tContOf.contains(service)) {
        ASSERT_TRUE(res == onuQosResOk || res == onuQosResRateError);
        return;
    }
    Rates& port = ports_.at(intf / 100);
    onu.tContOf[service] = name;
    if (!onu.overheads.contains(name)) {
        const Rates rate = rates_[name];
        const Rates overhead{fixedOverhead(rate.fixed), assuredOverhead(rate.assured)};
        onu.overheads[name] = overhead;
        port.fixed += rate.fixed + overhead.fixed;
        port.assured += rate.assured + overhead.assured;
    }
    if (onu.tContOf.size() == 1) {
        const bool first = std::ranges::none_of(
            onus_, [&](const auto& row) { return row.first / 100 == intf / 100 && row.second.own; });
        onu.own = onuOverhead(first, port);
        port.fixed += onu.own->fixed;
        port.assured += onu.own->assured;
    }
}

void LedgerTest::removeAtRandom() {
    const unsigned int intf = kOnus[below(6)];
    const std::string service = "s" + std::to_string(below(6));
    ASSERT_EQ(module_.onuQosServiceRemove(intf, service), onuQosResOk);
    Onu& onu = onus_[intf];
    const auto found = onu.tContOf.find(service);
    if (found == onu.tContOf.end()) {
        return;
    }
    const std::string name = found->second;
    onu.tContOf.erase(found);
    Rates& port = ports_.at(intf / 100);
    if (std::ranges::none_of(onu.tContOf, [&](const auto& row) { return row.second == name; })) {
        port.fixed -= rates_[name].fixed + onu.overheads[name].fixed;
        port.assured -= rates_[name].assured + onu.overheads[name].assured;
        onu.overheads.erase(name);
    }
    if (onu.tContOf.empty()) {
        port.fixed -= onu.own->fixed;
        port.assured -= onu.own->assured;
        onu.own.reset();
    }
}

void LedgerTest::rerateAtRandom() {
    const std::string name = tCont();
    constexpr std::uint32_t kRates[] = {0, 256, 448, 512, 1024, 1984, 2048, 3968, 4096, 30016, 65536, 262144};
    const std::uint32_t rate = kRates[below(12)];
    const bool fixed = below(2) == 0;
    const auto res =
        fixed ? module_.tContProfileFixedRateSet(name, rate) : module_.tContProfileAssuredRateSet(name, rate);
    ASSERT_EQ(res, uses(name) ? onuQosResApplied : onuQosResOk);
    if (res == onuQosResOk) {
        const auto profile = tables().tContProfileMap.at(name);
        rates_[name] = {profile.fixedRate, profile.assuredRate};
    }
}

TEST_F(LedgerTest, sumsAreThoseOfTheBindingsAfterEveryOperation) {
    for (unsigned int i = 0; i < 6; ++i) {
        makeFlow("f" + std::to_string(i));
    }
    for (unsigned int i = 0; i < 5; ++i) {
        makeTCont("t" + std::to_string(i), tContType5, i + 1);
        ASSERT_EQ(module_.tContProfileMaximumRateSet("t" + std::to_string(i), kHighest), onuQosResOk);
    }
    for (int step = 0; step < 100'000 && !HasFatalFailure(); ++step) {
        const unsigned int kind = below(10);
        kind < 5 ? bindAtRandom() : kind < 9 ? removeAtRandom() : rerateAtRandom();
        expectSums(step);
    }
}

}  // namespace
