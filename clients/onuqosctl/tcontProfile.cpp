#include "clients/onuqosctl/tcontProfile.h"

#include <ostream>

#include "clients/onuqosctl/program.h"
#include "clients/onuqosctl/wireName.h"
#include "common/table.h"

namespace onuqosctl {
namespace {

using common::Table;

struct DbaTexts {
    std::string allocType = "-", weight = "-", priority = "-";
};

DbaTexts textsOf(const std::optional<TContProfile::Dba>& dba) {
    if (!dba) {
        return {};
    }
    return {std::to_string(dba->allocType), std::to_string(dba->weight), std::to_string(dba->priority)};
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

void printTable(std::ostream& out, const TContProfile& profile) {
    const DbaTexts dba = textsOf(profile.dba);
    common::printFields(out, {{"name", shownName(profile)},
                              {"T-CONT id", std::to_string(profile.id)},
                              {"T-CONT type", std::to_string(profile.type)},
                              {"fixed rate (kbit/s)", std::to_string(profile.rates.fixed)},
                              {"assured rate (kbit/s)", std::to_string(profile.rates.assured)},
                              {"maximum rate (kbit/s)", std::to_string(profile.rates.maximum)},
                              {"DBA allocation type", dba.allocType},
                              {"SR-DBA weight", dba.weight},
                              {"SR-DBA priority", dba.priority}});
}

void printTable(std::ostream& out, const std::vector<TContProfile>& profiles) {
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
