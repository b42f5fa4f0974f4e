#include "clients/onuqosctl/output.h"

#include <iostream>
#include <nlohmann/json.hpp>

#include "common/errors.h"
#include "common/name.h"
#include "common/refusal.h"
#include "common/terminal.h"
#include "common/text.h"

namespace onuqosctl {
namespace {

template <typename Profile>
Json nameToJson(const Profile& profile) {
    Json json = {{"name", common::nameToJson(profile.name)}};
    if (profile.nameCut) {
        json["nameCut"] = true;
    }
    return json;
}

Json toJson(const rpcOnuFlowProfileAction& action) {
    Json json = Json::object();
    for (const ActionField& field : actionFields()) {
        json[field.key] = action.*field.value;
    }
    return json;
}

Json toJson(const FlowProfile& profile) {
    Json json = nameToJson(profile);
    json["cPcp"] = profile.pcp;
    json["cVlan"] = profile.vlans;
    json.update(toJson(profile.action));
    return json;
}

Json toJson(const TContProfile& profile) {
    Json json = nameToJson(profile);
    json["tContId"] = profile.id;
    json["tContType"] = profile.type;
    json["fixedRate"] = profile.rates.fixed;
    json["assuredRate"] = profile.rates.assured;
    json["maximumRate"] = profile.rates.maximum;
    json["dbaAllocType"] = profile.dba ? Json(profile.dba->allocType) : Json();
    json["dbaWeight"] = profile.dba ? Json(profile.dba->weight) : Json();
    json["dbaPriority"] = profile.dba ? Json(profile.dba->priority) : Json();
    return json;
}

template <typename Value>
Json valueOrNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

Json toJson(const Explanation& why) {
    return {{"reason", why.reason},
            {"value", why.value.empty() ? Json() : Json(why.value)},
            {"asked", valueOrNull(why.asked)},
            {"least", valueOrNull(why.least)},
            {"most", valueOrNull(why.most)},
            {"step", valueOrNull(why.step)},
            {"nearest", {{"below", valueOrNull(why.below)}, {"above", valueOrNull(why.above)}}}};
}

}  // namespace

void printJson(std::ostream& out, const Json& document) {
    out << common::jsonForOutput(document) << '\n';
}

void printDone(Session& session, Family family, const std::string& text) {
    if (session.json()) {
        printJson(session.out, {{"result", 0}, {"resultName", resultName(family, 0)}});
    } else {
        session.out << text << '\n';
    }
}

int report(const Refusal& refusal, common::Format format) {
    const Explanation& why = refusal.why;
    const std::string name = resultName(refusal.family, refusal.result);
    const std::string text = why.text.empty() ? resultMeaning(refusal.family, refusal.result) : why.text;
    if (format == common::Format::json) {
        const std::string between = why.hint.empty() || why.command.empty() ? "" : ": ";
        Json document = common::refusalToJson(
            {refusal.result, name, refusal.request, text, why.hint + between + why.command});
        if (!why.reason.empty()) {
            document["explanation"] = toJson(why);
        }
        printJson(std::cout, document);
    }
    std::cerr << "onuqosctl: " << refusal.request << ": " << name << " (" << refusal.result << "): " << text
              << '\n';
    if (!why.hint.empty()) {
        std::cerr << "hint: " << why.hint << '\n';
    }
    if (!why.command.empty()) {
        std::cerr << "  " << why.command << '\n';
    }
    return common::kRefused;
}

template <typename Profile>
void printProfile(Session& session, const Profile& profile) {
    if (session.json()) {
        printJson(session.out, toJson(profile));
    } else {
        printTable(session.out, profile);
    }
}

template <typename Profile>
void printChangedProfile(Session& session, Family family, const Profile& profile, const Remarks& remarks) {
    if (session.json()) {
        Json document = {{"result", 0}, {"resultName", resultName(family, 0)}, {"profile", toJson(profile)}};
        for (const Rounding& each : remarks.rounded) {
            document["rounded"].push_back(
                {{"rate", each.rate}, {"asked", each.asked}, {"stored", each.stored}});
        }
        if (!remarks.note.empty()) {
            document["note"] = remarks.note;
        }
        printJson(session.out, document);
        return;
    }
    printTable(session.out, profile);
    session.out.flush();
    for (const Rounding& each : remarks.rounded) {
        std::cerr << "note: " << each.asked << " was rounded up to " << each.stored << " (step " << each.step
                  << ")\n";
    }
    if (!remarks.note.empty()) {
        std::cerr << "note: " << remarks.note << '\n';
    }
}

template <typename Profile>
void printProfiles(Session& session, const std::vector<Profile>& profiles, bool complete) {
    if (session.json()) {
        Json list = Json::array();
        for (const Profile& profile : profiles) {
            list.push_back(toJson(profile));
        }
        printJson(session.out, {{"profiles", list}, {"complete", complete}});
    } else {
        printTable(session.out, profiles);
    }
}

template void printProfile(Session& session, const TContProfile& profile);
template void printProfile(Session& session, const FlowProfile& profile);
template void printChangedProfile(Session& session, Family family, const TContProfile& profile,
                                  const Remarks& remarks);
template void printChangedProfile(Session& session, Family family, const FlowProfile& profile,
                                  const Remarks& remarks);
template void printProfiles(Session& session, const std::vector<TContProfile>& profiles, bool complete);
template void printProfiles(Session& session, const std::vector<FlowProfile>& profiles, bool complete);

void printAttached(Session& session, const std::string& kind, const std::string& name, bool attached) {
    if (session.json()) {
        printJson(session.out, {{"name", common::nameToJson(name)}, {"attached", attached}});
    } else {
        session.out << kind << " " << common::printable(name) << " is "
                    << (attached ? "attached: services use it" : "not attached") << '\n';
    }
}

void printDefaults(Session& session, TContProfile profile, const std::string& title) {
    if (session.json()) {
        Json json = toJson(profile);
        json.erase("name");
        printJson(session.out, json);
    } else {
        profile.name = title;
        printTable(session.out, profile);
    }
}

void printDefaults(Session& session, const rpcOnuFlowProfileAction& action) {
    if (session.json()) {
        printJson(session.out, toJson(action));
    } else {
        printTable(session.out, action);
    }
}

}  // namespace onuqosctl
