#include <atomic>
#include <cmath>
#include <random>
#include <thread>

#include "moduleTest.h"
#include "onuqos/rules/serviceVerdict.h"

// Why a service is bound or not, as the verdict has it.

namespace {

using rules::RatePair;
using rules::ServiceReason;
using rules::ServiceVerdict;
using standin::ports::Available;

constexpr std::uint32_t kBytesPerKbit = 125;

class VerdictTest : public ModuleTest {
protected:
    struct Asked {
        unsigned int onu = 101;
        std::string service = "C", flow = "f", tCont = "t";
        unsigned int virtualPort = 10;
        int termPointType = 0;
    };

    Res apply(const Asked& asked, ServiceVerdict* verdict) {
        return module_.onuQosServiceApply(asked.onu, asked.service, asked.flow, asked.tCont,
                                          asked.virtualPort,
                                          servprofile::onuTermPointType{asked.termPointType}, 1, verdict);
    }

    ServiceVerdict applied(const Asked& asked) {
        ServiceVerdict verdict;
        const Res answer = apply(asked, &verdict);
        EXPECT_EQ(answer, resultOf(verdict.result));
        return verdict;
    }

    ServiceVerdict checked(const Asked& asked) {
        ServiceVerdict verdict;
        const Res answer =
            module_.onuQosServiceCheck(asked.onu, asked.service, asked.flow, asked.tCont, asked.virtualPort,
                                       servprofile::onuTermPointType{asked.termPointType}, 1, verdict);
        EXPECT_EQ(answer, resultOf(verdict.result));
        return verdict;
    }

    /// What both tell of a refusal that comes before the hardware layer is told; asking changes nothing.
    ServiceVerdict refused(
        const Asked& asked, const std::function<void()>& before = [] {}) {
        const Snapshot untouched = snapshot();
        before();
        const ServiceVerdict verdict = checked(asked);
        before();
        const ServiceVerdict same = applied(asked);
        EXPECT_EQ(verdict.reason, same.reason);
        EXPECT_EQ(verdict.failed.name, same.failed.name);
        EXPECT_EQ(snapshot(), untouched);
        return same;
    }

    static void freeOnPort1(std::uint32_t fixed, std::uint32_t total) {
        standin::ports::overrideAvailable(1, Available{fixed * kBytesPerKbit, total * kBytesPerKbit});
    }

    void makeOfType(const std::string& name, onuTContProfileType type, RatePair rates, unsigned int id = 1) {
        makeTCont(name, type, id);
        if (type == tContType3 || type == tContType5) {
            ASSERT_EQ(module_.tContProfileMaximumRateSet(name, kHighest), onuQosResOk);
        }
        const auto assured = [&] {
            return rates.assured == 0 ||
                   module_.tContProfileAssuredRateSet(name, rates.assured) == onuQosResOk;
        };
        const auto fixed = [&] {
            return rates.fixed == 0 || module_.tContProfileFixedRateSet(name, rates.fixed) == onuQosResOk;
        };
        // Fixed and assured together are 0 or at least 256, after each step.
        ASSERT_TRUE(rates.assured < 256 ? fixed() && assured() : assured() && fixed())
            << type << " " << rates.fixed << "/" << rates.assured;
    }
};

bool isCallOf(const standin::Call& call, standin::Operation operation) {
    return call.operation == operation;
}

}  // namespace

