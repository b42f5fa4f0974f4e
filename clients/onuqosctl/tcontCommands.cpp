#include <algorithm>
#include <bit>
#include <limits>
#include <memory>
#include <ostream>

#include "number.h"
#include "orderedOptions.h"
#include "profileCommands.h"
#include "tcontAttributes.h"
#include "tcontProfile.h"
#include "tcontRules.h"

namespace onuqosctl {
namespace {

using clients::UsageError;
using Assignments = std::vector<TContAssignment>;

constexpr std::uint32_t kDefaultType = 5;

struct TCont {
    using Profile = TContProfile;
    static constexpr Family kFamily = Family::tcont;
    static constexpr const char* kWord = "tcont";
    static constexpr const char* kKind = "T-CONT profile";
    static constexpr const char* kListHelp = ", 104";
    static constexpr const char* kCopyHelp =
        "The copy gets id, type and rates. The DBA allocation type, weight and priority are not carried: the "
        "copy has\n"
        "those of a new profile (1, 1, 0).";

    static constexpr auto get = rpc_tcontprofile_get_1;
    static constexpr auto first = rpc_tcontprofile_first_get_1;
    static constexpr auto next = rpc_tcontprofile_next_get_1;
    static constexpr auto attached = rpc_tcontprofile_attached_get_1;
    static constexpr auto remove = rpc_tcontprofile_delete_1;
    static constexpr auto rename = rpc_tcontprofile_rename_1;
    static constexpr auto copy = rpc_tcontprofile_copy_1;
    static constexpr int getNumber = rpc_tcontprofile_get;
    static constexpr int firstNumber = rpc_tcontprofile_first_get;
    static constexpr int nextNumber = rpc_tcontprofile_next_get;
    static constexpr int attachedNumber = rpc_tcontprofile_attached_get;
    static constexpr int removeNumber = rpc_tcontprofile_delete;
    static constexpr int renameNumber = rpc_tcontprofile_rename;
    static constexpr int copyNumber = rpc_tcontprofile_copy;

    static Profile fromWire(const rpcTContProfileInfo& record) { return tcontFromWire(record, true); }
    static Json toJson(const Profile& profile) { return tcontToJson(profile); }
    static void printOne(std::ostream& out, const Profile& profile) { printTCont(out, profile); }
    static void printList(std::ostream& out, const std::vector<Profile>& profiles) {
        printTConts(out, profiles);
    }

