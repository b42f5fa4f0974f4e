#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace onuqosctl {

/// Why the module refuses a value, by its own rules over what was read of it, and what it would take. Rates
/// in kbit/s.
struct Explanation {
    std::string reason;  ///< a word for scripts; empty where there is nothing but a hint
    std::string value;   ///< what was refused, for instance "assured"
    std::optional<std::uint32_t> asked, least, most, step;
    std::optional<std::uint32_t> below, above;  ///< the nearest legal values; nothing on a side without one
    std::string text;     ///< the rule, as part of a sentence; empty: what the result code means says it all
    std::string hint;     ///< what to do about it; may be empty
    std::string command;  ///< a command line that does it; may be empty
};

/// The rules over what is stored now give another answer than the module gave; `accepted`: they let the
/// request pass.
Explanation tablesChanged(bool accepted, std::optional<std::uint32_t> asked);

/// What a value may be and what is nearest, for instance "assured may be 256 to 512 now, nearest 512";
/// `zero`: 0 is legal beside the range.
std::string rangeText(const Explanation& why, bool zero);

/// The value to propose: the next one above, else the one below.
std::optional<std::uint32_t> proposal(const Explanation& why);

}  // namespace onuqosctl
