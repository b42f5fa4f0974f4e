#pragma once

#include <algorithm>
#include <iostream>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "clients/onuqosctl/commands.h"
#include "clients/onuqosctl/output.h"
#include "clients/onuqosctl/profileWalk.h"
#include "common/errors.h"
#include "common/name.h"
#include "common/number.h"
#include "common/text.h"

namespace onuqosctl {

// The commands that T-CONT and flow profiles have in common. A family is described by a class `Of`:
// - Profile: its profiles as this client holds them, with `name` and `nameCut`;
// - Assignment: an attribute that the line gives a value, with `attribute->option`; attributes, parse: what
// can
//   be given, and how it is read;
// - kFamily, kWord, kKind: its result codes, its word on the command line, what it is called in a sentence;
//   kExists, kApplied: the codes for a name that is taken and for a profile that services use; kLost: what
//   becomes of those services when the profile goes;
// - get, first, next, attached, create, remove, rename, copy: its stubs; getNumber and so on: their
// procedures;
// - fromWire: its profiles off the wire;
// - complete: fetches what the records of a walk do not tell;
// - carriedTogether, createAndSet: which assignments one request can carry, and that request;
// - setOne, explain: the procedure for one assignment, and why it refused;
// - roundings, createNote: what to tell of a change that was carried out;
// - kListHelp, kCopyHelp, kRules and so on: what its help has to say.

template <typename Of>
using Assignments = std::vector<typename Of::Assignment>;

template <typename Of>
std::string requestText(const std::string& verb, const std::string& name) {
    return std::string(Of::kWord) + " " + verb + " " + common::printable(name);
}

inline std::string emptyNameHint(const std::string& name) {
    return name.empty() ? "the name is empty; only rename reaches a profile with an empty name" : "";
}

template <typename Of>
std::string servicesHint(const std::string& name) {
    return std::string("oltctl service list --") + Of::kWord + " " + common::argumentForName(name) +
           " shows them";
}

/// `why`, or what is to be said of the profile `name` itself.
template <typename Of>
Explanation withNameHint(Explanation why, std::int32_t result, const std::string& name) {
    if (result == Of::kApplied) {
        why.hint = servicesHint<Of>(name) + "; remove those services first, or change a copy";
    } else if (name.empty()) {
        why = {};
        why.hint = emptyNameHint(name);
    }
    return why;
}

/// Throws common::UsageError, before anything is changed, for a profile that services use: they go on naming
/// it when it is deleted or renamed.
template <typename Of>
void spareServices(Session& session, const std::string& verb, const std::string& name) {
    const std::string request = requestText<Of>(verb, name);
    const auto& reply = session.program.ask(Of::attached, name);
    session.require(Of::kFamily, resultOf(reply), request);
    if (reply.attached != 0) {
        throw common::UsageError(request + ": services use this profile and go on naming it " +
                                     common::inQuotes(name) + ": " + Of::kLost,
                                 servicesHint<Of>(name) + "; --force: " + verb + " it all the same");
    }
}

template <typename Of>
typename Of::Profile fetch(Session& session, const std::string& verb, const std::string& name) {
    const auto& reply = session.program.ask(Of::get, name);
    session.require(Of::kFamily, resultOf(reply), requestText<Of>(verb, name), emptyNameHint(name));
    auto profile = Of::fromWire(reply.info);
    profile.name = name;
    return profile;
}

/// Prints a profile that a command made or changed, as the module now holds it: it rounds rates.
template <typename Of>
int printChanged(Session& session, const std::string& verb, const std::string& name,
                 const Assignments<Of>& assignments, const std::string& note = "") {
    const auto profile = fetch<Of>(session, verb, name);
    printChangedProfile(session, Of::kFamily, profile, {Of::roundings(session, assignments, profile), note});
    return common::kCarriedOut;
}

template <typename Of>
std::string walkComplaint(const Session& session, const Walk<typename Of::Profile>& walk) {
    const std::string rename = session.self + " " + Of::kWord + " rename ";
    const std::string last = walk.profiles.empty() ? "" : common::printable(walk.profiles.back().name);
    switch (walk.end) {
        case WalkEnd::complete:
            return "";
        case WalkEnd::cutName:
            return "the list ends early: the last name is longer than 64 bytes, a record carries only its "
                   "beginning, " +
                   last +
                   ", and the module cannot go on from there; \"oltctl hardware\" tells the whole name: "
                   "rename "
                   "it (" +
                   rename +
                   "WHOLE-NAME NEW-NAME; over TCP where it is longer than 8000 bytes) and list again";
        case WalkEnd::emptyName:
            return "the list ends early: its first profile has an empty name, and the module cannot go on "
                   "from there; rename it (" +
                   rename + "'' NEW-NAME) and list again";
        case WalkEnd::unsteady:
            return "the profiles kept changing while they were read; list again";
        case WalkEnd::refused:
            break;
    }
    return "the list ends early: " + resultName(Of::kFamily, walk.result) + " (" +
           std::to_string(walk.result) + "): " + resultMeaning(Of::kFamily, walk.result);
}

template <typename Of>
int list(Session& session) {
    using Profile = typename Of::Profile;
    const auto read = [](const auto& reply) {
        return std::pair<std::int32_t, Profile>(resultOf(reply), Of::fromWire(reply.info));
    };
    auto walk = walkProfiles<Profile>(
        walkCodes(Of::kFamily), [&] { return read(session.program.ask(Of::first)); },
        [&](const std::string& name) { return read(session.program.ask(Of::next, name)); });
    if (walk.end == WalkEnd::cutName) {
        walk.profiles.back().nameCut = true;
    }
    Of::complete(session.program, walk.profiles);
    printProfiles(session, walk.profiles, walk.end == WalkEnd::complete);
    if (walk.end == WalkEnd::complete) {
        return common::kCarriedOut;
    }
    session.out.flush();
    std::cerr << "onuqosctl: " << Of::kWord << " list: " << walkComplaint<Of>(session, walk) << '\n';
    return common::kRefused;
}

/// One procedure after the other. The first refusal ends it and tells what was carried out before, with
/// `done` in front.
template <typename Of>
void setEach(Session& session, const std::string& verb, const std::string& name,
             const Assignments<Of>& assignments, std::string done = "") {
    for (const auto& assignment : assignments) {
        const std::int32_t result = Of::setOne(session, name, assignment);
        if (result != 0) {
            Explanation why = withNameHint<Of>(Of::explain(session, result, name, assignment), result, name);
            if (!done.empty()) {
                const std::string hint = why.hint.empty() ? resultHint(Of::kFamily, result) : why.hint;
                why.hint = hint + (hint.empty() ? "" : "; ") + "carried out before:" + done;
            }
            session.requireOr(Of::kFamily, result,
                              requestText<Of>(verb, name) + " " + assignment.attribute->option, why);
        }
        done += std::string(" ") + assignment.attribute->option;
    }
}

/// Refuses an existing profile unless `orSet`: the module's create-and-set would change it.
template <typename Of>
int create(Session& session, const std::string& name, Assignments<Of> assignments, bool orSet) {
    const std::string request = requestText<Of>("create", name);
    std::optional<typename Of::Profile> stored;
    const auto& reply = session.program.ask(Of::get, name);
    if (resultOf(reply) == 0) {
        stored = Of::fromWire(reply.info);
    }
    if (!orSet && resultOf(reply) != walkCodes(Of::kFamily).notFound) {
        session.require(Of::kFamily, stored ? Of::kExists : resultOf(reply), request,
                        name.empty() ? "a new name must not be empty" : "");
    }
    const auto single = std::stable_partition(assignments.begin(), assignments.end(), Of::carriedTogether);
    const Assignments<Of> together(assignments.begin(), single), afterwards(single, assignments.end());
    if (together.empty() && !orSet) {
        session.require(Of::kFamily, resultOf(session.program.tell(Of::create, name)), request);
    } else {
        Of::createAndSet(session, orSet ? "create --or-set" : "create", name, together, afterwards,
                         stored ? &*stored : nullptr);
    }
    setEach<Of>(session, "create", name, afterwards, " create");
    return printChanged<Of>(session, "create", name, assignments, stored ? "" : Of::createNote(assignments));
}

template <typename Of>
int set(Session& session, const std::string& name, const Assignments<Of>& assignments, bool together) {
    if (assignments.empty()) {
        throw common::UsageError(std::string(Of::kWord) + " set: nothing to set (see onuqosctl " + Of::kWord +
                                 " set --help)");
    }
    if (together) {
        const auto single = std::find_if_not(assignments.begin(), assignments.end(), Of::carriedTogether);
        if (single != assignments.end()) {
            throw common::UsageError(
                std::string(single->attribute->option) +
                " cannot be set together with others: give it in a command without --together");
        }
        const auto stored = fetch<Of>(session, "set", name);
        Of::createAndSet(session, "set --together", name, assignments, {}, &stored);
    } else {
        setEach<Of>(session, "set", name, assignments);
    }
    return printChanged<Of>(session, "set", name, assignments);
}

inline constexpr const char* kForceHelp = "Also when services use the profile";

/// Calls `run` for `name`, and for what of the rest it takes: whether --force is given, where there is such a
/// flag.
template <typename Run, typename... Names>
int runFor(Session& session, const Run& run, const std::optional<common::Given>& force,
           const Names&... names) {
    if constexpr (std::is_invocable_v<Run, Session&, Names..., bool>) {
        return run(session, names..., force && force->present());
    } else {
        return run(session, names...);
    }
}

/// Adds a command with one NAME; `run` gets its bytes, and with a `forceHelp` whether --force is given.
template <typename Run>
void addNameCommand(const common::Command& family, Action& action, const std::string& word,
                    const std::string& help, Run run, const char* forceHelp = nullptr) {
    const common::Command command = family.add(word, help);
    const common::Given name = addName(command, "NAME", "The profile");
    const auto force =
        forceHelp != nullptr ? std::optional(command.flag("--force", forceHelp)) : std::nullopt;
    does(command, action, [name, force, run](Session& session) {
        return runFor(session, run, force, common::nameFromArgument(name.text()));
    });
}

/// The same with two names, the existing profile first.
template <typename Run>
common::Command addTwoNamesCommand(const common::Command& family, Action& action, const std::string& word,
                                   const std::string& help, Run run, const char* forceHelp = nullptr) {
    const common::Command command = family.add(word, help);
    const common::Given name = addName(command, "NAME", "The existing profile");
    const common::Given newName = addName(command, "NEW-NAME", "The name to give, 1 to 64 bytes");
    const auto force =
        forceHelp != nullptr ? std::optional(command.flag("--force", forceHelp)) : std::nullopt;
    does(command, action, [name, newName, force, run](Session& session) {
        return runFor(session, run, force, common::nameFromArgument(name.text()),
                      common::nameFromArgument(newName.text()));
    });
    return command;
}

/// create and set: a NAME, the attributes and one flag.
template <typename Of, typename Run>
void addValuesCommand(const common::Command& family, Action& action, const char* word, const char* help,
                      const char* flag, const char* flagHelp, const std::string& footer, Run run) {
    const common::Command command = family.add(word, help);
    const common::Given name = addName(command, "NAME", "The profile");
    std::vector<common::Given> values;
    for (const auto& attribute : Of::attributes()) {
        values.push_back(command.option(attribute.option, attribute.valueName, attribute.help));
    }
    const common::Given flagged = command.flag(flag, flagHelp);
    command.footer(footer + "\n" + Of::kRules + common::kRateHelp + "\n" + common::kNameHelp);
    does(command, action, [=](Session& session) {
        return run(session, common::nameFromArgument(name.text()), Of::parse(command.inOrder(values)),
                   flagged.present());
    });
}

template <typename Of>
void addSharedCommands(const common::Command& family, Action& action) {
    const std::string kind = Of::kKind;
    const std::string kSpares = ", unless services use it (" + std::to_string(Of::attachedNumber) + ")";
    const auto procedure = [](int number) { return " (procedure " + std::to_string(number) + ")"; };

    const common::Command listing =
        family.add("list", "Lists the profiles by name (procedures " + std::to_string(Of::firstNumber) +
                               ", " + std::to_string(Of::nextNumber) + Of::kListHelp + ")");
    listing.footer(
        R"(A rename can make names that the list cannot pass: empty ones, and ones longer than the 64 bytes that a record
carries. The list then prints what it could read, says on standard error how to get out of it, and ends with
status 1 ("complete": false in JSON).)");
    does(listing, action, list<Of>);

    addNameCommand(family, action, "show", "Shows a profile" + procedure(Of::getNumber),
                   [](Session& session, const std::string& name) {
                       printProfile(session, fetch<Of>(session, "show", name));
                       return common::kCarriedOut;
                   });

    addValuesCommand<Of>(family, action, "create", "Makes a new profile", "--or-set",
                         "If the profile exists, set what is given instead of refusing", Of::kCreateHelp,
                         create<Of>);
    addValuesCommand<Of>(family, action, "set", "Changes a profile", "--together", Of::kTogetherHelp,
                         Of::kSetHelp, set<Of>);

    addNameCommand(
        family, action, "delete", "Deletes a profile" + procedure(Of::removeNumber) + kSpares,
        [kind](Session& session, const std::string& name, bool forced) {
            if (!forced) {
                spareServices<Of>(session, "delete", name);
            }
            const auto result = resultOf(session.program.tell(Of::remove, name));
            session.require(Of::kFamily, result, requestText<Of>("delete", name), emptyNameHint(name));
            printDone(session, Of::kFamily, kind + " " + common::printable(name) + " deleted");
            return common::kCarriedOut;
        },
        kForceHelp);

    addNameCommand(family, action, "attached",
                   "Tells whether services use a profile" + procedure(Of::attachedNumber) +
                       ", and first whether there is such a profile" + procedure(Of::getNumber),
                   [kind](Session& session, const std::string& name) {
                       fetch<Of>(session, "attached", name);
                       const auto& reply = session.program.ask(Of::attached, name);
                       session.require(Of::kFamily, resultOf(reply), requestText<Of>("attached", name));
                       printAttached(session, kind, name, reply.attached != 0);
                       return common::kCarriedOut;
                   });

    addTwoNamesCommand(
        family, action, "rename", "Renames a profile" + procedure(Of::renameNumber) + kSpares,
        [kind](Session& session, const std::string& name, const std::string& newName, bool forced) {
            if (!forced) {
                spareServices<Of>(session, "rename", name);
            }
            const auto result = resultOf(session.program.tell(Of::rename, name, newName));
            session.require(Of::kFamily, result,
                            requestText<Of>("rename", name) + " " + common::printable(newName));
            printDone(session, Of::kFamily,
                      kind + " " + common::printable(name) + " is now " + common::printable(newName));
            if (newName.empty() || newName.size() > kWireNameBytes) {
                session.out.flush();
                std::cerr << "onuqosctl: note: no list gets past "
                          << (newName.empty() ? "an empty name" : "a name longer than 64 bytes")
                          << "; rename reaches it\n";
            }
            return common::kCarriedOut;
        },
        kForceHelp);

    addTwoNamesCommand(
        family, action, "copy", "Makes a new profile like an existing one" + procedure(Of::copyNumber),
        [kind](Session& session, const std::string& name, const std::string& newName) {
            const auto result = resultOf(session.program.tell(Of::copy, name, newName));
            session.require(Of::kFamily, result,
                            requestText<Of>("copy", name) + " " + common::printable(newName),
                            newName.empty() ? "a new name must not be empty" : "");
            printDone(session, Of::kFamily,
                      kind + " " + common::printable(name) + " copied to " + common::printable(newName));
            return common::kCarriedOut;
        })
        .footer(std::string(Of::kCopyHelp) + "\n" + common::kNameHelp);
}

}  // namespace onuqosctl
