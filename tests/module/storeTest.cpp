#include "moduleTest.h"

TEST_F(ModuleTest, aNewTContProfileHoldsTheDefaults) {
    ASSERT_EQ(module_.tContProfileCreate("gold"), onuQos::onuQosResOk);
    tContProfileInfo info;
    ASSERT_EQ(module_.tContProfileGet("gold", info), onuQos::onuQosResOk);
    EXPECT_EQ(info.tContType, tContType5);
    EXPECT_EQ(info.maximumRate, 256U);
    expectMirrorAgrees();
    EXPECT_EQ(logLines(), std::vector<std::string>{});
}

TEST_F(ModuleTest, bindsAndUnbinds) {
    makeTCont("gold");
    makeFlow("hsi");
    EXPECT_EQ(bind(101, "internet", "hsi", "gold", 10), onuQos::onuQosResOk);
    EXPECT_EQ(tables().onuQosOltCacMap.at(1).assuredAlloc, 11520U);
    expectMirrorAgrees();
    EXPECT_EQ(module_.onuQosServiceRemove(101, "internet"), onuQos::onuQosResOk);
    EXPECT_EQ(tables().onuQosOltCacMap.at(1), onuQosOltCacInfo{});
    expectMirrorAgrees();
    EXPECT_EQ(logLines(), std::vector<std::string>{});
}
