#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>
#include <thread>

#include "clients/onuqosctl/commands.h"
#include "clients/onuqosctl/output.h"
#include "common/errors.h"
#include "common/number.h"
#include "common/table.h"

namespace onuqosctl {
namespace {

struct RangeField {
    const char* key;
    const char* label;
    u_int rpcOnuQosRangesData::*field;
};

constexpr RangeField kRangeFields[] = {
    {"guarRateUsMin", "flow guaranteed rate, least (kbit/s)", &rpcOnuQosRangesData::guarRateUsMin},
    {"guarRateUsMax", "flow guaranteed rate, largest (kbit/s)", &rpcOnuQosRangesData::guarRateUsMax},
    {"peakRateUsMin", "flow peak rate, least (kbit/s)", &rpcOnuQosRangesData::peakRateUsMin},
    {"peakRateUsMax", "flow peak rate, largest (kbit/s)", &rpcOnuQosRangesData::peakRateUsMax},
    {"fixedRateMin", "T-CONT fixed rate, least (kbit/s)", &rpcOnuQosRangesData::fixedRateMin},
    {"fixedRateMax", "T-CONT fixed rate, largest (kbit/s)", &rpcOnuQosRangesData::fixedRateMax},
    {"assuredRateMin", "T-CONT assured rate, least (kbit/s)", &rpcOnuQosRangesData::assuredRateMin},
    {"assuredRateMax", "T-CONT assured rate, largest (kbit/s)", &rpcOnuQosRangesData::assuredRateMax},
    {"maximumRateMin", "T-CONT maximum rate, least (kbit/s)", &rpcOnuQosRangesData::maximumRateMin},
    {"maximumRateMax", "T-CONT maximum rate, largest (kbit/s)", &rpcOnuQosRangesData::maximumRateMax},
    {"onuFlowRateGranularity", "flow rate granularity (kbit/s)",
     &rpcOnuQosRangesData::onuFlowRateGranularity},
    {"tContRateGranularity", "T-CONT rate granularity (kbit/s)", &rpcOnuQosRangesData::tContRateGranularity},
};

int showRanges(Session& session) {
    const auto& reply = session.program.ask(rpc_onu_qos_port_ranges_get_1);
    session.require(Family::tcont, resultOf(reply), "ranges");
    Json json = Json::object();
    std::vector<std::pair<std::string, std::string>> lines;
    for (const RangeField& field : kRangeFields) {
        json[field.key] = reply.data.*field.field;
        lines.emplace_back(field.label, std::to_string(reply.data.*field.field));
    }
    if (session.json()) {
        printJson(session.out, json);
    } else {
        common::printFields(session.out, lines);
    }
    return common::kCarriedOut;
}

int showState(Session& session) {
    const auto& reply = session.program.ask(rpc_tcontprofile_conf_apply_state_get_1);
    session.require(Family::tcont, resultOf(reply), "state");
    const bool applying = reply.applying != 0;
    if (session.json()) {
        printJson(session.out, {{"configurationApply", applying}});
    } else {
        session.out << "configuration apply in progress: " << (applying ? "yes" : "no") << '\n';
    }
    return common::kCarriedOut;
}

std::string milliseconds(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

int ping(Session& session, const common::Given& givenCount, const common::Given& givenInterval) {
    const std::uint32_t count = common::parseUnsigned(givenCount.text(), "--count", {.least = 1});
    const double interval = common::parseSeconds(givenInterval.text(), "--interval");
    std::vector<double> times;
    for (std::uint32_t number = 1; number <= count; ++number) {
        try {
            times.push_back(session.program.ping().count());
            if (!session.json()) {
                session.out << "answer " << number << ": " << milliseconds(times.back()) << " ms"
                            << std::endl;
            }
        } catch (const common::NoAnswer& error) {
            if (number == 1) {
                throw;
            }
            session.out.flush();
            std::cerr << "onuqosctl: " << error.what() << '\n';
        }
        if (number < count) {
            std::this_thread::sleep_for(std::chrono::duration<double>(interval));
        }
    }
    double sum = 0;
    for (const double time : times) {
        sum += time;
    }
    const auto [least, most] = std::minmax_element(times.begin(), times.end());
    const double mean = sum / static_cast<double>(times.size());
    if (session.json()) {
        printJson(session.out, {{"asked", count},
                                {"answered", times.size()},
                                {"milliseconds", times},
                                {"min", *least},
                                {"mean", mean},
                                {"max", *most}});
    } else {
        session.out << times.size() << " of " << count << " answered; min/mean/max " << milliseconds(*least)
                    << "/" << milliseconds(mean) << "/" << milliseconds(*most) << " ms\n";
    }
    return times.size() == count ? common::kCarriedOut : common::kNoAnswer;
}

}  // namespace

void addModuleCommands(const common::Command& app, Action& action) {
    const common::Command ranges = app.add("ranges", "Shows the rates the module accepts (procedure 202)");
    ranges.footer(
        R"(The least T-CONT rates and the T-CONT granularity are figures of the OLT's class. What a profile may carry, its
type decides, also on a 10G OLT: onuqosctl tcont create --help.)");
    does(ranges, action, showRanges);
    does(app.add("state", "Tells whether a configuration apply is in progress (procedure 200)"), action,
         showState);

    const common::Command pinging = app.add("ping", "Measures how fast the module answers (procedure 0)");
    const common::Given count = pinging.option("--count", "N", "How many times to ask", "4");
    const common::Given interval = pinging.option("--interval", "S", "Seconds between two questions", "0.2");
    pinging.footer("Ends with status 3 unless every question was answered.");
    does(pinging, action, [count, interval](Session& session) { return ping(session, count, interval); });
}

}  // namespace onuqosctl
