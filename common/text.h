#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace common {

/// One code point at the start of a text.
struct CodePoint {
    char32_t value;
    std::size_t bytes;
};

/// The code point that `text` begins with; nothing when it is empty or no well-formed UTF-8 (overlong forms,
/// surrogates and values above U+10FFFF are not).
std::optional<CodePoint> firstCodePoint(std::string_view text);

bool isUtf8(std::string_view text);

/// Columns that `text` takes on a terminal: wide characters two, combining ones none, a stray byte one.
std::size_t displayWidth(std::string_view text);

/// `text` with everything a terminal would not show as itself written as "\xNN" and the backslash doubled, so
/// that different bytes never look the same; an empty text as "".
std::string printable(std::string_view text);

/// `text` with everything a terminal would not show as itself written as "\xNN", except for ends of lines and
/// tabs. Backslashes stay as they are, so that what is escaped already is not escaped again.
std::string printableText(std::string_view text);

/// printable() in single quotes, for messages; an empty text as ''.
std::string inQuotes(std::string_view text);

}  // namespace common
