#include "standin/faults.h"

#include <functional>
#include <map>
#include <sstream>
#include <string>

#include "BLLManager.h"
#include "Features.h"
#include "Ports.h"
#include "onuQosOMApi.h"
#include "platformTest.h"
#include "servprofile.h"
#include "standin/alarms.h"
#include "standin/calls.h"
#include "standin/features.h"
#include "standin/hardware.h"
#include "standin/manager.h"
#include "standin/threads.h"

using standin::Operation;

namespace {

class FaultsTest : public PlatformTest {
protected:
    static std::string isActiveAnswers(int calls) {
        std::string answers;
        for (int i = 0; i < calls; ++i) {
            answers += isActive(5) ? '1' : '0';
        }
        return answers;
    }
};

TEST_F(FaultsTest, OperationNamesAreFoundAndUnknownOnesAreNot) {
    EXPECT_EQ(standin::operationNamed("interfaceParentGet"), Operation::interfaceParentGet);
    EXPECT_EQ(standin::name(Operation::onuQosOMApiDebug), "onuQosOMApiDebug");
    EXPECT_EQ(standin::operationNamed("interfaceparentget"), std::nullopt);
    EXPECT_EQ(standin::operationNamed(""), std::nullopt);
}

TEST_F(FaultsTest, SkipsThenFailsThenIsSpent) {
    standin::faults::set(Operation::isActive, {.answer = 1, .times = 2, .after = 3});
    EXPECT_EQ(isActiveAnswers(4), "0001");
    EXPECT_EQ(
        standin::faults::list(),
        (std::map<Operation, standin::Fault>{{Operation::isActive, {.answer = 1, .times = 1, .after = 0}}}));
    EXPECT_EQ(isActiveAnswers(3), "100");
    EXPECT_TRUE(standin::faults::list().empty());
    EXPECT_EQ(standin::calls::count(Operation::isActive), 7);
}

TEST_F(FaultsTest, IsReplacedAndCleared) {
    standin::features::set(5, true);
    standin::faults::set(Operation::isActive, {.answer = 0, .times = 9});
    standin::faults::set(Operation::isActive, {.answer = 0, .times = 1, .after = 1});
    EXPECT_EQ(isActiveAnswers(3), "101");
    standin::faults::set(Operation::isActive, {.answer = 0, .times = 9});
    standin::faults::set(Operation::isActive, {.times = 0});
    EXPECT_EQ(isActiveAnswers(1), "1");
    standin::faults::set(Operation::isActive, {.answer = 0});
    standin::faults::set(Operation::getOltPort);
    standin::faults::clear(Operation::isActive);
    EXPECT_EQ(isActiveAnswers(1), "1");
    EXPECT_EQ(standin::faults::list().size(), 1);
    standin::faults::clearAll();
    EXPECT_TRUE(standin::faults::list().empty());
}

/// Performs every operation in a way that succeeds, and puts its answer into words.
class EveryOperation : public FaultsTest {
protected:
    EveryOperation() { prepare(); }

    void prepare() {
        standin::reset();
        standin::Inventory inventory = smallOlt();
        inventory.serviceProfiles = {{"internet", "gold", "hsi"}};
        standin::configure(inventory);
        api_.onuTContProfileCreate({.name = "gold", .fixedRate = 256});
        api_.onuFlowProfileCreate({"hsi", {}, {}});
        api_.onuQosServiceApply({}, 101, "hsi-gold", "hsi", "gold", 10, 1, onuQosOMApi::onuQosOMApiUniType7,
                                0);
    }

    template <typename... Parameters, typename... Arguments>
    static auto look(int (Interfaces::*lookUp)(unsigned int, Parameters...) const, unsigned int interface,
                     Arguments&&... outputs) {
        return std::to_string((singleton<Interfaces>::instance().*lookUp)(interface, outputs...));
    }

    std::string perform(Operation operation);

