#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <thread>

#include "clients/onuqosctl/commands.h"
#include "clients/onuqosctl/output.h"
#include "common/errors.h"
#include "common/number.h"
#include "common/refusal.h"
#include "common/table.h"
#include "common/terminal.h"

namespace onuqosctl {
namespace {

constexpr std::uint32_t kUnknownRate = 0xFFFFFFFF;
/// So many interfaces are asked at once at most: each costs a question, and a line of the log where it is no
/// PON port.
constexpr std::uint32_t kProbedMost = 65536;
/// What the line asks for.
struct Options {
    common::Given ports, probe, capacity, fixedCapacity, watch, count;
};

/// What a port answered.
struct PortState {
    std::uint32_t port;
    std::int32_t result;
    rpcCacOltInfo info;
};

/// What the bars are measured against, kbit/s.
struct Capacities {
    std::uint32_t total;
    std::optional<std::uint32_t> fixed;
};

PortState askPort(Session& session, std::uint32_t port) {
    const auto& reply = session.program.ask(rpc_cac_olt_get_1, port);
    return {port, resultOf(reply), reply.info};
}

/// The ports named, or those of a range that are ports. Nothing tells which there are, and the module logs
/// every question about an interface that is no PON port.
std::vector<std::uint32_t> portsToShow(Session& session, const Options& options) {
    std::vector<std::uint32_t> ports;
    for (const std::string& port : options.ports.texts()) {
        ports.push_back(common::parseUnsigned(port, "PORT"));
    }
    if (ports.empty() != options.probe.present()) {
        throw common::UsageError("cac show: give either PORTs or --probe FIRST-LAST");
    }
    if (!ports.empty()) {
        return ports;
    }
    const std::string range = options.probe.text();
    const std::size_t dash = range.find('-');
    const std::uint32_t first = common::parseUnsigned(range.substr(0, dash), "--probe");
    const std::uint32_t last = dash == std::string::npos ? first
                                                         : common::parseUnsigned(range.substr(dash + 1),
                                                                                 "--probe", {.least = first});
    if (last - first >= kProbedMost) {
        throw common::UsageError("cac show: --probe asks " + std::to_string(kProbedMost) +
                                     " interfaces at most, and " + range + " are " +
                                     std::to_string(std::uint64_t{last} - first + 1),
                                 "oltctl port list shows which interfaces are PON ports");
    }
    for (std::uint64_t port = first; port <= last; ++port) {
        if (askPort(session, static_cast<std::uint32_t>(port)).result == 0) {
            ports.push_back(static_cast<std::uint32_t>(port));
        }
    }
    if (ports.empty()) {
        session.require(
            Family::tcont, askPort(session, last).result, "cac show",
            "no interface from " + std::to_string(first) + " to " + std::to_string(last) + " is a PON port");
    }
    return ports;
}

Capacities capacitiesFrom(Session& session, const Options& options) {
    Capacities capacities{};
    if (options.fixedCapacity.present()) {
        capacities.fixed = common::parseRate(options.fixedCapacity.text());
    }
    capacities.total = options.capacity.present() ? common::parseRate(options.capacity.text())
                                                  : askPortClass(session, "cac show").totalMax;
    return capacities;
}

std::string rateText(std::uint32_t rate) {
    return rate == kUnknownRate ? "unknown" : std::to_string(rate);
}

std::string usedBar(std::uint32_t capacity, std::uint32_t free) {
    return common::bar(capacity - std::min(capacity, free), capacity);
}

Json rateJson(std::uint32_t rate) {
    return rate == kUnknownRate ? Json(nullptr) : Json(rate);
}

Json toJson(const PortState& state) {
    Json json = {{"interface", state.port},
                 {"result", state.result},
                 {"resultName", resultName(Family::tcont, state.result)}};
    if (state.result == 0) {
        json["estAvailFixedRate"] = state.info.estAvailFixedRate;
        json["estAvailAssuredRate"] = state.info.estAvailAssuredRate;
        json["actAvailFixedRate"] = rateJson(state.info.actAvailFixedRate);
        json["actAvailAssuredRate"] = rateJson(state.info.actAvailAssuredRate);
        json["cacViolation"] = state.info.cacViolation != 0;
    }
    return json;
}

void printTable(std::ostream& out, const std::vector<PortState>& states, const Capacities& capacities) {
    using common::Table;
    constexpr auto kRight = Table::Align::right;
    std::vector<Table::Column> columns = {{"port", kRight},
                                          {"est. fixed", kRight},
                                          {"est. assured", kRight},
                                          {"act. fixed", kRight},
                                          {"act. assured", kRight},
                                          {"violation"},
                                          {"used of " + std::to_string(capacities.total)}};
    if (capacities.fixed) {
        columns.push_back({"fixed used of " + std::to_string(*capacities.fixed)});
    }
    out << "rates in kbit/s; what is free as the module estimates it (est.) and as the platform has it "
           "(act.)\n";
    Table table(columns);
    for (const PortState& state : states) {
        std::vector<std::string> cells = {std::to_string(state.port), "-", "-", "-", "-", "-", "-"};
        if (state.result == 0) {
            cells = {std::to_string(state.port),
                     rateText(state.info.estAvailFixedRate),
                     rateText(state.info.estAvailAssuredRate),
                     rateText(state.info.actAvailFixedRate),
                     rateText(state.info.actAvailAssuredRate),
                     state.info.cacViolation != 0 ? "VIOLATION" : "no",
                     usedBar(capacities.total, state.info.estAvailAssuredRate)};
        }
        if (capacities.fixed) {
            cells.push_back(state.result == 0 ? usedBar(*capacities.fixed, state.info.estAvailFixedRate)
                                              : "-");
        }
        table.add(cells);
    }
    table.print(out);
    out << "oltctl port show PORT tells what is committed on a port, its limits, and its ONUs and services\n";
}

/// Asks every port and prints one table or document. Gives the exit status.
int showOnce(Session& session, const std::vector<std::uint32_t>& ports, const Capacities& capacities,
             bool oneLine) {
    std::vector<PortState> states;
    std::string request = "cac show";
    for (const std::uint32_t port : ports) {
        states.push_back(askPort(session, port));
        request += " " + std::to_string(port);
    }
    // What one port of several is refused for is told beside the others.
    if (!oneLine && std::ranges::none_of(states, [](const PortState& state) { return state.result == 0; })) {
        session.require(Family::tcont, states.front().result, request,
                        "none of these is a PON port that the module can tell about; oltctl port list shows "
                        "which are");
    }
    if (session.json()) {
        Json document = {{"capacity", capacities.total}, {"ports", Json::array()}};
        for (const PortState& state : states) {
            document["ports"].push_back(toJson(state));
        }
        session.out << common::jsonForOutput(document, oneLine ? -1 : 2) << '\n';
    } else {
        printTable(session.out, states, capacities);
    }
    session.out.flush();
    int status = common::kCarriedOut;
    for (const PortState& state : states) {
        if (state.result != 0) {
            std::cerr << "onuqosctl: cac show " << state.port << ": "
                      << resultName(Family::tcont, state.result) << " (" << state.result << "): interface "
                      << state.port << " is no PON port the module can tell about\n";
            status = common::kRefused;
        }
    }
    return status;
}

/// The same; while watching, a missing answer is one line of JSON too.
int showOnceMore(Session& session, const std::vector<std::uint32_t>& ports, const Capacities& capacities,
                 bool watching) {
    try {
        return showOnce(session, ports, capacities, watching);
    } catch (const common::NoAnswer& error) {
        if (!watching || !session.json()) {
            throw;
        }
        const common::Refusal refusal{{}, common::kNoAnswerName, "cac show", error.what(), ""};
        session.out << common::jsonForOutput(common::refusalToJson(refusal), -1) << '\n';
        session.out.flush();
        std::cerr << "onuqosctl: " << error.what() << '\n';
        return common::kNoAnswer;
    }
}

int show(Session& session, const Options& options) {
    const bool watching = options.watch.present();
    const double interval = common::parseSeconds(options.watch.text(), "--watch");
    std::uint32_t left =
        options.count.present() ? common::parseUnsigned(options.count.text(), "--count", {.least = 1}) : 0;
    const std::vector<std::uint32_t> ports = portsToShow(session, options);
    const Capacities capacities = capacitiesFrom(session, options);
    const bool redraw = watching && !session.json() && ::isatty(STDOUT_FILENO) == 1;
    for (bool first = true;; first = false) {
        if (redraw) {
            session.out.flush();
            constexpr std::string_view kHomeAndClear = "\x1b[H\x1b[2J";
            if (::write(STDOUT_FILENO, kHomeAndClear.data(), kHomeAndClear.size()) < 0) {
                session.out.setstate(std::ios::badbit);
            }
        } else if (!first && !session.json()) {
            session.out << '\n';
        }
        const int status = showOnceMore(session, ports, capacities, watching);
        const bool last = !watching || (left > 0 && --left == 0);
        if (last || status != common::kCarriedOut || !session.out) {
            return status;
        }
        std::this_thread::sleep_for(std::chrono::duration<double>(interval));
    }
}

}  // namespace

void addCacCommand(const common::Command& app, Action& action) {
    const common::Command command = app.addGroup("cac", "Admission control of the PON ports")
                                        .add("show", "Shows what is free on PON ports (procedure 201)");
    const Options options{
        command.argument("PORT", "Interface indexes of PON ports", common::Command::Count::any),
        command.option(
            "--probe", "FIRST-LAST",
            "Instead of PORTs: asks all these and shows those that are PON ports; oltmgrd logs an error "
            "for each that is none"),
        command.option("--capacity", "RATE", "What the bar is measured against"),
        command.option("--fixed-capacity", "RATE", "Adds a bar of the fixed rate, measured against this"),
        command.optionWithOrWithoutValue("--watch", "[SECONDS]", "Shows it again every SECONDS", "2"),
        command.option("--count", "N", "With --watch: ends after this many times")};
    options.count.needs(options.watch);
    command.footer(
        "Estimated rates are what the module's own account leaves free, limited to the actual ones; actual "
        "rates are what\n"
        "the platform has free, \"unknown\" (null in JSON) where it cannot tell. What \"est. assured\" and "
        "\"act. assured\"\n"
        "show is free for fixed and assured rates together.\n"
        "The bar shows what is used: the capacity less \"est. assured\". The module does not tell the "
        "capacity of a port.\n"
        "Unless --capacity gives it, the bar is measured against what every port of the class carries "
        "(1240640 or 9918464\n"
        "kbit/s; procedure 202 tells the class), so a port that the platform gives less never looks empty. "
        "What a port\n"
        "carries for fixed rates depends on its fibre distances: that bar needs --fixed-capacity.\n"
        "This is all that the RPC program tells of a port; oltctl port show tells what is committed there, "
        "the limits,\n"
        "and the ONUs and services.\n"
        "With --watch, JSON is one document a line. Put PORTs before --watch.\n" +
        std::string(common::kRateHelp));
    does(command, action, [options](Session& session) { return show(session, options); });
}

}  // namespace onuqosctl