TEST_F(VerdictTest, namesEachReasonWithItsNumbers) {
    for (const char* name : {"f", "f2"}) {
        makeFlow(name);
    }
    makeRates("t", 2048, 2048, 1);
    makeRates("t2", 2048, 0, 2);
    makeRates("id1", 2048, 0, 1);
    makeRates("id3", 2048, 0, 3);

    EXPECT_EQ(refused({.flow = "none"}).reason, ServiceReason::flowProfileNotFound);
    EXPECT_EQ(refused({.tCont = "none"}).reason, ServiceReason::tContProfileNotFound);
    EXPECT_EQ(refused({.termPointType = 3}).reason, ServiceReason::termPointType);

    const ServiceVerdict port = refused({.onu = 1});
    EXPECT_EQ(port.reason, ServiceReason::wrongInterface);
    EXPECT_EQ(port.result, rules::Result::wrongIntf);
    EXPECT_EQ(port.interface.type, 3);
    EXPECT_FALSE(port.interface.hasRecords);
    EXPECT_EQ(refused({.onu = 999}).interface.type, std::nullopt);
    standin::interfaces::overrideType(102, 3);
    const ServiceVerdict otherType = refused({.onu = 102});
    EXPECT_TRUE(otherType.interface.hasRecords);
    EXPECT_EQ(otherType.interface.type, 3);

    const ServiceVerdict handle = refused({}, [] { fail("interfaceGetOMApiInterfaceById", 7); });
    EXPECT_EQ(handle.reason, ServiceReason::platformFailed);
    EXPECT_STREQ(handle.failed.name, "interfaceGetOMApiInterfaceById");
    EXPECT_EQ(handle.failed.answer, 7);
    fail("onuQosServiceApply", 5);
    const ServiceVerdict pushed = applied({});
    EXPECT_EQ(pushed.reason, ServiceReason::platformFailed);
    EXPECT_EQ(pushed.result, rules::Result::omApiRefused);
    EXPECT_EQ(pushed.failed.answer, 5);

    ASSERT_EQ(bind(101, "s", "f", "t", 10), onuQosResOk);
    ASSERT_EQ(bind(101, "s2", "f2", "t2", 11), onuQosResOk);
    const auto other = [this](const Asked& asked, ServiceReason reason) {
        const ServiceVerdict verdict = refused(asked);
        EXPECT_EQ(verdict.reason, reason);
        EXPECT_EQ(verdict.other, tables().onuQosServiceIntfMap.at(101).at(verdict.otherService));
        return verdict;
    };
    EXPECT_EQ(other({.flow = "f2"}, ServiceReason::duplicateVirtualPort).otherService, "s");
    EXPECT_EQ(other({.tCont = "id3", .virtualPort = 12}, ServiceReason::duplicateFlowProfile).otherService,
              "s");
    makeFlow("f3");
    const ServiceVerdict sameId =
        other({.flow = "f3", .tCont = "id1", .virtualPort = 12}, ServiceReason::duplicateTContId);
    EXPECT_EQ(sameId.otherService, "s");
    EXPECT_EQ(sameId.tContId, 1U);
    EXPECT_THAT(sameId.freeTContIds, ElementsAre(3, 4, 5, 6));

    for (const char* lock : {"exclusiveLock", "sharedLock"}) {
        fail(lock);
        EXPECT_EQ((std::string(lock) == "sharedLock" ? checked({}) : applied({})).reason,
                  ServiceReason::lock);
    }
    fail("sharedLock");  // the one of the interface's state: the result is that of a wrong interface
    const ServiceVerdict locked = applied({});
    EXPECT_EQ(locked.reason, ServiceReason::wrongInterface);
    EXPECT_STREQ(locked.failed.name, "sharedLock");
}

