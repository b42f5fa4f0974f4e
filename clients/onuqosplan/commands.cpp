#include "clients/onuqosplan/commands.h"

#include <iostream>

#include "common/number.h"
#include "common/terminal.h"

namespace onuqosplan {
namespace {

constexpr const char* kFalls = "falls by rates without overhead";

}  // namespace

std::vector<const Port*> portsMeant(Olt& olt, const common::Given& port) {
    if (port.present()) {
        return {&portOf(olt, common::parseUnsigned(port.text(), "--port"))};
    }
    std::vector<const Port*> ports;
    for (const Port& each : olt.ports) {
        ports.push_back(&each);
    }
    return ports;
}

void printNotes(std::ostream& out, const Olt& olt) {
    out << "* assumes that what the platform has free " << kFalls;
    if (!olt.assumedFree.empty()) {
        out << ", and is now its " << olt.assumedFree;
    }
    out << '\n';
    for (const std::string& note : olt.notes) {
        out << "note: " << note << '\n';
    }
}

void addNotes(Json& json, const Olt& olt) {
    json["assumes"] = {{"platformFree", kFalls}};
    if (!olt.assumedFree.empty()) {
        json["assumes"]["platformFreeNow"] = olt.assumedFree;
    }
    if (!olt.notes.empty()) {
        json["notes"] = olt.notes;
    }
}

void print(const Json& json) {
    std::cout << common::jsonForOutput(json) << '\n';
}

}  // namespace onuqosplan
