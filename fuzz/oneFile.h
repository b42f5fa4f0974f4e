#pragma once

#include <optional>
#include <string>

namespace fuzz {

/// The contents of the one file that there is in a fuzzer, in memory and under every name; nothing while it
/// is not there.
std::optional<std::string>& theFile();

}  // namespace fuzz
