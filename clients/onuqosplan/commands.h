#pragma once

#include <functional>
#include <iosfwd>

#include "clients/onuqosplan/source.h"
#include "common/commandLine.h"

namespace onuqosplan {

/// Exit statuses beside those of every client: wrong usage and files at fault are one.
enum Status : int { kFits = 0, kDoesNotFit = 1, kBadFile = 2 };

/// What the line asks for.
struct Request {
    const Source* source = nullptr;
    std::function<int(common::Format)> action;
};

// One for each word of the command line.

void addFit(common::Command app, Request& request);
void addDistance(common::Command app, Request& request);
void addPrice(common::Command app, Request& request);
void addPlan(common::Command app, Request& request);
void addHeat(common::Command app, Request& request);
void addFleet(common::Command app, Request& request);

/// The ports that are meant: one, or all where none is named.
std::vector<const Port*> portsMeant(Olt& olt, const common::Given& port);

/// Prints what the reader should know of the numbers: `*` marks those that rest on the platform's free
/// figure.
void printNotes(std::ostream& out, const Olt& olt);

/// The member "assumes", and "notes" where there are some.
void addNotes(Json& json, const Olt& olt);

/// Prints a document.
void print(const Json& json);

}  // namespace onuqosplan
