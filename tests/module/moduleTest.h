#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Features.h"
#include "onuqos/entity/onuQos.h"
#include "standin/alarms.h"
#include "standin/calls.h"
#include "standin/faults.h"
#include "standin/hardware.h"
#include "standin/interfaces.h"
#include "standin/inventory.h"
#include "standin/log.h"
#include "standin/manager.h"
#include "standin/reset.h"
#include "standin/serviceProfiles.h"

using enum onuQos::onuQosRes;
using testing::ElementsAre;
using testing::IsEmpty;

using Lines = std::vector<std::string>;
using Vlans = std::vector<std::uint16_t>;
using Rule = onuQos::onuFlowProfileRule;
using Action = onuQos::onuFlowProfileAction;

/// The feature that makes the bandwidth class of this process 10G, 13 or 15 as ONUQOS_TEST_FEATURE says; 0
/// for GPON.
int featureOfProcess();

/// The bandwidth class of this process, and a value that depends on it.
inline const bool kTenG = featureOfProcess() != 0;
template <typename Value>
Value byClass(Value gpon, Value tenG) {
    return kTenG ? tenG : gpon;
}
inline const unsigned int kHighest = byClass(1244160U, 9953280U);

/// Everything that a change may alter: tables and hardware layer.
struct Snapshot {
    onuQosTables tables;
    standin::Hardware hardware;

    bool operator==(const Snapshot&) const = default;
};

void PrintTo(const Snapshot& snapshot, std::ostream* out);

/// The log line of a lock that was not obtained, and an error line as `ModuleTest::logLines` gives it; that
/// of most refusals begins with "ONUQOS ERROR - ".
std::string lockLine(const std::string& operation);
std::string errorLine(const std::string& operation, const std::string& text);
std::string refusalLine(const std::string& operation, const std::string& text);

/// The lines since the last call, without the source line numbers: "onuQos.cpp::start:text".
Lines logLines(standin::LogCapture& log);

/// The module on the stand-in platform, in this process, with empty tables before each test. The RPC proxy
/// does not run and no handler is subscribed. Ports 1 and 2 with three ONUs each: 101 to 103, 201 to 203.
class ModuleTest : public testing::Test {
protected:
    using Res = onuQos::onuQosRes;

    ModuleTest() { startAgain(); }
    ~ModuleTest() override;

    /// The inventory of the fixture: GPON ports, or 10G ports in a process of the 10G class.
    static standin::Inventory inventory();

    /// Empties the module and gives the platform `platform` anew; makes the records of its interfaces.
    void startAgain(const standin::Inventory& platform = inventory());

    /// As the platform's manager returns the module to its defaults: under the exclusive lock.
    bool applyDefaults();

    onuQosTables tables() const;
    Snapshot snapshot() const { return {.tables = tables(), .hardware = standin::hardware::snapshot()}; }
    Lines logLines() { return ::logLines(*log_); }

    /// Arms a fault by the operation's name.
    static void fail(const std::string& operation, int answer = 1, std::uint64_t times = 1,
                     std::uint64_t after = 0);

    /// The platform calls that `change` makes, locks included; and as "operation(arguments)", without locks.
    static std::vector<standin::Call> callsOf(const std::function<void()>& change);
    static Lines traceOf(const std::function<void()>& change);

    /// Expects the mirror to hold what the tables hold, but for the rules of these ONU flow profiles, which
    /// are stored only. SR-DBA values that were never pushed stand at 0 in it.
    void expectMirrorAgrees(const std::set<std::string>& withoutRule = {}) const;

    /// "id type fixed/assured/maximum mode weight priority" of a stored T-CONT profile; "none" without one.
    std::string tContText(const std::string& name) const;

    /// What ONU 101 binds, what of it is accounted, the fixed sum of its port, violation and alarm, and on
    /// how many interfaces flow and T-CONT profiles count as applied: "s s2 | t onu | 5952 alarm | 11".
    std::string onuText() const;

    void makeTCont(const std::string& name, onuTContProfileType type = tContType5, unsigned int id = 1);
    /// A type 5 profile of these rates and the highest maximum.
    void makeRates(const std::string& name, unsigned int fixed, unsigned int assured, unsigned int id = 1);
    void makeFlow(const std::string& name) { ASSERT_EQ(module_.onuFlowProfileCreate(name), onuQosResOk); }
    Res ruleSet(const std::string& name, Rule rule, int type = onuQos::onuFlowProfileRuleTypeAll,
                onuQos::onuFlowProfileOperation operation = onuQos::onuFlowProfileOperationSet);
    Res actionSet(const std::string& name, Action action, int type = onuQos::onuFlowProfileActionTypeAll,
                  onuQos::onuFlowProfileOperation operation = onuQos::onuFlowProfileOperationSet);
    Res bind(unsigned int onu, const std::string& service, const std::string& flow, const std::string& tCont,
             unsigned int virtualPort, int termPointType = 0, short termPointId = 1);

    onuQos& module_ = singleton<onuQos>::instance();

private:
    std::optional<standin::LogCapture> log_;  ///< made anew with the stand-in, whose reset ends it
};
