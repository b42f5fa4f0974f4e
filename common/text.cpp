#include "common/text.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace common {
namespace {

struct Range {
    char32_t first, last;
};

constexpr Range kZeroWidth[] = {
    {0x0300, 0x036F}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
    {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F},
};

constexpr Range kDoubleWidth[] = {
    {0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},   {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},
    {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD},
};

// Controls, and format characters that are invisible or change the direction of what follows.
constexpr Range kHidden[] = {
    {0x00, 0x1F},     {0x7F, 0x9F},     {0xAD, 0xAD},       {0x061C, 0x061C},
    {0x180E, 0x180E}, {0x200B, 0x200F}, {0x2028, 0x202E},   {0x2060, 0x206F},
    {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F},
};

template <std::size_t count>
bool contains(const Range (&ranges)[count], char32_t value) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [value](const Range& range) { return range.first <= value && value <= range.last; });
}

void appendEscaped(std::string& out, std::string_view bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        out += "\\x";
        out += kDigits[value >> 4];
        out += kDigits[value & 0x0F];
    }
}

}  // namespace

std::optional<CodePoint> firstCodePoint(std::string_view text) {
    struct Form {
        unsigned char mask, lead;
        std::size_t bytes;
        char32_t least;
    };
    static constexpr Form kForms[] = {
        {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

    if (text.empty()) {
        return std::nullopt;
    }
    const auto lead = static_cast<unsigned char>(text.front());
    const auto* form = std::find_if(std::begin(kForms), std::end(kForms), [lead](const Form& candidate) {
        return (lead & candidate.mask) == candidate.lead;
    });
    if (form == std::end(kForms) || text.size() < form->bytes) {
        return std::nullopt;
    }
    auto value = static_cast<char32_t>(lead & ~form->mask & 0xFF);
    for (std::size_t at = 1; at < form->bytes; ++at) {
        const auto next = static_cast<unsigned char>(text[at]);
        if ((next & 0xC0) != 0x80) {
            return std::nullopt;
        }
        value = (value << 6) | (next & 0x3F);
    }
    if (value < form->least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
        return std::nullopt;
    }
    return CodePoint{value, form->bytes};
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const auto point = firstCodePoint(text);
        if (!point) {
            return false;
        }
        text.remove_prefix(point->bytes);
    }
    return true;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const auto point = firstCodePoint(text);
        if (!point) {
            ++width;
            text.remove_prefix(1);
            continue;
        }
        if (!contains(kZeroWidth, point->value)) {
            width += contains(kDoubleWidth, point->value) ? 2 : 1;
        }
        text.remove_prefix(point->bytes);
    }
    return width;
}

std::string printable(std::string_view text) {
    if (text.empty()) {
        return "\"\"";
    }
    std::string out;
    const std::size_t length = text.size();
    while (!text.empty()) {
        const auto point = firstCodePoint(text);
        const std::size_t bytes = point ? point->bytes : 1;
        const bool atAnEnd = text.size() == length || text.size() == bytes;
        if (!point || contains(kHidden, point->value) || (point->value == ' ' && atAnEnd)) {
            appendEscaped(out, text.substr(0, bytes));
        } else if (point->value == '\\') {
            out += "\\\\";
        } else {
            out += text.substr(0, bytes);
        }
        text.remove_prefix(bytes);
    }
    return out;
}

std::string printableText(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const auto point = firstCodePoint(text);
        const std::size_t bytes = point ? point->bytes : 1;
        const bool isLayout = text.front() == '\n' || text.front() == '\t';
        if (isLayout || (point && !contains(kHidden, point->value))) {
            out += text.substr(0, bytes);
        } else {
            appendEscaped(out, text.substr(0, bytes));
        }
        text.remove_prefix(bytes);
    }
    return out;
}

std::string inQuotes(std::string_view text) {
    return "'" + (text.empty() ? "" : printable(text)) + "'";
}

}  // namespace common
