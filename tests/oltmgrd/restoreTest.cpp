#include "restoreTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>

#include "common/text.h"
#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/services/valuesOf.h"
#include "standin/serviceProfiles.h"

using common::inQuotes;
using oltmgrd::ConfigurationDocument;
using oltmgrd::RestoreReport;
using oltmgrd::TermPoint;
using oltmgrd::valuesOf;
using testing::ElementsAre;
using testing::IsEmpty;

ConfigurationDocument RestoreTest::saved() {
    const ConfigurationDocument document = captureConfiguration(interface(), *services_, *host_).value();
    const auto read = oltmgrd::readConfiguration(oltmgrd::Json::parse(configurationText(document)));
    EXPECT_EQ(read, document);
    return read;
}

RestoreReport RestoreTest::restore(const ConfigurationDocument& document) {
    startAgain();
    services_.emplace(interface(), *host_);
    module_.configurationApplyStart();
    RestoreReport report = restoreConfiguration(interface(), document, *services_, *host_);
    module_.configurationApplyStop();
    comparePorts(document, interface(), report);
    return report;
}

void RestoreTest::noteBound() {
    onuQosTables now;
    if (module_.onuQosTablesGet(now) != onuQosResOk) {
        return;
    }
    std::erase_if(bound_, [&](const auto& row) {
        return !now.onuQosServiceIntfMap.at(row.first.first).contains(row.first.second);
    });
    for (const auto& [onu, bindings] : now.onuQosServiceIntfMap) {
        for (const auto& [service, binding] : bindings) {
            if (bound_.contains({onu, service})) {
                continue;
            }
            const auto equal =
                std::ranges::find_if(bindings, [&, onu = onu, &binding = binding](const auto& other) {
                    return other.second == binding && bound_.contains({onu, other.first});
                });
            bound_[{onu, service}] =
                equal != bindings.end()
                    ? bound_.at({onu, equal->first})
                    : Bound{.flow = valuesOf(now.onuFlowProfileMap.at(binding.onuFlowProfileName)),
                            .tcont = valuesOf(now.tContProfileMap.at(binding.tContProfileName))};
        }
    }
}

namespace {

oltmgrd::FlowValues sorted(oltmgrd::FlowValues values) {
    std::ranges::sort(values.cVlan);
    return values;
}

oltmgrd::TContValues sorted(const oltmgrd::TContValues& values) {
    return values;
}

template <typename Table>
void expectProfilesKept(const Table& before, const Table& after) {
    for (const auto& [name, profile] : before) {
        ASSERT_TRUE(after.contains(name)) << name;
        EXPECT_EQ(valuesOf(after.at(name)), sorted(valuesOf(profile))) << name;
    }
}

/// What the profile of a binding held when it was bound. Unless it was deleted, it has the name still.
template <typename Values>
Values valuesAtBinding(const oltmgrd::SavedBound<Values>& bound,
                       const std::vector<oltmgrd::SavedProfile<Values>>& profiles) {
    if (bound.place == oltmgrd::kDeleted) {
        return bound.atBinding.value_or(Values());
    }
    EXPECT_EQ(profiles[bound.place].name, bound.name);
    EXPECT_FALSE(bound.atBinding.has_value());
    return profiles[bound.place].values;
}

}  // namespace

void RestoreTest::expectBound(const Document& after) {
    EXPECT_EQ(after.bindings.size(), bound_.size());
    for (const auto& binding : after.bindings) {
        SCOPED_TRACE(std::to_string(binding.interface) + " " + binding.service);
        ASSERT_TRUE(bound_.contains({binding.interface, binding.service}));
        auto [flow, tcont] = bound_.at({binding.interface, binding.service});
        EXPECT_EQ(valuesAtBinding(binding.flow, after.flowProfiles), sorted(flow));
        const auto now = valuesAtBinding(binding.tcont, after.tcontProfiles);
        tcont.tContId = now.tContId;
        EXPECT_EQ(now, tcont);
    }
}

