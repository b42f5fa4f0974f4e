#include "onuqos/rules/fit.h"

#include "moduleTest.h"

namespace {

using rules::DistanceSpan;
using rules::Limit;
using rules::PortState;
using rules::RatePair;
using rules::Yardstick;

constexpr unsigned int kOnus = 128;
constexpr unsigned int kBusy = 40;  // of them, where the port begins with some

constexpr RatePair kTariffs[] = {{256, 0}, {448, 0},  {1024, 0},   {4032, 2048}, {25600, 0},   {100'000, 0},
                                 {0, 256}, {0, 1984}, {0, 10'240}, {0, 300'000}, {1024, 2048}, {0, 0}};

struct Distances {
    std::uint32_t min, max;
};
// Both sides of 54 km, and one at which no fixed rate is left.
constexpr Distances kDistances[] = {{0, 20}, {0, 53}, {10, 54}, {10, 55}, {30, 60}};

/// A port that is filled until the module refuses, and what the rules foretell.
class FitTest : public ModuleTest {
protected:
    void startWith(int technology, Distances distances) {
        standin::Inventory platform = inventory();
        platform.ports.front().technology = technology;
        platform.ports.front().minDistance = distances.min;
        platform.ports.front().maxDistance = distances.max;
        onus_ = {101, 102, 103};
        while (onus_.size() < kOnus) {
            onus_.push_back(static_cast<unsigned int>(1000 + onus_.size()));
            platform.onus.push_back({.interface = onus_.back(), .parent = 1});
        }
        startAgain(platform);
        makeFlow("f");
        makeFlow("f2");
    }

    PortState state(int technology, Distances distances) {
        const auto sums = tables().onuQosOltCacMap.at(1);
        PortState port{.technology = technology == Interfaces::ponTech10G ? oltPortBw10G : oltPortBwGpon,
                       .totalMax = onuQos::OLT_TOTAL_RATE_MAX,
                       .minDistance = distances.min,
                       .maxDistance = distances.max,
                       .held = sums,
                       .configured = sums.fixedAlloc != 0,
                       .free = {}};
        EXPECT_EQ(module_.onuQosOltActualAvailRatesGet(1, port.free.fixed, port.free.assured), onuQosResOk);
        return port;
    }

    bool isViolated() const { return tables().onuQosOltCacMap.at(1).cacViolation; }

    /// Binds on the ONUs from `first` to before `end` until the module refuses; how many before the alarm,
    /// and at all.
    std::pair<unsigned int, unsigned int> fill(unsigned int first, unsigned int end) {
        unsigned int bound = 0;
        std::optional<unsigned int> alarm;
        if (isViolated()) {
            alarm = 0;
        }
        for (unsigned int onu = first; onu < end; ++onu) {
            if (bind(onus_[onu], "s2", "f2", "tariff", 2) != onuQosResOk) {
                break;
            }
            if (!alarm && isViolated()) {
                alarm = bound;
            }
            ++bound;
        }
        return {alarm.value_or(bound), bound};
    }

    /// Fills a port on which the first `busy` ONUs have a service already.
    void expectForetold(int technology, Distances distances, RatePair tariff, unsigned int busy,
                        bool newOnus) {
        startWith(technology, distances);
        makeRates("small", 256, 512);
        makeRates("tariff", tariff.fixed, tariff.assured, 2);
        for (unsigned int onu = 0; onu < busy; ++onu) {
            ASSERT_EQ(bind(onus_[onu], "s", "f", "small", 1), onuQosResOk);
        }
        const PortState port = state(technology, distances);
        const unsigned int first = newOnus ? busy : 0;
        const unsigned int end = newOnus ? kOnus : busy;
        const auto stored = tables().tContProfileMap.at("tariff");  // rounded
        const auto count = [&](Yardstick yardstick) {
            return rules::fitCount(yardstick, port, {stored.fixedRate, stored.assuredRate}, end - first,
                                   newOnus)
                .count;
        };
        const auto [alarm, bound] = fill(first, end);
        EXPECT_EQ(count(Yardstick::admission), bound);
        EXPECT_EQ(std::min(count(Yardstick::alarm), bound), alarm);
    }

    std::vector<unsigned int> onus_;  ///< of port 1
};

TEST_F(FitTest, aPortTakesAsManyAsForetold) {
    for (const int technology :
         {static_cast<int>(Interfaces::ponTechGpon), static_cast<int>(Interfaces::ponTech10G)}) {
        if (technology == Interfaces::ponTech10G && !kTenG) {
            continue;
        }
        for (const Distances distances : kDistances) {
            for (const RatePair tariff : kTariffs) {
                SCOPED_TRACE("technology " + std::to_string(technology) + ", " +
                             std::to_string(distances.min) + "-" + std::to_string(distances.max) + " km, " +
                             std::to_string(tariff.fixed) + "/" + std::to_string(tariff.assured));
                expectForetold(technology, distances, tariff, 0, true);
                expectForetold(technology, distances, tariff, kBusy, true);
                expectForetold(technology, distances, tariff, kBusy, false);
            }
        }
    }
}

/// An empty GPON port at 0 to 20 km.
constexpr PortState kEmpty{.technology = oltPortBwGpon,
                           .totalMax = rules::kGponLimits.totalMax,
                           .minDistance = 0,
                           .maxDistance = 20,
                           .held = {},
                           .configured = false,
                           .free = {1240640, 1240640}};

TEST(Fit, TellsWhatStops) {
    struct Row {
        Yardstick yardstick;
        RatePair rate;
        std::uint32_t count;
        Limit stop;
    };
    for (const auto& [yardstick, rate, count, stop] :
         {Row{Yardstick::alarm, {1024, 0}, 81, Limit::fixed},
          Row{Yardstick::admission, {1024, 0}, kOnus, Limit::none},
          Row{Yardstick::alarm, {0, 10240}, 75, Limit::total},
          Row{Yardstick::admission, {0, 10240}, 120, Limit::total}}) {
        const rules::Fit fit = rules::fitCount(yardstick, kEmpty, rate, kOnus, true);
        EXPECT_EQ(std::pair(fit.count, fit.stop.binding), std::pair(count, stop)) << rate.fixed;
    }
}

TEST(Fit, DistancesHaveGapsAndEnds) {
    struct Row {
        std::uint32_t minDistance, fixed, assured;
        std::vector<DistanceSpan> spans;
    };
    const std::vector<Row> rows{
        {0, 0, 0, {{0, 60}}},           {0, 362112, 0, {{0, 19}}},    {10, 100'000, 0, {{10, 53}, {55, 58}}},
        {0, 1, 0, {{0, 52}, {55, 57}}}, {55, 578'025, 0, {{55, 59}}}, {50, 578'024, 0, {{50, 50}, {55, 55}}},
        {0, 0, 1'240'641, {}}};
    for (const auto& [minDistance, fixed, assured, spans] : rows) {
        PortState port = kEmpty;
        port.minDistance = minDistance;
        port.held = {.fixedAlloc = fixed, .assuredAlloc = assured};
        EXPECT_EQ(rules::distanceSpans(port), spans) << minDistance << " " << fixed;
    }
}

/// Every rate of a class that some larger one undercuts, found by trying them all.
std::vector<std::uint32_t> undercut(std::span<const rules::Band> bands, onuTContProfileRateType type,
                                    const rules::ClassLimits& limits) {
    std::vector<std::uint32_t> found;
    std::uint64_t least = ~std::uint64_t{0};
    for (std::uint32_t rate = limits.rateMax; rate >= limits.rateStep; rate -= limits.rateStep) {
        if (rules::tContRateRounded(limits, type, rate) != rate) {
            continue;
        }
        const std::uint64_t cost = rate + rules::rateOverhead(bands, rate);
        if (cost > least) {
            found.push_back(rate);
        }
        least = std::min(least, cost);
    }
    std::ranges::reverse(found);
    return found;
}

TEST(Fit, TheCurveKnowsEveryRateThatALargerOneUndercuts) {
    for (const rules::ClassLimits& limits : {rules::kGponLimits, rules::kTenGLimits}) {
        for (const auto type : {tContRateFixed, tContRateAssured}) {
            std::vector<std::uint32_t> dear;
            std::ptrdiff_t places = 0;
            for (const rules::CostBand& band : rules::costCurve(type, limits)) {
                places += band.isDear() ? 1 : 0;
                for (std::uint32_t rate = band.dearFrom.rate; rate <= band.last.rate;
                     rate += rules::tContRateStep(limits, type, rate + 1)) {
                    dear.push_back(rate);
                }
            }
            const std::span<const rules::Band> bands =
                type == tContRateFixed ? std::span<const rules::Band>(rules::kFixedPercent)
                                       : std::span<const rules::Band>(rules::kAssuredPercent);
            EXPECT_EQ(dear, undercut(bands, type, limits));
            EXPECT_EQ(places, type == tContRateFixed ? 10 : 6);
        }
    }
}

}  // namespace
