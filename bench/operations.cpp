// The module's operations in process, on the stand-in platform, at several numbers of bindings.

#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

#include "BLLManager.h"
#include "onuqos/entity/onuQos.h"
#include "standin/inventory.h"
#include "standin/log.h"
#include "standin/reset.h"

namespace {

constexpr unsigned int kPorts = 16;
constexpr unsigned int kOnusPerPort = 128;
constexpr unsigned int kBindingsPerOnu = 8;

onuQos& module() {
    return singleton<onuQos>::instance();
}

unsigned int onuOf(unsigned int number) {
    return 1000 * (1 + number / kOnusPerPort) + number % kOnusPerPort;
}

std::string numbered(const char* prefix, unsigned int number) {
    return prefix + std::to_string(number);
}

standin::Inventory fullOlt() {
    standin::Inventory platform;
    for (unsigned int port = 1; port <= kPorts; ++port) {
        platform.ports.push_back({.interface = port, .olt = port, .port = port});
    }
    for (unsigned int number = 0; number < kPorts * kOnusPerPort; ++number) {
        platform.onus.push_back({.interface = onuOf(number), .parent = onuOf(number) / 1000, .port = number});
    }
    return platform;
}

/// Binding number `binding` of an ONU: two T-CONTs of small rates take turns.
bool applyService(unsigned int onu, unsigned int binding) {
    return module().onuQosServiceApply(onu, numbered("service", binding), numbered("flow", binding),
                                       numbered("tcont", binding % 2), binding,
                                       servprofile::onuTermPointType0, 1) == onuQos::onuQosResOk;
}

/// An OLT with this many bindings, eight an ONU, and one unbound profile "free" of each family.
void prepare(benchmark::State& state) {
    static const bool started = [] {
        standin::reset();
        standin::configure(fullOlt());
        standin::log::toCallback([](const standin::LogLine&) {});
        module().onuTContProfileRatesSet();
        module().onuTContProfileSrDbaConfSet();
        for (unsigned int port = 1; port <= kPorts; ++port) {
            module().onuQosOltIntfInit(port);
        }
        for (unsigned int number = 0; number < kPorts * kOnusPerPort; ++number) {
            module().onuQosOnuIntfInit(onuOf(number));
        }
        return true;
    }();
    benchmark::DoNotOptimize(started);
    {
        const BLLManager::exclusiveLock_t lock;
        module().applyDefaultSettings();
    }
    module().tContProfileCreate("free");
    module().onuFlowProfileCreate("free");
    for (unsigned int number = 0; number < 2; ++number) {
        module().tContProfileCreate(numbered("tcont", number));
        module().tContProfileIdSet(numbered("tcont", number), number + 1);
    }
    for (unsigned int number = 0; number <= kBindingsPerOnu; ++number) {
        module().onuFlowProfileCreate(numbered("flow", number));
    }
    module().configurationApplyStart();
    const auto bindings = static_cast<unsigned int>(state.range(0));
    for (unsigned int number = 0; number < bindings; ++number) {
        if (!applyService(onuOf(number / kBindingsPerOnu), number % kBindingsPerOnu)) {
            state.SkipWithError("a binding was refused");
            return;
        }
    }
    module().configurationApplyStop();
}

template <typename Operation>
void measure(benchmark::State& state, Operation operation) {
    prepare(state);
    unsigned int turn = 0;
    for (auto _ : state) {
        if (operation(turn++) != onuQos::onuQosResOk) {
            state.SkipWithError("the operation was refused");
            return;
        }
    }
}

void tContProfileGet(benchmark::State& state) {
    measure(state, [](unsigned int) {
        tContProfileInfo info;
        return module().tContProfileGet("free", info);
    });
}

void onuFlowProfileGet(benchmark::State& state) {
    measure(state, [](unsigned int) {
        onuQos::onuFlowProfileInfo info;
        return module().onuFlowProfileGet("free", info);
    });
}

void tContProfileCreateDelete(benchmark::State& state) {
    measure(state, [](unsigned int) {
        module().tContProfileCreate("new");
        return module().tContProfileDelete("new");
    });
}

void tContProfileIdSet(benchmark::State& state) {
    measure(state, [](unsigned int turn) { return module().tContProfileIdSet("free", 1 + turn % 2); });
}

void tContProfileTypeSet(benchmark::State& state) {
    measure(state, [](unsigned int turn) {
        return module().tContProfileTypeSet("free", turn % 2 == 0 ? tContType4 : tContType5);
    });
}

void tContProfileMaximumRateSet(benchmark::State& state) {
    measure(state, [](unsigned int turn) {
        return module().tContProfileMaximumRateSet("free", 1024 + 64 * (turn % 2));
    });
}

void tContProfileFixedRateSet(benchmark::State& state) {
    measure(state, [](unsigned int turn) {
        if (turn == 0) {
            module().tContProfileMaximumRateSet("free", 102400);
        }
        return module().tContProfileFixedRateSet("free", 1024 + 64 * (turn % 2));
    });
}

void tContProfileAssuredRateSet(benchmark::State& state) {
    measure(state, [](unsigned int turn) {
        if (turn == 0) {
            module().tContProfileMaximumRateSet("free", 102400);
        }
        return module().tContProfileAssuredRateSet("free", 1024 + 64 * (turn % 2));
    });
}

void tContProfileAllocTypeSet(benchmark::State& state) {
    measure(state, [](unsigned int turn) {
        return module().tContProfileAllocTypeSet("free", turn % 2 == 0 ? tContDbaMode1 : tContDbaMode2);
    });
}

void tContProfileSrdbaWeightSet(benchmark::State& state) {
    measure(state, [](unsigned int turn) { return module().tContProfileSrdbaWeightSet("free", turn % 8); });
}

void tContProfileSrdbaPrioritySet(benchmark::State& state) {
    measure(state, [](unsigned int turn) { return module().tContProfileSrdbaPrioritySet("free", turn % 8); });
}

void tContProfileCreateAndSet(benchmark::State& state) {
    measure(state, [](unsigned int turn) {
        tContProfileInfo info;
        info.tContId = 2;
        info.tContType = tContType3;
        info.assuredRate = 1024 + 64 * (turn % 2);
        info.maximumRate = 10240;
        return module().tContProfileCreateAndSet(
            "free", info, tContParmId | tContParmType | tContParmAssuredRate | tContParmMaximumRate);
    });
}

void onuFlowProfileCreateAndSet(benchmark::State& state) {
    measure(state, [](unsigned int turn) {
        onuQos::onuFlowProfileInfo info;
        info.rule.cVlan = {10, 11, 12};
        info.action.guarRateUs = 1024 + 64 * (turn % 2);
        info.action.peakRateUs = 10240;
        constexpr std::uint32_t kVlansAndRates = 0x02 | 0x08 | 0x10;
        return module().onuFlowProfileCreateAndSet("free", info, kVlansAndRates);
    });
}

void onuQosServiceApplyRemove(benchmark::State& state) {
    measure(state, [](unsigned int) {
        applyService(onuOf(0), kBindingsPerOnu);
        return module().onuQosServiceRemove(onuOf(0), numbered("service", kBindingsPerOnu));
    });
}

void onuQosCacOltGet(benchmark::State& state) {
    measure(state, [](unsigned int) {
        unsigned int rates[4];
        bool violation = false;
        return module().onuQosCacOltGet(1, rates[0], rates[1], rates[2], rates[3], violation);
    });
}

void onuQosDump(benchmark::State& state) {
    measure(state, [](unsigned int) {
        std::ostringstream text;
        module().onuQosDump(0, &text);
        benchmark::DoNotOptimize(text);
        return onuQos::onuQosResOk;
    });
}

#define AT_EACH_SIZE(operation) BENCHMARK(operation)->Arg(0)->Arg(1024)->Arg(16384)
AT_EACH_SIZE(tContProfileGet);
AT_EACH_SIZE(onuFlowProfileGet);
AT_EACH_SIZE(tContProfileCreateDelete);
AT_EACH_SIZE(tContProfileIdSet);
AT_EACH_SIZE(tContProfileTypeSet);
AT_EACH_SIZE(tContProfileFixedRateSet);
AT_EACH_SIZE(tContProfileAssuredRateSet);
AT_EACH_SIZE(tContProfileMaximumRateSet);
AT_EACH_SIZE(tContProfileAllocTypeSet);
AT_EACH_SIZE(tContProfileSrdbaWeightSet);
AT_EACH_SIZE(tContProfileSrdbaPrioritySet);
AT_EACH_SIZE(tContProfileCreateAndSet);
AT_EACH_SIZE(onuFlowProfileCreateAndSet);
AT_EACH_SIZE(onuQosServiceApplyRemove);
AT_EACH_SIZE(onuQosCacOltGet);
AT_EACH_SIZE(onuQosDump)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
