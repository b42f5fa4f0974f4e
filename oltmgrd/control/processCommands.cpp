#include <unistd.h>

#include <csignal>

#include "common/name.h"
#include "oltmgrd/control/handlers.h"

namespace oltmgrd {
namespace {

// Entries of a restore report that a status shows; the operator was told all of them at the start.
constexpr std::size_t kReportedMax = 100;

Json firstOf(const std::vector<std::string>& texts) {
    return std::vector<std::string>(
        texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(std::min(texts.size(), kReportedMax)));
}

Json toJson(const RestoreReport& report) {
    return {{"profiles", report.profiles},
            {"serviceProfiles", report.serviceProfiles},
            {"bindings", report.bindings},
            {"milliseconds", std::chrono::duration_cast<std::chrono::milliseconds>(report.duration).count()},
            {"lostCount", report.lost.size()},
            {"lost", firstOf(report.lost)},
            {"differenceCount", report.differences.size()},
            {"differences", firstOf(report.differences)}};
}

Answer status(CommandContext& context, const Arguments&) {
    Json entities = Json::array();
    for (const HostEntity& entity : context.host->entities()) {
        entities.push_back({{"name", common::nameToJson(entity.name)}, {"state", entity.state}});
    }
    const auto uptime = std::chrono::steady_clock::now() - context.start;
    const RpcPorts ports = context.rpc->ports();
    Answer answer{.text = {},
                  .arguments = {{"entities", std::move(entities)},
                                {"pid", ::getpid()},
                                {"uptime", std::chrono::duration_cast<std::chrono::seconds>(uptime).count()},
                                {"rpcUdpPort", ports.udp},
                                {"rpcTcpPort", ports.tcp},
                                {"portmapper", context.rpc->isPublished()},
                                {"configApply",
                                 context.configuration != nullptr && context.configuration->isApplying()}}};
    if (context.configuration != nullptr && context.configuration->restoreReport()) {
        answer.arguments["restore"] = toJson(*context.configuration->restoreReport());
    }
    return answer;
}

Answer logLevel(CommandContext& context, const Arguments& arguments) {
    const std::uint32_t level = arguments.number("level");
    if (level > std::uint32_t{kLogLevelMax}) {
        throw CommandError("level: must be from 0 to " + std::to_string(kLogLevelMax));
    }
    context.host->setLogLevel(static_cast<int>(level));
    return {};
}

/// The signal is taken by the main thread, like those of an operator.
Answer shutdownProcess(CommandContext&, const Arguments&) {
    ::kill(::getpid(), SIGTERM);
    return {.text = "stopping"};
}

Answer sendMessage(CommandContext& context, const Arguments& arguments) {
    const auto reply = context.host->sendMessage(arguments.name("name"), arguments.name("argument"));
    if (!reply) {
        throw CommandError("a handler vetoed the message");
    }
    return {.text = {}, .arguments = {{"reply", common::nameToJson(*reply)}}};
}

constexpr Handler kHandlers[] = {{"status", status, kAtOnce},
                                 {"message", sendMessage},
                                 {"log-level", logLevel, kAtOnce},
                                 {"shutdown", shutdownProcess, kAtOnce}};

}  // namespace

std::span<const Handler> processHandlers() {
    return kHandlers;
}

}  // namespace oltmgrd
