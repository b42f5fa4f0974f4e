#include <gtest/gtest.h>

#include <functional>

#include "oltmgrd/configuration/document.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/platform/inventory.h"

namespace oltmgrd {
namespace {

struct BadText {
    std::string text;
    std::string error;
};

/// Expects each text to be refused with its error, which the parser's own words may follow.
void expectErrors(const std::vector<BadText>& rows, const std::function<void(const std::string&)>& read) {
    for (const auto& [text, expected] : rows) {
        SCOPED_TRACE(text.substr(0, 200));
        std::string error;
        try {
            read(text);
        } catch (const JsonError& refusal) {
            error = refusal.what();
        }
        EXPECT_EQ(error.substr(0, error.find(": syntax error")), expected);
    }
}

std::string nested(std::size_t levels) {
    return std::string(levels, '[') + std::string(levels, ']');
}

TEST(Json, RefusesBadOnesWithTheirPlace) {
    const std::vector<BadText> rows{
        {"", "top level: parse error at line 1, column 1"},
        {R"({"a": [1, }]})", "/a/1: parse error at line 1, column 11"},
        {"{} x", "top level: parse error at line 1, column 4"},
        {"{} // comment", "top level: parse error at line 1, column 4"},
        {R"([{"x/y": 1, "x/y": 2}])", "/0/x~1y: appears twice"},
        {R"({"a": {"x": 1, "y": 2, "z": 3}})", "/a: an object has at most 2 members"},
        {nested(4), "/0/0/0: nested more than 3 levels deep"},
        {nested(1'000'000), "/0/0/0: nested more than 3 levels deep"}};
    expectErrors(rows, [](const std::string& text) {
        parseJson(text, {.comments = false, .depth = 3, .members = 2});
    });
}

TEST(Json, TheLimitsThemselvesAreAllowed) {
    EXPECT_EQ(parseJson(nested(3), {.comments = false, .depth = 3, .members = 2}), Json::parse("[[[]]]"));
    EXPECT_EQ(parseJson("/* a */ {\"a\": 1, \"b\": 2} // b", {.comments = true, .depth = 1, .members = 2}),
              Json::parse(R"({"a": 1, "b": 2})"));
}

std::string ports(const std::string& elements) {
    return R"({"ports": [)" + elements + "]}";
}

std::string withPort(const std::string& members) {
    return R"({"ports": [{"interface": 1, "technology": "gpon"}], )" + members + "}";
}

TEST(Inventory, RefusesBadOnesWithTheirPlace) {
    const std::vector<BadText> rows{
        {"[]", "top level: must be an object"},
        {R"({"port": []})", "/port: is not known here"},
        {R"({"ports": {}})", "/ports: must be an array"},
        {ports(R"({"technology": "gpon"})"), R"(/ports/0: "interface" is missing)"},
        {ports(R"({"interface": 1})"), R"(/ports/0: "technology" is missing)"},
        {ports(R"({"interface": 1, "technology": "xgpon"})"),
         R"(/ports/0/technology: must be "gpon", "10g" or a number)"},
        {ports(R"({"interface": 0, "technology": 1})"),
         "/ports/0/interface: must be an integer from 1 to 2147483647"},
        {ports(R"({"interface": 1.5, "technology": 1})"),
         "/ports/0/interface: must be an integer from 1 to 2147483647"},
        {ports(R"({"interface": 1, "technology": 1, "capacityFixed": 4294967296})"),
         "/ports/0/capacityFixed: must be an integer from 0 to 4294967295"},
        {ports(R"({"interface": 1, "technology": 1, "minDistance": 5, "maxDistance": 4})"),
         "/ports/0/minDistance: is above maxDistance, 4"},
        {ports(R"({"interface": 1, "technology": 1}, {"interface": 1, "technology": 1})"),
         "/ports/1/interface: interface 1 is listed already at /ports/0/interface"},
        {ports(R"({"interface": 1, "technology": 1}, {"interface": 2, "olt": 1, "technology": 1})"),
         "/ports/1/olt: OLT port number 1 is used already at /ports/0/olt"},
        {withPort(R"("onus": [{"interface": 1, "parent": 1}])"),
         "/onus/0/interface: interface 1 is listed already at /ports/0/interface"},
        {withPort(R"("onus": [{"interface": 2, "parent": 3}])"),
         "/onus/0/parent: interface 3 is not a PON port of this inventory"},
        {withPort(R"("onus": [{"interface": 2, "parent": 1}, {"interface": 3, "parent": 2}])"),
         "/onus/1/parent: interface 2 is not a PON port of this inventory"},
        {withPort(R"("onus": [{"interface": 2, "parent": 1, "olt": 1}])"), "/onus/0/olt: is not known here"},
        {R"({"features": {"five": true}})", "/features/five: a feature is named by its number"},
        {R"({"features": {"5": 1}})", "/features/5: must be true or false"},
        {R"({"serviceProfiles": [{"name": ""}]})", "/serviceProfiles/0/name: is empty"},
        {R"({"serviceProfiles": [{"name": "a"}, {"name": {"base64": "YQ=="}}]})",
         "/serviceProfiles/1/name: is used already at /serviceProfiles/0/name"},
        {R"({"serviceProfiles": [{"name": "a", "flowProfile": ")" + std::string(65, 'x') + R"("}]})",
         "/serviceProfiles/0/flowProfile: is longer than 64 bytes"},
        {R"({"serviceProfiles": [{"name": "a\u0000b"}]})",
         "/serviceProfiles/0/name: a name cannot hold a NUL byte"},
        {R"({"serviceProfiles": [{"name": {"base64": "?"}}]})",
         R"(/serviceProfiles/0/name: must be a name: a string, or {"base64": "..."})"}};
    expectErrors(rows, [](const std::string& text) { readInventory(Json::parse(text)); });
}

TEST(Inventory, DefaultsAreFilledIn) {
    const auto file = readInventory(Json::parse(
        R"({"features": {"5": true, "13": false},
            "ports": [{"interface": 1, "technology": "gpon"},
                      {"interface": 2, "technology": "10g", "minDistance": 30, "capacityTotal": 9}],
            "onus": [{"interface": 7, "parent": 2}],
            "serviceProfiles": [{"name": "s", "tcontProfile": {"base64": "/w=="}}]})"));
    const auto& [features, ports, onus, serviceProfiles] = file.inventory;
    EXPECT_TRUE(file.warnings.empty());
    ASSERT_EQ(ports.size(), 2U);
    EXPECT_EQ(std::tuple(ports[0].olt, ports[0].technology, ports[0].maxDistance), std::tuple(1, 1, 20));
    EXPECT_EQ(std::pair(ports[0].capacityFixed, ports[1].capacityFixed), std::pair(155080000U, 1239808000U));
    EXPECT_EQ(std::tuple(ports[1].olt, ports[1].technology, ports[1].maxDistance), std::tuple(2, 2, 30));
    EXPECT_EQ(ports[1].capacityTotal, 9U);
    EXPECT_EQ(onus.at(0).parent, 2U);
    EXPECT_EQ(features, (std::map<int, bool>{{5, true}, {13, false}}));
    EXPECT_EQ(serviceProfiles,
              (std::vector<ServiceProfile>{{.name = "s", .tcontProfile = "\xff", .flowProfile = ""}}));
}

TEST(Inventory, WarnsWhereInterfaceAndOltPortNumberDiffer) {
    const auto file = readInventory(Json::parse(
        R"({"ports": [{"interface": 1, "olt": 2, "technology": 1}, {"interface": 5, "olt": 1, "technology": 1}]})"));
    EXPECT_EQ(file.warnings,
              (std::vector<std::string>{
                  "/ports/0: interface 1 is OLT port 2: its free bandwidth is read from OLT port 2, but its "
                  "distances are looked up at OLT port 1 and are read from there, which is interface 5",
                  "/ports/1: interface 5 is OLT port 1: its free bandwidth is read from OLT port 1, but its "
                  "distances are looked up at OLT port 5 and cannot be read, since there is no such port"}));
}

std::string version1(const std::string& members) {
    return R"({"version": 1, )" + members + "}";
}

std::string profiles(const std::string& members) {
    return version1(R"("tcontProfiles": [{"name": "t"}], "flowProfiles": [{"name": "f", "guarRateUs": 128,
                       "peakRateUs": 256}], )" +
                    members);
}

