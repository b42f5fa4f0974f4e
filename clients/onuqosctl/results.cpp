#include "clients/onuqosctl/results.h"

#include <onuqos.h>

#include <algorithm>
#include <iterator>

namespace onuqosctl {
namespace {

struct Row {
    Family family;
    std::int32_t result;
    const char* name;
    const char* meaning;
    const char* hint;
};

constexpr const char* kLogHint = "the log of oltmgrd says what failed";
constexpr const char* kFullHint = "256 profiles are the most there can be; delete one first";
constexpr const char* kServiceProfileHint =
    "oltctl service-profile list shows which; remove that service profile first";
constexpr const char* kAppliedHint =
    "oltctl service list shows where; remove those services first, or change a copy";
constexpr const char* kNameHint = "a new name has 1 to 64 bytes";
constexpr const char* kPortHint = "give the interface index of a PON port";

// clang-format off
constexpr Row kRows[] = {
    {Family::flow, rpcOnuFlowProfileResOk, "rpcOnuFlowProfileResOk", "carried out", ""},
    {Family::flow, rpcOnuFlowProfileResError, "rpcOnuFlowProfileResError", "the module could not do it", kLogHint},
    {Family::flow, rpcOnuFlowProfileResTableFull, "rpcOnuFlowProfileResTableFull", "the profile table is full", kFullHint},
    {Family::flow, rpcOnuFlowProfileResNotFound, "rpcOnuFlowProfileResNotFound", "there is no such profile",
     "onuqosctl flow list shows the profiles"},
    {Family::flow, rpcOnuFlowProfileResPartOfService, "rpcOnuFlowProfileResPartOfService",
     "a service profile names this profile", kServiceProfileHint},
    {Family::flow, rpcOnuFlowProfileResApplied, "rpcOnuFlowProfileResApplied",
     "a service uses this profile, so it cannot be changed", kAppliedHint},
    {Family::flow, rpcOnuFlowProfileResExists, "rpcOnuFlowProfileResExists", "a profile of that name exists",
     "choose another name, or change the existing profile with onuqosctl flow set"},
    {Family::flow, rpcOnuFlowProfileResGuarAbovePeak, "rpcOnuFlowProfileResGuarAbovePeak",
     "the guaranteed rate would be above the peak rate",
     "set the other rate first, or both in one request with onuqosctl flow set --together"},
    {Family::flow, rpcOnuFlowProfileResBadName, "rpcOnuFlowProfileResBadName", "the name is too long", kNameHint},
    {Family::flow, rpcOnuFlowProfileResNoMore, "rpcOnuFlowProfileResNoMore", "there are no more profiles", ""},
    {Family::flow, rpcOnuFlowProfileResOutOfRange, "rpcOnuFlowProfileResOutOfRange", "a value is out of range",
     "rates go from 128 kbit/s to the maximum that onuqosctl ranges shows, priorities and PCP from 0 to 7"},
    {Family::flow, rpcOnuFlowProfileResWrongIntf, "rpcOnuFlowProfileResWrongIntf", "the interface is of the wrong kind",
     kPortHint},

    {Family::tcont, rpcTContProfileResOk, "rpcTContProfileResOk", "carried out", ""},
    {Family::tcont, rpcTContProfileResError, "rpcTContProfileResError", "the module could not do it", kLogHint},
    {Family::tcont, rpcTContProfileResTableFull, "rpcTContProfileResTableFull", "the profile table is full", kFullHint},
    {Family::tcont, rpcTContProfileResNotFound, "rpcTContProfileResNotFound", "there is no such profile",
     "onuqosctl tcont list shows the profiles"},
    {Family::tcont, rpcTContProfileResPartOfService, "rpcTContProfileResPartOfService",
     "a service profile names this profile", kServiceProfileHint},
    {Family::tcont, rpcTContProfileResApplied, "rpcTContProfileResApplied",
     "a service uses this profile, so it cannot be changed", kAppliedHint},
    {Family::tcont, rpcTContProfileResRateError, "rpcTContProfileResRateError",
     "the rates do not fit the T-CONT type or each other", "onuqosctl tcont create --help tells the rules of the types"},
    {Family::tcont, rpcTContProfileResExists, "rpcTContProfileResExists", "a profile of that name exists",
     "choose another name, or change the existing profile with onuqosctl tcont set"},
    {Family::tcont, rpcTContProfileResBadName, "rpcTContProfileResBadName", "the name is too long", kNameHint},
    {Family::tcont, rpcTContProfileResNoMore, "rpcTContProfileResNoMore", "there are no more profiles", ""},
    {Family::tcont, rpcTContProfileResOutOfRange, "rpcTContProfileResOutOfRange",
     "a value is out of range or not configurable for the T-CONT type",
     "onuqosctl tcont create --help tells what each type carries, onuqosctl ranges the bounds of the rates"},
    {Family::tcont, rpcTContProfileResWrongIntf, "rpcTContProfileResWrongIntf", "the interface is of the wrong kind",
     kPortHint},
    {Family::tcont, rpcTContProfileResDuplicateTContId, "rpcTContProfileResDuplicateTContId",
     "the T-CONT id is already used on the ONU", ""},
    {Family::tcont, rpcTContProfileResDuplicateVirtualPortId, "rpcTContProfileResDuplicateVirtualPortId",
     "the virtual port is already used with other profiles", ""},
    {Family::tcont, rpcTContProfileResReserved, "rpcTContProfileResReserved", "the value is reserved", ""},
};
// clang-format on

const Row* rowOf(Family family, std::int32_t result) {
    const auto* row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& candidate) {
        return candidate.family == family && candidate.result == result;
    });
    return row == std::end(kRows) ? nullptr : row;
}

}  // namespace

WalkCodes walkCodes(Family family) {
    return family == Family::flow ? WalkCodes{rpcOnuFlowProfileResNotFound, rpcOnuFlowProfileResNoMore}
                                  : WalkCodes{rpcTContProfileResNotFound, rpcTContProfileResNoMore};
}

std::string resultName(Family family, std::int32_t result) {
    const Row* row = rowOf(family, result);
    return row != nullptr ? row->name : "result";
}

std::string resultMeaning(Family family, std::int32_t result) {
    const Row* row = rowOf(family, result);
    return row != nullptr ? row->meaning : "the module answered with a result this client does not know";
}

std::string resultHint(Family family, std::int32_t result) {
    const Row* row = rowOf(family, result);
    return row != nullptr ? row->hint : "";
}

}  // namespace onuqosctl
