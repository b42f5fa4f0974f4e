#include "common/name.h"
#include "oltmgrd/control/explanation.h"
#include "oltmgrd/control/handlers.h"
#include "oltmgrd/files/timeText.h"
#include "oltmgrd/module/results.h"

namespace oltmgrd {

const onuQosClassInterface& moduleOf(const CommandContext& context) {
    if (context.module == nullptr) {
        throw CommandError("not available: no loaded module binds services");
    }
    return *context.module;
}

ServiceSide& servicesOf(const CommandContext& context) {
    moduleOf(context);
    return *context.services;
}

namespace {

Answer answerOf(Result result) {
    return {.text = {}, .arguments = {{"res", static_cast<int>(result)}, {"resName", resultName(result)}}};
}

AppliedService serviceOf(const Arguments& arguments) {
    return {.interface = arguments.number("interface"),
            .service = arguments.name("service"),
            .flowProfile = arguments.name("flowProfile"),
            .tcontProfile = arguments.name("tcontProfile"),
            .virtualPort = arguments.number("virtualPort"),
            .termPoint = {.type = arguments.integer("termPointType"),
                          .id = static_cast<std::int16_t>(arguments.integer("termPointId"))}};
}

Answer serviceApply(CommandContext& context, const Arguments& arguments) {
    const AppliedService service = serviceOf(arguments);
    ServiceOutcome outcome;
    Answer answer = answerOf(servicesOf(context).apply(service, &outcome));
    answer.arguments.update(explanationOf("onuQosServiceApply", service, outcome));
    return answer;
}

Answer serviceCheck(CommandContext& context, const Arguments& arguments) {
    const AppliedService service = serviceOf(arguments);
    ServiceOutcome outcome;
    Answer answer = answerOf(servicesOf(context).check(service, outcome));
    answer.arguments["checkedAt"] = timeText(std::chrono::system_clock::now());
    const rules::ServiceVerdict& verdict = outcome.verdict;
    if (verdict && verdict.port) {
        answer.arguments["raisesAlarm"] = !rules::alarmVerdict(*verdict.port, verdict.admission->rate);
    }
    answer.arguments.update(explanationOf("onuQosServiceCheck", service, outcome));
    return answer;
}

Answer serviceRemove(CommandContext& context, const Arguments& arguments) {
    return answerOf(servicesOf(context).remove(arguments.number("interface"), arguments.name("service")));
}

Answer flowServiceGet(CommandContext& context, const Arguments& arguments) {
    std::string service;
    Answer answer = answerOf(
        servicesOf(context).flowService(arguments.number("interface"), arguments.number("flowId"), service));
    answer.arguments["service"] = common::nameToJson(service);
    return answer;
}

Answer defaultSettings(CommandContext& context, const Arguments&) {
    const std::vector<std::string> failed = servicesOf(context).defaultSettings();
    Answer answer{.text = {}, .arguments = {{"ok", failed.empty()}}};
    for (const std::string& entity : failed) {
        answer.text += (answer.text.empty() ? "failed; the log says why: " : ", ") + entity;
    }
    return answer;
}

constexpr Handler kHandlers[] = {{"service-apply", serviceApply},
                                 {"service-check", serviceCheck},
                                 {"service-remove", serviceRemove},
                                 {"flow-service-get", flowServiceGet},
                                 {"default-settings", defaultSettings}};

}  // namespace

std::span<const Handler> serviceHandlers() {
    return kHandlers;
}

}  // namespace oltmgrd
