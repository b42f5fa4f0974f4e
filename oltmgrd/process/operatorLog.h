#pragma once

#include <string>

namespace oltmgrd {

/// Tells the operator something: one line on standard error, and in the log as well where that goes to a
/// file.
void tellOperator(const std::string& text);

/// Says whether the log goes to a file; before the first thread is started.
void setLogsToFile(bool toFile);

}  // namespace oltmgrd
