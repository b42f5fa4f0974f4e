#include <iostream>

#include "clients/onuqosplan/commands.h"
#include "clients/onuqosplan/portFit.h"
#include "common/name.h"
#include "common/number.h"
#include "common/table.h"
#include "common/text.h"

namespace onuqosplan {
namespace {

using common::Command;
using common::Given;
using common::Table;
using rules::Yardstick;

struct Options {
    TariffOptions tariff;
    Given port, on, count, distance;
};

std::string tariffText(const Tariff& tariff, On on) {
    const rules::RatePair further =
        rules::onuOverhead(false, rules::kOnuFixed[3].from, rules::kOnuAssured[3].from);
    return common::printable(tariff.name) + ": type " + std::to_string(tariff.type) + ", " +
           pairText(tariff.guaranteed()) + "; costs " + pairText(costOf(tariff.guaranteed())) + " on a port" +
           (on == On::idle ? " and " + pairText(further) + " for each ONU that is new there" : "");
}

void printPort(const PortFit& fit) {
    Table table(
        {{"", Table::Align::left}, {"more", Table::Align::right}, {"what stops it", Table::Align::left}});
    table.add({"before the alarm", std::to_string(fit.alarm.count), stopText(fit, Yardstick::alarm)});
    table.add({"before admission refuses *", std::to_string(fit.admission.count),
               stopText(fit, Yardstick::admission)});
    for (const FitAtDistance& at : fit.distances) {
        table.add({"with the farthest ONU at " + std::to_string(at.maxDistance) + " km",
                   std::to_string(at.count), "fixed limit " + std::to_string(at.fixedMax)});
    }
    table.print(std::cout);
}

void printPorts(const std::vector<PortFit>& fits) {
    Table table({{"port", Table::Align::right},
                 {"before the alarm", Table::Align::right},
                 {"what stops it", Table::Align::left},
                 {"before refusal *", Table::Align::right},
                 {"what stops it", Table::Align::left}});
    for (const PortFit& fit : fits) {
        table.add({std::to_string(fit.port->interface), std::to_string(fit.alarm.count),
                   stopText(fit, Yardstick::alarm), std::to_string(fit.admission.count),
                   stopText(fit, Yardstick::admission)});
    }
    table.print(std::cout);
}

Json document(const Olt& olt, const Tariff& tariff, const std::vector<PortFit>& fits, bool onePort) {
    const rules::RatePair cost = costOf(tariff.guaranteed());
    Json json{{"profile", common::nameToJson(tariff.name)},
              {"cost", {{"fixed", cost.fixed}, {"assured", cost.assured}}}};
    if (onePort) {
        json.update(portFitJson(fits.front()));
    } else {
        json["ports"] = Json::array();
        for (const PortFit& fit : fits) {
            json["ports"].push_back(portFitJson(fit));
        }
    }
    addNotes(json, olt);
    return json;
}

int fit(const Source& source, const Options& options, common::Format format) {
    Olt olt = source.read();
    const Tariff tariff = options.tariff.of(olt);
    const On on = options.on.text() == "busy" ? On::busy : On::idle;
    const std::uint32_t wanted = common::parseUnsigned(options.count.text(), "--count");
    std::vector<std::uint32_t> distances;
    for (const std::string& text : options.distance.texts()) {
        distances.push_back(common::parseUnsigned(text, "--max-distance"));
    }
    auto most = candidates(olt, tariff, on);
    std::vector<PortFit> fits;
    std::uint64_t both = 0;
    for (const Port* port : portsMeant(olt, options.port)) {
        fits.push_back(fitOn(*port, tariff, on, most[port->interface], distances));
        both += fits.back().both();
    }
    if (format == common::Format::json) {
        print(document(olt, tariff, fits, options.port.present()));
    } else {
        std::cout << tariffText(tariff, on) << '\n';
        options.port.present() ? printPort(fits.front()) : printPorts(fits);
        printNotes(std::cout, olt);
    }
    return both >= wanted ? kFits : kDoesNotFit;
}

}  // namespace

void addFit(Command app, Request& request) {
    const Command command = app.add("fit", "Tells how many more of a T-CONT fit on PON ports");
    const Options options{
        .tariff = TariffOptions(command),
        .port = command.option("--port", "INTERFACE", "Only this PON port"),
        .on = command.choice("--on", {"idle", "busy"},
                             "idle: on ONUs without a service; busy: a further T-CONT on those with one",
                             "idle"),
        .count = command.option("--count", "N",
                                "Status 0 if so many fit, over the ports, without alarm or refusal", "1"),
        .distance = command.option("--max-distance", "KM",
                                   "Also with the farthest ONU there; may be given several times")};
    command.footer(
        std::string("Counts by both yardsticks: until the over-commitment alarm, which looks at what is "
                    "committed and at the\ndistance, and until admission refuses, which looks at what "
                    "the platform has free.\n") +
        common::kRateHelp + "\n" + common::kNameHelp);
    command.whenNamed([&request, options] {
        request.action = [&request, options](common::Format format) {
            return fit(*request.source, options, format);
        };
    });
}

}  // namespace onuqosplan
