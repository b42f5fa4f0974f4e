#include <memory>
#include <ostream>

#include "flowAttributes.h"
#include "flowProfile.h"
#include "number.h"
#include "orderedOptions.h"
#include "profileCommands.h"

namespace onuqosctl {
namespace {

using clients::UsageError;
using Assignments = std::vector<FlowAssignment>;

struct Flow {
    using Profile = FlowProfile;
    static constexpr Family kFamily = Family::flow;
    static constexpr const char* kWord = "flow";
    static constexpr const char* kKind = "ONU flow profile";
    static constexpr const char* kListHelp = "";
    static constexpr const char* kCopyHelp =
        "The copy gets rule and action of the existing profile. The hardware layer is told the action only: "
        "it keeps an\n"
        "empty rule for the copy until the rule of the copy is next set (flow set, flow vlan, flow pcp).";

    static constexpr auto get = rpc_onuflowprofile_get_1;
    static constexpr auto first = rpc_onuflowprofile_first_get_1;
    static constexpr auto next = rpc_onuflowprofile_next_get_1;
    static constexpr auto attached = rpc_onuflowprofile_attached_get_1;
    static constexpr auto remove = rpc_onuflowprofile_delete_1;
    static constexpr auto rename = rpc_onuflowprofile_rename_1;
    static constexpr auto copy = rpc_onuflowprofile_copy_1;
    static constexpr int getNumber = rpc_onuflowprofile_get;
    static constexpr int firstNumber = rpc_onuflowprofile_first_get;
    static constexpr int nextNumber = rpc_onuflowprofile_next_get;
    static constexpr int attachedNumber = rpc_onuflowprofile_attached_get;
    static constexpr int removeNumber = rpc_onuflowprofile_delete;
    static constexpr int renameNumber = rpc_onuflowprofile_rename;
    static constexpr int copyNumber = rpc_onuflowprofile_copy;