TEST_F(VerdictTest, holdsTheNumbersOfARefusedAdmission) {
    makeFlow("f");
    makeOfType("t", tContType1, {.fixed = 1100032, .assured = 0});
    freeOnPort1(1156672, 1156672);
    const ServiceVerdict verdict = refused({});
    EXPECT_EQ(verdict.reason, ServiceReason::admissionFixed);
    EXPECT_EQ(verdict.result, rules::Result::rateError);
    ASSERT_TRUE(verdict.admission && verdict.port);
    const rules::AdmissionVerdict& admission = *verdict.admission;
    EXPECT_EQ(admission.port, 1U);
    EXPECT_EQ(admission.rate.fixed, byClass(1100032U, 1100800U));
    EXPECT_EQ(admission.overhead, (RatePair{.fixed = 88064, .assured = 0}));
    EXPECT_EQ(admission.fixedBand.from, 256000U);
    EXPECT_EQ(admission.fixedBand.value, 8U);
    EXPECT_EQ(admission.fixedDemand, byClass(1188096U, 1188864U));
    EXPECT_EQ(admission.fixedFree, 1156672U);
    EXPECT_EQ(admission.limits.missingFixed, byClass(31424U, 32192U));
    EXPECT_EQ(admission.limits.missingTotal, byClass(31424U, 32192U));
    EXPECT_EQ(rules::largestAdmitted(verdict).fixed, byClass(1070976U, 1070080U));
    // The first ONU of a port of 0 to 20 km takes 1920 of 358024, or of 2427072 on a 10G port.
    EXPECT_EQ(verdict.port->onu, rules::OnuOnPort::first);
    EXPECT_EQ(verdict.port->maxDistance, 20U);
    EXPECT_EQ(verdict.port->fixedLimit, byClass(358024U, 2427072U));
    EXPECT_EQ(rules::largestWithoutAlarm(verdict).fixed, byClass(329664U, 1070080U));

    freeOnPort1(byClass(1188096U, 1188864U), 1156672);
    const ServiceVerdict total = refused({});
    EXPECT_EQ(total.reason, ServiceReason::admissionTotal);
    EXPECT_EQ(total.admission->limits.missingFixed, 0U);
    EXPECT_EQ(total.admission->limits.missingTotal, byClass(31424U, 32192U));
}

TEST_F(VerdictTest, tellsAFailedLookUpFromAFullPort) {
    struct Case {
        const char* operation;
        std::uint64_t after;
        std::optional<int> answer;
    };
    constexpr Case kCases[] = {
        {"sharedLock", 1, std::nullopt}, {"interfaceGetTypeById", 1, 3},   {"interfaceParentGet", 0, 3},
        {"interfaceParentGet", 1, 3},    {"getGponImpl", 0, std::nullopt}, {"interfaceGetOltById", 0, 3},
        {"getOltPort", 0, std::nullopt}, {"getAvailableBandwith", 0, 3},
    };
    makeFlow("f");
    makeRates("t", 2048, 2048);
    for (const auto& [operation, after, answer] : kCases) {
        SCOPED_TRACE(std::string(operation) + " after " + std::to_string(after));
        fail(operation, 3, 1, after);
        const ServiceVerdict verdict = applied({});
        EXPECT_EQ(verdict.reason, ServiceReason::admissionUnknown);
        EXPECT_EQ(verdict.result, rules::Result::rateError);
        EXPECT_STREQ(verdict.failed.name, operation);
        EXPECT_EQ(verdict.failed.answer, answer);
        EXPECT_FALSE(verdict.admission);
    }
}

TEST_F(VerdictTest, saysWhatStandsAfterALateFailure) {
    struct Case {
        const char* operation;
        std::uint64_t after;
        ServiceReason reason;
        const char* step;
        bool tCont, onu;
    };
    constexpr Case kCases[] = {
        {"interfaceParentGet", 2, ServiceReason::accounting, "onuQosCalcAllocRatesOnTContChange", false,
         false},
        {"interfaceParentGet", 4, ServiceReason::accounting, "onuQosCalcAllocRatesOnOnuChange", true, false},
        {"interfaceSlotPortIntfGet", 0, ServiceReason::stateUpdate, "onuQosOltCacStateUpdate", true, true},
    };
    for (const auto& [operation, after, reason, step, tCont, onu] : kCases) {
        SCOPED_TRACE(step);
        startAgain();
        makeFlow("f");
        makeRates("t", 2048, 2048);
        fail(operation, 1, 1, after);
        const ServiceVerdict verdict = applied({});
        EXPECT_EQ(verdict.reason, reason);
        EXPECT_EQ(verdict.result, rules::Result::error);
        EXPECT_STREQ(verdict.failed.name, step);
        EXPECT_TRUE(verdict.stands.binding);
        const onuQosTables now = tables();
        EXPECT_TRUE(now.onuQosServiceIntfMap.at(101).contains("C"));
        EXPECT_EQ(verdict.stands.tCont, tCont);
        EXPECT_EQ(now.onuQosOnuCacMap.at(101).onuQosTContIntfCacInfoMap.contains("t"), tCont);
        EXPECT_EQ(verdict.stands.onu, onu);
        EXPECT_EQ(now.onuQosOnuCacMap.at(101).configured, onu);
    }
}