    onuQosOMApi api_;

private:
    std::map<Operation, std::function<std::string()>> performers();
};

const char* text(bool value) {
    return value ? "true" : "false";
}

struct Dummy : BLEntity {
    Dummy() : BLEntity("dummy") {}
    void applyConfiguration(boost::shared_ptr<Storage::Setting>) override {}
    void saveConfiguration(boost::shared_ptr<Storage::Setting>) const override {}
    bool start() override { return true; }
    bool applyDefaultSettings() override { return true; }
    bool stop() override { return true; }
    void getDependencies(std::list<std::string>&) override {}
};

std::map<Operation, std::function<std::string()>> EveryOperation::performers() {
    using enum Operation;
    const auto number = [](int answer) { return std::to_string(answer); };
    const auto& registry = singleton<Interfaces>::instance();
    const auto port = [](unsigned int index = 0) {
        return singleton<Ports>::instance().getGponImpl().getOltPort(index);
    };
    return {
        {exclusiveLock, [] { return text(BLLManager::exclusiveLock_t().obtained()); }},
        {sharedLock, [] { return text(BLLManager::sharedLock_t().obtained()); }},
        {registerEntity,
         [] {
             Dummy dummy;
             const auto before = standin::manager::entities().size();
             singleton<BLLManager>::instance().registerEntity(dummy);
             return std::to_string(standin::manager::entities().size() - before);
         }},
        {registerThread,
         [] {
             const auto before = standin::threads::list().size();
             elsewhere([] { singleton<BLLManager>::instance().registerThread("worker"); });
             return std::to_string(standin::threads::list().size() - before);
         }},
        {isActive, [] { return text(::isActive(5)); }},
        {interfaceListGet,
         [&] {
             std::vector<Interfaces::Interface> list(1);
             registry.interfaceListGet(list);
             return std::to_string(list.size());
         }},
        {interfaceGetTypeById,
         [&, type = Interfaces::interfaceType{}]() mutable {
             return number(registry.interfaceGetTypeById(1, &type));
         }},
        {interfaceGetTypePonTechnologyById,
         [&, type = Interfaces::interfaceType{}, technology = Interfaces::pon_tech_t{}]() mutable {
             return number(registry.interfaceGetTypePonTechnologyById(1, &type, &technology));
         }},
        {interfaceParentGet,
         [] { return look(&Interfaces::interfaceParentGet, 101, Interfaces::Interface{}); }},
        {interfaceGetOltById, [] { return look(&Interfaces::interfaceGetOltById, 1, 0U); }},
        {interfaceSlotPortIntfGet,
         [] { return look(&Interfaces::interfaceSlotPortIntfGet, 1, Interfaces::slot_port_s{}); }},
        {interfaceGetOMApiInterfaceById,
         [] { return look(&Interfaces::interfaceGetOMApiInterfaceById, 101, zqOMApiInterface_s{}); }},
        {interfacePhyStateGet, [] { return look(&Interfaces::interfacePhyStateGet, 1, false); }},
        {interfaceAccessSpeedGet, [] { return look(&Interfaces::interfaceAccessSpeedGet, 1, dslSpeed_t{}); }},
        {interfaceEthPhyCapabilityGet,
         [] { return look(&Interfaces::interfaceEthPhyCapabilityGet, 1, 0, 0); }},
        {getGponImpl,
         [] {
             try {
                 singleton<Ports>::instance().getGponImpl();
                 return "there";
             } catch (const Ports::nullImplException&) {
                 return "none";
             }
         }},
        {getOltPort, [=] { return port() != nullptr ? "there" : "none"; }},
        {getOMconfig, [=, config = rpcOltPort{}]() mutable { return number(port()->getOMconfig(config)); }},
        {getAvailableBandwith,
         [=, available = OltPort::OltPortAvailableBanwith{}]() mutable {
             return number(port()->getAvailableBandwith(&available));
         }},
        {serviceProfileFind,
         [] {
             return text(
                 singleton<servprofile>::instance().serviceProfileFind([](const auto&) { return true; }));
         }},
        {reportAlarm,
         [] {
             return text(Diagnostics::reportAlarm(Diagnostics::Report, 7, 1, Diagnostics::boardObjDefault,
                                                  Diagnostics::objIds_t("", 1)));
         }},
        {onuTContProfileCreate, [=, this] { return number(api_.onuTContProfileCreate({.name = "new"})); }},
        {onuTContProfileDelete, [=, this] { return number(api_.onuTContProfileDelete("gold")); }},
        {tContProfileRename, [=, this] { return number(api_.tContProfileRename("gold", "silver")); }},
        {onuTContProfileParmsSet,
         [=, this] {
             return number(api_.onuTContProfileParmsSet("gold", {.name = {}, .fixedRate = 512},
                                                        onuQosOMApi::onuQosOMApiTContParmRates));
         }},
        {onuFlowProfileCreate,
         [=, this] {
             return number(api_.onuFlowProfileCreate({"new", {}, {}}));
         }},
        {onuFlowProfileDelete, [=, this] { return number(api_.onuFlowProfileDelete("hsi")); }},
        {flowProfileRename, [=, this] { return number(api_.flowProfileRename("hsi", "iptv")); }},
        {onuFlowProfileRuleSet,
         [=, this] {
             return number(
                 api_.onuFlowProfileRuleSet("hsi", {7, {}}, onuQosOMApi::onuQosOMApiFlowProfileRuleCPcp));
         }},
        {onuFlowProfileActionSet,
         [=, this] {
             return number(api_.onuFlowProfileActionSet("hsi", {.peakRateUs = 7},
                                                        onuQosOMApi::onuQosOMApiFlowProfileActionPeakRateUs));
         }},
        {onuQosServiceApply,
         [=, this] {
             return number(api_.onuQosServiceApply({}, 102, "hsi-gold", "hsi", "gold", 10, 1,
                                                   onuQosOMApi::onuQosOMApiUniType7, 0));
         }},
        {onuQosServiceRemove,
         [=, this] { return number(api_.onuQosServiceRemove({}, 101, "hsi-gold", 10)); }},
        {flowIdToServiceName,
         [=, this, name = std::string()]() mutable {
             return number(api_.flowIdToServiceName(101, 1, name));
         }},
        {addOnuIntf, [=, this] { return number(api_.addOnuIntf(101)); }},
        {onuStateHandler,
         [this] {
             api_.onuStateHandler({}, 101, true);
             return std::to_string(standin::hardware::snapshot().onuEvents.size());
         }},
        {onuReadyHandler,
         [this] {
             api_.onuReadyHandler({}, 101, true);
             return std::to_string(standin::hardware::snapshot().onuEvents.size());
         }},
        {onuQosClearConfig, [=, this] { return number(api_.onuQosClearConfig()); }},
        {onuQosOMApiDump,
         [this] {
             std::ostringstream out;
             api_.onuQosOMApiDump(&out);
             return text(out.str().find("hsi-gold") != std::string::npos);
         }},
        {onuQosOMApiDebug,
         [this] {
             api_.onuQosOMApiDebug(true);
             return text(standin::hardware::snapshot().debug);
         }},
    };
}

std::string EveryOperation::perform(Operation operation) {
    const auto all = performers();
    const auto found = all.find(operation);
    return found != all.end() ? found->second() : "not performed";
}

/// What a fault with answer 7 makes of the operations that do not return int.
const std::map<Operation, std::pair<const char*, const char*>> kFailureAndSuccess = {
    {Operation::exclusiveLock, {"false", "true"}},
    {Operation::sharedLock, {"false", "true"}},
    {Operation::registerEntity, {"0", "1"}},
    {Operation::registerThread, {"0", "1"}},
    {Operation::isActive, {"true", "false"}},
    {Operation::interfaceListGet, {"0", "5"}},
    {Operation::getGponImpl, {"none", "there"}},
    {Operation::getOltPort, {"none", "there"}},
    {Operation::serviceProfileFind, {"false", "true"}},
    {Operation::reportAlarm, {"false", "true"}},
    {Operation::onuStateHandler, {"0", "1"}},
    {Operation::onuReadyHandler, {"0", "1"}},
    {Operation::onuQosOMApiDump, {"false", "true"}},
    {Operation::onuQosOMApiDebug, {"false", "true"}},
};

TEST_F(EveryOperation, FailsOnDemandWithoutEffectAndThenWorks) {
    for (std::size_t i = 0; i < standin::kOperationCount; ++i) {
        const auto operation = static_cast<Operation>(i);
        SCOPED_TRACE(standin::name(operation));
        prepare();
        const auto found = kFailureAndSuccess.find(operation);
        const auto [failure, success] =
            found != kFailureAndSuccess.end() ? found->second : std::pair{"7", "0"};
        const standin::Hardware before = standin::hardware::snapshot();
        const auto called = standin::calls::count(operation);

        standin::faults::set(operation, {.answer = 7});
        EXPECT_EQ(perform(operation), failure);
        EXPECT_EQ(standin::hardware::snapshot(), before);
        EXPECT_TRUE(standin::alarms::snapshot().history.empty());
        EXPECT_EQ(standin::calls::count(operation), called + 1);
        EXPECT_TRUE(standin::faults::list().empty());

        EXPECT_EQ(perform(operation), success);
        EXPECT_EQ(standin::calls::count(operation), called + 2);
    }
}

TEST_F(EveryOperation, TraceHasCallsAndArgumentsInOrder) {
    const auto trace = [](auto work) {
        standin::calls::traceStart();
        work();
        return standin::calls::traceStop();
    };
    standin::faults::set(Operation::onuTContProfileDelete);
    using enum Operation;
    EXPECT_EQ(trace([this] {
                  const BLLManager::exclusiveLock_t lock;
                  api_.onuTContProfileCreate({.name = "t",
                                              .tContId = 1,
                                              .tContType = 2,
                                              .fixedRate = 3,
                                              .assuredRate = 4,
                                              .maximumRate = 5,
                                              .dbaAllocType = -6,
                                              .dbaWeight = 7,
                                              .dbaPriority = 8});
                  api_.onuTContProfileParmsSet("gold", {.name = {}, .assuredRate = 256},
                                               onuQosOMApi::onuQosOMApiTContParmRates);
                  api_.onuTContProfileDelete("t");
                  api_.onuFlowProfileCreate({.name = "f", .rule = {7, {10, 11}}, .action = {1, 2, 3, 4}});
                  api_.onuQosServiceRemove({1, 2, 3}, 101, "hsi-gold", 10);
                  api_.onuReadyHandler({1, 2, 3}, 101, true);
                  Diagnostics::reportAlarm(Diagnostics::Retreat, 7, 1, Diagnostics::boardObjDefault,
                                           Diagnostics::objIds_t("", 1, 3, 11));
              }),
              (std::vector<standin::Call>{
                  {exclusiveLock, ""},
                  {onuTContProfileCreate, "{t, 1, 2, 3, 4, 5, -6, 7, 8}"},
                  {onuTContProfileParmsSet, "gold, {, 0, 0, 0, 256, 0, 0, 0, 0}, 6"},
                  {onuTContProfileDelete, "t"},
                  {onuFlowProfileCreate, "{f, {7, [10, 11]}, {1, 2, 3, 4}}"},
                  {onuQosServiceRemove, "1/2/3, 101, hsi-gold, 10"},
                  {onuReadyHandler, "1/2/3, 101, true"},
                  {reportAlarm, "1, 7, 1, 0, [{, [1, 3, 11]}]"},
              }));
    ::isActive(1);
    EXPECT_TRUE(standin::calls::traceTake().empty());
    EXPECT_EQ(trace([] { ::isActive(2); }), (std::vector<standin::Call>{{isActive, "2"}}));
}

}  // namespace
