#pragma once

#include "oltmgrd/process/options.h"

namespace oltmgrd {

/// Runs the management process until it is told to stop; its exit status. Throws `StartError` when it cannot
/// start; what was started is stopped again then.
int runProcess(const Options& options);

}  // namespace oltmgrd
