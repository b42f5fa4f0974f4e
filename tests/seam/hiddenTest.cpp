#include <dlfcn.h>
#include <gtest/gtest.h>

#include "minimalPlatform.h"

TEST(SeamDeathTest, AModuleThatWouldHaveSingletonsOfItsOwnIsNotLoaded) {
    minimal::useAll();
    EXPECT_DEATH(
        dlopen(SEAM_MODULE, RTLD_NOW | RTLD_LOCAL),
        "onuqos: cannot be loaded: the platform does not export its object of singleton<BLLManager>");
}
