#include <algorithm>
#include <iostream>

#include "clients/onuqosplan/commands.h"
#include "common/table.h"

namespace onuqosplan {
namespace {

using common::Command;
using common::Given;
using common::Table;
using rules::DistanceSpan;

std::string kilometres(const DistanceSpan& span) {
    return std::to_string(span.first) + (span.last == span.first ? "" : "-" + std::to_string(span.last));
}

/// "ok 0-19 km; alarm from 20", with every further span and gap.
std::string spansText(const std::vector<DistanceSpan>& spans) {
    std::string text;
    for (const DistanceSpan& span : spans) {
        text += (text.empty() ? "ok " : ", ") + kilometres(span);
    }
    if (spans.empty()) {
        return "alarm at every distance";
    }
    text += " km";
    return spans.back().last == rules::kReachMax
               ? text + (spans.size() > 1 ? "; alarm between" : "")
               : text + (spans.size() > 1 ? "; alarm between and from " : "; alarm from ") +
                     std::to_string(spans.back().last + 1);
}

bool isWithin(const std::vector<DistanceSpan>& spans, std::uint32_t distance) {
    return std::ranges::any_of(spans, [distance](const DistanceSpan& span) {
        return span.first <= distance && distance <= span.last;
    });
}

int distance(const Source& source, const Given& onePort, common::Format format) {
    Olt olt = source.read();
    Table table({{"port", Table::Align::right},
                 {"technology", Table::Align::left},
                 {"now (km)", Table::Align::left},
                 {"fixed", Table::Align::right},
                 {"limit", Table::Align::right},
                 {"farthest ONU", Table::Align::left}});
    Json ports = Json::array();
    bool ok = true;
    for (const Port* port : portsMeant(olt, onePort)) {
        const rules::PortState& state = port->state;
        const auto spans = rules::distanceSpans(state, std::max(rules::kReachMax, state.maxDistance));
        ok = ok && isWithin(spans, state.maxDistance);
        table.add({std::to_string(port->interface), technologyName(port->technology),
                   std::to_string(state.minDistance) + "-" + std::to_string(state.maxDistance),
                   std::to_string(state.held.fixedAlloc), std::to_string(state.fixedMax()),
                   spansText(spans)});
        Json within = Json::array();
        for (const DistanceSpan& span : spans) {
            within.push_back({{"first", span.first}, {"last", span.last}});
        }
        ports.push_back({{"port", port->interface},
                         {"technology", technologyName(port->technology)},
                         {"minDistance", state.minDistance},
                         {"maxDistance", state.maxDistance},
                         {"fixed", state.held.fixedAlloc},
                         {"limitFixed", state.fixedMax()},
                         {"ok", within},
                         {"fits", isWithin(spans, state.maxDistance)}});
    }
    if (format == common::Format::json) {
        Json json{{"ports", ports}};
        if (!olt.notes.empty()) {
            json["notes"] = olt.notes;
        }
        print(json);
    } else {
        table.print(std::cout);
        for (const std::string& note : olt.notes) {
            std::cout << "note: " << note << '\n';
        }
    }
    return ok ? kFits : kDoesNotFit;
}

}  // namespace

void addDistance(Command app, Request& request) {
    const Command command =
        app.add("distance", "Tells at which distances of the farthest ONU ports keep their limits");
    const Given port = command.option("--port", "INTERFACE", "Only this PON port");
    command.footer(
        "Looks at the over-commitment alarm, up to 60 km; past 54 km a port carries more again, so that "
        "there may be "
        "gaps.\nAdmission does not look at the distance. Status 0 if every port keeps its limits where it "
        "is.");
    command.whenNamed([&request, port] {
        request.action = [&request, port](common::Format format) {
            return distance(*request.source, port, format);
        };
    });
}

}  // namespace onuqosplan
