#include "oltmgrd/services/serviceSide.h"

#include <gmock/gmock.h>

#include "oltmgrd/platform/host.h"
#include "restoreTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ServiceSideTest : public RestoreTest {
protected:
    ServiceSideTest() {
        makeFlow("f");
        makeTCont("t");
    }

    std::vector<std::string> listed() {
        std::vector<std::string> names;
        for (const auto& service : services().list()) {
            names.push_back(std::to_string(service.interface) + " " + service.service);
        }
        return names;
    }
};

TEST_F(ServiceSideTest, RemembersTheOrderOfApplication) {
    ASSERT_EQ(bind(201, "z", "f", "t", 1), onuQos::onuQosResOk);
    ASSERT_EQ(bind(101, "a", "f", "t", 1), onuQos::onuQosResOk);
    ASSERT_EQ(bind(201, "y", "f", "t", 1), onuQos::onuQosResOk);
    // Applied already, under whatever profiles: nothing changes.
    ASSERT_EQ(bind(201, "z", "none", "none", 9), onuQos::onuQosResOk);
    EXPECT_THAT(listed(), ElementsAre("201 z", "101 a", "201 y"));
    ASSERT_EQ(services().remove(101, "a"), onuQos::onuQosResOk);
    ASSERT_EQ(bind(101, "a", "f", "t", 1), onuQos::onuQosResOk);
    EXPECT_THAT(listed(), ElementsAre("201 z", "201 y", "101 a"));
    EXPECT_EQ(services().list().front().flowProfile, "f");
}

TEST_F(ServiceSideTest, RemembersWhatStaysBoundThoughAStepWasRefused) {
    ASSERT_NE(bind(101, "refused", "none", "t", 1), onuQos::onuQosResOk);
    EXPECT_THAT(listed(), IsEmpty());
    // The look-up of the parent port, after the hardware layer has accepted.
    fail("interfaceParentGet", 1, 1, 4);
    ASSERT_EQ(bind(101, "half", "f", "t", 1, {.type = 1, .id = 2}), onuQos::onuQosResError);
    ASSERT_EQ(tables().onuQosServiceIntfMap.at(101).count("half"), 1U)
        << "the fault hit too early for this test";
    EXPECT_THAT(listed(), ElementsAre("101 half"));
    EXPECT_EQ(services().list().at(0).termPoint, (oltmgrd::TermPoint{.type = 1, .id = 2}));

    fail("onuQosServiceRemove", 1);
    EXPECT_EQ(services().remove(101, "half"), onuQos::onuQosResError);
    EXPECT_THAT(listed(), ElementsAre("101 half"));
    ASSERT_EQ(module_.tContProfileRename("t", "u"), onuQos::onuQosResOk);
    EXPECT_EQ(services().remove(101, "half"), onuQos::onuQosResError);
    EXPECT_THAT(listed(), IsEmpty()) << "the binding is gone although its accounting was refused";
}

TEST_F(ServiceSideTest, FindsOutLaterWhenTheLockIsNotToBeHad) {
    const auto bindHalf = [this] {
        fail("interfaceParentGet", 1, 1, 4);
        EXPECT_EQ(services().apply({.interface = 101,
                                    .service = "half",
                                    .flowProfile = "f",
                                    .tcontProfile = "t",
                                    .virtualPort = 1,
                                    .termPoint = {.type = 1, .id = 2}}),
                  onuQos::onuQosResError);
    };
    const auto calls = callsOf(bindHalf);
    const auto shared = std::ranges::count(calls, standin::Operation::sharedLock, &standin::Call::operation);
    services().defaultSettings();
    makeFlow("f");
    makeTCont("t");
    // The last two are to read the tables, and the profiles of what is found there.
    fail("sharedLock", 1, 1, static_cast<std::uint64_t>(shared - 2));
    bindHalf();
    EXPECT_TRUE(standin::faults::list().empty());
    EXPECT_THAT(listed(), IsEmpty());
    EXPECT_EQ(services().remove(103, "none"), onuQos::onuQosResOk);
    EXPECT_THAT(listed(), ElementsAre("101 half"));
    EXPECT_EQ(services().list().at(0).termPoint, (oltmgrd::TermPoint{.type = 1, .id = 2}));

    fail("interfaceParentGet");
    fail("sharedLock", 1, 1, 1);  // past the look at the interface
    EXPECT_EQ(services().remove(101, "half"), onuQos::onuQosResError);
    EXPECT_THAT(listed(), ElementsAre("101 half")) << "gone, and not known to be";
    EXPECT_EQ(bind(102, "b", "f", "t", 1), onuQos::onuQosResOk);
    EXPECT_THAT(listed(), ElementsAre("102 b"));
}

TEST_F(ServiceSideTest, FactorySettingsForgetEverythingUnlessNothingWasDone) {
    ASSERT_EQ(bind(101, "a", "f", "t", 1), onuQos::onuQosResOk);
    fail("exclusiveLock", 1, 1);
    EXPECT_THROW(services().defaultSettings(), oltmgrd::HostError);
    EXPECT_THAT(listed(), ElementsAre("101 a"));
    fail("onuQosClearConfig", 1, 1);
    EXPECT_THAT(services().defaultSettings(), ElementsAre("onuqos"));
    EXPECT_THAT(listed(), IsEmpty()) << "the tables were emptied before the refusal";
    EXPECT_THAT(services().defaultSettings(), IsEmpty());
}

}  // namespace
