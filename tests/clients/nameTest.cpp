#include "common/name.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "common/text.h"

namespace {

using namespace std::string_literals;

TEST(Base64, GivesEveryByteBack) {
    std::string bytes;
    for (int length = 0; length < 300; ++length) {
        const std::string text = common::base64Encode(bytes);
        EXPECT_EQ(text.size(), (bytes.size() + 2) / 3 * 4);
        EXPECT_EQ(common::base64Decode(text), bytes);
        bytes += static_cast<char>(length * 7);
    }
    EXPECT_EQ(common::base64Encode("onu"), "b251");
    EXPECT_EQ(common::base64Encode("on"), "b24=");
    EXPECT_EQ(common::base64Encode("o"), "bw==");
}

TEST(Base64, RefusesWhatIsNone) {
    for (const char* text : {"b", "b2", "b25", "b===", "====", "=b24", "b2=4", "bw==b24=", "b2\n4", "b-_4"}) {
        EXPECT_EQ(common::base64Decode(text), std::nullopt) << text;
    }
}

struct TextCase {
    const char* name;
    std::string bytes;
    bool utf8;
    std::size_t width;  // columns of the bytes themselves
    std::string shown;
};

TEST(Text, IsToldShownAndCarried) {
    const TextCase kCases[] = {
        {"Plain", "gold", true, 4, "gold"},
        {"Empty", "", true, 0, "\"\""},
        {"BlankInside", "a b", true, 3, "a b"},
        {"BlanksAtTheEnds", " a ", true, 3, "\\x20a\\x20"},
        {"OnlyABlank", " ", true, 1, "\\x20"},
        {"Backslash", "a\\xff", true, 5, "a\\\\xff"},
        {"Control", "a\x1b[2J", true, 5, "a\\x1b[2J"},
        {"Nul", "a\0b"s, true, 3, "a\\x00b"},
        {"LatinLetter", "caf\xc3\xa9", true, 4, "caf\xc3\xa9"},
        {"Wide", "\xe9\x87\x91", true, 2, "\xe9\x87\x91"},
        {"Combining", "e\xcc\x81", true, 1, "e\xcc\x81"},
        {"FourBytes", "\xf0\x9f\x98\x80", true, 2, "\xf0\x9f\x98\x80"},
        {"Reversal", "a\xe2\x80\xae", true, 2, "a\\xe2\\x80\\xae"},
        {"StrayByte", "a\xff", false, 2, "a\\xff"},
        {"CutShort", "\xe9\x87", false, 2, "\\xe9\\x87"},
        {"Overlong", "\xc0\xaf", false, 2, "\\xc0\\xaf"},
        {"Surrogate", "\xed\xa0\x80", false, 3, "\\xed\\xa0\\x80"},
        {"BeyondTheLast", "\xf4\x90\x80\x80", false, 4, "\\xf4\\x90\\x80\\x80"},
        {"LooksLikeBase64", "base64:AAAA", true, 11, "base64:AAAA"},
        {"LooksLikeAnOption", "--json", true, 6, "--json"},
    };
    for (const TextCase& text : kCases) {
        SCOPED_TRACE(text.name);
        EXPECT_EQ(common::isUtf8(text.bytes), text.utf8);
        EXPECT_EQ(common::displayWidth(text.bytes), text.width);
        EXPECT_EQ(common::printable(text.bytes), text.shown);

        const auto json = common::nameToJson(text.bytes);
        EXPECT_EQ(json.is_string(), text.utf8);
        EXPECT_EQ(common::nameFromJson(nlohmann::ordered_json::parse(json.dump())), text.bytes);
        if (text.bytes.find('\0') == std::string::npos) {
            const std::string argument = common::argumentForName(text.bytes);
            EXPECT_EQ(common::nameFromArgument(argument == "''" ? "" : argument), text.bytes);
        }
    }
}

TEST(NameJson, IsAStringOrABase64ObjectOnly) {
    for (const char* text : {"1", "null", "{}", "[]", R"({"base64": 1})", R"({"base64": "?"})",
                             R"({"base64": "YQ==", "more": 1})"}) {
        EXPECT_EQ(common::nameFromJson(nlohmann::ordered_json::parse(text)), std::nullopt) << text;
    }
}

}  // namespace