    static Profile fromWire(const rpcOnuFlowProfileInfo& record) { return flowFromWire(record); }
    static Json toJson(const Profile& profile) { return flowToJson(profile); }
    static void printOne(std::ostream& out, const Profile& profile) { printFlow(out, profile); }
    static void printList(std::ostream& out, const std::vector<Profile>& profiles) {
        printFlows(out, profiles);
    }
    static void complete(Program& /*program*/, std::vector<Profile>& /*profiles*/) {}
};

constexpr const char* kVlanHint = "VLAN ids 1 to 4094 can be matched";

/// The smallest and the largest VLAN id are reserved; the module refuses them without saying why.
bool holdsReservedVlan(const clients::VlanList& vlans) {
    return !vlans.empty() && (vlans.front() == 0 || vlans.back() == clients::kVlanMax);
}

std::int32_t setVlans(Session& session, const std::string& name, const clients::VlanList& vlans,
                      rpcOnuFlowProfileOperation operation) {
    rpcOnuFlowProfileRule rule{};
    rule.cPcp = -1;
    clients::vlansToBitmap(vlans, rule.cVlan);
    rule.ruleType = rpcOnuFlowProfileRuleTypeCVlan;
    rule.operation = operation;
    return resultOf(session.program.tell(rpc_onuflowprofile_rule_set_1, name, rule));
}

std::int32_t setPcp(Session& session, const std::string& name, const FlowAssignment& assignment) {
    rpcOnuFlowProfileRule rule{};
    rule.cPcp = assignment.toDefault ? -1 : static_cast<int>(assignment.value);
    rule.ruleType = rpcOnuFlowProfileRuleTypeCPcp;
    rule.operation = assignment.toDefault ? rpcOnuFlowProfileOperationDelete : rpcOnuFlowProfileOperationSet;
    return resultOf(session.program.tell(rpc_onuflowprofile_rule_set_1, name, rule));
}

std::int32_t setAction(Session& session, const std::string& name, const FlowAssignment& assignment) {
    rpcOnuFlowProfileAction record{};
    record.*assignment.attribute->field = assignment.value;
    record.actionType = assignment.attribute->actionType;
    record.operation =
        assignment.toDefault ? rpcOnuFlowProfileOperationDelete : rpcOnuFlowProfileOperationSet;
    return resultOf(session.program.tell(rpc_onuflowprofile_action_set_1, name, record));
}

std::int32_t setOne(Session& session, const std::string& name, const FlowAssignment& assignment) {
    switch (assignment.attribute->kind) {
        case FlowAttribute::Kind::vlans:
            return setVlans(session, name, assignment.vlans, rpcOnuFlowProfileOperationSet);
        case FlowAttribute::Kind::pcp:
            return setPcp(session, name, assignment);
        default:
            return setAction(session, name, assignment);
    }
}

/// One procedure after the other. The first refusal ends it and tells what was carried out before.
void setEach(Session& session, const std::string& name, const Assignments& assignments) {
    std::string done;
    for (const FlowAssignment& assignment : assignments) {
        const std::int32_t result = setOne(session, name, assignment);
        if (result != 0) {
            const bool reserved = result == rpcOnuFlowProfileResError && holdsReservedVlan(assignment.vlans);
            std::string hint = reserved ? kVlanHint : resultHint(Family::flow, result);
            require(Family::flow, result, requestText<Flow>("set", name) + " " + assignment.attribute->option,
                    name.empty() ? emptyNameHint(name)
                                 : hint + (done.empty() ? "" : "; carried out before:" + done));
        }
        done += std::string(" ") + assignment.attribute->option;
    }
}

rpcOnuFlowProfileAction askDefaults(Session& session, const std::string& request) {
    const auto& reply = session.program.ask(rpc_onuflowprofile_action_default_get_1);
    require(Family::flow, resultOf(reply), request);
    return reply.action;
}

void createAndSet(Session& session, const std::string& request, const std::string& name,
                  const Assignments& assignments) {
    rpcOnuFlowProfileInfo record{};
    rpcOnuFlowProfileParmsMask mask = 0;
    bool reservedVlan = false;
    for (const FlowAssignment& assignment : assignments) {
        const FlowAttribute& attribute = *assignment.attribute;
        mask |= attribute.bit;
        if (attribute.kind == FlowAttribute::Kind::vlans) {
            clients::vlansToBitmap(assignment.vlans, record.rule.cVlan);
            reservedVlan = holdsReservedVlan(assignment.vlans);
        } else if (attribute.kind == FlowAttribute::Kind::pcp) {
            record.rule.cPcp = assignment.toDefault ? -1 : static_cast<int>(assignment.value);
        } else {
            record.action.*attribute.field =
                assignment.toDefault ? askDefaults(session, request).*attribute.field : assignment.value;
        }
    }
    const auto result =
        resultOf(session.program.tell(rpc_onuflowprofile_create_and_set_1, name, record, mask));
    std::string hint;
    if (result == rpcOnuFlowProfileResOutOfRange && reservedVlan) {
        hint = kVlanHint;
    } else if (result == rpcOnuFlowProfileResGuarAbovePeak) {
        hint = "the peak rate must be at least the guaranteed rate; what is not given counts as it is stored";
    }
    require(Family::flow, result, request, hint);
}

int create(Session& session, const std::string& name, const Assignments& assignments, bool orSet) {
    const std::string request = requestText<Flow>("create", name);
    if (!orSet) {
        requireAbsent<Flow>(session, request, name, rpcOnuFlowProfileResExists);
    }
    if (assignments.empty() && !orSet) {
        require(Family::flow, resultOf(session.program.tell(rpc_onuflowprofile_create_1, name)), request);
    } else {
        createAndSet(session, request, name, assignments);
    }
    return printChanged<Flow>(session, "create", name);
}

int set(Session& session, const std::string& name, const Assignments& assignments, bool together) {
    if (assignments.empty()) {
        throw UsageError("flow set: nothing to set (see onuqosctl flow set --help)");
    }
    if (together) {
        fetch<Flow>(session, "set", name);
        createAndSet(session, requestText<Flow>("set", name), name, assignments);
    } else {
        setEach(session, name, assignments);
    }
    return printChanged<Flow>(session, "set", name);
}

struct Values {
    explicit Values(CLI::App& command) : options(command) {
        for (const FlowAttribute& attribute : flowAttributes()) {
            options.add(attribute.option, attribute.valueName, attribute.help);
        }
    }

