#pragma once

#include "oltmgrd/control/commands.h"

namespace oltmgrd {

// The handlers of the control commands; the rows of the command table say what each does.

Answer listCommands(CommandContext& context, const Arguments& arguments);  // commands.cpp

// processCommands.cpp
Answer status(CommandContext& context, const Arguments& arguments);
Answer logLevel(CommandContext& context, const Arguments& arguments);
Answer shutdownProcess(CommandContext& context, const Arguments& arguments);
Answer sendMessage(CommandContext& context, const Arguments& arguments);

// serviceCommands.cpp
Answer serviceApply(CommandContext& context, const Arguments& arguments);
Answer serviceRemove(CommandContext& context, const Arguments& arguments);
Answer serviceList(CommandContext& context, const Arguments& arguments);
Answer flowServiceGet(CommandContext& context, const Arguments& arguments);
Answer defaultSettings(CommandContext& context, const Arguments& arguments);
Answer configApplyStart(CommandContext& context, const Arguments& arguments);
Answer configApplyStop(CommandContext& context, const Arguments& arguments);
Answer configSave(CommandContext& context, const Arguments& arguments);

// platformCommands.cpp
Answer interfaceEvent(CommandContext& context, const Arguments& arguments);
Answer onuConfigEvent(CommandContext& context, const Arguments& arguments);
Answer interfaceTypeSet(CommandContext& context, const Arguments& arguments);
Answer portDistanceSet(CommandContext& context, const Arguments& arguments);
Answer portAvailableSet(CommandContext& context, const Arguments& arguments);
Answer serviceProfileAdd(CommandContext& context, const Arguments& arguments);
Answer serviceProfileRemove(CommandContext& context, const Arguments& arguments);
Answer serviceProfileList(CommandContext& context, const Arguments& arguments);
Answer faultSet(CommandContext& context, const Arguments& arguments);
Answer faultClear(CommandContext& context, const Arguments& arguments);

// platformState.cpp
Answer alarmsGet(CommandContext& context, const Arguments& arguments);
Answer hardwareGet(CommandContext& context, const Arguments& arguments);

}  // namespace oltmgrd
