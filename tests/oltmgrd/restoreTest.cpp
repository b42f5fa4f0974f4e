#include "restoreTest.h"

#include <gmock/gmock.h>

#include "standin/serviceProfiles.h"

using oltmgrd::ConfigurationDocument;
using oltmgrd::RestoreReport;
using oltmgrd::TermPoint;
using testing::ElementsAre;
using testing::IsEmpty;

ConfigurationDocument RestoreTest::saved() {
    oltmgrd::ConfigurationState state;
    EXPECT_TRUE(oltmgrd::captureConfiguration(interface(), *services_, *host_, state));
    const ConfigurationDocument document = documentOf(state);
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
    return report;
}

Snapshot RestoreTest::comparable() const {
    Snapshot now = snapshot();
    now.tables.onuQosOltCacMap.clear();
    now.tables.onuQosOnuCacMap.clear();
    now.tables.onuQosOltCacAlarmMap.clear();
    now.hardware.onuEvents.clear();
    now.hardware.onus.clear();  // told once a process, when the module makes their records
    for (auto& profile : now.hardware.tContProfiles) {
        profile.serial = 0;
    }
    for (auto& profile : now.hardware.flowProfiles) {
        profile.serial = 0;
    }
    for (auto& binding : now.hardware.bindings) {
        binding.flowId = 0;
    }
    return now;
}

void RestoreTest::expectRestored() {
    const Snapshot before = comparable();
    const ConfigurationDocument document = saved();
    const RestoreReport report = restore(document);
    EXPECT_THAT(report.lost, IsEmpty());
    EXPECT_EQ(report.bindings, document.bindings.size());
    EXPECT_EQ(report.profiles, document.tcontProfiles.size() + document.flowProfiles.size());
    const Snapshot after = comparable();
    EXPECT_EQ(after.tables, before.tables);
    EXPECT_EQ(after.hardware, before.hardware);
    // Port sums can differ after removals; everything else of a second save is the first.
    ConfigurationDocument again = saved();
    again.ports = document.ports;
    EXPECT_EQ(again, document) << configurationText(document) << configurationText(again);
}

