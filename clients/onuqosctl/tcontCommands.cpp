#include <bit>

#include "clients/onuqosctl/profileCommands.h"
#include "clients/onuqosctl/tcontAttributes.h"
#include "clients/onuqosctl/tcontExplain.h"
#include "clients/onuqosctl/tcontOutcome.h"
#include "clients/onuqosctl/tcontProfile.h"

namespace onuqosctl {
namespace {

using common::Command;
using common::Given;
using Values = std::vector<TContAssignment>;

/// The default rates of a type, from the module.
TContRates askDefaults(Session& session, std::uint32_t type, const std::string& request) {
    const auto& reply =
        session.program.ask(rpc_tcontprofile_default_type_get_1, std::bit_cast<rpcTContProfileType>(type));
    session.require(Family::tcont, resultOf(reply), request);
    return {reply.info.fixedRate, reply.info.assuredRate, reply.info.maximumRate};
}

/// The values of one create-and-set request, defaults as the module tells them.
Values askedFor(Session& session, const Values& assignments, const TContProfile* stored,
                const std::string& request) {
    const std::uint32_t type = demandedType(assignments, stored);
    Values values;
    for (TContAssignment assignment : assignments) {
        if (assignment.attribute->bit == rpcTContProfileParmsTContType) {
            assignment.value = type;
        } else if (assignment.asksForDefaultRate()) {
            assignment.value = askDefaults(session, type, request).*assignment.attribute->rate;
        }
        values.push_back(assignment);
    }
    return values;
}

/// The profile as it is stored; nothing where there is none.
std::optional<TContProfile> askProfile(Session& session, const std::string& name) {
    const auto& reply = session.program.ask(rpc_tcontprofile_get_1, name);
    return resultOf(reply) == 0 ? std::optional(tcontFromWire(reply.info, true)) : std::nullopt;
}

bool isAboutTheValue(std::int32_t result) {
    return result == rpcTContProfileResError || result == rpcTContProfileResOutOfRange ||
           result == rpcTContProfileResRateError;
}

/// Why a setter refused; asks for the profile as it is stored.
Explanation whySetterRefused(Session& session, std::int32_t result, const std::string& name,
                             const TContAssignment& assignment) {
    if (!isAboutTheValue(result)) {
        return {};
    }
    if (!assignment.isInDomain()) {
        return explainDomain(name, assignment);
    }
    const auto now = askProfile(session, name);
    return now ? explainSetter(result, name, assignment, *now, askPortClass(session, "tcont set"))
               : tablesChanged(false, assignment.value);
}

struct TCont {
    using Profile = TContProfile;
    using Assignment = TContAssignment;
    static constexpr Family kFamily = Family::tcont;
    static constexpr std::int32_t kExists = rpcTContProfileResExists;
    static constexpr std::int32_t kApplied = rpcTContProfileResApplied;
    static constexpr const char* kLost =
        "when they are removed their bandwidth stays accounted on the port, and a restart does not bring "
        "them back";
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
        R"(Values are set one by one in the order given, each by its own procedure; an option may be given several
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
    static constexpr auto explain = whySetterRefused;

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

    /// The last value given for each rate, where the profile now holds it rounded up.
    static std::vector<Rounding> roundings(Session& session, const Values& assignments,
                                           const Profile& profile) {
        std::vector<Rounding> rounded;
        for (const rules::TContRateKind& kind : rules::kTContRateKinds) {
            const auto given =
                std::find_if(assignments.rbegin(), assignments.rend(),
                             [&](const Assignment& each) { return each.attribute->rate == kind.value; });
            if (given == assignments.rend() || given->asksForDefaultRate() ||
                given->value == profile.rates.*kind.value) {
                continue;
            }
            const ClassLimits limits = askPortClass(session, requestText<TCont>("set", profile.name));
            const std::uint32_t stored = rules::tContRateRounded(limits, kind.type, given->value);
            if (stored == profile.rates.*kind.value) {
                rounded.push_back({wordOf(kind).name, given->value, stored,
                                   rules::tContRateStep(limits, kind.type, given->value)});
            }
        }
        return rounded;
    }

    static std::string createNote(const Values& assignments) {
        const bool givesId = std::ranges::any_of(assignments, [](const Assignment& assignment) {
            return assignment.attribute->bit == rpcTContProfileParmsTContId;
        });
        return givesId ? ""
                       : "without --id the T-CONT id is " + std::to_string(kTContIdDefault) +
                             ": a second service on the same ONU needs this profile too, or one with another "
                             "id (2 to " +
                             std::to_string(kTContIdMax) + ")";
    }

    static void createAndSet(Session& session, const std::string& verb, const std::string& name,
                             const Values& assignments, const Values& afterwards, const Profile* before) {
        const std::string request = requestText<TCont>(verb.substr(0, verb.find(' ')), name);
        const TContDemand demand{name, verb, askedFor(session, assignments, before, request), afterwards};
        rpcTContProfileInfo record{};
        rpcTContProfileParmsMask mask = 0;
        for (const TContAssignment& assignment : demand.together) {
            assignment.attribute->store(record, assignment.value);
            mask |= assignment.attribute->bit;
        }
        const auto result =
            resultOf(session.program.tell(rpc_tcontprofile_create_and_set_1, name, record, mask));
        Explanation why;
        if (isAboutTheValue(result)) {
            const auto now = askProfile(session, name);
            why =
                explainRequest(result, demand, before, now ? &*now : nullptr, askPortClass(session, request));
        }
        session.requireOr(kFamily, result, request, withNameHint<TCont>(std::move(why), result, name));
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
