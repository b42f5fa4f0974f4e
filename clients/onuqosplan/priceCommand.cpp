#include <iostream>

#include "clients/onuqosplan/commands.h"
#include "common/table.h"

namespace onuqosplan {
namespace {

using common::Command;
using common::Given;
using common::Table;
using rules::CostBand;

struct Curve {
    const char* name;
    onuTContProfileRateType type;
};
constexpr Curve kCurves[] = {{"fixed", tContRateFixed}, {"assured", tContRateAssured}};

std::string rates(const rules::RateCost& first, const rules::RateCost& last) {
    return std::to_string(first.rate) + (first == last ? "" : " to " + std::to_string(last.rate));
}

Json bandJson(const CostBand& band, const CostBand* next) {
    const auto point = [](const rules::RateCost& at) { return Json{{"rate", at.rate}, {"cost", at.cost}}; };
    Json json{{"percent", band.percent}, {"first", point(band.first)}, {"last", point(band.last)}};
    if (next != nullptr && band.isDear()) {
        json["dear"] = {
            {"from", band.dearFrom.rate}, {"to", band.last.rate}, {"instead", point(next->first)}};
    }
    return json;
}

void printCurve(const Curve& curve, const std::vector<CostBand>& bands) {
    std::cout << curve.name << " rates (kbit/s)\n";
    Table table({{"from", Table::Align::right},
                 {"costs", Table::Align::right},
                 {"to", Table::Align::right},
                 {"costs", Table::Align::right},
                 {"overhead", Table::Align::right},
                 {"", Table::Align::left}});
    for (std::size_t at = 0; at < bands.size(); ++at) {
        const CostBand& band = bands[at];
        std::string warning;
        if (at + 1 < bands.size() && band.isDear()) {
            const std::string instead = std::to_string(bands[at + 1].first.rate);
            warning = rates(band.dearFrom, band.last) + " cost" + (band.dearFrom == band.last ? "s" : "") +
                      " more than " + instead + ": sell " + instead;
        }
        table.add({std::to_string(band.first.rate), std::to_string(band.first.cost),
                   std::to_string(band.last.rate), std::to_string(band.last.cost),
                   std::to_string(band.percent) + " %", warning});
    }
    table.print(std::cout);
}

int price(const Given& technology, common::Format format) {
    const rules::ClassLimits& limits = rules::classLimits(technology.text() == "10g");
    Json json{{"technology", technology.text()}};
    for (const Curve& curve : kCurves) {
        const std::vector<CostBand> bands = rules::costCurve(curve.type, limits);
        Json& array = json[curve.name] = Json::array();
        for (std::size_t at = 0; at < bands.size(); ++at) {
            array.push_back(bandJson(bands[at], at + 1 < bands.size() ? &bands[at + 1] : nullptr));
        }
        if (format == common::Format::table) {
            printCurve(curve, bands);
        }
    }
    if (format == common::Format::json) {
        print(json);
    }
    return kFits;
}

}  // namespace

void addPrice(Command app, Request& request) {
    const Command command =
        app.add("price", "Shows what T-CONT rates cost, and where a larger rate costs less");
    const Given technology = command.choice("--technology", {"gpon", "10g"},
                                            "The class of the OLT, which decides the steps of rates", "gpon");
    command.footer(
        "The cost is the rate with its overhead, which a port is held to by admission and alarm. Needs no "
        "OLT.");
    command.whenNamed([&request, technology] {
        request.action = [technology](common::Format format) { return price(technology, format); };
    });
}

}  // namespace onuqosplan
