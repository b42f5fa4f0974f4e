#include "callText.h"

namespace standin {
namespace {

template <typename... Fields>
std::string record(const Fields&... fields) {
    return "{" + callText(fields...) + "}";
}

}  // namespace

std::string argumentText(bool value) {
    return value ? "true" : "false";
}

std::string argumentText(const std::string& value) {
    return value;
}

std::string argumentText(const zqOMApiInterface_s& value) {
    return std::to_string(value.slot) + "/" + std::to_string(value.port) + "/" + std::to_string(value.onu);
}

std::string argumentText(const onuQosOMApi::onuQosOMApiTContProfileInfo& value) {
    return record(value.name, value.tContId, value.tContType, value.fixedRate, value.assuredRate,
                  value.maximumRate, value.dbaAllocType, value.dbaWeight, value.dbaPriority);
}

std::string argumentText(const onuQosOMApi::onuQosOMApiFlowProfileRule& value) {
    return record(value.cPcp, value.cVlan);
}

std::string argumentText(const onuQosOMApi::onuQosOMApiFlowProfileAction& value) {
    return record(value.guarRateUs, value.peakRateUs, value.flowPriorityUs, value.flowPriorityDs);
}

std::string argumentText(const onuQosOMApi::onuQosOMApiFlowProfileInfo& value) {
    return record(value.name, value.rule, value.action);
}

std::string argumentText(const Diagnostics::alarmObjs& value) {
    return record(value.text, value.numbers);
}

}  // namespace standin
