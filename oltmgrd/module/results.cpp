#include "oltmgrd/module/results.h"

#include <algorithm>
#include <iterator>

namespace oltmgrd {
namespace {

struct ResultName {
    int result;
    std::string_view name;
};

#define OLTMGRD_RESULT(name) \
    { onuQos::name, #name }

constexpr ResultName kResultNames[] = {
    OLTMGRD_RESULT(onuQosResOk),
    OLTMGRD_RESULT(onuQosResError),
    OLTMGRD_RESULT(onuQosResBadName),
    OLTMGRD_RESULT(onuQosResExists),
    OLTMGRD_RESULT(onuQosResTableFull),
    OLTMGRD_RESULT(onuQosResNotFound),
    OLTMGRD_RESULT(onuQosResNoMore),
    OLTMGRD_RESULT(onuQosResOutOfRange),
    OLTMGRD_RESULT(onuQosResGuarAbovePeak),
    OLTMGRD_RESULT(onuQosResRateError),
    OLTMGRD_RESULT(onuQosResPartOfService),
    OLTMGRD_RESULT(onuQosResApplied),
    OLTMGRD_RESULT(onuQosResDuplicateTContId),
    OLTMGRD_RESULT(onuQosResDuplicateVirtualPortId),
    OLTMGRD_RESULT(onuQosResWrongIntf),
    OLTMGRD_RESULT(onuQosResReserved),
    OLTMGRD_RESULT(onuQosResDuplicateOnuFlowProfile),
    OLTMGRD_RESULT(onuQosResOMApiRefused),
};

#undef OLTMGRD_RESULT

}  // namespace

std::string_view resultName(int result) {
    const auto* found = std::ranges::find(kResultNames, result, &ResultName::result);
    return found == std::end(kResultNames) ? std::string_view() : found->name;
}

}  // namespace oltmgrd
