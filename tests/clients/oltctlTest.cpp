#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <utility>

#include "clients/oltctl/answer.h"
#include "clients/oltctl/request.h"
#include "common/errors.h"

namespace {

using common::commands::Kind;
using oltctl::Json;

TEST(ArgumentValue, FollowsTheKind) {
    const auto value = [](Kind kind, const char* text, const char* nothing = nullptr) {
        return oltctl::argumentValue({"key", kind, "KEY", "", nullptr, nothing}, text);
    };
    EXPECT_EQ(value(Kind::integer, "-1"), Json(-1));
    EXPECT_EQ(value(Kind::number, "4294967295"), Json(4294967295));
    EXPECT_EQ(value(Kind::numberOrNothing, "none", "none"), Json(nullptr));
    EXPECT_EQ(value(Kind::name, "17"), Json("17"));
    EXPECT_EQ(value(Kind::name, "base64:/w=="), Json({{"base64", "/w=="}}));
    EXPECT_EQ(value(Kind::path, "a/b"), Json(std::filesystem::current_path() / "a/b"));
    EXPECT_EQ(value(Kind::path, "/\xff"), Json({{"base64", "L/8="}}));
    EXPECT_THROW(value(Kind::path, ""), common::UsageError);
    EXPECT_EQ(value(Kind::boolean, "yes"), Json(true));
    EXPECT_EQ(value(Kind::boolean, "no"), Json(false));
    EXPECT_THROW(value(Kind::number, "none"), common::UsageError);
    EXPECT_THROW(value(Kind::number, "1.5"), common::UsageError);
    try {
        value(Kind::numberOrNothing, "nothing", "computed");
        FAIL();
    } catch (const common::UsageError& error) {
        EXPECT_STREQ(error.what(), "KEY: 'nothing' is not a whole number, nor the word computed");
    }
    EXPECT_THROW(value(Kind::boolean, "maybe"), common::UsageError);
}

TEST(Refusal, IsToldByTheServerOrTheModule) {
    constexpr std::pair<const char*, const char*> kCases[] = {
        {R"({"result": 0, "text": "fine"})", ""},
        {R"({"result": 0, "arguments": {"res": 0, "resName": "onuQosResOk"}})", ""},
        {R"({"result": 0, "arguments": {"ok": true}})", ""},
        {R"({"result": 1, "text": "interface: missing"})", "interface: missing"},
        {R"({"result": 2})", "result 2"},
        {R"({"result": 0, "text": "", "arguments": {"res": 3, "resName": "onuQosResExists"}})",
         "onuQosResExists (3)"},
        // Of an oltmgrd that explains otherwise.
        {R"({"result": 0, "arguments": {"res": 9, "resName": "r", "explanation": {"reason": "new"}}})",
         "r (9)"},
        {R"({"result": 0, "arguments": {"res": 9, "resName": "r", "explanation": {"reason": "admissionFixed"}}})",
         "r (9)"},
        {R"({"result": 0, "arguments": {"res": 9, "resName": "r", "explanation": "lock"}})", "r (9)"},
        {R"({"result": 0, "arguments": {"res": 1, "resName": "r", "explanation": {"reason": "lock"}}})",
         "r (1): the platform lock was not obtained; try again"},
        {R"({"result": 0, "arguments": {"res": 13, "resName": "r", "explanation":
            {"reason": "duplicateVirtualPort", "interface": 101, "other":
                {"service": {"base64": "/wo="}, "flowProfile": "f\n", "tcontProfile": "t", "virtualPort": 3}}}})",
         R"(r (13): virtual port 3 of ONU 101 carries service "\xff\x0a" (f\x0a, t))"},
        {R"({"result": 0, "arguments": {"ok": false}})", "not carried out; the log of oltmgrd says why"},
        {R"({"result": 0, "arguments": [1]})", ""},
    };
    for (const auto& [answer, refusal] : kCases) {
        EXPECT_EQ(oltctl::refusalText(Json::parse(answer)), refusal) << answer;
    }
}

TEST(RefusalDocument, HasOneShapeForTheServerAndTheModule) {
    constexpr std::pair<const char*, const char*> kCases[] = {
        {R"j({"result": 1, "text": "interface: missing", "arguments": {}})j",
         R"j({"result": 1, "resultName": "refused", "request": "x y", "text": "interface: missing", "hint": ""})j"},
        {R"j({"result": 2, "text": "\u00fc"})j",
         R"j({"result": 2, "resultName": "unknownCommand", "request": "x y", "text": "\u00fc", "hint": ""})j"},
        {R"j({"result": 0, "text": "", "arguments": {"res": 9, "resName": "onuQosResRateError", "a": 1,
             "explanation": {"reason": "r"}}})j",
         R"j({"result": 9, "resultName": "onuQosResRateError", "request": "x y", "text": "onuQosResRateError (9)",
             "hint": "", "explanation": {"reason": "r"},
             "arguments": {"res": 9, "resName": "onuQosResRateError", "a": 1}})j"},
        {R"j({"result": 0, "text": "failed: x", "arguments": {"ok": false}})j",
         R"j({"result": 0, "resultName": "failed", "request": "x y", "text": "failed: x", "hint": "",
             "arguments": {"ok": false}})j"},
    };
    for (const auto& [answer, document] : kCases) {
        EXPECT_EQ(oltctl::refusalDocument(Json::parse(answer), "x y"), Json::parse(document)) << answer;
    }
}

std::string printed(const char* answer) {
    std::ostringstream out;
    oltctl::printAnswer(out, Json::parse(answer));
    return out.str();
}

TEST(Printing, ShowsValuesThenTables) {
    EXPECT_EQ(printed(R"({"result": 0, "text": "saved"})"), "saved\n");
    EXPECT_EQ(printed(R"({"result": 0, "arguments": {}})"), "done\n");
    EXPECT_EQ(printed(R"({"result": 0, "arguments": {"services": []}})"), "services  -\n");
    EXPECT_EQ(printed(R"({"result": 0, "arguments": {"services": [
                           {"interface": 101, "name": "a"}, {"interface": 7, "name": {"base64": "/w=="}, "x": null}]}})"),
              "interface  name  x\n"
              "      101  a\n"
              "        7  \\xff  -\n");
    EXPECT_EQ(printed(R"({"result": 0, "arguments": {"debug": true, "cVlan": [7, 8, 9, 12], "onus": [70000],
                           "numbers": [1, 2, 3], "calls": {"create": 2}, "none": []}})"),
              "debug    yes\n"
              "cVlan    7-9,12\n"
              "onus     70000\n"
              "numbers  1 2 3\n"
              "none     -\n"
              "\n"
              "calls:\n"
              "create  2\n");
}

TEST(Printing, GivesAReplyByteForByte) {
    for (const char* reply : {R"("\t name: a\n")", R"({"base64": "CSBuYW1lOiBhCg=="})"}) {
        std::ostringstream out;
        oltctl::printReply(out, {{"result", 0}, {"arguments", {{"reply", Json::parse(reply)}}}});
        EXPECT_EQ(out.str(), "\t name: a\n");
    }
}

}  // namespace
