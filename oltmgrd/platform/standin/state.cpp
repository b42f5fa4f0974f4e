#include <array>
#include <ctime>

#include "common/name.h"
#include "oltmgrd/control/handlers.h"
#include "standin/alarms.h"
#include "standin/calls.h"
#include "standin/hardware.h"
#include "standin/operations.h"

namespace oltmgrd {
namespace {

using common::nameToJson;

/// In UTC with milliseconds, as ISO 8601 has it.
std::string timeText(std::chrono::system_clock::time_point time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time - seconds).count();
    const std::time_t whole = std::chrono::system_clock::to_time_t(seconds);
    std::tm parts{};
    ::gmtime_r(&whole, &parts);
    std::array<char, 32> date{};
    std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    const std::string fraction = std::to_string(1000 + milliseconds).substr(1);
    return std::string(date.data()) + "." + fraction + "Z";
}

Json toJson(const standin::Alarm& alarm) {
    return {{"action", alarm.action == Diagnostics::Report ? "report" : "retreat"},
            {"code", alarm.code},
            {"interface", alarm.interface},
            {"board", alarm.board},
            {"text", nameToJson(alarm.text)},
            {"numbers", alarm.numbers},
            {"time", timeText(alarm.time)}};
}

Json toJson(const standin::TContProfile& profile) {
    return {{"name", nameToJson(profile.name)},     {"tContId", profile.tContId},
            {"tContType", profile.tContType},       {"fixedRate", profile.fixedRate},
            {"assuredRate", profile.assuredRate},   {"maximumRate", profile.maximumRate},
            {"dbaAllocType", profile.dbaAllocType}, {"dbaWeight", profile.dbaWeight},
            {"dbaPriority", profile.dbaPriority}};
}

Json toJson(const standin::FlowProfile& profile) {
    return {{"name", nameToJson(profile.name)},
            {"cPcp", static_cast<std::int32_t>(profile.cPcp)},
            {"cVlan", profile.cVlan},
            {"guarRateUs", profile.guarRateUs},
            {"peakRateUs", profile.peakRateUs},
            {"flowPriorityUs", profile.flowPriorityUs},
            {"flowPriorityDs", profile.flowPriorityDs}};
}

Json toJson(const standin::Binding& binding) {
    return {{"interface", binding.interface},
            {"name", nameToJson(binding.name)},
            {"flowProfile", nameToJson(binding.flowProfile)},
            {"tcontProfile", nameToJson(binding.tcontProfile)},
            {"virtualPort", binding.virtualPort},
            {"tcontId", binding.tcontId},
            {"uniType", binding.uniType},
            {"termPointId", binding.termPointId},
            {"flowId", binding.flowId}};
}

Json toJson(const standin::OnuEvent& event) {
    const bool isState = event.kind == standin::OnuEvent::Kind::state;
    return {{"event", isState ? "state" : "ready"},
            {"interface", event.interface},
            {"slot", event.handle.slot},
            {"port", event.handle.port},
            {"onu", event.handle.onu},
            {isState ? "up" : "ready", event.flag}};
}

template <typename Entries>
Json toJsonArray(const Entries& entries) {
    Json array = Json::array();
    for (const auto& entry : entries) {
        array.push_back(toJson(entry));
    }
    return array;
}

Json callsJson() {
    Json calls = Json::object();
    const auto counts = standin::calls::counts();
    for (std::size_t i = 0; i < counts.size(); ++i) {
        calls[std::string(standin::kOperationNames[i])] = counts[i];
    }
    return calls;
}

}  // namespace

Answer alarmsGet(CommandContext&, const Arguments&) {
    const standin::Alarms alarms = standin::alarms::snapshot();
    return {.text = {},
            .arguments = {{"active", toJsonArray(alarms.active)}, {"history", toJsonArray(alarms.history)}}};
}

Answer hardwareGet(CommandContext&, const Arguments&) {
    const standin::Hardware hardware = standin::hardware::snapshot();
    return {.text = {},
            .arguments = {{"tcontProfiles", toJsonArray(hardware.tContProfiles)},
                          {"flowProfiles", toJsonArray(hardware.flowProfiles)},
                          {"bindings", toJsonArray(hardware.bindings)},
                          {"onus", hardware.onus},
                          {"onuEvents", toJsonArray(hardware.onuEvents)},
                          {"debug", hardware.debug},
                          {"calls", callsJson()}}};
}

}  // namespace oltmgrd
