#include "common/name.h"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "common/errors.h"
#include "common/text.h"

namespace common {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kPrefix = "base64:";

}  // namespace

const char* const kNameHelp =
    "Names are bytes. A name that is hard to type can be given as base64:..., for instance\n"
    "\"base64:$(printf 'a\\377' | base64 -w0)\"; so must one that itself begins with \"base64:\".\n"
    "A name that begins with '-' or is \"++\" goes after \"--\".";

std::string base64Encode(std::string_view bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t have = std::min<std::size_t>(3, bytes.size() - at);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            group = (group << 8) | (i < have ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            text += i <= have ? kAlphabet[(group >> (18 - 6 * i)) & 0x3F] : '=';
        }
    }
    return text;
}

std::optional<std::string> base64Decode(std::string_view text) {
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); at += 4) {
        std::uint32_t group = 0;
        std::size_t padding = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const char digit = text[at + i];
            const std::size_t value = kAlphabet.find(digit);
            const bool isPadding = digit == '=' && i >= 2 && at + 4 == text.size();
            if (isPadding) {
                ++padding;
            } else if (value == std::string_view::npos || padding > 0) {
                return std::nullopt;
            }
            group = (group << 6) | (isPadding ? 0U : static_cast<std::uint32_t>(value));
        }
        for (std::size_t i = 0; i < 3 - padding; ++i) {
            bytes += static_cast<char>((group >> (16 - 8 * i)) & 0xFF);
        }
    }
    return bytes;
}

std::string nameFromArgument(const std::string& argument) {
    if (argument.compare(0, kPrefix.size(), kPrefix) != 0) {
        return argument;
    }
    auto bytes = base64Decode(std::string_view(argument).substr(kPrefix.size()));
    if (!bytes) {
        throw UsageError(inQuotes(argument) + " is not base64: with its padding");
    }
    if (bytes->find('\0') != std::string::npos) {
        throw UsageError(inQuotes(argument) + " holds a NUL byte, which a name cannot");
    }
    return *bytes;
}

std::string argumentForName(const std::string& name) {
    constexpr const char* kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.,:/@%=-";
    if (name.empty()) {
        return "''";
    }
    const bool plain = name.find_first_not_of(kPlain) == std::string::npos && name.front() != '-' &&
                       name.compare(0, kPrefix.size(), kPrefix) != 0;
    return plain ? name : std::string(kPrefix) + base64Encode(name);
}

nlohmann::ordered_json nameToJson(const std::string& name) {
    if (isUtf8(name)) {
        return name;
    }
    return {{"base64", base64Encode(name)}};
}

std::optional<std::string> nameFromJson(const nlohmann::ordered_json& json) {
    if (json.is_string()) {
        return json.get<std::string>();
    }
    if (json.is_object() && json.size() == 1 && json.contains("base64") && json["base64"].is_string()) {
        return base64Decode(json["base64"].get<std::string>());
    }
    return std::nullopt;
}

}  // namespace common