namespace {

TEST_F(RestoreTest, AConfigurationWithoutRemovalsComesBackAltogether) {
    makeRates("gold", 1024, 2048, 1);
    makeRates("silver", 0, 512, 2);
    makeFlow("hsi");
    makeFlow("voice");
    ASSERT_EQ(bind(203, "b", "hsi", "gold", 1), onuQos::onuQosResOk);
    ASSERT_EQ(bind(101, "z", "hsi", "gold", 1), onuQos::onuQosResOk);
    ASSERT_EQ(bind(101, "a", "voice", "silver", 2, {.type = 2, .id = -3}), onuQos::onuQosResOk);
    ASSERT_EQ(bind(101, "same as a", "voice", "silver", 2, {.type = 9, .id = 4}), onuQos::onuQosResOk);
    ASSERT_EQ(bind(201, "c", "hsi", "silver", 7), onuQos::onuQosResOk);
    standin::serviceProfiles::add({.name = "internet", .tContProfile = "gold", .flowProfile = "hsi"});

    Snapshot before = snapshot();
    const auto services = standin::serviceProfiles::list();
    const RestoreReport report = restore(saved());
    Snapshot after = snapshot();
    EXPECT_THAT(report.lost, IsEmpty());
    EXPECT_THAT(report.differences, IsEmpty());
    EXPECT_EQ(after.tables, before.tables);
    EXPECT_EQ(after.hardware.bindings, before.hardware.bindings);  // flow ids included
    EXPECT_EQ(standin::serviceProfiles::list(), services);
    const auto listed = this->services().list();
    ASSERT_EQ(listed.size(), 5U);
    EXPECT_EQ(listed[0].interface, 203U);
    EXPECT_EQ(listed[3].service, "same as a");
    EXPECT_EQ(listed[3].termPoint, (TermPoint{.type = 9, .id = 4}));
    // And once more from the restored state.
    expectRestored();
}

struct Shape {
    const char* name;
    int type;
    unsigned int fixed, assured, maximum;
};

void PrintTo(const Shape& shape, std::ostream* out) {
    *out << shape.name;
}

class RestoreShape : public RestoreTest, public testing::WithParamInterface<Shape> {};

TEST_P(RestoreShape, ComesBack) {
    const auto [name, type, fixed, assured, maximum] = GetParam();
    ConfigurationDocument document;
    document.tcontProfiles.resize(1);
    document.tcontProfiles[0].name = name;
    document.tcontProfiles[0].shape = {
        .tContType = type, .fixedRate = fixed, .assuredRate = assured, .maximumRate = maximum};
    EXPECT_THAT(restore(document).lost, IsEmpty());
    EXPECT_EQ(saved().tcontProfiles, document.tcontProfiles);
    expectRestored();
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

TEST_F(RestoreTest, SrDbaValuesComeBackInTheTablesAndAsTheyWerePushed) {
    for (const char* name : {"untouched", "weight one set", "all", "mode set back", "type one"}) {
        ASSERT_EQ(module_.tContProfileCreate(name), onuQos::onuQosResOk);
    }
    module_.tContProfileSrdbaWeightSet("weight one set", 1);
    module_.tContProfileSrdbaWeightSet("all", 0);
    module_.tContProfileSrdbaPrioritySet("all", 3);
    module_.tContProfileAllocTypeSet("all", tContDbaMode1);
    module_.tContProfileAllocTypeSet("mode set back", tContDbaMode1);
    module_.tContProfileAllocTypeSet("mode set back", tContDbaMode2);
    module_.tContProfileAllocTypeSet("type one", tContDbaMode1);
    ASSERT_EQ(module_.tContProfileTypeSet("type one", tContType1), onuQos::onuQosResOk);
    expectRestored();
    EXPECT_EQ(tContText("type one"), "1 1 256/0/256 1 1 0");
}

TEST_F(RestoreTest, FlowRulesComeBackInTheirOrderAndAsTheyWerePushed) {
    const auto set = [&](const char* name, std::vector<std::uint16_t> vlans,
                         onuQos::onuFlowProfileOperation operation) {
        onuQos::onuFlowProfileRule rule{.cPcp = 0xFFFFFFFF, .cVlan = std::move(vlans)};
        EXPECT_EQ(module_.onuFlowProfileRuleSet(name, rule, onuQos::onuFlowProfileRuleTypeCVlan, operation),
                  onuQos::onuQosResOk);
    };
    for (const char* name : {"sorted", "unsorted", "unsorted with doubles", "emptied"}) {
        makeFlow(name);
        set(name, {10, 5}, onuQos::onuFlowProfileOperationSet);
    }
    set("unsorted", {7}, onuQos::onuFlowProfileOperationAdd);
    set("unsorted with doubles", {9, 9}, onuQos::onuFlowProfileOperationAdd);
    set("emptied", {5, 10}, onuQos::onuFlowProfileOperationDelete);
    onuQos::onuFlowProfileRule pcp{.cPcp = 3, .cVlan = {}};
    ASSERT_EQ(module_.onuFlowProfileRuleSet("unsorted", pcp, onuQos::onuFlowProfileRuleTypeCPcp,
                                            onuQos::onuFlowProfileOperationSet),
              onuQos::onuQosResOk);
    // The rule of a copy is not pushed; what is set later is.
    ASSERT_EQ(module_.onuFlowProfileCopy("unsorted", "copy"), onuQos::onuQosResOk);
    ASSERT_EQ(module_.onuFlowProfileCopy("unsorted", "copy, VLANs set"), onuQos::onuQosResOk);
    set("copy, VLANs set", {4094}, onuQos::onuFlowProfileOperationAdd);
    const auto tables = this->tables();
    ASSERT_EQ(tables.onuFlowProfileMap.at("copy, VLANs set").rule.cVlan,
              (std::vector<std::uint16_t>{4094, 7, 5, 10}));
    expectRestored();
}

TEST_F(RestoreTest, AGuaranteedRateAboveThePeakRateComesBack) {
    makeFlow("f");
    module_.configurationApplyStart();
    onuQos::onuFlowProfileAction action{
        .guarRateUs = 4096, .peakRateUs = 128, .flowPriorityUs = 7, .flowPriorityDs = 1};
    ASSERT_EQ(module_.onuFlowProfileActionSet("f", action, onuQos::onuFlowProfileActionTypeAll,
                                              onuQos::onuFlowProfileOperationSet),
              onuQos::onuQosResOk);
    module_.configurationApplyStop();
    expectRestored();
}

TEST_F(RestoreTest, NamesThatOnlyRenamingMakesComeBack) {
    const std::string longName(200, 'x');
    for (const std::string& name :
         {std::string(), longName, std::string("restore0~0"), std::string("\xff\n")}) {
        makeTCont("passing");
        makeFlow("passing");
        ASSERT_EQ(module_.tContProfileRename("passing", name), onuQos::onuQosResOk);
        ASSERT_EQ(module_.onuFlowProfileRename("passing", name), onuQos::onuQosResOk);
    }
    ASSERT_EQ(bind(101, "", "", "", 0), onuQos::onuQosResOk);
    ASSERT_EQ(bind(102, longName, longName, longName, 0), onuQos::onuQosResOk);
    expectRestored();
}

TEST_F(RestoreTest, FullTablesComeBackWithProfilesThatWereDeletedWhileBound) {
    makeFlow("gone");
    makeRates("gone", 512, 512, 3);
    ASSERT_EQ(bind(101, "before", "gone", "gone", 1), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileDelete("gone"), onuQos::onuQosResOk);
    ASSERT_EQ(module_.onuFlowProfileDelete("gone"), onuQos::onuQosResOk);
    for (int i = 0; i < 256; ++i) {
        makeTCont("t" + std::to_string(i));
        makeFlow("f" + std::to_string(i));
        ASSERT_EQ(bind(i % 2 == 0 ? 202 : 203, "s" + std::to_string(i), "f" + std::to_string(i), "t0",
                       static_cast<unsigned int>(i)),
                  onuQos::onuQosResOk);
    }
    expectRestored();
}

TEST_F(RestoreTest, ABoundProfileThatWasRenamedAndChangedAndReplacedComesBack) {
    makeFlow("f");
    makeRates("t", 1024, 0, 2);
    ASSERT_EQ(bind(101, "first", "f", "t", 1), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileRename("t", "was t"), onuQos::onuQosResOk);
    ASSERT_EQ(module_.onuFlowProfileRename("f", "was f"), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileFixedRateSet("was t", 64000), onuQos::onuQosResOk);
    makeFlow("f");
    makeRates("other", 0, 2048, 2);
    ASSERT_EQ(module_.tContProfileRename("other", "t"), onuQos::onuQosResOk);
    // The same names, and other profiles.
    ASSERT_EQ(bind(102, "second", "f", "t", 1), onuQos::onuQosResOk);
    // Both profiles on one ONU with one T-CONT id: no conflict, for "t" meant another one then.
    ASSERT_EQ(module_.tContProfileRename("t", "t, later"), onuQos::onuQosResOk);
    ASSERT_EQ(bind(101, "third", "was f", "was t", 2), onuQos::onuQosResOk);
    // Swapped, for good measure.
    ASSERT_EQ(module_.tContProfileRename("was t", "x"), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileRename("t, later", "was t"), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileRename("x", "t, later"), onuQos::onuQosResOk);

    const Snapshot before = snapshot();
    expectRestored();
    EXPECT_EQ(snapshot().tables.onuQosOltCacMap, before.tables.onuQosOltCacMap);
    EXPECT_EQ(snapshot().tables.onuQosOnuCacMap, before.tables.onuQosOnuCacMap);
}

TEST_F(RestoreTest, AppliedSetsThatRemovalsLeftComeBack) {
    makeFlow("f");
    makeFlow("g");
    makeTCont("t");
    makeRates("u", 512, 0, 2);
    // Equal bindings: removing one takes the interface out of both sets although the other remains.
    ASSERT_EQ(bind(101, "a", "f", "t", 1), onuQos::onuQosResOk);
    ASSERT_EQ(bind(101, "b", "f", "t", 1), onuQos::onuQosResOk);
    ASSERT_EQ(services().remove(101, "a"), onuQos::onuQosResOk);
    // The T-CONT profile alone: it serves another flow.
    ASSERT_EQ(bind(102, "a", "f", "t", 1), onuQos::onuQosResOk);
    ASSERT_EQ(bind(102, "b", "g", "t", 2), onuQos::onuQosResOk);
    ASSERT_EQ(services().remove(102, "b"), onuQos::onuQosResOk);
    // The flow profile alone: renamed while bound, so that its removal finds no profile of that name.
    ASSERT_EQ(bind(103, "a", "g", "t", 2), onuQos::onuQosResOk);
    ASSERT_EQ(module_.onuFlowProfileRename("g", "h"), onuQos::onuQosResOk);
    ASSERT_EQ(services().remove(103, "a"), onuQos::onuQosResOk);
    // A T-CONT profile without a binding that is applied all the same, on a port that accounts for it.
    ASSERT_EQ(bind(201, "a", "f", "u", 1), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileRename("u", "v"), onuQos::onuQosResOk);
    EXPECT_NE(services().remove(201, "a"), onuQos::onuQosResOk);

    const auto tables = this->tables();
    ASSERT_THAT(tables.onuFlowProfileMap.at("f").appliedIntfSet, ElementsAre(102U, 201U));
    ASSERT_THAT(tables.onuFlowProfileMap.at("h").appliedIntfSet, ElementsAre(103U));
    ASSERT_THAT(tables.tContProfileMap.at("t").appliedIntfs, IsEmpty());
    ASSERT_THAT(tables.tContProfileMap.at("v").appliedIntfs, ElementsAre(201U));
    expectRestored();
}

TEST_F(RestoreTest, TheTerminationPointAndTContIdThatWerePushedComeBack) {
    makeFlow("f");
    makeTCont("t");
    ASSERT_EQ(bind(101, "pushed", "f", "t", 1, {.type = 1, .id = 5}), onuQos::onuQosResOk);
    ASSERT_EQ(bind(101, "equal", "f", "t", 1, {.type = 77, .id = 6}), onuQos::onuQosResOk);
    ASSERT_EQ(services().remove(101, "pushed"), onuQos::onuQosResOk);
    expectRestored();
    EXPECT_EQ(snapshot().hardware.bindings.at(0).uniType, 6);
    EXPECT_EQ(services().list().at(0).termPoint, (TermPoint{.type = 77, .id = 6}));
    // Changed under another name the profile gives a further equal binding, not pushed either, another id.
    ASSERT_EQ(module_.tContProfileRename("t", "u"), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileIdSet("u", 6), onuQos::onuQosResOk);
    ASSERT_EQ(module_.tContProfileRename("u", "t"), onuQos::onuQosResOk);
    ASSERT_EQ(bind(101, "later", "f", "t", 1), onuQos::onuQosResOk);
    ASSERT_EQ(services().remove(101, "equal"), onuQos::onuQosResOk);
    expectRestored();
    EXPECT_EQ(snapshot().hardware.bindings.at(0).tcontId, 1U);
}

TEST_F(RestoreTest, SumsThatEarlierRemovalsMadeAreReportedWithTheirDifference) {
    makeFlow("f");
    makeTCont("t");
    ASSERT_EQ(bind(101, "a", "f", "t", 1), onuQos::onuQosResOk);
    ASSERT_EQ(bind(102, "a", "f", "t", 1), onuQos::onuQosResOk);
    // The first ONU of a port has the largest overhead; now another one is the first.
    ASSERT_EQ(services().remove(101, "a"), onuQos::onuQosResOk);
    const RestoreReport report = restore(saved());
    EXPECT_THAT(report.lost, IsEmpty());
    EXPECT_THAT(
        report.differences,
        ElementsAre("port 1: commits +960 kbit/s fixed and +9088 kbit/s assured against the time of saving, "
                    "through earlier removals or entries that were lost"));
}

TEST_F(RestoreTest, WhatIsRefusedIsReportedAndTheRestIsRestored) {
    makeFlow("f");
    makeRates("good", 512, 0, 1);
    makeRates("bad", 512, 0, 2);
    ASSERT_EQ(bind(101, "good", "f", "good", 1), onuQos::onuQosResOk);
    ASSERT_EQ(bind(101, "bad", "f", "good", 1), onuQos::onuQosResOk);
    ConfigurationDocument document = saved();
    document.tcontProfiles[0].shape.fixedRate = 2'000'000;
    document.tcontProfiles[0].name = "too fast";
    document.bindings[1].interface = 999;
    oltmgrd::ServiceProfile wrong{.name = "wrong", .tcontProfile = std::string(70, 'x'), .flowProfile = ""};
    document.serviceProfiles = {wrong, {.name = "right", .tcontProfile = "good", .flowProfile = ""}};
    const RestoreReport report = restore(document);
    EXPECT_THAT(report.lost, ElementsAre("service 'bad' of interface 999: applying: onuQosResWrongIntf",
                                         "T-CONT profile 'too fast': fixed rate 2000000: onuQosResRateError",
                                         testing::StartsWith("service profile 'wrong': ")));
    EXPECT_EQ(report.bindings, 1U);
    EXPECT_EQ(report.serviceProfiles, 1U);
    EXPECT_EQ(tables().onuQosServiceIntfMap.at(101).count("good"), 1U);
    EXPECT_EQ(tContText("too fast"), "2 5 0/0/1244160 2 1 0");
}

TEST_F(RestoreTest, EveryRefusedPlatformCallIsReportedOrMakesNoDifference) {
    makeFlow("f");
    ASSERT_EQ(module_.onuFlowProfileCopy("f", "renamed"), onuQos::onuQosResOk);
    makeRates("t", 512, 64, 2);
    ASSERT_EQ(bind(101, "a", "f", "t", 1), onuQos::onuQosResOk);
    ASSERT_EQ(bind(102, "b", "renamed", "t", 2), onuQos::onuQosResOk);
    ASSERT_EQ(module_.onuFlowProfileRename("renamed", "other"), onuQos::onuQosResOk);
    const ConfigurationDocument document = saved();
    restore(document);
    const Snapshot whole = comparable();
    const auto calls = callsOf([&] { restore(document); });
    std::map<standin::Operation, std::uint64_t> counts;
    for (const auto& call : calls) {
        ++counts[call.operation];
    }
    for (const auto& [operation, count] : counts) {
        for (std::uint64_t after = 0; after < count; ++after) {
            SCOPED_TRACE(std::string(name(operation)) + " no. " + std::to_string(after + 1));
            startAgain();
            services().adopt({});
            module_.configurationApplyStart();
            standin::faults::set(operation, {.answer = 1, .times = 1, .after = after});
            oltmgrd::ServiceSide side(interface(), *host_);
            const RestoreReport report = restoreConfiguration(interface(), document, side, *host_);
            standin::faults::clearAll();
            module_.configurationApplyStop();
            if (report.lost.empty() && operation != standin::Operation::isActive) {
                EXPECT_EQ(comparable().tables, whole.tables);
                EXPECT_EQ(comparable().hardware, whole.hardware);
            }
        }
    }
}

}  // namespace
