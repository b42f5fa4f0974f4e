#include "oltmgrd/configuration/snapshot.h"
#include "oltmgrd/control/handlers.h"
#include "oltmgrd/files/memory.h"

namespace oltmgrd {
namespace {

ConfigurationStore& configurationOf(CommandContext& context) {
    if (context.configuration == nullptr) {
        throw CommandError("not available: no loaded module has a configuration");
    }
    return *context.configuration;
}

Answer answerOfEvent(bool raised) {
    if (!raised) {
        throw CommandError("a handler vetoed it");
    }
    return {};
}

Answer configApplyStart(CommandContext& context, const Arguments&) {
    return answerOfEvent(configurationOf(context).applyStart());
}

Answer configApplyStop(CommandContext& context, const Arguments&) {
    return answerOfEvent(configurationOf(context).applyStop());
}

Answer configGet(CommandContext& context, const Arguments&) {
    configurationOf(context);
    const auto document = captureConfiguration(*context.module, *context.services, *context.host);
    if (!document) {
        throw CommandError("the platform lock was not obtained");
    }
    return {.text = {}, .arguments = configurationJson(*document)};
}

Answer configSave(CommandContext& context, const Arguments& arguments) {
    const auto saved = configurationOf(context).save(arguments.name("file"), arguments.boolean("force"));
    returnFreeMemory();
    return {.text = {}, .arguments = {{"profiles", saved.profiles}, {"bindings", saved.bindings}}};
}

constexpr Handler kHandlers[] = {{"config-apply-start", configApplyStart},
                                 {"config-apply-stop", configApplyStop},
                                 {"config-get", configGet},
                                 {"config-save", configSave}};

}  // namespace

std::span<const Handler> configurationHandlers() {
    return kHandlers;
}

}  // namespace oltmgrd
