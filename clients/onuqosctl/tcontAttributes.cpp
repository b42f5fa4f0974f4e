#include "clients/onuqosctl/tcontAttributes.h"

#include <bit>

#include "common/errors.h"
#include "common/number.h"

namespace onuqosctl {
namespace {

rpcTContProfileRes* setType(char* name, int value, CLIENT* client) {
    return rpc_tcontprofile_type_set_1(name, std::bit_cast<rpcTContProfileType>(value), client);
}

rpcTContProfileRes* setAllocType(char* name, int value, CLIENT* client) {
    return rpc_tcontprofile_alloc_type_set_1(name, std::bit_cast<rpcTContProfileAllocType>(value), client);
}

constexpr std::uint32_t kAny = 0xFFFFFFFF;
constexpr std::uint32_t kDefaultRate = rules::kTContRateDefault;

// clang-format off
constexpr TContAttribute kAttributes[] = {
    {"--id", "N|default", "T-CONT id, 1 to 6 (procedure 109)",
     rpcTContProfileParmsTContId, nullptr, 0, 0, kTContIdMax, "a T-CONT id is 1 to 6; 0 and default stand for 1",
     [](rpcTContProfileInfo& record, std::uint32_t value) { record.tContId = value; }, rpc_tcontprofile_id_set_1},
    {"--type", "N|default", "T-CONT type, 1 to 5; resets the rates to the type's defaults (procedure 110)",
     rpcTContProfileParmsTContType, nullptr, 0, 0, tContType5, "a T-CONT type is 1 to 5; 0 and default stand for 5",
     [](rpcTContProfileInfo& record, std::uint32_t value) { record.tContType = std::bit_cast<rpcTContProfileType>(value); },
     setType},
    {"--fixed", "RATE|default", "Fixed rate (procedure 111)",
     rpcTContProfileParmsFixedRate, &TContRates::fixed, kDefaultRate, 0, kAny, "",
     [](rpcTContProfileInfo& record, std::uint32_t value) { record.fixedRate = value; },
     rpc_tcontprofile_fixed_rate_set_1},
    {"--assured", "RATE|default", "Assured rate (procedure 112)",
     rpcTContProfileParmsAssuredRate, &TContRates::assured, kDefaultRate, 0, kAny, "",
     [](rpcTContProfileInfo& record, std::uint32_t value) { record.assuredRate = value; },
     rpc_tcontprofile_assured_rate_set_1},
    {"--maximum", "RATE|default", "Maximum rate (procedure 113)",
     rpcTContProfileParmsMaximumRate, &TContRates::maximum, kDefaultRate, 0, kAny, "",
     [](rpcTContProfileInfo& record, std::uint32_t value) { record.maximumRate = value; },
     rpc_tcontprofile_maximum_rate_set_1},
    {"--alloc-type", "1|2", "DBA allocation type, as show prints it (procedure 116)",
     0, nullptr, std::nullopt, tContDbaMode1, tContDbaMode2, "a DBA allocation type is 1 or 2", nullptr, setAllocType},
    {"--weight", "N", "SR-DBA weight (procedure 117)",
     0, nullptr, std::nullopt, 0, kAny, "", nullptr, rpc_tcontprofile_srdba_weight_set_1},
    {"--priority", "N", "SR-DBA priority (procedure 118)",
     0, nullptr, std::nullopt, 0, kAny, "", nullptr, rpc_tcontprofile_srdba_priority_set_1},
};
// clang-format on

std::uint32_t parseValue(const TContAttribute& attribute, const std::string& text) {
    if (attribute.standsForDefault && (text == "default" || (attribute.isRate() && text == "-1"))) {
        return *attribute.standsForDefault;
    }
    if (!attribute.isRate()) {
        return common::parseUnsigned(text, attribute.option);
    }
    const std::uint32_t rate = common::parseRate(text);
    if (rate == kDefaultRate) {
        throw common::UsageError(std::string(attribute.option) + ": " + text +
                                 " is no rate; default stands for the type's default");
    }
    return rate;
}

}  // namespace

std::span<const TContAttribute> tcontAttributes() {
    return kAttributes;
}

std::vector<TContAssignment> parseTContAssignments(
    const std::vector<std::pair<std::size_t, std::string>>& given) {
    std::vector<TContAssignment> assignments;
    for (const auto& [place, text] : given) {
        assignments.push_back({&kAttributes[place], parseValue(kAttributes[place], text)});
    }
    return assignments;
}

}  // namespace onuqosctl
