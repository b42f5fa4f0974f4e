#include <bit>

#include "clients/onuqosctl/profileCommands.h"
#include "clients/onuqosctl/tcontAttributes.h"
#include "clients/onuqosctl/tcontProfile.h"
#include "clients/onuqosctl/tcontRules.h"

namespace onuqosctl {
namespace {

using common::Command;
using common::Given;
using Values = std::vector<TContAssignment>;

constexpr std::uint32_t kDefaultType = 5;

/// The default rates of a type, from the module.
TContRates askDefaults(Session& session, std::uint32_t type, const std::string& request) {
    const auto& reply =
        session.program.ask(rpc_tcontprofile_default_type_get_1, std::bit_cast<rpcTContProfileType>(type));
    session.require(Family::tcont, resultOf(reply), request);
    return {reply.info.fixedRate, reply.info.assuredRate, reply.info.maximumRate};
}

/// One create-and-set request, and what is needed to explain its refusal.
struct Wanted {
    rpcTContProfileInfo record{};
    rpcTContProfileParmsMask mask = 0;
    std::uint32_t type = kDefaultType;
    TContRates rates{};
};

Wanted wantedFrom(Session& session, const Values& assignments, const TContProfile* stored,
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

/// What the first value outside its domain should be; empty when all lie inside.
std::string domainFault(const Values& assignments) {
    const auto outside =
        std::find_if_not(assignments.begin(), assignments.end(),
                         [](const TContAssignment& candidate) { return candidate.isInDomain(); });
    return outside == assignments.end() ? "" : outside->attribute->domain;
}

/// The commands that lead to rates which the module keeps refusing in one request: it writes them one by one,
/// in an order of its own, and each step has to keep the rules. What came before the refusal stays, so the
/// profile is looked at anew; one that the request made is gone again unless a service profile names it.
std::string singleStepsHint(Session& session, const std::string& name, const Wanted& wanted,
                            const TContRates& rates, const Values& afterwards) {
    const std::string word = common::argumentForName(name);
    const auto& reply = session.program.ask(rpc_tcontprofile_get_1, name);
    TContRates from = typeDefaults(wanted.type);
    std::string commands = "onuqosctl tcont set " + word;
    if (resultOf(reply) != 0) {
        commands = "onuqosctl tcont create " + word + " && " + commands;
    } else if (const TContProfile now = tcontFromWire(reply.info, true); now.type == wanted.type) {
        from = now.rates;
    } else {
        commands += " --type " + std::to_string(wanted.type);
    }
    if ((wanted.mask & rpcTContProfileParmsTContId) != 0) {
        commands += " --id " + std::to_string(wanted.record.tContId);
    }
    commands += " " + singleSteps(from, rates);
    for (const TContAssignment& assignment : afterwards) {
        commands += std::string(" ") + assignment.attribute->option + " " + std::to_string(assignment.value);
    }
    return "the rates are valid together, but the module sets one after the other, and not all of its steps "
           "are; these are: " +
           commands;
}

std::string createAndSetHint(Session& session, std::int32_t result, const std::string& request,
                             const std::string& name, const Wanted& wanted, const Values& assignments,
                             const Values& afterwards) {
    if (result == rpcTContProfileResError || result == rpcTContProfileResOutOfRange) {
        const std::string fault = domainFault(assignments);
        if (!fault.empty()) {
            return fault;
        }
    }
    if (result != rpcTContProfileResOutOfRange && result != rpcTContProfileResRateError) {
        return "";
    }
    const rules::ClassLimits portClass = askPortClass(session, request);
    if (result == rpcTContProfileResOutOfRange) {
        const std::string bound = explainBounds(wanted.type, wanted.rates, portClass);
        return explainType(wanted.type) + (bound.empty() ? "" : "; " + bound);
    }
    const std::string broken = explainRates(wanted.type, wanted.rates, portClass);
    return broken.empty() && wanted.type == 5
               ? singleStepsHint(session, name, wanted, roundedUp(wanted.rates, portClass), afterwards)
               : broken;
}

/// Why a setter refused; asks for the profile as it is stored.
std::string whySetterRefused(Session& session, std::int32_t result, const std::string& name,
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
    rates.*assignment.attribute->rate = assignment.asksForDefaultRate()
                                            ? typeDefaults(stored.type).*assignment.attribute->rate
                                            : assignment.value;
    const rules::ClassLimits portClass = askPortClass(session, "tcont set");
    const std::string bound = explainBounds(stored.type, rates, portClass);
    if (!bound.empty()) {
        return bound;
    }
    const std::string broken = explainRates(stored.type, rates, portClass);
    return broken.empty() ? general : broken + ", at each step: the other rates are still the stored ones";
}

struct TCont {
    using Profile = TContProfile;
    using Assignment = TContAssignment;
    static constexpr Family kFamily = Family::tcont;
    static constexpr std::int32_t kExists = rpcTContProfileResExists;
    static constexpr const char* kWord = "tcont";
    static constexpr const char* kKind = "T-CONT profile";
    static constexpr const char* kListHelp = ", 104";
    static constexpr const char* kCopyHelp =
        R"(The copy gets id, type and rates. The DBA allocation type, weight and priority are not carried: the copy has
those of a new profile (1, 1, 0).)";
    static constexpr const char* kCreateHelp =
        R"(Without values the profile gets the defaults (procedure 100). Id, type and rates travel in one request, which makes
the whole profile or none (procedure 115, create-and-set); one that existed, or that a service profile names,
keeps the steps done before a refusal. It does not carry allocation type, weight and priority, which are set
afterwards, one by one (procedures 116 to 118). Whether the profile exists is asked first (procedure 104),
because create-and-set changes an existing one; --or-set wants just that.
A type 5 profile with an assured rate above 0 and below 256 kbit/s cannot be made in one request; the refusal
tells the steps that work.
)";
    static constexpr const char* kTogetherHelp =
        "Id, type and rates in one request: the module checks them all before it changes anything "
        "(procedure 115)";
    static constexpr const char* kSetHelp =
        R"(Values are set one by one in the order given, each by its own procedure; an option may stand several
times. The first refusal ends it, what was set before stays. With --together one create-and-set request
carries all values (procedure 115; 104 asks first whether there is such a profile).
)";
    static constexpr const char* kRules =
        R"(Types and their rates in kbit/s (default, also the least value unless 0 is the default):
  1  fixed (256); the maximum follows
  2  assured (256); the maximum follows
  3  assured (256) and maximum (512); maximum >= assured + 256
  4  maximum (256)
  5  fixed (0), assured (0) and maximum (256); fixed + assured is 0 or at least 256, and
     maximum >= fixed + assured + 256
Rates are rounded up: to 64 kbit/s on a GPON OLT, on a 10G one to 128, fixed rates above 25600 to 1024. The rules
between rates hold for the rounded ones. default or -1 stands for the type's default.
DBA allocation types are numbered as the get and set procedures number them on the wire; a new profile has 1.
)";

    static constexpr auto get = rpc_tcontprofile_get_1;
    static constexpr auto first = rpc_tcontprofile_first_get_1;
    static constexpr auto next = rpc_tcontprofile_next_get_1;
    static constexpr auto attached = rpc_tcontprofile_attached_get_1;
    static constexpr auto create = rpc_tcontprofile_create_1;
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

    static constexpr auto attributes = tcontAttributes;
    static constexpr auto parse = parseTContAssignments;
    static constexpr auto setterHint = whySetterRefused;

    static Profile fromWire(const rpcTContProfileInfo& record) { return tcontFromWire(record, true); }
    static bool carriedTogether(const Assignment& assignment) { return assignment.attribute->bit != 0; }

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

    static std::int32_t setOne(Session& session, const std::string& name, const Assignment& assignment) {
        return resultOf(
            session.program.tell(assignment.attribute->set, name, static_cast<int>(assignment.value)));
    }

    static void createAndSet(Session& session, const std::string& request, const std::string& name,
                             const Values& assignments, const Values& afterwards, const Profile* stored) {
        const Wanted wanted = wantedFrom(session, assignments, stored, request);
        const auto result = resultOf(
            session.program.tell(rpc_tcontprofile_create_and_set_1, name, wanted.record, wanted.mask));
        session.require(kFamily, result, request,
                        createAndSetHint(session, result, request, name, wanted, assignments, afterwards));
    }
};

