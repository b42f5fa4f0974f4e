#pragma once

#include <gtest/gtest.h>

#include <functional>
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

    /// The log lines since the last call, without the source line numbers: "onuQos.cpp::start:text".
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

    void makeTCont(const std::string& name, onuTContProfileType type = tContType5, unsigned int id = 1);
    void makeFlow(const std::string& name);
    Res bind(unsigned int onu, const std::string& service, const std::string& flow, const std::string& tCont,
             unsigned int virtualPort);

    onuQos& module_ = singleton<onuQos>::instance();

private:
    standin::LogCapture log_;
};
