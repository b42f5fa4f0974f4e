#include <algorithm>
#include <iostream>

#include "clients/onuqosplan/commands.h"
#include "clients/onuqosplan/plan.h"
#include "clients/onuqosplan/use.h"
#include "common/name.h"
#include "common/table.h"
#include "common/text.h"

namespace onuqosplan {
namespace {

using common::Command;
using common::Given;
using common::Table;
using rules::Yardstick;

constexpr const char* kOrder = "demand is placed in the order of the file; another order gives other sums";

const std::string& tariffName(const PlanFile& plan, std::size_t demand) {
    return plan.tariffs[plan.demand[demand].tariff].name;
}

std::string limitName(rules::Limit limit) {
    switch (limit) {
        case rules::Limit::fixed:
            return "fixed";
        case rules::Limit::total:
            return "total";
        default:
            return "onus";
    }
}

Json placedJson(const Placed& placed, const PlanFile& plan) {
    Json json{{"placed", placed.subscribers}};
    if (placed.first) {
        json["first"] = {{"demand", placed.first->demand},
                         {"tariff", common::nameToJson(tariffName(plan, placed.first->demand))},
                         {"limit", limitName(placed.first->limit)}};
    }
    return json;
}

Json portJson(const PortPlan& port, const PlanFile& plan) {
    const Placed& alarm = port.at(Yardstick::alarm);
    const Placed& admission = port.at(Yardstick::admission);
    Json json{{"port", port.port->interface}, {"wanted", port.wanted}, {"fits", port.fits()}};
    json["alarm"] = placedJson(alarm, plan);
    json["alarm"].update(useJson(alarm.port));
    json["admission"] = placedJson(admission, plan);
    json["admission"]["free"] = {{"fixed", admission.port.free.fixed},
                                 {"total", admission.port.free.assured}};
    json["demand"] = Json::array();
    for (const PlacedDemand& line : port.demand) {
        const PlanDemand& wanted = plan.demand[line.demand];
        json["demand"].push_back(
            {{"demand", line.demand},
             {"tariff", common::nameToJson(tariffName(plan, line.demand))},
             {"wanted", wanted.subscribers},
             {"services", std::uint64_t{wanted.subscribers} * plan.tariffs[wanted.tariff].services},
             {"alarm", line.placed[0]},
             {"admission", line.placed[1]}});
    }
    return json;
}

std::string stopText(const Placed& placed, const PlanFile& plan) {
    if (!placed.first) {
        return "all fit";
    }
    return "demand " + std::to_string(placed.first->demand + 1) + " (" +
           common::printable(tariffName(plan, placed.first->demand)) + "): " +
           (placed.first->limit == rules::Limit::none ? "no ONU left without a service"
                                                      : limitName(placed.first->limit) + " limit");
}

void printDemand(const std::vector<PortPlan>& ports, const PlanFile& plan) {
    Table table({{"port", Table::Align::right},
                 {"demand", Table::Align::right},
                 {"tariff", Table::Align::left},
                 {"wanted", Table::Align::right},
                 {"before the alarm", Table::Align::right},
                 {"before refusal *", Table::Align::right}});
    for (const PortPlan& port : ports) {
        for (const PlacedDemand& line : port.demand) {
            table.add({std::to_string(port.port->interface), std::to_string(line.demand + 1),
                       common::printable(tariffName(plan, line.demand)),
                       std::to_string(plan.demand[line.demand].subscribers), std::to_string(line.placed[0]),
                       std::to_string(line.placed[1])});
        }
    }
    table.print(std::cout);
}

void printPorts(const std::vector<PortPlan>& ports, const PlanFile& plan) {
    Table table({{"port", Table::Align::right},
                 {"fixed", Table::Align::right},
                 {"of limit", Table::Align::right},
                 {"total", Table::Align::right},
                 {"of limit", Table::Align::right},
                 {"alarm", Table::Align::left},
                 {"refusal *", Table::Align::left}});
    for (const PortPlan& port : ports) {
        const PortUse use = useOf(port.at(Yardstick::alarm).port);
        table.add({std::to_string(port.port->interface), std::to_string(use.fixed.used),
                   std::to_string(use.fixed.percent()) + " %", std::to_string(use.total.used),
                   std::to_string(use.total.percent()) + " %",
                   port.at(Yardstick::alarm).port.limits() ? stopText(port.at(Yardstick::alarm), plan)
                                                           : "over its limits without any demand",
                   stopText(port.at(Yardstick::admission), plan)});
    }
    table.print(std::cout);
}

int planned(const Source& source, const std::string& file, common::Format format) {
    const PlanFile plan = loadPlan(file);
    Olt olt = source.read();
    suppose(olt, plan);
    const std::vector<PortPlan> ports = placed(olt, plan);
    const bool fits = std::ranges::all_of(ports, &PortPlan::fits);
    if (format == common::Format::json) {
        Json json{{"fits", fits}, {"order", kOrder}, {"ports", Json::array()}};
        for (const PortPlan& port : ports) {
            json["ports"].push_back(portJson(port, plan));
        }
        addNotes(json, olt);
        print(json);
    } else {
        printDemand(ports, plan);
        std::cout << "\nsums with what is placed before the alarm (kbit/s)\n";
        printPorts(ports, plan);
        std::cout << (fits ? "everything fits" : "not everything fits") << "; " << kOrder << '\n';
        printNotes(std::cout, olt);
    }
    return fits ? kFits : kDoesNotFit;
}

}  // namespace

void addPlan(Command app, Request& request) {
    const Command command =
        app.add("plan", "Places the demand of a file on the ports, and tells what does not fit");
    const Given file = command.argument("FILE", "The plan: JSON, comments allowed; see onuqosplan(1)");
    command.footer(
        "Status: 0 everything fits by both yardsticks, 1 something does not, 2 a file is at fault.");
    command.whenNamed([&request, file] {
        request.action = [&request, file](common::Format format) {
            return planned(*request.source, file.text(), format);
        };
    });
}

}  // namespace onuqosplan
