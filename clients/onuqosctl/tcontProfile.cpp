#include "tcontProfile.h"

#include <ostream>

#include "name.h"
#include "program.h"
#include "table.h"
#include "text.h"
#include "wireName.h"

namespace onuqosctl {
namespace {

using clients::printable;
using clients::Table;

struct DbaTexts {
    std::string allocType = "-", weight = "-", priority = "-";
};

DbaTexts textsOf(const std::optional<TContProfile::Dba>& dba) {
    if (!dba) {
        return {};
    }
    return {std::to_string(dba->allocType), std::to_string(dba->weight), std::to_string(dba->priority)};
}

std::string shownName(const TContProfile& profile) {
    return printable(profile.name) + (profile.nameCut ? "..." : "");
}

}  // namespace

TContProfile tcontFromWire(const rpcTContProfileInfo& record, bool dbaTold) {
    TContProfile profile;
    profile.name = nameFromWire(record.name);
    profile.id = record.tContId;
    profile.type = static_cast<std::uint32_t>(wireNumber(record.tContType));
    profile.rates = {record.fixedRate, record.assuredRate, record.maximumRate};
    if (dbaTold) {
        profile.dba = TContProfile::Dba{static_cast<std::uint32_t>(wireNumber(record.dbaAllocType)),
                                        record.dbaWeight, record.dbaPriority};
    }
    return profile;
}

nlohmann::ordered_json tcontToJson(const TContProfile& profile) {
    nlohmann::ordered_json json = {{"name", clients::nameToJson(profile.name)}};
    if (profile.nameCut) {
        json["nameCut"] = true;
    }
    json["tContId"] = profile.id;
    json["tContType"] = profile.type;
    json["fixedRate"] = profile.rates.fixed;
    json["assuredRate"] = profile.rates.assured;
    json["maximumRate"] = profile.rates.maximum;
    for (const char* field : {"dbaAllocType", "dbaWeight", "dbaPriority"}) {
        json[field] = nullptr;
    }
    if (profile.dba) {
        json["dbaAllocType"] = profile.dba->allocType;
        json["dbaWeight"] = profile.dba->weight;
        json["dbaPriority"] = profile.dba->priority;
    }
    return json;
}

void printTCont(std::ostream& out, const TContProfile& profile) {
    const DbaTexts dba = textsOf(profile.dba);
    clients::printFields(out, {{"name", shownName(profile)},
                               {"T-CONT id", std::to_string(profile.id)},
                               {"T-CONT type", std::to_string(profile.type)},
                               {"fixed rate (kbit/s)", std::to_string(profile.rates.fixed)},
                               {"assured rate (kbit/s)", std::to_string(profile.rates.assured)},
                               {"maximum rate (kbit/s)", std::to_string(profile.rates.maximum)},
                               {"DBA allocation type", dba.allocType},
                               {"SR-DBA weight", dba.weight},
                               {"SR-DBA priority", dba.priority}});
}

void printTConts(std::ostream& out, const std::vector<TContProfile>& profiles) {
    constexpr auto kRight = Table::Align::right;
    Table table({{"name"},
                 {"id", kRight},
                 {"type", kRight},
                 {"fixed (kbit/s)", kRight},
                 {"assured (kbit/s)", kRight},
                 {"maximum (kbit/s)", kRight},
                 {"alloc type", kRight},
                 {"weight", kRight},
                 {"priority", kRight}});
    for (const TContProfile& profile : profiles) {
        const DbaTexts dba = textsOf(profile.dba);
        table.add({shownName(profile), std::to_string(profile.id), std::to_string(profile.type),
                   std::to_string(profile.rates.fixed), std::to_string(profile.rates.assured),
                   std::to_string(profile.rates.maximum), dba.allocType, dba.weight, dba.priority});
    }
    table.print(out);
}

}  // namespace onuqosctl