std::string bindings(const std::string& members) {
    return profiles(R"("bindings": [{"interface": 7, "service": "s", "virtualPort": 1, "termPointType": 0,
                                     "termPointId": 0, )" +
                    members + "}]");
}

TEST(Configuration, RefusesBadOnesWithTheirPlace) {
    const std::vector<BadText> rows{
        {"{}", R"(top level: "version" is missing)"},
        {R"({"version": 3})", "/version: must be an integer from 1 to 2"},
        {version1(R"("binding": [])"), "/binding: is not known here"},
        {version1(R"("tcontProfiles": [{"name": "t", "tContType": 6}])"),
         "/tcontProfiles/0/tContType: must be an integer from 1 to 5"},
        {version1(R"("tcontProfiles": [{"name": "t"}, {"name": "t"}])"),
         "/tcontProfiles/1/name: another profile has this name already"},
        {version1(R"("flowProfiles": [{"name": "f", "guarRateUs": 1, "peakRateUs": 1, "cVlan": [1, 4095]}])"),
         "/flowProfiles/0/cVlan/1: must be an integer from 1 to 4094"},
        {version1(R"("tcontProfiles": [{"name": "t", "appliedAlso": [5, 5]}])"),
         "/tcontProfiles/0/appliedAlso/1: interface 5 appears twice"},
        {bindings(R"("flowProfile": "x", "tcontProfile": "t")"),
         "/bindings/0/flowProfile: no profile of this file has that name"},
        {bindings(R"("flowProfile": "f", "tcontProfile": "t", "tcontProfileNow": "x")"),
         "/bindings/0/tcontProfileNow: no profile of this file has that name"},
        {bindings(R"("flowProfile": "f", "tcontProfile": "t", "tcontAtBinding": {"tContId": 7})"),
         "/bindings/0/tcontAtBinding/tContId: must be an integer from 1 to 6"},
        {bindings(R"("flowProfile": "f", "tcontProfile": "t", "flowAtBinding": {"cPcp": 1})"),
         R"(/bindings/0/flowAtBinding: "guarRateUs" is missing)"},
        {profiles(R"("bindings": [
                    {"interface": 7, "service": "s", "flowProfile": "f", "tcontProfile": "t", "virtualPort": 1,
                     "termPointType": 0, "termPointId": 0},
                    {"interface": 7, "service": "s", "flowProfile": "f", "tcontProfile": "t", "virtualPort": 1,
                     "termPointType": 0, "termPointId": 0}])"),
         "/bindings/1/service: interface 7 has a binding of this name already"}};
    expectErrors(rows, [](const std::string& text) { readConfiguration(Json::parse(text)); });
}

}  // namespace
}  // namespace oltmgrd
