#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <random>
#include <string>

#include "restoreTest.h"
#include "standin/operations.h"

namespace {

/// Random operations on few names and few interfaces, so that they meet each other often.
class RestoreRandom : public RestoreTest, public testing::WithParamInterface<unsigned int> {
protected:
    template <typename Value>
    const Value& anyOf(const std::vector<Value>& values) {
        return values[number(values.size())];
    }

    std::size_t number(std::size_t below) {
        return std::uniform_int_distribution<std::size_t>(0, below - 1)(random_);
    }

    std::string anyName() {
        static const std::vector<std::string> kNames{"a", "b", "c", "d", "", "a~2", std::string(70, 'l')};
        return anyOf(kNames);
    }

    /// Makes one of these changes.
    void doAnyOf(std::initializer_list<std::function<void()>> changes) {
        changes.begin()[number(changes.size())]();
    }

    void changeTCont() {
        static const std::vector<unsigned int> kRates{0, 64, 128, 256, 320, 512, 1024, 64000, 0xFFFFFFFF};
        const std::string name = anyName();
        const auto create = [&] { module_.tContProfileCreate(name); };
        const auto rename = [&] { module_.tContProfileRename(name, anyName()); };
        const auto upTo = [this](std::size_t most) { return static_cast<unsigned int>(1 + number(most)); };
        doAnyOf({create, create, rename, rename, [&] { module_.tContProfileDelete(name); },
                 [&] { module_.tContProfileCopy(name, anyName()); },
                 [&] { module_.tContProfileTypeSet(name, static_cast<onuTContProfileType>(upTo(5))); },
                 [&] { module_.tContProfileIdSet(name, upTo(6)); },
                 [&] {
                     module_.tContProfileAllocTypeSet(name, static_cast<onuTContProfileDbaCtrlMode>(upTo(2)));
                 },
                 [&] { module_.tContProfileSrdbaWeightSet(name, upTo(3) - 1); },
                 [&] { module_.tContProfileSrdbaPrioritySet(name, upTo(3) - 1); },
                 [&] {
                     module_.tContProfileMaximumRateSet(name, anyOf(kRates));
                     module_.tContProfileFixedRateSet(name, anyOf(kRates));
                     module_.tContProfileAssuredRateSet(name, anyOf(kRates));
                 }});
    }

    void changeFlow() {
        const std::string name = anyName();
        Rule rule{.cPcp = static_cast<std::uint32_t>(number(9)) - 1, .cVlan = {}};
        for (std::size_t i = number(4); i > 0; --i) {
            rule.cVlan.push_back(static_cast<std::uint16_t>(1 + number(6)));
        }
        const Action action{.guarRateUs = static_cast<std::uint32_t>(64 * number(9)),
                            .peakRateUs = static_cast<std::uint32_t>(64 * number(9)),
                            .flowPriorityUs = static_cast<std::uint32_t>(number(8)),
                            .flowPriorityDs = static_cast<std::uint32_t>(number(8))};
        const auto operation = onuQos::onuFlowProfileOperation{static_cast<int>(number(3)) - 1};
        const auto create = [&] { module_.onuFlowProfileCreate(name); };
        const auto vlans = [&] { ruleSet(name, rule, onuQos::onuFlowProfileRuleTypeCVlan, operation); };
        doAnyOf({create, create, vlans, vlans,
                 [&] { ruleSet(name, rule, onuQos::onuFlowProfileRuleTypeCPcp, operation); },
                 [&] { actionSet(name, action, onuQos::onuFlowProfileActionTypeAll, operation); },
                 [&] { module_.onuFlowProfileDelete(name); },
                 [&] { module_.onuFlowProfileRename(name, anyName()); },
                 [&] { module_.onuFlowProfileCopy(name, anyName()); }});
    }

    void changeService() {
        static const std::vector<unsigned int> kOnus{101, 102, 201};
        const std::string service = anyOf(std::vector<std::string>{"s", "t", "u", "v"}) + anyName();
        if (number(6) == 0) {
            remove(anyOf(kOnus), service);
        } else {
            bind(anyOf(kOnus), service, anyName(), anyName(), static_cast<unsigned int>(number(9)),
                 {.type = static_cast<std::int32_t>(number(5)) - 1,
                  .id = static_cast<std::int16_t>(number(3))});
        }
    }

    void change() {
        if (number(10) == 0) {
            refuseSoon();
        }
        const auto tcont = [this] { changeTCont(); };
        const auto flow = [this] { changeFlow(); };
        const auto service = [this] { changeService(); };
        doAnyOf({[this] { module_.configurationApplyStart(); }, [this] { module_.configurationApplyStop(); },
                 tcont, tcont, flow, flow, service, service, service, service});
    }

    /// One of the next platform calls is refused. The locks, which come first, are left alone: where they
    /// fail, a bound profile can be changed.
    void refuseSoon() {
        constexpr auto kFirst = static_cast<std::size_t>(standin::Operation::interfaceListGet);
        standin::faults::set(
            static_cast<standin::Operation>(kFirst + number(standin::kOperationCount - kFirst)),
            {.answer = 1 + 4 * static_cast<int>(number(2)), .after = number(4)});
    }

private:
    std::mt19937 random_{GetParam()};
};

TEST_P(RestoreRandom, WhateverOperationsReachIsHealedAndTold) {
    for (const char* name : {"a", "b", "c", "d"}) {
        makeFlow(name);
        makeTCont(name, onuTContProfileType(1 + number(5)), static_cast<unsigned int>(1 + number(6)));
    }
    for (int i = 0; i < 200; ++i) {
        change();
    }
    standin::faults::clearAll();
    module_.configurationApplyStop();
    expectRestored();
}

/// More of them for a longer search: OLTMGRD_SEEDS=1000.
unsigned int seeds() {
    const char* wanted = std::getenv("OLTMGRD_SEEDS");
    return wanted == nullptr ? 60 : static_cast<unsigned int>(std::stoul(wanted));
}

INSTANTIATE_TEST_SUITE_P(Seeds, RestoreRandom, testing::Range(0U, seeds()));

}  // namespace
