#pragma once

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "errors.h"
#include "name.h"
#include "profileWalk.h"
#include "text.h"

namespace onuqosctl {

// The commands that T-CONT and flow profiles have in common. A family is described by a class `Of`:
// - Profile: its profiles as this client holds them, with `name` and `nameCut`;
// - kFamily, kWord, kKind: its result codes, its word on the command line, what it is called in a sentence;
// - get, first, next, attached, remove, rename, copy: its stubs; getNumber and so on: their procedures;
// - fromWire, toJson, printOne, printList: its profiles in and out;
// - complete: fetches what the records of a walk do not tell;
// - kListHelp, kCopyHelp: what else its help has to say.

template <typename Of>
std::string requestText(const std::string& verb, const std::string& name) {
    return std::string(Of::kWord) + " " + verb + " " + clients::printable(name);
}

inline std::string emptyNameHint(const std::string& name) {
    return name.empty() ? "the name is empty; only rename reaches a profile with an empty name" : "";
}

template <typename Of>
typename Of::Profile fetch(Session& session, const std::string& verb, const std::string& name) {
    const auto& reply = session.program.ask(Of::get, name);
    require(Of::kFamily, resultOf(reply), requestText<Of>(verb, name), emptyNameHint(name));
    auto profile = Of::fromWire(reply.info);
    profile.name = name;
    return profile;
}

/// Prints a profile that a command made or changed, as the module now holds it: it rounds rates.
template <typename Of>
int printChanged(Session& session, const std::string& verb, const std::string& name) {
    const auto profile = fetch<Of>(session, verb, name);
    if (session.json()) {
        printDone(session, Of::kFamily, "", {{"profile", Of::toJson(profile)}});
    } else {
        Of::printOne(session.out, profile);
    }
    return clients::kCarriedOut;
}

template <typename Of>
std::string walkComplaint(const Walk<typename Of::Profile>& walk) {
    const std::string word = std::string("onuqosctl ") + Of::kWord;
    const std::string last = walk.profiles.empty() ? "" : clients::printable(walk.profiles.back().name);
    switch (walk.end) {
        case WalkEnd::complete:
            return "";
        case WalkEnd::cutName:
            return "the list ends early: the last name is longer than 64 bytes, a record carries only its "
                   "beginning, " +
                   last +
                   ", and the module cannot go on from there; \"oltctl hardware\" tells the whole name: "
                   "rename it (" +
                   word + " rename WHOLE-NAME NEW-NAME) or delete it, and list again";
        case WalkEnd::emptyName:
            return "the list ends early: its first profile has an empty name, and the module cannot go on "
                   "from "
                   "there; rename it (" +
                   word + " rename '' NEW-NAME) and list again";
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

    if (session.json()) {
        Json profiles = Json::array();
        for (const Profile& profile : walk.profiles) {
            profiles.push_back(Of::toJson(profile));
        }
        printJson(session.out, {{"profiles", profiles}, {"complete", walk.end == WalkEnd::complete}});
    } else {
        Of::printList(session.out, walk.profiles);
    }
    if (walk.end == WalkEnd::complete) {
        return clients::kCarriedOut;
    }
    session.out.flush();
    std::cerr << "onuqosctl: " << Of::kWord << " list: " << walkComplaint<Of>(walk) << '\n';
    return clients::kRefused;
}

/// Adds a command with one NAME; `run` gets its bytes.
template <typename Run>
CLI::App* addNameCommand(CLI::App& family, Action& action, const std::string& word, const std::string& help,
                         Run run) {
    CLI::App* command = family.add_subcommand(word, help);
    auto name = std::make_shared<std::string>();
    addName(*command, "NAME", *name, "The profile");
    command->callback([&action, name, run] {
        action = [name, run](Session& session) { return run(session, clients::nameFromArgument(*name)); };
    });
    return command;
}

/// Adds a command with two names, the existing profile first.
template <typename Run>
CLI::App* addTwoNamesCommand(CLI::App& family, Action& action, const std::string& word,
                             const std::string& help, Run run) {
    CLI::App* command = family.add_subcommand(word, help);
    auto names = std::make_shared<std::pair<std::string, std::string>>();
    addName(*command, "NAME", names->first, "The existing profile");
    addName(*command, "NEW-NAME", names->second, "The name to give, 1 to 64 bytes");
    command->callback([&action, names, run] {
        action = [names, run](Session& session) {
            return run(session, clients::nameFromArgument(names->first),
                       clients::nameFromArgument(names->second));
        };
    });
    return command;
}

template <typename Of>
void addSharedCommands(CLI::App& family, Action& action) {
    const std::string kind = Of::kKind;
    const auto procedure = [](int number) { return " (procedure " + std::to_string(number) + ")"; };

    CLI::App* listing = family.add_subcommand(
        "list", "Lists the profiles by name (procedures " + std::to_string(Of::firstNumber) + ", " +
                    std::to_string(Of::nextNumber) + Of::kListHelp + ")");
    listing->footer(
        "A rename can make names that the list cannot pass: empty ones, and ones longer than the 64 bytes "
        "that a record\n"
        "carries. The list then prints what it could read, says on standard error how to get out of it, and "
        "ends with\n"
        "status 1 (\"complete\": false in JSON).");
    listing->callback([&action] { action = list<Of>; });

    addNameCommand(family, action, "show", "Shows a profile" + procedure(Of::getNumber),
                   [](Session& session, const std::string& name) {
                       const auto profile = fetch<Of>(session, "show", name);
                       if (session.json()) {
                           printJson(session.out, Of::toJson(profile));
                       } else {
                           Of::printOne(session.out, profile);
                       }
                       return clients::kCarriedOut;
                   });

    addNameCommand(family, action, "delete", "Deletes a profile" + procedure(Of::removeNumber),
                   [kind](Session& session, const std::string& name) {
                       const auto result = resultOf(session.program.tell(Of::remove, name));
                       require(Of::kFamily, result, requestText<Of>("delete", name), emptyNameHint(name));
                       printDone(session, Of::kFamily, kind + " " + clients::printable(name) + " deleted");
                       return clients::kCarriedOut;
                   });

    addNameCommand(
        family, action, "attached",
        "Tells whether services use a profile" + procedure(Of::attachedNumber) +
            ", and first whether there is such a profile" + procedure(Of::getNumber),
        [kind](Session& session, const std::string& name) {
            fetch<Of>(session, "attached", name);
            const auto& reply = session.program.ask(Of::attached, name);
            require(Of::kFamily, resultOf(reply), requestText<Of>("attached", name));
            const bool attached = reply.attached != 0;
            if (session.json()) {
                printJson(session.out, {{"name", clients::nameToJson(name)}, {"attached", attached}});
            } else {
                session.out << kind << " " << clients::printable(name) << " is "
                            << (attached ? "attached: services use it" : "not attached") << '\n';
            }
            return clients::kCarriedOut;
        });

    addTwoNamesCommand(
        family, action, "rename", "Renames a profile" + procedure(Of::renameNumber),
        [kind](Session& session, const std::string& name, const std::string& newName) {
            const auto result = resultOf(session.program.tell(Of::rename, name, newName));
            require(Of::kFamily, result, requestText<Of>("rename", name) + " " + clients::printable(newName));
            printDone(session, Of::kFamily,
                      kind + " " + clients::printable(name) + " is now " + clients::printable(newName));
            if (newName.empty() || newName.size() > kWireNameBytes) {
                session.out.flush();
                std::cerr << "onuqosctl: note: no list gets past "
                          << (newName.empty() ? "an empty name" : "a name longer than 64 bytes") << '\n';
            }
            return clients::kCarriedOut;
        });

    CLI::App* copying = addTwoNamesCommand(
        family, action, "copy", "Makes a new profile like an existing one" + procedure(Of::copyNumber),
        [kind](Session& session, const std::string& name, const std::string& newName) {
            const auto result = resultOf(session.program.tell(Of::copy, name, newName));
            require(Of::kFamily, result, requestText<Of>("copy", name) + " " + clients::printable(newName),
                    newName.empty() ? "a new name must not be empty" : "");
            printDone(session, Of::kFamily,
                      kind + " " + clients::printable(name) + " copied to " + clients::printable(newName));
            return clients::kCarriedOut;
        });
    copying->footer(std::string(Of::kCopyHelp) + "\n" + clients::kNameHelp);
}

/// Refuses to create over an existing profile. The module's create-and-set would change it instead.
template <typename Of>
void requireAbsent(Session& session, const std::string& request, const std::string& name,
                   std::int32_t existsCode) {
    const std::int32_t result = resultOf(session.program.ask(Of::get, name));
    if (result != walkCodes(Of::kFamily).notFound) {
        require(Of::kFamily, result == 0 ? existsCode : result, request,
                name.empty() ? "a new name must not be empty" : "");
    }
}

}  // namespace onuqosctl