int showDefaults(Session& session, const Given& givenType) {
    if (!givenType.present()) {
        const auto& reply = session.program.ask(rpc_tcontprofile_default_get_1);
        session.require(Family::tcont, resultOf(reply), "tcont defaults");
        printDefaults(session, tcontFromWire(reply.info, true), "(a new profile)");
    } else {
        const std::string type = givenType.text();
        const auto number = std::bit_cast<rpcTContProfileType>(common::parseUnsigned(type, "--type"));
        const auto& reply = session.program.ask(rpc_tcontprofile_default_type_get_1, number);
        session.require(Family::tcont, resultOf(reply), "tcont defaults --type " + type);
        printDefaults(session, tcontFromWire(reply.info, false), "(rates of type " + type + ")");
    }
    return common::kCarriedOut;
}

}  // namespace

void addTContCommands(const Command& app, Action& action) {
    const Command tcont = app.addGroup("tcont", "T-CONT profiles");
    addSharedCommands<TCont>(tcont, action);

    const Command defaults =
        tcont.add("defaults", "Shows what a new profile holds (procedure 106) or the rates of a type (114)");
    const Given type = defaults.option("--type", "N", "The type whose default rates are wanted");
    defaults.footer(
        "With --type only the rates follow the type: the module answers type 5 for each, and no DBA values.");
    does(defaults, action, [type](Session& session) { return showDefaults(session, type); });
}

}  // namespace onuqosctl