    /// The records of a walk have zeros for the DBA values. A profile that is gone by now leaves the list.
    static void complete(Program& program, std::vector<Profile>& profiles) {
        std::vector<Profile> completed;
        for (Profile& profile : profiles) {
            profile.dba.reset();
            if (profile.nameCut || profile.name.empty()) {
                completed.push_back(std::move(profile));
                continue;
            }
            const auto& reply = program.ask(get, profile.name);
            if (resultOf(reply) == 0) {
                completed.push_back(fromWire(reply.info));
            } else if (resultOf(reply) != walkCodes(kFamily).notFound) {
                completed.push_back(std::move(profile));
            }
        }
        profiles = std::move(completed);
    }
};

/// The default rates of a type, from the module.
TContRates askDefaults(Session& session, std::uint32_t type, const std::string& request) {
    const auto& reply =
        session.program.ask(rpc_tcontprofile_default_type_get_1, std::bit_cast<rpcTContProfileType>(type));
    require(Family::tcont, resultOf(reply), request);
    return {reply.info.fixedRate, reply.info.assuredRate, reply.info.maximumRate};
}

/// One create-and-set request, and what is needed to explain its refusal.
struct Wanted {
    rpcTContProfileInfo record{};
    rpcTContProfileParmsMask mask = 0;
    std::uint32_t type = kDefaultType;
    TContRates rates{};
};

Wanted wantedFrom(Session& session, const Assignments& assignments, const TContProfile* stored,
                  const std::string& request) {
    Wanted wanted;
    if (stored != nullptr) {
        wanted.type = stored->type;
    }
    for (const TContAssignment& assignment : assignments) {
        if (assignment.attribute->bit == rpcTContProfileParmsTContType) {
            // Where a setter reads 0 as the default type, create-and-set wants it by its number.
            wanted.type = assignment.value == 0 ? kDefaultType : assignment.value;
        }
    }
    const bool keepsRates = stored != nullptr && stored->type == wanted.type;
    wanted.rates = keepsRates ? stored->rates : typeDefaults(wanted.type);
    for (TContAssignment assignment : assignments) {
        if (assignment.attribute->bit == 0) {
            continue;
        }
        if (assignment.attribute->bit == rpcTContProfileParmsTContType) {
            assignment.value = wanted.type;
        } else if (assignment.asksForDefaultRate()) {
            assignment.value = askDefaults(session, wanted.type, request).*assignment.attribute->rate;
        }
        if (assignment.attribute->isRate()) {
            wanted.rates.*assignment.attribute->rate = assignment.value;
        }
        assignment.attribute->store(wanted.record, assignment.value);
        wanted.mask |= assignment.attribute->bit;
    }
    return wanted;
}

std::string singleStepsHint(const std::string& name, const Wanted& wanted, const TContProfile* stored) {
    const std::string word = clients::argumentForName(name);
    const std::string id = wanted.record.tContId != 0 ? " --id " + std::to_string(wanted.record.tContId) : "";
    const std::string type = stored != nullptr && stored->type != wanted.type ? " --type 5" : "";
    const TContRates from = stored != nullptr && type.empty() ? stored->rates : typeDefaults(wanted.type);
    const char* why =
        needsSingleSteps(wanted.type, wanted.rates)
            ? "an assured rate below 256 kbit/s is only valid on top of the fixed rate, so this "
              "request cannot make it"
            : "the rates are valid together, but one of the steps to them is not";
    return std::string(why) + "; set the rates one after the other: " +
           (stored == nullptr ? "onuqosctl tcont create " + word + " && " : "") + "onuqosctl tcont set " +
           word + id + type + " " + singleSteps(from, wanted.rates);
}

/// What the first value outside its domain should be; empty when all lie inside.
std::string domainFault(const Assignments& assignments) {
    const auto outside =
        std::find_if_not(assignments.begin(), assignments.end(),
                         [](const TContAssignment& candidate) { return candidate.isInDomain(); });
    return outside == assignments.end() ? "" : outside->attribute->domain;
}

std::string createAndSetHint(std::int32_t result, const std::string& name, const Wanted& wanted,
                             const Assignments& assignments, const TContProfile* stored) {
    if (result == rpcTContProfileResRateError) {
        const std::string broken = explainRates(wanted.type, wanted.rates);
        const bool stepRefused = wanted.type == 5 && stored != nullptr && broken.empty();
        return needsSingleSteps(wanted.type, wanted.rates) || stepRefused
                   ? singleStepsHint(name, wanted, stored)
                   : broken;
    }
    const std::string fault = domainFault(assignments);
    if (result == rpcTContProfileResOutOfRange && fault.empty()) {
        const std::string least = explainRates(wanted.type, wanted.rates);
        return explainType(wanted.type) + (least.empty() ? "" : "; " + least) +
               "; onuqosctl ranges shows the largest rate";
    }
    return result == rpcTContProfileResOutOfRange || result == rpcTContProfileResError ? fault : "";
}

void createAndSet(Session& session, const std::string& request, const std::string& name,
                  const Assignments& assignments, const TContProfile* stored) {
    const Wanted wanted = wantedFrom(session, assignments, stored, request);
    const auto result =
        resultOf(session.program.tell(rpc_tcontprofile_create_and_set_1, name, wanted.record, wanted.mask));
    require(Family::tcont, result, request, createAndSetHint(result, name, wanted, assignments, stored));
}

/// Why a setter refused; asks for the profile as it is stored.
std::string setterHint(Session& session, std::int32_t result, const std::string& name,
                       const TContAssignment& assignment) {
    const std::string general = resultHint(Family::tcont, result);
    const bool aboutTheValue = result == rpcTContProfileResError || result == rpcTContProfileResOutOfRange ||
                               result == rpcTContProfileResRateError;
    if (!aboutTheValue) {
        return general;
    }
    if (!assignment.isInDomain()) {
        return assignment.attribute->domain;
    }
    const auto& reply = session.program.ask(rpc_tcontprofile_get_1, name);
    if (result == rpcTContProfileResError || resultOf(reply) != 0) {
        return general;
    }
    const TContProfile stored = tcontFromWire(reply.info, true);
    if (!assignment.attribute->isRate()) {
        return "type " + std::to_string(stored.type) + " does not let it be chosen";
    }
    if (result == rpcTContProfileResOutOfRange) {
        return explainType(stored.type);
    }
    TContRates rates = stored.rates;
    rates.*assignment.attribute->rate = assignment.value;
    const std::string fault = assignment.asksForDefaultRate() ? general : explainRates(stored.type, rates);
    return fault.empty() ? "onuqosctl ranges shows the largest rate"
                         : fault + ", at each step: the other rates are still the stored ones";
}

/// One setter after the other. The first refusal ends it and tells what was carried out before, with `done`
/// in front.
void setEach(Session& session, const std::string& verb, const std::string& name,
             const Assignments& assignments, std::string done = "") {
    for (const TContAssignment& assignment : assignments) {
        const std::string option = assignment.attribute->option;
        const auto result = resultOf(
            session.program.tell(assignment.attribute->set, name, static_cast<int>(assignment.value)));
        if (result != 0) {
            const std::string hint =
                name.empty() ? emptyNameHint(name) : setterHint(session, result, name, assignment);
            require(Family::tcont, result, requestText<TCont>(verb, name) + " " + option,
                    hint + (done.empty() ? "" : "; carried out before:" + done));
        }
        done += " " + option;
    }
}

bool carriedTogether(const TContAssignment& assignment) {
    return assignment.attribute->bit != 0;
}

int create(Session& session, const std::string& name, Assignments assignments, bool orSet) {
    const std::string request = requestText<TCont>("create", name);
    const auto single = std::stable_partition(assignments.begin(), assignments.end(), carriedTogether);
    const Assignments together(assignments.begin(), single);
    if (!orSet) {
        requireAbsent<TCont>(session, request, name, rpcTContProfileResExists);
    }
    if (together.empty() && !orSet) {
        require(Family::tcont, resultOf(session.program.tell(rpc_tcontprofile_create_1, name)), request);
    } else {
        std::optional<TContProfile> stored;
        if (orSet) {
            const auto& reply = session.program.ask(rpc_tcontprofile_get_1, name);
            if (resultOf(reply) == 0) {
                stored = tcontFromWire(reply.info, true);
            }
        }
        createAndSet(session, request, name, together, stored ? &*stored : nullptr);
    }
    setEach(session, "create", name, Assignments(single, assignments.end()), " create");
    return printChanged<TCont>(session, "create", name);
}

int set(Session& session, const std::string& name, const Assignments& assignments, bool together) {
    if (assignments.empty()) {
        throw UsageError("tcont set: nothing to set (see onuqosctl tcont set --help)");
    }
    if (!together) {
        setEach(session, "set", name, assignments);
        return printChanged<TCont>(session, "set", name);
    }
    for (const TContAssignment& assignment : assignments) {
        if (!carriedTogether(assignment)) {
            throw UsageError(std::string(assignment.attribute->option) +
                             " cannot be set together with others: give it in a command without --together");
        }
    }
    const TContProfile stored = fetch<TCont>(session, "set", name);
    createAndSet(session, requestText<TCont>("set", name), name, assignments, &stored);
    return printChanged<TCont>(session, "set", name);
}

int showDefaults(Session& session, const std::string& typeText) {
    TContProfile profile;
    if (typeText.empty()) {
        const auto& reply = session.program.ask(rpc_tcontprofile_default_get_1);
        require(Family::tcont, resultOf(reply), "tcont defaults");
        profile = tcontFromWire(reply.info, true);
    } else {
        const auto type = std::bit_cast<rpcTContProfileType>(clients::parseUnsigned(typeText, "--type"));
        const auto& reply = session.program.ask(rpc_tcontprofile_default_type_get_1, type);
        require(Family::tcont, resultOf(reply), "tcont defaults --type " + typeText);
        profile = tcontFromWire(reply.info, false);
    }
    if (session.json()) {
        Json json = tcontToJson(profile);
        json.erase("name");
        printJson(session.out, json);
    } else {
        profile.name = typeText.empty() ? "(a new profile)" : "(rates of type " + typeText + ")";
        printTCont(session.out, profile);
    }
    return clients::kCarriedOut;
}

constexpr const char* kRules =
    "Types and their rates in kbit/s (default, also the least value unless 0 is the default):\n"
    "  1  fixed (256); the maximum follows\n"
    "  2  assured (256); the maximum follows\n"
    "  3  assured (256) and maximum (512); maximum >= assured + 256\n"
    "  4  maximum (256)\n"
    "  5  fixed (0), assured (0) and maximum (256); fixed + assured is 0 or at least 256, and\n"
    "     maximum >= fixed + assured + 256\n"
    "Rates are rounded up to the step of the port class. default or -1 stands for the type's default.\n"
    "DBA allocation types are numbered as the get and set procedures number them on the wire; a new profile "
    "has 1.\n";

struct Values {
    explicit Values(CLI::App& command) : options(command) {
        for (const TContAttribute& attribute : tcontAttributes()) {
            options.add(attribute.option, attribute.valueName, attribute.help);
        }
    }