TEST_F(VerdictTest, ofAServiceThatIsBoundAlready) {
    makeFlow("f");
    makeRates("t", 2048, 2048);
    ASSERT_EQ(bind(101, "C", "f", "t", 10), onuQosResOk);
    const Snapshot bound = snapshot();
    const std::pair<Asked, bool> kRequests[] = {
        {{}, false}, {{.virtualPort = 11}, true}, {{.flow = "none"}, true}, {{.tCont = "none"}, true}};
    for (const auto& [asked, differs] : kRequests) {
        for (const ServiceVerdict& verdict : {checked(asked), applied(asked)}) {
            EXPECT_TRUE(verdict);
            EXPECT_EQ(verdict.alreadyBound, bound.tables.onuQosServiceIntfMap.at(101).at("C"));
            EXPECT_EQ(verdict.differs, differs);
        }
    }
    EXPECT_EQ(snapshot(), bound);
}

// Asking why adds look-ups at the end, and only to refusals that need them; the check never writes.
TEST_F(VerdictTest, costsNoCallBeforeTheDecision) {
    struct Case {
        const char* name;
        Asked asked;
        std::uint32_t free;
        Lines added;
    };
    const Lines kFigures{"interfaceGetTypeById", "getGponImpl", "getOltPort",
                         "getOMconfig",          "sharedLock",  "interfaceGetTypePonTechnologyById"};
    const Case kCases[] = {
        {"accepted", {}, 100000, {}},
        {"bound already", {.service = "s", .tCont = "t2"}, 0, {}},
        {"not found", {.flow = "none"}, 0, {}},
        {"duplicate T-CONT id", {.flow = "f2", .tCont = "same id", .virtualPort = 11}, 0, {}},
        {"termination point", {.termPointType = 3}, 100000, {}},
        {"interface without records", {.onu = 1}, 0, {"interfaceGetTypeById"}},
        {"admission", {.onu = 102}, 1000, kFigures},
    };
    for (const Case& test : kCases) {
        SCOPED_TRACE(test.name);
        const auto callsWith = [&](auto ask) {
            startAgain();
            for (const char* flow : {"f", "f2"}) {
                makeFlow(flow);
            }
            makeRates("t", 2048, 2048);
            makeRates("t2", 2048, 2048, 2);
            makeRates("same id", 2048, 2048, 2);
            EXPECT_EQ(bind(101, "s", "f", "t2", 9), onuQosResOk);
            freeOnPort1(test.free, test.free);
            Asked wanted = test.asked;
            if (wanted.onu == 101 && wanted.flow == "f" && wanted.service == "C") {
                wanted.flow = "f2";  // "s" has bound "f"
            }
            logLines();
            return callsOf([&] { ask(wanted); });
        };
        const auto plain = callsWith([this](const Asked& wanted) {
            bind(wanted.onu, wanted.service, wanted.flow, wanted.tCont, wanted.virtualPort,
                 wanted.termPointType);
        });
        const Lines plainLines = logLines();
        const auto explained = callsWith([this](const Asked& wanted) { applied(wanted); });
        EXPECT_EQ(logLines(), plainLines);
        ASSERT_GE(explained.size(), plain.size());
        EXPECT_TRUE(std::equal(plain.begin(), plain.end(), explained.begin()));
        Lines more;
        for (auto call = explained.begin() + static_cast<std::ptrdiff_t>(plain.size());
             call != explained.end(); ++call) {
            more.emplace_back(standin::name(call->operation));
        }
        EXPECT_EQ(more, test.added);

        Snapshot before, after;
        const auto asking = callsWith([&](const Asked& wanted) {
            before = snapshot();
            checked(wanted);
            after = snapshot();
        });
        EXPECT_EQ(before, after);
        EXPECT_TRUE(std::ranges::none_of(asking, [](const standin::Call& call) {
            return isCallOf(call, standin::Operation::exclusiveLock) ||
                   isCallOf(call, standin::Operation::onuQosServiceApply);
        }));
    }
}

