#include "clients/onuqosctl/flowAttributes.h"
#include "clients/onuqosctl/flowExplain.h"
#include "clients/onuqosctl/flowProfile.h"
#include "clients/onuqosctl/profileCommands.h"
#include "onuqos/rules/flowRules.h"
#include "onuqos/rules/vlanBitmap.h"

namespace onuqosctl {
namespace {

using common::Command;
using common::Given;

std::int32_t setVlans(Session& session, const std::string& name, const common::VlanList& vlans,
                      rpcOnuFlowProfileOperation operation) {
    rpcOnuFlowProfileRule rule{};
    rule.cPcp = -1;
    rules::vlansToBitmap(vlans, rule.cVlan);
    rule.ruleType = rpcOnuFlowProfileRuleTypeCVlan;
    rule.operation = operation;
    return resultOf(session.program.tell(rpc_onuflowprofile_rule_set_1, name, rule));
}

int pcpOf(const FlowAssignment& assignment) {
    return assignment.toDefault ? -1 : static_cast<int>(assignment.value);
}

std::int32_t setPcp(Session& session, const std::string& name, const FlowAssignment& assignment) {
    rpcOnuFlowProfileRule rule{};
    rule.cPcp = pcpOf(assignment);
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

rpcOnuFlowProfileAction askDefaults(Session& session, const std::string& request) {
    const auto& reply = session.program.ask(rpc_onuflowprofile_action_default_get_1);
    session.require(Family::flow, resultOf(reply), request);
    return reply.action;
}

struct Flow {
    using Profile = FlowProfile;
    using Assignment = FlowAssignment;
    static constexpr Family kFamily = Family::flow;
    static constexpr std::int32_t kExists = rpcOnuFlowProfileResExists;
    static constexpr std::int32_t kApplied = rpcOnuFlowProfileResApplied;
    static constexpr const char* kLost = "a restart does not bring them back";
    static constexpr const char* kWord = "flow";
    static constexpr const char* kKind = "ONU flow profile";
    static constexpr const char* kListHelp = "";
    static constexpr const char* kCopyHelp =
        R"(The copy gets rule and action of the existing profile. The hardware layer is told the action only: it keeps an
empty rule for the copy until the rule of the copy is next set (flow set, flow vlan, flow pcp).)";
    static constexpr const char* kCreateHelp =
        R"(Without values the profile gets the defaults (procedure 1). Values travel in one request, which makes the whole
profile or none (procedure 12, create-and-set); one that existed, or that a service profile names, keeps the
steps done before a refusal. Whether the profile exists is asked first (procedure 5), because create-and-set
changes an existing one; --or-set wants just that.
)";
    static constexpr const char* kTogetherHelp =
        "One request: the module checks all values before it changes anything (procedure 12)";
    static constexpr const char* kSetHelp =
        R"(Values are set one by one in the order given: --vlan and --pcp by procedure 6, the others by procedure 7, with
operation set, or delete for none and default. The first refusal ends it, what was set before stays. With
--together one create-and-set request carries all values (procedure 12; 5 asks first whether there is such a
profile).
)";
    static constexpr const char* kRules =
        R"(Rates lie between 128 kbit/s and the maximum that onuqosctl ranges shows, guaranteed not above peak, and are
rounded up to 64 kbit/s. Values set one by one are rounded before they are looked at: set --guaranteed 100
gives 128, where create and set --together refuse 100.
)";

    static constexpr auto get = rpc_onuflowprofile_get_1;
    static constexpr auto first = rpc_onuflowprofile_first_get_1;
    static constexpr auto next = rpc_onuflowprofile_next_get_1;
    static constexpr auto attached = rpc_onuflowprofile_attached_get_1;
    static constexpr auto create = rpc_onuflowprofile_create_1;
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

    static constexpr auto attributes = flowAttributes;
    static constexpr auto parse = parseFlowAssignments;

    static Profile fromWire(const rpcOnuFlowProfileInfo& record) { return flowFromWire(record); }
    static void complete(Program& /*program*/, std::vector<Profile>& /*profiles*/) {}
    static bool carriedTogether(const Assignment& /*assignment*/) { return true; }

    static std::int32_t setOne(Session& session, const std::string& name, const Assignment& assignment) {
        switch (assignment.attribute->kind) {
            case FlowAttribute::Kind::vlans:
                return setVlans(session, name, assignment.vlans, rpcOnuFlowProfileOperationSet);
            case FlowAttribute::Kind::pcp:
                return setPcp(session, name, assignment);
            default:
                return setAction(session, name, assignment);
        }
    }

    /// Asks for the profile as it is stored.
    static Explanation explain(Session& session, std::int32_t result, const std::string& name,
                               const Assignment& assignment) {
        const bool aboutTheValue = result == rpcOnuFlowProfileResError ||
                                   result == rpcOnuFlowProfileResOutOfRange ||
                                   result == rpcOnuFlowProfileResGuarAbovePeak;
        if (!aboutTheValue || assignment.attribute->isRule()) {
            return aboutTheValue ? explainFlowSetter(result, name, assignment, {}, {}) : Explanation{};
        }
        const auto& reply = session.program.ask(get, name);
        return resultOf(reply) == 0 ? explainFlowSetter(result, name, assignment, reply.info.action,
                                                        askPortClass(session, requestText<Flow>("set", name)))
                                    : tablesChanged(false, assignment.value);
    }

    static std::vector<Rounding> roundings(Session& /*session*/, const Assignments<Flow>& assignments,
                                           const Profile& profile) {
        std::vector<Rounding> rounded;
        for (const FlowAttribute& attribute : flowAttributes()) {
            const auto given =
                std::find_if(assignments.rbegin(), assignments.rend(),
                             [&](const Assignment& each) { return each.attribute == &attribute; });
            if (attribute.kind != FlowAttribute::Kind::rateOrDefault || given == assignments.rend() ||
                given->toDefault) {
                continue;
            }
            const std::uint32_t stored = rules::flowRateRounded(given->value);
            if (stored != given->value && stored == profile.action.*attribute.field) {
                rounded.push_back({attribute.option + 2, given->value, stored, rules::kFlowRateStep});
            }
        }
        return rounded;
    }

    static std::string createNote(const Assignments<Flow>& /*assignments*/) { return ""; }

    static void createAndSet(Session& session, const std::string& verb, const std::string& name,
                             const Assignments<Flow>& assignments, const Assignments<Flow>& /*afterwards*/,
                             const Profile* /*before*/) {
        const std::string request = requestText<Flow>(verb.substr(0, verb.find(' ')), name);
        rpcOnuFlowProfileInfo record{};
        rpcOnuFlowProfileParmsMask mask = 0;
        for (const FlowAssignment& assignment : assignments) {
            const FlowAttribute& attribute = *assignment.attribute;
            mask |= attribute.bit;
            if (attribute.kind == FlowAttribute::Kind::vlans) {
                rules::vlansToBitmap(assignment.vlans, record.rule.cVlan);
            } else if (attribute.kind == FlowAttribute::Kind::pcp) {
                record.rule.cPcp = pcpOf(assignment);
            } else {
                record.action.*attribute.field =
                    assignment.toDefault ? askDefaults(session, request).*attribute.field : assignment.value;
            }
        }
        const auto result =
            resultOf(session.program.tell(rpc_onuflowprofile_create_and_set_1, name, record, mask));
        Explanation why;
        if (result == rpcOnuFlowProfileResOutOfRange || result == rpcOnuFlowProfileResGuarAbovePeak) {
            const auto& now = session.program.ask(get, name);
            rpcOnuFlowProfileAction wanted =
                resultOf(now) == 0 ? now.info.action : askDefaults(session, request);
            for (const FlowAssignment& assignment : assignments) {
                if (!assignment.attribute->isRule()) {
                    wanted.*assignment.attribute->field = record.action.*assignment.attribute->field;
                }
            }
            why = explainFlowRequest(result, "onuqosctl flow " + verb + " " + common::argumentForName(name),
                                     assignments, wanted, askPortClass(session, request));
        }
        session.requireOr(kFamily, result, request, withNameHint<Flow>(std::move(why), result, name));
    }
};

