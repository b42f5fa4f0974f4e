#include "operatorCommands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "answer.h"
#include "errors.h"

namespace {

using oltctl::Argument;
using oltctl::Json;

// The control channel's commands and all their arguments.
const std::map<std::string, std::set<std::string>> kControlCommands = {
    {"list-commands", {}},
    {"status", {}},
    {"service-apply",
     {"interface", "service", "flowProfile", "tcontProfile", "virtualPort", "termPointType", "termPointId"}},
    {"service-remove", {"interface", "service"}},
    {"service-list", {}},
    {"flow-service-get", {"interface", "flowId"}},
    {"message", {"name", "argument"}},
    {"config-apply-start", {}},
    {"config-apply-stop", {}},
    {"default-settings", {}},
    {"interface-event", {"interface", "event"}},
    {"onu-config-event", {"interface", "ready", "other"}},
    {"port-distance-set", {"interface", "min", "max"}},
    {"port-available-set", {"interface", "fixed", "total"}},
    {"interface-type-set", {"interface", "type"}},
    {"service-profile-add", {"name", "tcontProfile", "flowProfile"}},
    {"service-profile-remove", {"name"}},
    {"service-profile-list", {}},
    {"alarms-get", {}},
    {"hardware-get", {}},
    {"fault-set", {"operation", "answer", "times", "after"}},
    {"fault-clear", {"operation"}},
    {"config-save", {"file", "force"}},
    {"log-level", {"level"}},
    {"shutdown", {}},
};

TEST(OperatorCommands, ReachEveryControlCommandWithEveryArgument) {
    std::map<std::string, std::set<std::string>> reached;
    for (const oltctl::OperatorCommand& row : oltctl::operatorCommands()) {
        auto& keys = reached[row.command];
        for (const Argument& argument : row.arguments) {
            keys.insert(argument.key);
        }
    }
    EXPECT_EQ(reached, kControlCommands);
}

TEST(OperatorCommands, BeginWithAGroupWhereTheyHaveTwoWords) {
    std::set<std::string> words;
    for (const oltctl::OperatorCommand& row : oltctl::operatorCommands()) {
        const std::string text = row.words;
        EXPECT_TRUE(words.insert(text).second) << text;
        const std::string group = text.substr(0, text.find(' '));
        const bool known =
            std::any_of(oltctl::groups().begin(), oltctl::groups().end(),
                        [&](const oltctl::Group& candidate) { return candidate.word == group; });
        EXPECT_EQ(known, text.find(' ') != std::string::npos) << text;
    }
}

TEST(ArgumentValue, FollowsTheKind) {
    const auto value = [](Argument::Kind kind, const char* text, const char* nullWord = nullptr) {
        return oltctl::argumentValue({"key", "KEY", kind, true, "", nullWord}, text);
    };
    EXPECT_EQ(value(Argument::Kind::number, "-1"), Json(-1));
    EXPECT_EQ(value(Argument::Kind::number, "4294967295"), Json(4294967295));
    EXPECT_EQ(value(Argument::Kind::number, "none", "none"), Json(nullptr));
    EXPECT_EQ(value(Argument::Kind::text, "17"), Json("17"));
    EXPECT_EQ(value(Argument::Kind::text, "base64:/w=="), Json({{"base64", "/w=="}}));
    EXPECT_EQ(value(Argument::Kind::yesNo, "yes"), Json(true));
    EXPECT_EQ(value(Argument::Kind::yesNo, "no"), Json(false));
    EXPECT_EQ(value(Argument::Kind::flag, "true"), Json(true));
    EXPECT_THROW(value(Argument::Kind::number, "none"), clients::UsageError);
    EXPECT_THROW(value(Argument::Kind::number, "1.5"), clients::UsageError);
    EXPECT_THROW(value(Argument::Kind::yesNo, "maybe"), clients::UsageError);
}

struct AnswerCase {
    const char* answer;
    const char* refusal;
};

TEST(Refusal, IsToldByTheServerOrTheModule) {
    constexpr AnswerCase kCases[] = {
        {R"({"result": 0, "text": "fine"})", ""},
        {R"({"result": 0, "arguments": {"res": 0, "resName": "onuQosResOk"}})", ""},
        {R"({"result": 0, "arguments": {"ok": true}})", ""},
        {R"({"result": 1, "text": "interface: missing"})", "interface: missing"},
        {R"({"result": 2})", "result 2"},
        {R"({"result": 0, "text": "", "arguments": {"res": 3, "resName": "onuQosResExists"}})",
         "onuQosResExists (3)"},
        {R"({"result": 0, "arguments": {"ok": false}})", "not carried out; the log of oltmgrd says why"},
        {R"({"result": 0, "arguments": [1]})", ""},
    };
    for (const AnswerCase& answerCase : kCases) {
        EXPECT_EQ(oltctl::refusalText(Json::parse(answerCase.answer)), answerCase.refusal)
            << answerCase.answer;
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
    EXPECT_EQ(printed(R"({"result": 0, "arguments": {"debug": true, "vlans": [7, 8, 9, 12], "ports": [70000],
                           "calls": {"create": 2}, "none": []}})"),
              "debug  yes\n"
              "vlans  7-9,12\n"
              "ports  70000\n"
              "none   -\n"
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
