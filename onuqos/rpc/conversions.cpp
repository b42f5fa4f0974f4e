#include "onuqos/rpc/conversions.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

#include "onuqos/rules/vlanBitmap.h"

namespace {

static_assert(ONUQOS_VLAN_BITMAP_BYTES == rules::kVlanBitmapBytes);

using AllocTypes = std::pair<onuTContProfileDbaCtrlMode, rpcTContProfileAllocType>;

constexpr std::array kAllocTypes{AllocTypes{tContDbaMode1, rpcTContProfileAllocType2},
                                 AllocTypes{tContDbaMode2, rpcTContProfileAllocType1}};

/// A result of the module and its codes on the wire; nothing where the family has none.
struct ResultRow {
    onuQos::onuQosRes res;
    std::optional<rpcOnuFlowProfileRes> onuFlow;
    std::optional<rpcTContProfileRes> tCont;
};

// clang-format off
constexpr std::array kResults{
    ResultRow{onuQos::onuQosResOk,             rpcOnuFlowProfileResOk,            rpcTContProfileResOk},
    ResultRow{onuQos::onuQosResError,          rpcOnuFlowProfileResError,         rpcTContProfileResError},
    ResultRow{onuQos::onuQosResBadName,        rpcOnuFlowProfileResBadName,       rpcTContProfileResBadName},
    ResultRow{onuQos::onuQosResExists,         rpcOnuFlowProfileResExists,        rpcTContProfileResExists},
    ResultRow{onuQos::onuQosResTableFull,      rpcOnuFlowProfileResTableFull,     rpcTContProfileResTableFull},
    ResultRow{onuQos::onuQosResNotFound,       rpcOnuFlowProfileResNotFound,      rpcTContProfileResNotFound},
    ResultRow{onuQos::onuQosResNoMore,         rpcOnuFlowProfileResNoMore,        rpcTContProfileResNoMore},
    ResultRow{onuQos::onuQosResOutOfRange,     rpcOnuFlowProfileResOutOfRange,    rpcTContProfileResOutOfRange},
    ResultRow{onuQos::onuQosResGuarAbovePeak,  rpcOnuFlowProfileResGuarAbovePeak, std::nullopt},
    ResultRow{onuQos::onuQosResRateError,      std::nullopt,                      rpcTContProfileResRateError},
    ResultRow{onuQos::onuQosResPartOfService,  rpcOnuFlowProfileResPartOfService, rpcTContProfileResPartOfService},
    ResultRow{onuQos::onuQosResApplied,        rpcOnuFlowProfileResApplied,       rpcTContProfileResApplied},
    ResultRow{onuQos::onuQosResDuplicateTContId, std::nullopt,                    rpcTContProfileResDuplicateTContId},
    ResultRow{onuQos::onuQosResDuplicateVirtualPortId, std::nullopt,
              rpcTContProfileResDuplicateVirtualPortId},
    ResultRow{onuQos::onuQosResWrongIntf,      rpcOnuFlowProfileResWrongIntf,     rpcTContProfileResWrongIntf},
    ResultRow{onuQos::onuQosResReserved,       std::nullopt,                      rpcTContProfileResReserved},
};
// clang-format on

template <typename Code>
bool mapResult(onuQos::onuQosRes res, std::optional<Code> ResultRow::*family, Code& code) {
    const auto row = std::ranges::find(kResults, res, &ResultRow::res);
    if (row == kResults.end() || !((*row).*family)) {
        return false;
    }
    code = *((*row).*family);
    return true;
}

/// Takes over a number from the wire if it is one of `first` to `last`.
template <typename To, typename From>
bool numberInRange(From from, int first, int last, To& to) {
    const int number = static_cast<int>(from);
    if (number < first || number > last) {
        return false;
    }
    to = static_cast<To>(number);
    return true;
}

}  // namespace

bool onuQos::onuFlowProfileResTypeSet(onuQosRes res, rpcOnuFlowProfileRes& rpcRes) {
    return mapResult(res, &ResultRow::onuFlow, rpcRes);
}

bool onuQos::tContProfileResTypeSet(onuQosRes res, rpcTContProfileRes& rpcRes) {
    return mapResult(res, &ResultRow::tCont, rpcRes);
}