// What is told to fit is bound by the module, and a step more is not; the alarm is as foretold.
TEST_F(VerdictTest, theLargestRatesAreAdmittedAndAStepMoreIsNot) {
    std::mt19937 random(5);
    const auto logarithmic = [&random](double least, double most) {
        const double exponent = std::uniform_real_distribution(std::log2(least), std::log2(most))(random);
        return static_cast<std::uint32_t>(std::exp2(exponent));
    };
    const double most = byClass(1240640, 9918464);
    std::map<std::uint32_t, int> fixedBands, assuredBands;
    int states = 0, alarms = 0, withoutAlarm = 0;
    makeFlow("f");
    while (states < 2000) {
        standin::ports::setDistances(1, 0, static_cast<std::uint32_t>(random() % 50));
        const bool held = random() % 2 == 0;
        freeOnPort1(static_cast<std::uint32_t>(most), static_cast<std::uint32_t>(most));
        if (held) {
            makeOfType("held", tContType5, {.fixed = logarithmic(256, 3e5), .assured = logarithmic(256, 4e5)},
                       6);
            ASSERT_EQ(bind(random() % 2 == 0 ? 101 : 102, "held", "f", "held", 60), onuQosResOk);
        }
        const std::uint32_t total = logarithmic(random() % 3 == 0 ? most / 4 : 300, most);
        freeOnPort1(random() % 2 == 0 ? total : logarithmic(300, total), total);
        const onuTContProfileType types[] = {tContType1, tContType2, tContType3, tContType5};
        const onuTContProfileType type = types[random() % 4];
        const double highest = type == tContType5 ? most / 2.2 : most * 0.98;
        const RatePair asked{
            .fixed = type == tContType1 || type == tContType5 ? logarithmic(256, highest) : 0,
            .assured = type == tContType1 ? 0 : logarithmic(256, highest)};
        makeFlow("g");
        makeOfType("t", type, asked);
        const Asked request{.flow = "g"};
        const ServiceVerdict verdict = applied(request);
        // Whether rates are admitted; then `alarm` says whether they over-commit the port.
        bool alarm = false;
        const auto admitted = [&](RatePair rates) {
            EXPECT_EQ(module_.tContProfileDelete("t"), onuQosResOk);
            makeOfType("t", type, rates);
            const Res answer = bind(101, "C", "g", "t", 10);
            if (answer == onuQosResOk) {
                alarm = tables().onuQosOltCacMap.at(1).cacViolation;
                EXPECT_EQ(alarm, !rules::alarmVerdict(*verdict.port, rates));
                EXPECT_EQ(module_.onuQosServiceRemove(101, "C"), onuQosResOk);
            } else {
                EXPECT_EQ(answer, onuQosResRateError);
            }
            return answer == onuQosResOk;
        };
        if (verdict) {
            ASSERT_EQ(module_.onuQosServiceRemove(101, "C"), onuQosResOk);
        } else {
            ++states;
            ASSERT_TRUE(verdict.admission && verdict.port);
            const RatePair rate = verdict.admission->rate;
            const RatePair largest = rules::largestAdmitted(verdict);
            const rules::ClassLimits& limits = rules::classLimits(kTenG);
            const bool assuredVaries =
                type != tContType1 && (type != tContType5 || largest.fixed == rate.fixed);
            const auto aStepMore = [&](RatePair rates) {
                std::uint32_t& varied = assuredVaries ? rates.assured : rates.fixed;
                const auto rateType = assuredVaries ? tContRateAssured : tContRateFixed;
                varied = std::max(256U, rules::tContRateRounded(limits, rateType, varied + 1));
                return rates;
            };
            SCOPED_TRACE("type " + std::to_string(type) + ", free " +
                         std::to_string(verdict.admission->fixedFree) + "/" +
                         std::to_string(verdict.admission->totalFree) + ", largest " +
                         std::to_string(largest.fixed) + "/" + std::to_string(largest.assured));
            if (largest != RatePair{}) {
                ASSERT_TRUE(admitted(largest));
                alarms += alarm ? 1 : 0;
                if (assuredVaries) {
                    ++assuredBands[rules::bandOf(rules::kAssuredPercent, largest.assured).from];
                } else {
                    ++fixedBands[rules::bandOf(rules::kFixedPercent, largest.fixed).from];
                }
            }
            ASSERT_FALSE(admitted(aStepMore(largest)));
            const RatePair quiet = rules::largestWithoutAlarm(verdict);
            if (quiet != RatePair{}) {
                ASSERT_TRUE(admitted(quiet) && !alarm);
                ++withoutAlarm;
                if (type != tContType5) {
                    ASSERT_TRUE(!admitted(aStepMore(quiet)) || alarm);
                }
            }
        }
        ASSERT_EQ(module_.tContProfileDelete("t"), onuQosResOk);
        ASSERT_EQ(module_.onuFlowProfileDelete("g"), onuQosResOk);
        if (held) {
            for (const unsigned int onu : {101U, 102U}) {
                ASSERT_EQ(module_.onuQosServiceRemove(onu, "held"), onuQosResOk);
            }
            ASSERT_EQ(module_.tContProfileDelete("held"), onuQosResOk);
        }
        if (HasFatalFailure()) {
            return;
        }
    }
    EXPECT_EQ(fixedBands.size(), std::size(rules::kFixedPercent));
    EXPECT_EQ(assuredBands.size(), std::size(rules::kAssuredPercent));
    EXPECT_GT(alarms, 50);
    EXPECT_GT(withoutAlarm, 200);
}

