#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Features.h"
#include "entity/onuQos.h"
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

/// The bandwidth class of this process (classOfProcess.cpp).
extern const bool kTenG;

/// Everything that a change may alter: tables and hardware layer.
struct Snapshot {
    onuQosTables tables;
    standin::Hardware hardware;

    bool operator==(const Snapshot&) const = default;
};

void PrintTo(const Snapshot& snapshot, std::ostream* out);

/// What the mirror of the hardware layer may lack of the tables.
struct MirrorGaps {
    /// ONU flow profiles made by copy whose PCP, and whose VLAN list, was not set since.
    std::set<std::string> unpushedPcps;
    std::set<std::string> unpushedVlans;
};

/// The log line of a lock that was not obtained, and an error line as `ModuleTest::logLines` gives it.
std::string lockLine(const std::string& operation);
std::string errorLine(const std::string& operation, const std::string& text);
/// The error line of most refusals: "ONUQOS ERROR - " and the text.
std::string refusalLine(const std::string& operation, const std::string& text);

/// The lines since the last call, without the source line numbers: "onuQos.cpp::start:text".
std::vector<std::string> logLines(standin::LogCapture& log);

/// A platform call that is refused during a change, and what comes of the change.
struct Refusal {
    enum class Leaves { before, done, other };

    std::string call;                   ///< the platform operation
    Leaves leaves;                      ///< all as it was, all as after the undisturbed change, or neither
    std::vector<std::string> log = {};  ///< as `logLines` gives it
    /// Of a change that neither stays undone nor is done: its answer and what it left.
    int answer = onuQos::onuQosResError;
    std::string left = {};
};

/// A change of which every platform call is refused in turn.
struct RefusedChange {
    std::function<void()> prepare;
    std::function<int()> change;
    /// The calls of the undisturbed change in their order. Feature questions are not listed: whatever they
    /// are answered, the change must come out the same, so its rates suit every rounding.
    std::vector<Refusal> calls;
    /// Describes what is left where it is neither the former nor the wanted state.
    std::function<std::string()> describe = {};
};

/// The module on the stand-in platform, in this process, with empty tables before each test. The RPC proxy
/// does not run and no handler is subscribed. Ports 1 and 2 with three ONUs each: 101 to 103, 201 to 203.
class ModuleTest : public testing::Test {
protected:
    using Res = onuQos::onuQosRes;

    ModuleTest();
    ~ModuleTest() override;

    /// The inventory of the fixture: GPON ports, or 10G ports in a process of the 10G class.
    static standin::Inventory inventory();

    /// Empties the module and gives the platform `platform` anew; makes the records of its interfaces.
    void startAgain(const standin::Inventory& platform = inventory());

    onuQosTables tables() const;
    Snapshot snapshot() const;

    std::vector<std::string> logLines();

    /// Arms a fault by the operation's name.
    static void fail(const std::string& operation, int answer = 1, std::uint64_t times = 1,
                     std::uint64_t after = 0);

    /// The platform calls that `change` makes, locks included.
    static std::vector<standin::Call> callsOf(const std::function<void()>& change);

    /// Those calls as "operation(arguments)", without locks and look-ups of the lock kind.
    static std::vector<std::string> traceOf(const std::function<void()>& change);

    /// Expects the mirror to hold what the tables hold. SR-DBA values that were never pushed stand at 0 in
    /// it.
    void expectMirrorAgrees(const MirrorGaps& gaps = {}) const;

    /// Carries out `changed.change` once for each platform call that it makes, with that call refused.
    void refuseEachCall(const RefusedChange& changed);

    /// "id type fixed/assured/maximum mode weight priority" of a stored T-CONT profile; "none" without one.
    std::string tContText(const std::string& name) const;

    void makeTCont(const std::string& name, onuTContProfileType type = tContType5, unsigned int id = 1);
    /// A type 5 profile of these rates and the highest maximum.
    void makeRates(const std::string& name, unsigned int fixed, unsigned int assured, unsigned int id = 1);
    void makeFlow(const std::string& name);
    Res bind(unsigned int onu, const std::string& service, const std::string& flow, const std::string& tCont,
             unsigned int virtualPort);

    onuQos& module_ = singleton<onuQos>::instance();

private:
    std::optional<standin::LogCapture> log_;  ///< made anew with the stand-in, whose reset ends it
};