bool onuQos::onuFlowProfileRuleTypeSet(rpcOnuFlowProfileRuleType rpcType,
                                       onuFlowProfileRuleType& type) const {
    return numberInRange(rpcType, onuFlowProfileRuleTypeNone, onuFlowProfileRuleTypeCVlan, type);
}

bool onuQos::onuFlowProfileActionTypeSet(rpcOnuFlowProfileActionType rpcType,
                                         onuFlowProfileActionType& type) const {
    return numberInRange(rpcType, onuFlowProfileActionTypeNone, onuFlowProfileActionTypeFlowPriorityDs, type);
}

namespace wire {

std::string nameOf(const char (&field)[ONUQOS_NAME_BYTES]) {
    return std::string(field, strnlen(field, sizeof field));
}

void nameSet(char (&field)[ONUQOS_NAME_BYTES], const std::string& name) {
    std::ranges::fill(field, '\0');
    name.copy(field, sizeof field - 1);
}

onuQos::onuFlowProfileRule ruleOf(const rpcOnuFlowProfileRule& rule) {
    return {.cPcp = static_cast<std::uint32_t>(rule.cPcp), .cVlan = rules::vlansFromBitmap(rule.cVlan)};
}

onuQos::onuFlowProfileAction actionOf(const rpcOnuFlowProfileAction& action) {
    return {.guarRateUs = action.guarRateUs,
            .peakRateUs = action.peakRateUs,
            .flowPriorityUs = action.flowPriorityUs,
            .flowPriorityDs = action.flowPriorityDs};
}

void actionSet(rpcOnuFlowProfileAction& record, const onuQos::onuFlowProfileAction& action) {
    record.guarRateUs = action.guarRateUs;
    record.peakRateUs = action.peakRateUs;
    record.flowPriorityUs = action.flowPriorityUs;
    record.flowPriorityDs = action.flowPriorityDs;
}

bool onuFlowProfileSet(rpcOnuFlowProfileInfo& record, const onuQos::onuFlowProfileInfo& info) {
    nameSet(record.name, info.name);
    record.rule.cPcp = static_cast<int>(info.rule.cPcp);
    if (!rules::vlansToBitmap(info.rule.cVlan, record.rule.cVlan)) {
        return false;
    }
    actionSet(record.action, info.action);
    return true;
}

tContProfileInfo tContProfileOf(const rpcTContProfileInfo& record) {
    return {.name = nameOf(record.name),
            .tContId = record.tContId,
            .tContType = static_cast<onuTContProfileType>(record.tContType),
            .fixedRate = record.fixedRate,
            .assuredRate = record.assuredRate,
            .maximumRate = record.maximumRate,
            .dbaAllocType = static_cast<onuTContProfileDbaCtrlMode>(record.dbaAllocType),
            .dbaWeight = record.dbaWeight,
            .dbaPriority = record.dbaPriority,
            .appliedIntfs = {}};
}

bool tContRatesSet(rpcTContProfileInfo& record, const tContProfileInfo& info) {
    record.tContId = info.tContId;
    if (!numberInRange(info.tContType, rpcTContProfileTypeDefault, rpcTContProfileType5, record.tContType)) {
        return false;
    }
    record.fixedRate = info.fixedRate;
    record.assuredRate = info.assuredRate;
    record.maximumRate = info.maximumRate;
    return true;
}

bool tContSrdbaSet(rpcTContProfileInfo& record, const tContProfileInfo& info) {
    const auto row = std::ranges::find(kAllocTypes, info.dbaAllocType, &AllocTypes::first);
    if (row == kAllocTypes.end()) {
        return false;
    }
    record.dbaAllocType = row->second;
    record.dbaWeight = info.dbaWeight;
    record.dbaPriority = info.dbaPriority;
    return true;
}

bool allocTypeOf(rpcTContProfileAllocType wireType, onuTContProfileDbaCtrlMode& mode) {
    const auto row = std::ranges::find(kAllocTypes, wireType, &AllocTypes::second);
    if (row == kAllocTypes.end()) {
        return false;
    }
    mode = row->first;
    return true;
}

}  // namespace wire