namespace {

/// What is told of the profiles of a family.
template <typename Profile, typename Info, typename Applied>
void addProfileLines(std::multiset<std::string>& lines, const std::string& family,
                     const std::vector<Profile>& saved, const std::map<std::string, Info>& before,
                     const std::map<std::string, Info>& after, Applied applied) {
    for (const auto& [name, profile] : after) {
        if (!before.contains(name)) {
            lines.insert(family + inQuotes(name) + ": made ");
        } else if (profile.*applied != before.at(name).*applied) {
            lines.insert(family + inQuotes(name) + ": counts as applied ");
        }
    }
    for (const Profile& profile : saved) {
        if constexpr (std::is_same_v<Profile, oltmgrd::SavedFlowProfile>) {
            if (!std::ranges::is_sorted(profile.values.cVlan)) {
                lines.insert(family + inQuotes(profile.name) + ": its VLANs ");
            }
        }
    }
}

/// What is told of the profile of a service.
template <typename Values, typename Info>
void addBoundLines(std::multiset<std::string>& lines, const std::string& service, const std::string& family,
                   const oltmgrd::SavedBound<Values>& was, const oltmgrd::SavedBound<Values>& is,
                   const std::vector<oltmgrd::SavedProfile<Values>>& saved,
                   const std::map<std::string, Info>& before) {
    const bool wasAnother = was.place == oltmgrd::kDeleted || saved[was.place].name != was.name;
    if (was.name != is.name) {
        lines.insert(service + "bound to " + family + inQuotes(is.name) + ", not " + inQuotes(was.name) +
                     ": ");
    } else if (wasAnother && before.contains(was.name)) {
        lines.insert(service + "bound to the present " + family + inQuotes(is.name));
    }
}

/// How each line must begin that tells a difference.
std::multiset<std::string> expectedLines(const ConfigurationDocument& before,
                                         const ConfigurationDocument& after, const onuQosTables& tablesBefore,
                                         const onuQosTables& tablesAfter) {
    std::multiset<std::string> lines;
    addProfileLines(lines, "flow profile ", before.flowProfiles, tablesBefore.onuFlowProfileMap,
                    tablesAfter.onuFlowProfileMap, &onuQos::onuFlowProfileInfo::appliedIntfSet);
    addProfileLines(lines, "T-CONT profile ", before.tcontProfiles, tablesBefore.tContProfileMap,
                    tablesAfter.tContProfileMap, &tContProfileInfo::appliedIntfs);
    for (std::size_t i = 0; i < before.bindings.size(); ++i) {
        const auto& was = before.bindings[i];
        const auto& is = after.bindings[i];
        EXPECT_EQ(std::pair(is.interface, is.service), std::pair(was.interface, was.service));
        const std::string service =
            "service " + inQuotes(was.service) + " of interface " + std::to_string(was.interface) + ": ";
        addBoundLines(lines, service, "flow profile ", was.flow, is.flow, before.flowProfiles,
                      tablesBefore.onuFlowProfileMap);
        addBoundLines(lines, service, "T-CONT profile ", was.tcont, is.tcont, before.tcontProfiles,
                      tablesBefore.tContProfileMap);
        if (was.termPoint != is.termPoint) {
            lines.insert(service + "its termination point ");
        }
    }
    for (std::size_t i = 0; i < before.ports.size(); ++i) {
        const auto& was = before.ports[i];
        const auto& is = after.ports[i];
        const std::string port = "port " + std::to_string(was.interface) + ": ";
        if (std::pair(was.fixedAlloc, was.assuredAlloc) != std::pair(is.fixedAlloc, is.assuredAlloc)) {
            lines.insert(port + "commits ");
        }
        if (was.alarm != is.alarm) {
            lines.insert(port + "its alarm is ");
        }
    }
    return lines;
}

}  // namespace