    std::string name;
    clients::OrderedOptions options;
    bool flag = false;
};

/// create and set: a NAME, the attributes and one flag.
template <typename Run>
void addValuesCommand(CLI::App& flow, Action& action, const char* word, const char* help, const char* flag,
                      const char* flagHelp, const std::string& footer, Run run) {
    CLI::App* command = flow.add_subcommand(word, help);
    auto values = std::make_shared<Values>(*command);
    addName(*command, "NAME", values->name, "The profile");
    command->add_flag(flag, values->flag, flagHelp);
    command->footer(footer +
                    "Rates lie between 128 kbit/s and the maximum that onuqosctl ranges shows, guaranteed "
                    "not above peak.\n" +
                    clients::kRateHelp + "\n" + clients::kNameHelp);
    command->callback([&action, values, run] {
        action = [name = clients::nameFromArgument(values->name),
                  assignments = parseFlowAssignments(values->options.given()), flag = values->flag,
                  run](Session& session) { return run(session, name, assignments, flag); };
    });
}

struct VlanVerb {
    const char* word;
    const char* help;
    rpcOnuFlowProfileOperation operation;
    bool takesList;
};

constexpr VlanVerb kVlanVerbs[] = {
    {"add", "Adds VLANs to those matched (procedure 6, operation add)", rpcOnuFlowProfileOperationAdd, true},
    {"remove", "Takes VLANs out of those matched (procedure 6, operation delete)",
     rpcOnuFlowProfileOperationDelete, true},
    {"set", "Matches exactly these VLANs (procedure 6, operation set)", rpcOnuFlowProfileOperationSet, true},
    {"clear", "Matches no VLANs (procedure 6, operation set with an empty list)",
     rpcOnuFlowProfileOperationSet, false},
};

void addVlanCommands(CLI::App& flow, Action& action) {
    CLI::App* vlan = flow.add_subcommand("vlan", "The customer VLANs a profile matches");
    vlan->require_subcommand(1);
    for (const VlanVerb& verb : kVlanVerbs) {
        CLI::App* command = vlan->add_subcommand(verb.word, verb.help);
        auto arguments = std::make_shared<std::pair<std::string, std::string>>();
        addName(*command, "NAME", arguments->first, "The profile");
        if (verb.takesList) {
            command->add_option("LIST", arguments->second, "VLAN ids and ranges, for instance 10,100-199")
                ->required()
                ->type_name("");
        }
        command->callback([&action, &verb, arguments] {
            action = [&verb, name = clients::nameFromArgument(arguments->first),
                      vlans = clients::parseVlans(arguments->second)](Session& session) {
                const std::int32_t result = setVlans(session, name, vlans, verb.operation);
                const bool reserved = result == rpcOnuFlowProfileResError && holdsReservedVlan(vlans);
                require(Family::flow, result, requestText<Flow>(std::string("vlan ") + verb.word, name),
                        reserved ? kVlanHint : emptyNameHint(name));
                return printChanged<Flow>(session, "vlan", name);
            };
        });
    }
}

void addPcpCommands(CLI::App& flow, Action& action) {
    CLI::App* pcp = flow.add_subcommand("pcp", "The customer priority code point a profile matches");
    pcp->require_subcommand(1);

    CLI::App* setting = pcp->add_subcommand("set", "Matches this PCP (procedure 6, operation set)");
    auto arguments = std::make_shared<std::pair<std::string, std::string>>();
    addName(*setting, "NAME", arguments->first, "The profile");
    setting->add_option("PCP", arguments->second, "0 to 7")->required()->type_name("");
    setting->callback([&action, arguments] {
        action = [name = clients::nameFromArgument(arguments->first),
                  value = clients::parseUnsigned(arguments->second, "PCP")](Session& session) {
            const std::int32_t result = setPcp(session, name, {nullptr, false, value, {}});
            require(Family::flow, result, requestText<Flow>("pcp set", name), emptyNameHint(name));
            return printChanged<Flow>(session, "pcp", name);
        };
    });

    addNameCommand(*pcp, action, "clear", "Matches no PCP (procedure 6, operation delete)",
                   [](Session& session, const std::string& name) {
                       const std::int32_t result = setPcp(session, name, {nullptr, true, 0, {}});
                       require(Family::flow, result, requestText<Flow>("pcp clear", name),
                               emptyNameHint(name));
                       return printChanged<Flow>(session, "pcp", name);
                   });
}

void addResetCommand(CLI::App& flow, Action& action) {
    CLI::App* command = flow.add_subcommand("reset",
                                            "Returns one field of the action to its default (procedure 7, "
                                            "operation delete)");
    auto arguments = std::make_shared<std::pair<std::string, std::string>>();
    addName(*command, "NAME", arguments->first, "The profile");
    command->add_option("FIELD", arguments->second, "guaranteed, peak, priority-up or priority-down")
        ->required()
        ->type_name("");
    command->callback([&action, arguments] {
        const FlowAttribute* attribute = actionAttribute(arguments->second);
        if (attribute == nullptr) {
            throw UsageError(clients::inQuotes(arguments->second) +
                             " is no field of the action: guaranteed, peak, priority-up or priority-down");
        }
        action = [attribute, name = clients::nameFromArgument(arguments->first)](Session& session) {
            const std::int32_t result = setAction(session, name, {attribute, true, 0, {}});
            require(Family::flow, result, requestText<Flow>("reset", name) + " " + attribute->option,
                    emptyNameHint(name));
            return printChanged<Flow>(session, "reset", name);
        };
    });
}

}  // namespace

void addFlowCommands(CLI::App& app, Action& action) {
    CLI::App* flow = app.add_subcommand("flow", "ONU flow profiles")->require_subcommand(1);
    addSharedCommands<Flow>(*flow, action);

    addValuesCommand(*flow, action, "create", "Makes a new profile", "--or-set",
                     "If the profile exists, set what is given instead of refusing",
                     "Without values the profile gets the defaults (procedure 1). Values travel in one "
                     "request, which either makes\n"
                     "the whole profile or none (procedure 12, create-and-set). Whether the profile exists "
                     "is asked first (procedure\n"
                     "5), because create-and-set changes an existing one; --or-set wants just that.\n\n",
                     [](Session& session, const std::string& name, const Assignments& assignments,
                        bool orSet) { return create(session, name, assignments, orSet); });
    addValuesCommand(*flow, action, "set", "Changes a profile", "--together",
                     "One request: the module checks all values before it changes anything (procedure 12)",
                     "Values are set one by one in the order given: --vlan and --pcp by procedure 6, the "
                     "others by procedure 7, with\n"
                     "operation set, or delete for none and default. The first refusal ends it, what was set "
                     "before stays. With\n"
                     "--together one create-and-set request carries all values (procedure 12; 5 asks first "
                     "whether there is such a\n"
                     "profile).\n\n",
                     [](Session& session, const std::string& name, const Assignments& assignments,
                        bool together) { return set(session, name, assignments, together); });
    addVlanCommands(*flow, action);
    addPcpCommands(*flow, action);
    addResetCommand(*flow, action);

    CLI::App* defaults = flow->add_subcommand("defaults", "Shows the action of a new profile (procedure 9)");
    defaults->callback([&action] {
        action = [](Session& session) {
            const rpcOnuFlowProfileAction record = askDefaults(session, "flow defaults");
            if (session.json()) {
                printJson(session.out, actionToJson(record));
            } else {
                printAction(session.out, record);
            }
            return clients::kCarriedOut;
        };
    });
}

}  // namespace onuqosctl
