#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <stdexcept>

#include "clients/onuqosplan/commands.h"
#include "clients/onuqosplan/fleet.h"
#include "common/name.h"
#include "common/number.h"
#include "common/table.h"
#include "common/terminal.h"
#include "common/text.h"

namespace onuqosplan {
namespace {

using common::Command;
using common::Given;
using common::Table;

FleetOlt totalOf(const std::vector<FleetOlt>& olts) {
    FleetOlt total{.name = "all", .fault = {}};
    for (const FleetOlt& olt : olts) {
        total.ports += olt.ports;
        total.portsOver += olt.portsOver;
        total.idleOnus += olt.idleOnus;
        total.alarm += olt.alarm;
        total.admission += olt.admission;
        total.both += olt.both;
    }
    return total;
}

Json oltJson(const FleetOlt& olt) {
    Json json{{"olt", common::nameToJson(olt.name)}};
    if (!olt.fault.empty()) {
        json["fault"] = olt.fault;
        return json;
    }
    json["ports"] = olt.ports;
    json["portsOver"] = olt.portsOver;
    json["onusWithoutService"] = olt.idleOnus;
    json["fit"] = {{"alarm", olt.alarm}, {"admission", olt.admission}, {"both", olt.both}};
    return json;
}

void printFleet(const std::vector<FleetOlt>& olts) {
    Table table({{"olt", Table::Align::left},
                 {"ports", Table::Align::right},
                 {"over", Table::Align::right},
                 {"ONUs left", Table::Align::right},
                 {"before the alarm", Table::Align::right},
                 {"before refusal *", Table::Align::right}});
    const auto add = [&table](const FleetOlt& olt) {
        table.add({common::printable(olt.name), std::to_string(olt.ports), std::to_string(olt.portsOver),
                   std::to_string(olt.idleOnus), std::to_string(olt.alarm), std::to_string(olt.admission)});
    };
    for (const FleetOlt& olt : olts) {
        if (olt.fault.empty()) {
            add(olt);
        }
    }
    add(totalOf(olts));
    table.print(std::cout);
}

/// Nobody is told where standard error cannot be written.
void tellProgress(std::size_t done, std::size_t all) {
    try {
        common::writeOwn(
            STDERR_FILENO,
            done == all ? "\r\x1b[K" : "\r" + std::to_string(done) + " of " + std::to_string(all) + " OLTs");
    } catch (const std::runtime_error&) {
        return;
    }
}

int fleet(const std::string& directory, const TariffOptions& tariff, std::uint32_t wanted,
          common::Format format) {
    tariff.check();  // else every OLT would tell it
    const bool tells = ::isatty(STDERR_FILENO) == 1;
    const std::vector<FleetOlt> olts = readFleet(
        directory, [&](const Olt& olt) { return tariff.of(olt); },
        [tells](std::size_t done, std::size_t all) {
            if (tells) {
                tellProgress(done, all);
            }
        });
    bool isFaulty = false;
    for (const FleetOlt& olt : olts) {
        if (!olt.fault.empty()) {
            isFaulty = true;
            std::cerr << "onuqosplan: fleet: " << common::printable(olt.name) << ": " << olt.fault << '\n';
        }
    }
    Olt assumed;
    assumed.assumedFree = kCapacityLessRates;
    if (format == common::Format::json) {
        Json json{{"olts", Json::array()}};
        for (const FleetOlt& olt : olts) {
            json["olts"].push_back(oltJson(olt));
        }
        json["all"] = oltJson(totalOf(olts));
        json["all"].erase("olt");
        addNotes(json, assumed);
        print(json);
    } else {
        printFleet(olts);
        printNotes(std::cout, assumed);
    }
    return isFaulty ? kBadFile : totalOf(olts).both >= wanted ? kFits : kDoesNotFit;
}

}  // namespace

void addFleet(Command app, Request& request) {
    const Command command = app.add("fleet", "Tells how many more of a T-CONT fit on each OLT of a fleet");
    const Given directory =
        command.argument("DIR", "Holds a folder for each OLT, with inventory.json and configuration.json");
    const TariffOptions tariff(command);
    const Given count =
        command.option("--count", "N", "Status 0 if so many fit, without alarm or refusal", "1");
    command.footer(std::string("An OLT at fault is named and left out, and the status is 2.\n") +
                   common::kRateHelp + "\n" + common::kNameHelp);
    command.whenNamed([&request, directory, tariff, count] {
        request.action = [directory, tariff, count](common::Format format) {
            return fleet(directory.text(), tariff, common::parseUnsigned(count.text(), "--count"), format);
        };
    });
}

}  // namespace onuqosplan