TEST_F(VerdictTest, theNumbersAreThoseOfTheDecisionWhileThePortChanges) {
    for (const char* name : {"f", "f2"}) {
        makeFlow(name);
    }
    makeOfType("t", tContType1, {.fixed = byClass(1200000U, 9600000U), .assured = 0});
    makeOfType("small", tContType1, {.fixed = 1024, .assured = 0});
    const std::uint32_t free = byClass(1240640U, 9918464U);  // of the stand-in's port, with nothing bound
    std::atomic<bool> ended = false;
    std::thread other([&] {
        while (!ended) {
            EXPECT_EQ(bind(102, "s", "f2", "small", 1), onuQosResOk);
            EXPECT_EQ(module_.onuQosServiceRemove(102, "s"), onuQosResOk);
        }
    });
    int bound = 0, empty = 0;
    for (int round = 0; round < 200000 && (bound < 50 || empty < 50); ++round) {
        const ServiceVerdict verdict = round % 2 == 0 ? applied({}) : checked({});
        ASSERT_TRUE(verdict.admission && verdict.port);
        const bool isBound = verdict.admission->fixedFree == free - 1024;
        ++(isBound ? bound : empty);
        EXPECT_TRUE(isBound || verdict.admission->fixedFree == free);
        // 1024 with an overhead of 1472, and 1920 for the ONU.
        EXPECT_EQ(verdict.port->held.fixedAlloc, isBound ? 4416U : 0U);
        EXPECT_EQ(verdict.port->onu, isBound ? rules::OnuOnPort::further : rules::OnuOnPort::first);
        EXPECT_EQ(verdict.admission->limits.missingFixed,
                  verdict.admission->fixedDemand - verdict.admission->fixedFree);
    }
    ended = true;
    other.join();
    EXPECT_GE(bound, 50);
    EXPECT_GE(empty, 50);
}
