#include <gtest/gtest.h>

#include "clients/common/name.h"
#include "configurationDocument.h"
#include "errors.h"
#include "inventory.h"
#include "jsonText.h"

namespace oltmgrd {
namespace {

struct BadText {
    const char* name;
    std::string text;
    std::string error;
};

std::string nested(std::size_t levels) {
    return std::string(levels, '[') + std::string(levels, ']');
}

template <typename Read>
std::string errorOf(Read read) {
    try {
        read();
        return "";
    } catch (const JsonError& error) {
        return error.what();
    }
}

std::string testName(const testing::TestParamInfo<BadText>& info) {
    return info.param.name;
}

class BadJson : public testing::TestWithParam<BadText> {};

TEST_P(BadJson, IsRefusedWithItsPlace) {
    EXPECT_EQ(errorOf([] { parseJson(GetParam().text, {.comments = false, .depth = 3, .members = 2}); }),
              GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Json, BadJson,
    testing::Values(
        BadText{"Nothing", "",
                "top level: parse error at line 1, column 1: syntax error while parsing value - unexpected "
                "end of "
                "input; expected '[', '{', or a literal"},
        BadText{"BrokenInside", R"({"a": [1, }]})",
                "/a/1: parse error at line 1, column 11: syntax error while parsing value - unexpected '}'; "
                "expected '[', '{', or a literal"},
        BadText{
            "TextBehindTheEnd", "{} x",
            "top level: parse error at line 1, column 4: syntax error while parsing value - invalid literal; "
            "last read: '{} x'; expected end of input"},
        BadText{
            "Comment", "{} // comment",
            "top level: parse error at line 1, column 4: syntax error while parsing value - invalid literal; "
            "last read: '{} /'; expected end of input"},
        BadText{"MemberTwice", R"([{"x/y": 1, "x/y": 2}])", "/0/x~1y: stands there twice"},
        BadText{"TooManyMembers", R"({"a": {"x": 1, "y": 2, "z": 3}})",
                "/a: an object has at most 2 members"},
        BadText{"TooDeep", nested(4), "/0/0/0: nested more than 3 levels deep"},
        BadText{"DeepEnoughForTheStack", nested(1'000'000), "/0/0/0: nested more than 3 levels deep"}),
    testName);

TEST(Json, TheLimitsThemselvesAreAllowed) {
    EXPECT_EQ(parseJson(nested(3), {.comments = false, .depth = 3, .members = 2}), Json::parse("[[[]]]"));
    EXPECT_EQ(parseJson("/* a */ {\"a\": 1, \"b\": 2} // b", {.comments = true, .depth = 1, .members = 2}),
              Json::parse(R"({"a": 1, "b": 2})"));
}

class BadInventory : public testing::TestWithParam<BadText> {};

TEST_P(BadInventory, IsRefusedWithItsPlace) {
    EXPECT_EQ(errorOf([] { readInventory(Json::parse(GetParam().text)); }), GetParam().error);
}

std::string ports(const std::string& elements) {
    return R"({"ports": [)" + elements + "]}";
}

std::string withPort(const std::string& members) {
    return R"({"ports": [{"interface": 1, "technology": "gpon"}], )" + members + "}";
}

INSTANTIATE_TEST_SUITE_P(
    Inventory, BadInventory,
    testing::Values(
        BadText{"NoObject", "[]", "top level: must be an object"},
        BadText{"UnknownMember", R"({"port": []})", "/port: is not known here"},
        BadText{"PortsNoArray", R"({"ports": {}})", "/ports: must be an array"},
        BadText{"NoInterface", ports(R"({"technology": "gpon"})"), R"(/ports/0: "interface" is missing)"},
        BadText{"NoTechnology", ports(R"({"interface": 1})"), R"(/ports/0: "technology" is missing)"},
        BadText{"UnknownTechnology", ports(R"({"interface": 1, "technology": "xgpon"})"),
                R"(/ports/0/technology: must be "gpon", "10g" or a number)"},
        BadText{"InterfaceZero", ports(R"({"interface": 0, "technology": 1})"),
                "/ports/0/interface: must be an integer from 1 to 2147483647"},
        BadText{"InterfaceAFraction", ports(R"({"interface": 1.5, "technology": 1})"),
                "/ports/0/interface: must be an integer from 1 to 2147483647"},
        BadText{"CapacityTooLarge",
                ports(R"({"interface": 1, "technology": 1, "capacityFixed": 4294967296})"),
                "/ports/0/capacityFixed: must be an integer from 0 to 4294967295"},
        BadText{"DistancesTheWrongWayRound",
                ports(R"({"interface": 1, "technology": 1, "minDistance": 5, "maxDistance": 4})"),
                "/ports/0/minDistance: is above maxDistance, 4"},
        BadText{"InterfaceTwice",
                ports(R"({"interface": 1, "technology": 1}, {"interface": 1, "technology": 1})"),
                "/ports/1/interface: interface 1 is listed already at /ports/0/interface"},
        BadText{"OltTwice",
                ports(R"({"interface": 1, "technology": 1}, {"interface": 2, "olt": 1, "technology": 1})"),
                "/ports/1/olt: OLT port number 1 is used already at /ports/0/olt"},
        BadText{"OnuWithAPortsInterface", withPort(R"("onus": [{"interface": 1, "parent": 1}])"),
                "/onus/0/interface: interface 1 is listed already at /ports/0/interface"},
        BadText{"ParentThatIsNoPort", withPort(R"("onus": [{"interface": 2, "parent": 3}])"),
                "/onus/0/parent: interface 3 is not a PON port of this inventory"},
        BadText{"ParentThatIsAnOnu",
                withPort(R"("onus": [{"interface": 2, "parent": 1}, {"interface": 3, "parent": 2}])"),
                "/onus/1/parent: interface 2 is not a PON port of this inventory"},
        BadText{"UnknownMemberOfAnOnu", withPort(R"("onus": [{"interface": 2, "parent": 1, "olt": 1}])"),
                "/onus/0/olt: is not known here"},
        BadText{"FeatureWithAName", R"({"features": {"five": true}})",
                "/features/five: a feature is named by its number"},
        BadText{"FeatureWithANumber", R"({"features": {"5": 1}})", "/features/5: must be true or false"},
        BadText{"ServiceProfileWithoutAName", R"({"serviceProfiles": [{"name": ""}]})",
                "/serviceProfiles/0/name: is empty"},
        BadText{"ServiceProfileTwice",
                R"({"serviceProfiles": [{"name": "a"}, {"name": {"base64": "YQ=="}}]})",
                "/serviceProfiles/1/name: is used already at /serviceProfiles/0/name"},
        BadText{"ServiceProfileWithALongName",
                R"({"serviceProfiles": [{"name": "a", "flowProfile": ")" + std::string(65, 'x') + R"("}]})",
                "/serviceProfiles/0/flowProfile: is longer than 64 bytes"},
        BadText{"NameWithANul", R"({"serviceProfiles": [{"name": "a\u0000b"}]})",
                "/serviceProfiles/0/name: a name cannot hold a NUL byte"},
        BadText{"NameThatIsNoBase64", R"({"serviceProfiles": [{"name": {"base64": "?"}}]})",
                R"(/serviceProfiles/0/name: must be a name: a string, or {"base64": "..."})"}),
    testName);

TEST(Inventory, DefaultsAreFilledIn) {
    const auto file = readInventory(Json::parse(
        R"({"features": {"5": true, "13": false},
            "ports": [{"interface": 1, "technology": "gpon"},
                      {"interface": 2, "technology": "10g", "minDistance": 30, "capacityTotal": 9}],
            "onus": [{"interface": 7, "parent": 2}],
            "serviceProfiles": [{"name": "s", "tcontProfile": {"base64": "/w=="}}]})"));
    const auto& [ports, onus, others, features, serviceProfiles] = file.inventory;
    EXPECT_TRUE(file.warnings.empty());
    ASSERT_EQ(ports.size(), 2U);
    EXPECT_EQ(ports[0].olt, 1U);
    EXPECT_EQ(ports[0].technology, 1);
    EXPECT_EQ(ports[0].maxDistance, 20U);
    EXPECT_FALSE(ports[0].capacityFixed.has_value());
    EXPECT_EQ(ports[1].technology, 2);
    EXPECT_EQ(ports[1].maxDistance, 30U);
    EXPECT_EQ(ports[1].capacityTotal, 9U);
    ASSERT_EQ(onus.size(), 1U);
    EXPECT_EQ(onus[0].parent, 2U);
    EXPECT_EQ(features, (std::map<int, bool>{{5, true}, {13, false}}));
    EXPECT_EQ(
        serviceProfiles,
        (std::vector<standin::ServiceProfile>{{.name = "s", .tContProfile = "\xff", .flowProfile = ""}}));
}

TEST(Inventory, WarnsWhereInterfaceAndOltPortNumberDiffer) {
    const auto file = readInventory(Json::parse(
        R"({"ports": [{"interface": 1, "olt": 2, "technology": 1}, {"interface": 5, "olt": 1, "technology": 1}]})"));
    EXPECT_EQ(file.warnings,
              (std::vector<std::string>{
                  "/ports/0: interface 1 is OLT port 2: its free bandwidth is read from OLT port 2, but its "
                  "distances "
                  "are looked up at OLT port 1 and are read from there, which is interface 5",
                  "/ports/1: interface 5 is OLT port 1: its free bandwidth is read from OLT port 1, but its "
                  "distances "
                  "are looked up at OLT port 5 and cannot be read, since there is no such port"}));
}

class BadConfiguration : public testing::TestWithParam<BadText> {};

TEST_P(BadConfiguration, IsRefusedWithItsPlace) {
    EXPECT_EQ(errorOf([] { readConfiguration(Json::parse(GetParam().text)); }), GetParam().error);
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

INSTANTIATE_TEST_SUITE_P(
    Configuration, BadConfiguration,
    testing::Values(
        BadText{"NoVersion", "{}", R"(top level: "version" is missing)"},
        BadText{"OtherVersion", R"({"version": 2})", "/version: must be an integer from 1 to 1"},
        BadText{"UnknownMember", version1(R"("binding": [])"), "/binding: is not known here"},
        BadText{"TContTypeOutOfRange", version1(R"("tcontProfiles": [{"name": "t", "tContType": 6}])"),
                "/tcontProfiles/0/tContType: must be an integer from 1 to 5"},
        BadText{"TContProfileTwice", version1(R"("tcontProfiles": [{"name": "t"}, {"name": "t"}])"),
                "/tcontProfiles/1/name: another profile has this name already"},
        BadText{
            "VlanOutOfRange",
            version1(
                R"("flowProfiles": [{"name": "f", "guarRateUs": 1, "peakRateUs": 1, "cVlan": [1, 4095]}])"),
            "/flowProfiles/0/cVlan/1: must be an integer from 1 to 4094"},
        BadText{"AppliedTwice", version1(R"("tcontProfiles": [{"name": "t", "appliedAlso": [5, 5]}])"),
                "/tcontProfiles/0/appliedAlso/1: interface 5 stands there twice"},
        BadText{"BindingWithoutAProfile", bindings(R"("flowProfile": "x", "tcontProfile": "t")"),
                "/bindings/0/flowProfile: no profile of this file has that name"},
        BadText{"BindingRenamedToNothing",
                bindings(R"("flowProfile": "f", "tcontProfile": "t", "tcontProfileNow": "x")"),
                "/bindings/0/tcontProfileNow: no profile of this file has that name"},
        BadText{"ShapeOutOfRange",
                bindings(R"("flowProfile": "f", "tcontProfile": "t", "tcontAtBinding": {"tContId": 7})"),
                "/bindings/0/tcontAtBinding/tContId: must be an integer from 1 to 6"},
        BadText{"BindingTwice", profiles(R"("bindings": [
                    {"interface": 7, "service": "s", "flowProfile": "f", "tcontProfile": "t", "virtualPort": 1,
                     "termPointType": 0, "termPointId": 0},
                    {"interface": 7, "service": "s", "flowProfile": "f", "tcontProfile": "t", "virtualPort": 1,
                     "termPointType": 0, "termPointId": 0}])"),
                "/bindings/1/service: interface 7 has a binding of this name already"}),
    testName);

TEST(Configuration, ReadsBackWhatItWrites) {
    ConfigurationDocument document;
    document.tcontProfiles.resize(3);
    document.tcontProfiles[0].name = "";
    document.tcontProfiles[1].name = std::string("\xff\x01\"\\", 4);
    document.tcontProfiles[1].shape = {
        .tContId = 6, .tContType = 1, .fixedRate = 512, .assuredRate = 0, .maximumRate = 512};
    document.tcontProfiles[1].dbaAllocType = 1;
    document.tcontProfiles[1].dbaWeight = 0xFFFFFFFF;
    document.tcontProfiles[1].dbaPriority = 7;
    document.tcontProfiles[1].allocTypePushed = true;
    document.tcontProfiles[1].weightPushed = true;
    document.tcontProfiles[1].appliedAlso = {7, 9};
    document.tcontProfiles[2].name = "weight 1 was set, the allocation type too";
    document.tcontProfiles[2].allocTypePushed = true;
    document.tcontProfiles[2].weightPushed = true;
    document.flowProfiles.resize(1);
    document.flowProfiles[0].name = std::string(80, 'f');
    document.flowProfiles[0].cPcp = 0;
    document.flowProfiles[0].cVlan = {9, 4094, 1, 9};
    document.flowProfiles[0].guarRateUs = 4096;
    document.flowProfiles[0].peakRateUs = 128;
    document.flowProfiles[0].cPcpPushed = false;
    document.flowProfiles[0].cVlanPushed = false;
    document.flowProfiles[0].appliedNot = {7};
    document.serviceProfiles = {{.name = "s", .tContProfile = "", .flowProfile = "\xfe"}};
    const TContShape atBinding{
        .tContId = 2, .tContType = 3, .fixedRate = 0, .assuredRate = 256, .maximumRate = 512};
    document.bindings = {{.interface = 7,
                          .service = "",
                          .flowProfile = document.flowProfiles[0].name,
                          .tcontProfile = "",
                          .virtualPort = 0xFFFFFFFF,
                          .termPoint = {.type = 2, .id = -32768},
                          .flow = 0,
                          .tcont = 0,
                          .shape = {}},
                         {.interface = 7,
                          .service = "renamed",
                          .flowProfile = "g",
                          .tcontProfile = "u",
                          .virtualPort = 1,
                          .termPoint = {},
                          .flow = 0,
                          .tcont = 1,
                          .shape = atBinding,
                          .pushedTermPoint = TermPoint{.type = -1, .id = 3},
                          .pushedTContId = 6},
                         {.interface = 8,
                          .service = "deleted",
                          .flowProfile = "h",
                          .tcontProfile = "v",
                          .virtualPort = 2,
                          .termPoint = {},
                          .flow = kDeleted,
                          .tcont = kDeleted,
                          .shape = atBinding}};
    document.ports = {{.interface = 1, .fixedAlloc = 0xFFFFFFFF, .assuredAlloc = 5}};
    const std::string text = configurationText(document);
    EXPECT_EQ(readConfiguration(Json::parse(text)), document) << text;
    EXPECT_EQ(readConfiguration(Json::parse(configurationText({}))), ConfigurationDocument());
}

}  // namespace
}  // namespace oltmgrd