std::vector<std::string> RestoreTest::expectRestored() {
    const onuQosTables before = tables();
    const ConfigurationDocument document = saved();
    const RestoreReport report = restore(document);
    EXPECT_THAT(report.lost, IsEmpty());
    EXPECT_EQ(report.bindings, document.bindings.size());
    const Snapshot after = snapshot();
    EXPECT_EQ(report.profiles, after.tables.onuFlowProfileMap.size() + after.tables.tContProfileMap.size());
    expectProfilesKept(before.onuFlowProfileMap, after.tables.onuFlowProfileMap);
    expectProfilesKept(before.tContProfileMap, after.tables.tContProfileMap);
    expectMirrorAgrees();
    const ConfigurationDocument again = saved();
    expectBound(again);
    std::vector<std::string> lines = report.differences;
    for (const std::string& beginning : expectedLines(document, again, before, after.tables)) {
        const auto line = std::ranges::find_if(
            lines, [&](const std::string& candidate) { return candidate.starts_with(beginning); });
        EXPECT_NE(line, lines.end()) << "not told: " << beginning;
        if (line != lines.end()) {
            lines.erase(line);
        }
    }
    EXPECT_THAT(lines, IsEmpty()) << "told, and no difference";

    const RestoreReport second = restore(again);
    EXPECT_THAT(second.lost, IsEmpty());
    EXPECT_THAT(second.differences, IsEmpty());
    EXPECT_EQ(tables(), after.tables);
    EXPECT_EQ(snapshot().hardware.bindings, after.hardware.bindings);
    EXPECT_EQ(configurationText(saved()), configurationText(again));
    if (HasFailure()) {
        ADD_FAILURE() << configurationText(document) << configurationText(again);
    }
    return report.differences;
}

