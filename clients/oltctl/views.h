#pragma once

#include <string_view>

#include "clients/oltctl/answer.h"

namespace oltctl {

/// How the answer of a control command is shown to people.
Print printOf(std::string_view command);

/// One PON port, and one ONU with its services, a line for each value.
void printPort(std::ostream& out, const Json& answer);
void printOnu(std::ostream& out, const Json& answer);

}  // namespace oltctl