/// Tells what came of changing one thing of a profile.
int printOutcome(Session& session, const std::string& verb, const std::string& name, std::int32_t result,
                 const FlowAssignment& assignment) {
    if (result != 0) {
        session.requireOr(Family::flow, result, requestText<Flow>(verb, name),
                          withNameHint<Flow>(Flow::explain(session, result, name, assignment), result, name));
    }
    return printChanged<Flow>(session, verb, name, {});
}

const FlowAttribute* attributeOf(FlowAttribute::Kind kind) {
    return &*std::ranges::find(flowAttributes(), kind, &FlowAttribute::kind);
}

/// Adds a command with a NAME and a second argument; `run` gets both.
template <typename Run>
void addNameAndValueCommand(const Command& family, Action& action, const std::string& word,
                            const std::string& help, const std::string& placeholder,
                            const std::string& valueHelp, Run run) {
    const Command command = family.add(word, help);
    const Given name = addName(command, "NAME", "The profile");
    const Given value = command.argument(placeholder, valueHelp);
    does(command, action, [name, value, run](Session& session) {
        return run(session, common::nameFromArgument(name.text()), value.text());
    });
}

struct VlanVerb {
    const char* word;
    const char* help;
    rpcOnuFlowProfileOperation operation;
};

constexpr VlanVerb kVlanVerbs[] = {
    {"add", "Adds VLANs to those matched (procedure 6, operation add)", rpcOnuFlowProfileOperationAdd},
    {"remove", "Takes VLANs out of those matched (procedure 6, operation delete)",
     rpcOnuFlowProfileOperationDelete},
    {"set", "Matches exactly these VLANs (procedure 6, operation set)", rpcOnuFlowProfileOperationSet},
};