namespace {

using Told = std::vector<std::string>;

TEST_F(RestoreTest, AConfigurationThatClientsBuiltComesBackAltogether) {
    makeRates("gold", 1024, 2048, 1);
    makeRates("silver", 0, 512, 2);
    makeFlow("hsi");
    makeFlow("voice");
    ASSERT_EQ(bind(203, "b", "hsi", "gold", 1), onuQosResOk);
    ASSERT_EQ(bind(101, "z", "hsi", "gold", 1), onuQosResOk);
    ASSERT_EQ(bind(101, "a", "voice", "silver", 2, {.type = 2, .id = -3}), onuQosResOk);
    ASSERT_EQ(bind(101, "same as a", "voice", "silver", 2, {.type = 9, .id = 4}), onuQosResOk);
    ASSERT_EQ(bind(201, "c", "hsi", "silver", 7), onuQosResOk);
    standin::serviceProfiles::add({.name = "internet", .tContProfile = "gold", .flowProfile = "hsi"});

    const Snapshot before = snapshot();
    const auto serviceProfiles = standin::serviceProfiles::list();
    EXPECT_THAT(expectRestored(), IsEmpty());
    EXPECT_EQ(tables(), before.tables);
    EXPECT_EQ(snapshot().hardware.bindings, before.hardware.bindings);  // flow ids included
    EXPECT_EQ(standin::serviceProfiles::list(), serviceProfiles);
    const auto listed = services().list();
    ASSERT_EQ(listed.size(), 5U);
    EXPECT_EQ(listed[0].interface, 203U);
    EXPECT_EQ(listed[3].service, "same as a");
    EXPECT_EQ(listed[3].termPoint, (TermPoint{.type = 9, .id = 4}));
}

struct Shape {
    const char* name;
    unsigned int type, fixed, assured, maximum;
};

void PrintTo(const Shape& shape, std::ostream* out) {
    *out << shape.name;
}

class RestoreShape : public RestoreTest, public testing::WithParamInterface<Shape> {};

TEST_P(RestoreShape, ComesBack) {
    const auto [name, type, fixed, assured, maximum] = GetParam();
    ConfigurationDocument document;
    document.tcontProfiles.push_back({.name = name,
                                      .values = {.tContType = type,
                                                 .fixedRate = fixed,
                                                 .assuredRate = assured,
                                                 .maximumRate = maximum,
                                                 .dbaAllocType = 1}});
    const RestoreReport report = restore(document);
    EXPECT_THAT(report.lost, IsEmpty());
    EXPECT_EQ(saved().tcontProfiles, document.tcontProfiles);
    expectMirrorAgrees();
}

INSTANTIATE_TEST_SUITE_P(Shapes, RestoreShape,
                         testing::Values(Shape{"Type1", 1, 512, 0, 512}, Shape{"Type2", 2, 0, 1024, 1024},
                                         Shape{"Type3Least", 3, 0, 256, 512},
                                         Shape{"Type3", 3, 0, 1024, 1280}, Shape{"Type4", 4, 0, 0, 1244160},
                                         Shape{"Type5Fresh", 5, 0, 0, 256},
                                         Shape{"Type5OnlyFixed", 5, 256, 0, 512},
                                         Shape{"Type5OnlyAssured", 5, 0, 256, 512},
                                         Shape{"Type5FixedBelow256", 5, 64, 1024, 1344},
                                         Shape{"Type5BothBelow256", 5, 128, 128, 512},
                                         Shape{"Type5AssuredBelow256", 5, 512, 64, 832},
                                         Shape{"Type5Largest", 5, 1243904, 0, 1244160}),
                         [](const auto& shape) { return std::string(shape.param.name); });

TEST_F(RestoreTest, WhatACopyDidNotPushIsPushedAndVlansAreSorted) {
    makeFlow("f");
    const auto vlans = [&](const char* name, Vlans list) {
        EXPECT_EQ(ruleSet(name, {.cPcp = 0xFFFFFFFF, .cVlan = std::move(list)},
                          onuQos::onuFlowProfileRuleTypeCVlan, onuQos::onuFlowProfileOperationAdd),
                  onuQosResOk);
    };
    vlans("f", {10, 5, 5});
    vlans("f", {7});
    ASSERT_EQ(ruleSet("f", {.cPcp = 3, .cVlan = {}}, onuQos::onuFlowProfileRuleTypeCPcp), onuQosResOk);
    ASSERT_EQ(module_.onuFlowProfileCopy("f", "copy"), onuQosResOk);
    module_.configurationApplyStart();
    ASSERT_EQ(actionSet("copy", {.guarRateUs = 4096, .peakRateUs = 128, .flowPriorityUs = 7}), onuQosResOk);
    module_.configurationApplyStop();
    makeTCont("t");
    ASSERT_EQ(module_.tContProfileSrdbaWeightSet("t", 0), onuQosResOk);
    ASSERT_EQ(module_.tContProfileSrdbaPrioritySet("t", 3), onuQosResOk);
    EXPECT_THAT(expectRestored(),
                ElementsAre("flow profile 'copy': its VLANs are in ascending order now, not 7, 5, 10",
                            "flow profile 'f': its VLANs are in ascending order now, not 7, 5, 10"));
}

TEST_F(RestoreTest, NamesThatOnlyRenamingMakesComeBack) {
    const std::string longName(200, 'x');
    for (const std::string& name :
         {std::string(), longName, std::string("restoring"), std::string("\xff\n")}) {
        makeTCont("passing");
        makeFlow("passing");
        ASSERT_EQ(module_.tContProfileRename("passing", name), onuQosResOk);
        ASSERT_EQ(module_.onuFlowProfileRename("passing", name), onuQosResOk);
    }
    ASSERT_EQ(bind(101, "", "", "", 0), onuQosResOk);
    ASSERT_EQ(bind(102, longName, longName, longName, 0), onuQosResOk);
    EXPECT_THAT(expectRestored(), IsEmpty());
}

/// A profile is renamed, deleted, replaced or changed while a service is bound to it.
TEST_F(RestoreTest, AServiceKeepsItsProfilesUnderTheNamesThatTheyCanHave) {
    makeFlow("f");
    makeRates("t", 1024, 0, 2);
    const Res ok = onuQosResOk;
    ASSERT_EQ(bind(101, "s", "f", "t", 1), ok);
    const auto expect = [&](const char* flow, const char* tcont, const std::vector<const char*>& told) {
        const Told lines = expectRestored();
        for (const char* line : told) {
            EXPECT_THAT(lines, testing::Contains(testing::HasSubstr(line)));
        }
        EXPECT_EQ(services().list().at(0).flowProfile, flow);
        EXPECT_EQ(services().list().at(0).tcontProfile, tcont);
    };
    ASSERT_EQ(module_.onuFlowProfileRename("f", "g"), ok);
    ASSERT_EQ(module_.tContProfileRename("t", "u"), ok);
    // The old names are taken by others, of which one holds the same.
    makeFlow("f");
    ASSERT_EQ(module_.tContProfileCreate("t"), ok);
    expect("g", "u",
           {"service 's' of interface 101: bound to flow profile 'g', not 'f': it was renamed",
            "service 's' of interface 101: bound to T-CONT profile 'u', not 't': it was renamed"});
    ASSERT_EQ(module_.onuFlowProfileDelete("g"), ok);
    ASSERT_EQ(module_.tContProfileDelete("u"), ok);
    expect("g", "u",
           {"flow profile 'g': made again: it was deleted while services were bound to it",
            "T-CONT profile 'u': made again: it was deleted while services were bound to it"});
    ASSERT_EQ(module_.onuFlowProfileDelete("g"), ok);
    ASSERT_EQ(module_.tContProfileDelete("u"), ok);
    makeFlow("g");
    ASSERT_EQ(module_.tContProfileCreate("u"), ok);
    expect("g", "u~2",
           {"bound to the present flow profile 'g', which holds the same as the one before",
            "T-CONT profile 'u~2': made beside 'u': it was deleted while services were bound to it",
            "bound to T-CONT profile 'u~2', not 'u': it was deleted while services were bound to it"});
    ASSERT_EQ(module_.tContProfileRename("u~2", "v"), ok);
    ASSERT_EQ(module_.tContProfileFixedRateSet("v", 64000), ok);
    ASSERT_EQ(module_.tContProfileRename("v", "u~2"), ok);
    ASSERT_EQ(module_.onuFlowProfileRename("g", "h"), ok);
    ASSERT_EQ(actionSet("h", {.guarRateUs = 640, .peakRateUs = 6400}), ok);
    expect("g", "u~2~2",
           {"flow profile 'g': made again: it was changed while services were bound to it",
            "T-CONT profile 'u~2~2': made beside 'u~2': it was changed while services were bound to it"});
}

TEST_F(RestoreTest, AToldNameIsOneThatClientsCanCreateAndNobodyElseNeeds) {
    // Not to be cut amid a character.
    const std::string name = std::string(61, 'x') + "\xc3\xa9" + "y";
    const std::string second = std::string(61, 'x') + "~2";
    makeFlow("f");
    makeRates(name, 1024, 0);
    makeRates(second, 2048, 0);
    ASSERT_EQ(bind(101, "s", "f", name, 1), onuQosResOk);
    ASSERT_EQ(bind(102, "s", "f", second, 1), onuQosResOk);
    ASSERT_EQ(module_.tContProfileDelete(name), onuQosResOk);
    ASSERT_EQ(module_.tContProfileDelete(second), onuQosResOk);
    ASSERT_EQ(module_.tContProfileCreate(name), onuQosResOk);
    expectRestored();
    EXPECT_EQ(services().list().at(0).tcontProfile, std::string(61, 'x') + "~3");
    EXPECT_EQ(services().list().at(1).tcontProfile, second);
}

TEST_F(RestoreTest, OneFlowProfileOnTwoVirtualPortsBecomesTwo) {
    makeFlow("f");
    makeTCont("t");
    for (const unsigned int onu : {101U, 102U}) {
        ASSERT_EQ(bind(onu, "first", "f", "t", 1), onuQosResOk);
        ASSERT_EQ(module_.onuFlowProfileRename("f", "g"), onuQosResOk);
        ASSERT_EQ(bind(onu, "second", "g", "t", 2), onuQosResOk);
        ASSERT_EQ(module_.onuFlowProfileRename("g", "f"), onuQosResOk);
    }
    EXPECT_THAT(
        expectRestored(),
        ElementsAre("flow profile 'f~2': made beside 'f': an ONU had it on several virtual ports",
                    "service 'second' of interface 101: bound to flow profile 'f~2', not 'g': an ONU had "
                    "it on several virtual ports",
                    "service 'second' of interface 102: bound to flow profile 'f~2', not 'g': an ONU had "
                    "it on several virtual ports"));
}

/// Binds further services of an ONU to T-CONT profiles "0", "1" and so on, all with T-CONT id 1: a profile
/// that has another name by then is not in the way.
class RestoreTContIds : public RestoreTest {
protected:
    void bindWithOneId(unsigned int count) {
        for (unsigned int i = 0; i < count; ++i) {
            const std::string name = std::to_string(i);
            makeFlow(name);
            makeRates(name, 1024 * (i + 1), 0);
            ASSERT_EQ(bind(101, "service " + name, name, name, i), onuQosResOk);
            ASSERT_EQ(module_.tContProfileRename(name, "away"), onuQosResOk);
            ASSERT_EQ(module_.tContProfileRename("away", "now " + name), onuQosResOk);
        }
    }
};

TEST_F(RestoreTContIds, EachTContOfAnOnuGetsAnIdThatNoOtherHas) {
    bindWithOneId(3);
    makeFlow("f");
    makeTCont("t", tContType5, 2);
    ASSERT_EQ(bind(101, "s", "f", "t", 9), onuQosResOk);
    const Told told = expectRestored();
    for (const char* line :
         {"T-CONT profile 'now 1~2': made beside 'now 1': an ONU had another T-CONT of its id; "
          "this one has id 3",
          "T-CONT profile 'now 2~2': made beside 'now 2': an ONU had another T-CONT of its id; "
          "this one has id 4"}) {
        EXPECT_THAT(told, testing::Contains(line));
    }
    EXPECT_EQ(services().list().back().tcontProfile, "t");
}

TEST_F(RestoreTContIds, MoreTContsThanIdsStayBoundToProfilesThatAreDeletedAgain) {
    bindWithOneId(8);
    const Told told = expectRestored();
    EXPECT_THAT(told,
                testing::Contains(testing::StartsWith(
                    "service 'service 7' of interface 101: bound to T-CONT profile 'now 7~2', not '7': an "
                    "ONU has more T-CONTs than there are ids")));
    EXPECT_EQ(tContText("now 7~2"), "none");
    EXPECT_EQ(tContText("now 7"), "1 5 8192/0/1244160 2 1 0");
}

TEST_F(RestoreTContIds, ServicesWhoseAccountingIsRefusedKeepTheirOrder) {
    bindWithOneId(8);  // of which some are bound before the others
    const ConfigurationDocument document = saved();
    const auto namesOf = [](const oltmgrd::ServiceSide& side) {
        Told names;
        for (const auto& service : side.list()) {
            names.push_back(service.service);
        }
        return names;
    };
    const Told before = namesOf(services());
    startAgain();
    module_.configurationApplyStart();
    fail("interfaceParentGet", 1, 1000);
    oltmgrd::ServiceSide side(interface(), *host_);
    EXPECT_EQ(restoreConfiguration(interface(), document, side, *host_).bindings, 0U);
    EXPECT_EQ(namesOf(side), before);
}

TEST_F(RestoreTest, FullTablesLeaveProfilesDeletedThatWereDeletedWhileBound) {
    makeFlow("gone");
    makeRates("gone", 512, 512, 3);
    ASSERT_EQ(bind(101, "before", "gone", "gone", 1), onuQosResOk);
    ASSERT_EQ(module_.tContProfileRename("gone", ""), onuQosResOk);
    ASSERT_EQ(bind(102, "empty name", "gone", "", 1), onuQosResOk);
    ASSERT_EQ(module_.tContProfileRename("", "gone"), onuQosResOk);
    ASSERT_EQ(module_.tContProfileDelete("gone"), onuQosResOk);
    ASSERT_EQ(module_.onuFlowProfileDelete("gone"), onuQosResOk);
    for (unsigned int i = 0; i < 256; ++i) {
        makeTCont("t" + std::to_string(i));
        makeFlow("f" + std::to_string(i));
        ASSERT_EQ(bind(i % 2 == 0 ? 202 : 203, "s" + std::to_string(i), "f" + std::to_string(i), "t0", i),
                  onuQosResOk);
    }
    EXPECT_THAT(expectRestored(), IsEmpty());
}

TEST_F(RestoreTest, AnEqualServiceThatIsLeftKeepsWhatTheHardwareLayerHas) {
    makeFlow("f");
    makeTCont("t");
    ASSERT_EQ(bind(101, "pushed", "f", "t", 1, {.type = 1, .id = 5}), onuQosResOk);
    // Not pushed, so that neither its termination point nor the profile that has the name now counts.
    ASSERT_EQ(module_.tContProfileRename("t", "u"), onuQosResOk);
    ASSERT_EQ(module_.tContProfileCreate("t"), onuQosResOk);
    ASSERT_EQ(bind(101, "equal", "f", "t", 1, {.type = 77, .id = 6}), onuQosResOk);
    ASSERT_EQ(remove(101, "pushed"), onuQosResOk);
    EXPECT_THAT(
        expectRestored(),
        testing::IsSupersetOf({"service 'equal' of interface 101: bound to T-CONT profile 'u', not 't': it "
                               "was renamed",
                               "service 'equal' of interface 101: its termination point is type 1, id 5, "
                               "that of an equal service that was removed"}));
    EXPECT_EQ(snapshot().hardware.bindings.at(0).uniType, 6);
    EXPECT_EQ(services().list().at(0).termPoint, (TermPoint{.type = 1, .id = 5}));
}

TEST_F(RestoreTest, AppliedSetsAndSumsAreMadeAnewAndTold) {
    makeFlow("f");
    makeTCont("t");
    ASSERT_EQ(bind(101, "a", "f", "t", 1), onuQosResOk);
    ASSERT_EQ(bind(101, "b", "f", "t", 1), onuQosResOk);
    ASSERT_EQ(bind(102, "a", "f", "t", 1), onuQosResOk);
    ASSERT_EQ(bind(103, "a", "f", "t", 1), onuQosResOk);
    // Of two equal ones one is removed; another is removed whose T-CONT profile has another name.
    ASSERT_EQ(remove(101, "a"), onuQosResOk);
    ASSERT_EQ(module_.tContProfileRename("t", "u"), onuQosResOk);
    ASSERT_NE(remove(102, "a"), onuQosResOk);
    ASSERT_EQ(module_.tContProfileRename("u", "t"), onuQosResOk);
    EXPECT_THAT(
        expectRestored(),
        ElementsAre("flow profile 'f': counts as applied where services are bound to it and nowhere else, "
                    "unlike before on interface 101, 102",
                    "T-CONT profile 't': counts as applied where services are bound to it and nowhere else, "
                    "unlike before on interface 101, 102",
                    "port 1: commits 2880 instead of 4800 kbit/s fixed and 13952 instead of 16384 kbit/s "
                    "assured: its services are accounted for anew, in their order"));
}

TEST_F(RestoreTest, AnAlarmIsDecidedAnewAndTold) {
    makeFlow("f");
    makeRates("t", 1024, 0);
    ASSERT_EQ(bind(101, "s", "f", "t", 1), onuQosResOk);
    standin::ports::setDistances(1, 0, 60);  // which no configuration file holds
    module_.onuQosOltPortDistanceChangedEventHandler(1);
    EXPECT_THAT(expectRestored(), ElementsAre("port 1: its alarm is not raised now: it is decided anew"));
}

TEST_F(RestoreTest, WhatIsRefusedIsReportedAndTheRestIsRestored) {
    makeFlow("f");
    makeRates("good", 512, 0, 1);
    makeRates("too fast", 512, 0, 2);
    ASSERT_EQ(bind(101, "good", "f", "good", 1), onuQosResOk);
    ASSERT_EQ(bind(101, "bad", "f", "good", 1), onuQosResOk);
    ConfigurationDocument document = saved();
    document.tcontProfiles[1].values.fixedRate = 2'000'000;
    document.bindings[1].interface = 999;
    oltmgrd::ServiceProfile wrong{.name = "wrong", .tcontProfile = std::string(70, 'x'), .flowProfile = ""};
    document.serviceProfiles = {wrong, {.name = "right", .tcontProfile = "good", .flowProfile = ""}};
    const RestoreReport report = restore(document);
    EXPECT_THAT(report.lost,
                ElementsAre("service 'bad' of interface 999: there is no such ONU (onuQosResWrongIntf)",
                            "T-CONT profile 'too fast': the module refused a step (onuQosResRateError)",
                            testing::StartsWith("service profile 'wrong': ")));
    EXPECT_EQ(report.bindings, 1U);
    EXPECT_EQ(report.serviceProfiles, 1U);
    EXPECT_EQ(tables().onuQosServiceIntfMap.at(101).count("good"), 1U);
    EXPECT_EQ(tContText("too fast"), "2 5 0/0/1244160 2 1 0");
}

TEST_F(RestoreTest, EveryRefusedPlatformCallIsReportedOrMakesNoDifference) {
    makeFlow("f");
    ASSERT_EQ(ruleSet("f", {.cPcp = 1, .cVlan = {4}}), onuQosResOk);
    makeRates("t", 512, 64, 2);
    makeTCont("to be renamed");
    ASSERT_EQ(module_.tContProfileRename("to be renamed", ""), onuQosResOk);
    ASSERT_EQ(bind(101, "a", "f", "t", 1), onuQosResOk);
    ASSERT_EQ(bind(102, "b", "f", "t", 2), onuQosResOk);
    const ConfigurationDocument document = saved();
    restore(document);
    const Snapshot whole = snapshot();
    std::map<standin::Operation, std::uint64_t> counts;
    for (const auto& call : callsOf([&] { restore(document); })) {
        ++counts[call.operation];
    }
    for (const auto& [operation, count] : counts) {
        for (std::uint64_t after = 0; after < count; ++after) {
            SCOPED_TRACE(std::string(name(operation)) + " no. " + std::to_string(after + 1));
            startAgain();
            module_.configurationApplyStart();
            standin::faults::set(operation, {.answer = 1, .times = 1, .after = after});
            oltmgrd::ServiceSide side(interface(), *host_);
            const RestoreReport report = restoreConfiguration(interface(), document, side, *host_);
            standin::faults::clearAll();
            module_.configurationApplyStop();
            if (report.lost.empty() && operation != standin::Operation::isActive) {
                EXPECT_EQ(tables().tContProfileMap, whole.tables.tContProfileMap);
                EXPECT_EQ(tables().onuFlowProfileMap, whole.tables.onuFlowProfileMap);
                EXPECT_EQ(tables().onuQosServiceIntfMap, whole.tables.onuQosServiceIntfMap);
                EXPECT_EQ(side.list().size(), 2U);
            }
        }
    }
}

/// A file of a module whose profiles and services had been renamed, deleted and replaced, as it was written
/// before the file had what flow profiles held when they were bound.
TEST_F(RestoreTest, AFileOfVersion1IsRead) {
    const ConfigurationDocument document = oltmgrd::loadConfiguration(OLTMGRD_TEST_FILES "/version1.json");
    const RestoreReport report = restore(document);
    EXPECT_THAT(report.lost, IsEmpty());
    const std::string applied =
        ": counts as applied where services are bound to it and nowhere else, unlike before on interface ";
    EXPECT_THAT(
        report.differences,
        ElementsAre(
            "flow profile 'copy of g': its VLANs are in ascending order now, not 7, 5, 10",
            "flow profile 'g': its VLANs are in ascending order now, not 7, 5, 10",
            "T-CONT profile 't': made again: it was changed while services were bound to it",
            "service 'renamed' of interface 101: bound to flow profile 'was f', not 'f': it was renamed",
            "flow profile 'h': made again: it was deleted while services were bound to it",
            "T-CONT profile 'gone': made again: it was deleted while services were bound to it",
            "service 'u' of interface 103: bound to T-CONT profile 'was u', not 'u': it was renamed",
            "service 'later' of interface 201: its termination point is type 1, id 5, that of an equal "
            "service that was "
            "removed",
            "flow profile 'e'" + applied + "201, 202", "T-CONT profile 'e'" + applied + "201",
            "T-CONT profile 'left behind'" + applied + "202", "T-CONT profile 'was t'" + applied + "101",
            "port 2: commits 1920 instead of 2880 kbit/s fixed and 11520 instead of 13952 kbit/s assured: "
            "its services are accounted for anew, in their order"));
    EXPECT_EQ(tContText("t"), "1 5 1024/0/1244160 2 1 0");
    EXPECT_EQ(tContText("gone"), "3 5 512/512/1244160 2 1 0");
    expectMirrorAgrees();
    noteBound();
    EXPECT_THAT(expectRestored(), IsEmpty());
}

}  // namespace
