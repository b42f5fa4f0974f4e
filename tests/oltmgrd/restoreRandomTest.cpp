#include <cstdlib>
#include <random>
#include <string>

#include "restoreTest.h"

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
        static const std::vector<std::string> kNames{"a", "b", "c", "d", "e", "", std::string(70, 'l')};
        return anyOf(kNames);
    }

    void changeTCont() {
        static const std::vector<unsigned int> kRates{0, 64, 128, 256, 320, 512, 1024, 64000, 0xFFFFFFFF};
        const std::string name = anyName();
        switch (number(11)) {
            case 0:
            case 1:
                module_.tContProfileCreate(name);
                break;
            case 2:
                module_.tContProfileDelete(name);
                break;
            case 3:
            case 4:
                module_.tContProfileRename(name, anyName());
                break;
            case 5:
                module_.tContProfileTypeSet(name, static_cast<onuTContProfileType>(1 + number(5)));
                break;
            case 6:
                module_.tContProfileIdSet(name, static_cast<unsigned int>(1 + number(3)));
                break;
            case 7:
                module_.tContProfileAllocTypeSet(name,
                                                 static_cast<onuTContProfileDbaCtrlMode>(1 + number(2)));
                break;
            case 8:
                module_.tContProfileSrdbaWeightSet(name, static_cast<unsigned int>(number(3)));
                break;
            case 9:
                module_.tContProfileSrdbaPrioritySet(name, static_cast<unsigned int>(number(3)));
                break;
            default:
                module_.tContProfileMaximumRateSet(name, anyOf(kRates));
                module_.tContProfileFixedRateSet(name, anyOf(kRates));
                module_.tContProfileAssuredRateSet(name, anyOf(kRates));
                break;
        }
    }

    void changeFlow() {
        const std::string name = anyName();
        onuQos::onuFlowProfileRule rule{.cPcp = static_cast<std::uint32_t>(number(9)) - 1, .cVlan = {}};
        for (std::size_t i = number(4); i > 0; --i) {
            rule.cVlan.push_back(static_cast<std::uint16_t>(1 + number(6)));
        }
        onuQos::onuFlowProfileAction action{.guarRateUs = static_cast<std::uint32_t>(64 * number(9)),
                                            .peakRateUs = static_cast<std::uint32_t>(64 * number(9)),
                                            .flowPriorityUs = static_cast<std::uint32_t>(number(8)),
                                            .flowPriorityDs = static_cast<std::uint32_t>(number(8))};
        const auto operation = static_cast<onuQos::onuFlowProfileOperation>(static_cast<int>(number(3)) - 1);
        switch (number(9)) {
            case 0:
            case 1:
                module_.onuFlowProfileCreate(name);
                break;
            case 2:
                module_.onuFlowProfileDelete(name);
                break;
            case 3:
                module_.onuFlowProfileRename(name, anyName());
                break;
            case 4:
                module_.onuFlowProfileCopy(name, anyName());
                break;
            case 5:
                module_.onuFlowProfileRuleSet(name, rule, onuQos::onuFlowProfileRuleTypeCPcp, operation);
                break;
            case 6:
            case 7:
                module_.onuFlowProfileRuleSet(name, rule, onuQos::onuFlowProfileRuleTypeCVlan, operation);
                break;
            default:
                module_.onuFlowProfileActionSet(name, action, onuQos::onuFlowProfileActionTypeAll, operation);
                break;
        }
    }

    void changeService() {
        static const std::vector<unsigned int> kOnus{101, 102, 201};
        const std::string service = anyName();
        if (number(3) == 0) {
            services().remove(anyOf(kOnus), service);
        } else {
            bind(anyOf(kOnus), service, anyName(), anyName(), static_cast<unsigned int>(number(4)),
                 {.type = static_cast<std::int32_t>(number(5)) - 1,
                  .id = static_cast<std::int16_t>(number(3))});
        }
    }

    void change() {
        switch (number(8)) {
            case 0:
                module_.configurationApplyStart();
                break;
            case 1:
                module_.configurationApplyStop();
                break;
            case 2:
            case 3:
                changeTCont();
                break;
            case 4:
            case 5:
                changeFlow();
                break;
            default:
                changeService();
                break;
        }
    }

private:
    std::mt19937 random_{GetParam()};
};

TEST_P(RestoreRandom, WhateverOperationsReachComesBack) {
    for (int round = 0; round < 20 && !HasFailure(); ++round) {
        for (int i = 0; i < 60; ++i) {
            change();
        }
        SCOPED_TRACE("round " + std::to_string(round));
        expectRestored();
    }
}

/// More of them for a longer search: OLTMGRD_SEEDS=1000.
unsigned int seeds() {
    const char* wanted = std::getenv("OLTMGRD_SEEDS");
    return wanted == nullptr ? 25 : static_cast<unsigned int>(std::stoul(wanted));
}

INSTANTIATE_TEST_SUITE_P(Seeds, RestoreRandom, testing::Range(0U, seeds()));

}  // namespace