void addVlanCommands(const Command& flow, Action& action) {
    const Command vlan = flow.addGroup("vlan", "The customer VLANs a profile matches");
    for (const VlanVerb& verb : kVlanVerbs) {
        addNameAndValueCommand(
            vlan, action, verb.word, verb.help, "LIST", "VLAN ids and ranges, for instance 10,100-199",
            [&verb](Session& session, const std::string& name, const std::string& list) {
                const common::VlanList vlans = common::parseVlans(list);
                const std::int32_t result = setVlans(session, name, vlans, verb.operation);
                return printOutcome(session, std::string("vlan ") + verb.word, name, result,
                                    {attributeOf(FlowAttribute::Kind::vlans), false, 0, vlans});
            });
    }
    addNameCommand(vlan, action, "clear", "Matches no VLANs (procedure 6, operation set with an empty list)",
                   [](Session& session, const std::string& name) {
                       const std::int32_t result = setVlans(session, name, {}, rpcOnuFlowProfileOperationSet);
                       return printOutcome(session, "vlan clear", name, result,
                                           {attributeOf(FlowAttribute::Kind::vlans), true, 0, {}});
                   });
}

void addPcpCommands(const Command& flow, Action& action) {
    const Command pcp = flow.addGroup("pcp", "The customer priority code point a profile matches");
    addNameAndValueCommand(
        pcp, action, "set", "Matches this PCP (procedure 6, operation set)", "PCP", "0 to 7",
        [](Session& session, const std::string& name, const std::string& value) {
            const FlowAssignment wanted{attributeOf(FlowAttribute::Kind::pcp), false, parsePcp(value), {}};
            return printOutcome(session, "pcp set", name, setPcp(session, name, wanted), wanted);
        });
    addNameCommand(pcp, action, "clear", "Matches no PCP (procedure 6, operation delete)",
                   [](Session& session, const std::string& name) {
                       const FlowAssignment wanted{attributeOf(FlowAttribute::Kind::pcp), true, 0, {}};
                       return printOutcome(session, "pcp clear", name, setPcp(session, name, wanted), wanted);
                   });
}

void addResetCommand(const Command& flow, Action& action) {
    addNameAndValueCommand(
        flow, action, "reset",
        "Returns one field of the action to its default (procedure 7, operation delete)", "FIELD",
        "guaranteed, peak, priority-up or priority-down",
        [](Session& session, const std::string& name, const std::string& field) {
            const FlowAttribute* attribute = actionAttribute(field);
            if (attribute == nullptr) {
                throw common::UsageError(
                    common::inQuotes(field) +
                    " is no field of the action: guaranteed, peak, priority-up or priority-down");
            }
            const FlowAssignment wanted{attribute, true, 0, {}};
            return printOutcome(session, "reset", name, setAction(session, name, wanted), wanted);
        });
}

}  // namespace

void addFlowCommands(const Command& app, Action& action) {
    const Command flow = app.addGroup("flow", "ONU flow profiles");
    addSharedCommands<Flow>(flow, action);
    addVlanCommands(flow, action);
    addPcpCommands(flow, action);
    addResetCommand(flow, action);
    does(flow.add("defaults", "Shows the action of a new profile (procedure 9)"), action,
         [](Session& session) {
             printDefaults(session, askDefaults(session, "flow defaults"));
             return common::kCarriedOut;
         });
}

}  // namespace onuqosctl