    std::string name;
    clients::OrderedOptions options;
    bool flag = false;
};

/// create and set: a NAME, the attributes and one flag.
template <typename Run>
void addValuesCommand(CLI::App& tcont, Action& action, const char* word, const char* help, const char* flag,
                      const char* flagHelp, const std::string& footer, Run run) {
    CLI::App* command = tcont.add_subcommand(word, help);
    auto values = std::make_shared<Values>(*command);
    addName(*command, "NAME", values->name, "The profile");
    command->add_flag(flag, values->flag, flagHelp);
    command->footer(footer + kRules + clients::kRateHelp + "\n" + clients::kNameHelp);
    command->callback([&action, values, run] {
        action = [name = clients::nameFromArgument(values->name),
                  assignments = parseAssignments(values->options.given()), flag = values->flag,
                  run](Session& session) { return run(session, name, assignments, flag); };
    });
}

}  // namespace

void addTContCommands(CLI::App& app, Action& action) {
    CLI::App* tcont = app.add_subcommand("tcont", "T-CONT profiles")->require_subcommand(1);
    addSharedCommands<TCont>(*tcont, action);

    addValuesCommand(
        *tcont, action, "create", "Makes a new profile", "--or-set",
        "If the profile exists, set what is given instead of refusing",
        "Without values the profile gets the defaults (procedure 100). Id, type and rates travel in one "
        "request, which\n"
        "makes the whole profile or none (procedure 115, create-and-set); one that existed keeps the steps "
        "done before\na refusal. It does not carry allocation type,\n"
        "weight and priority, which are set afterwards, one by one (procedures 116 to 118). Whether the "
        "profile exists\n"
        "is asked first (procedure 104), because create-and-set changes an existing one; --or-set wants just "
        "that.\n"
        "A type 5 profile with an assured rate above 0 and below 256 kbit/s cannot be made in one request; "
        "the refusal\n"
        "tells the steps that work: create it, then set --maximum, --fixed and --assured in this order.\n\n",
        [](Session& session, const std::string& name, const Assignments& assignments, bool orSet) {
            return create(session, name, assignments, orSet);
        });
    addValuesCommand(*tcont, action, "set", "Changes a profile", "--together",
                     "Id, type and rates in one request: the module checks them all before it changes "
                     "anything (procedure 115)",
                     "Values are set one by one in the order given, each by its own procedure; an option may "
                     "stand several times.\n"
                     "The first refusal ends it, what was set before stays. With --together one "
                     "create-and-set request carries all\n"
                     "values (procedure 115; 104 asks first whether there is such a profile).\n\n",
                     [](Session& session, const std::string& name, const Assignments& assignments,
                        bool together) { return set(session, name, assignments, together); });

    CLI::App* defaults = tcont->add_subcommand(
        "defaults", "Shows what a new profile holds (procedure 106) or the rates of a type (114)");
    auto type = std::make_shared<std::string>();
    defaults->add_option("--type", *type, "The type whose default rates are wanted")->type_name("N");
    defaults->footer(
        "With --type only the rates follow the type: the module answers type 5 for each, and no DBA values.");
    defaults->callback(
        [&action, type] { action = [type](Session& session) { return showDefaults(session, *type); }; });
}

}  // namespace onuqosctl
