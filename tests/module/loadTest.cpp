#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "entity/onuQosClassInterface.h"
#include "standin/manager.h"

namespace {

std::size_t entitiesNamedOnuqos() {
    const auto entities = standin::manager::entities();
    return static_cast<std::size_t>(std::ranges::count(entities, "onuqos", &standin::Entity::name));
}

const onuQosClassInterface* interfaceOf(void* library) {
    const auto get =
        reinterpret_cast<decltype(&onuQosClassInterfaceGet)>(dlsym(library, ONUQOS_CLASS_INTERFACE_GET));
    return get == nullptr ? nullptr : get();
}

}  // namespace

TEST(Load, comesAndGoesWithTheLastHandle) {
    ASSERT_EQ(entitiesNamedOnuqos(), 0U);
    for (int round = 0; round < 100; ++round) {
        void* first = dlopen(ONUQOS_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(first, nullptr) << dlerror();
        void* second = dlopen(ONUQOS_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(second, nullptr) << dlerror();
        EXPECT_EQ(entitiesNamedOnuqos(), 1U);
        const auto* module = interfaceOf(first);
        ASSERT_NE(module, nullptr);
        EXPECT_EQ(interfaceOf(second), module);

        // The API functions work on the same object as the class interface, which starts empty each time.
        const auto create =
            reinterpret_cast<std::uint32_t (*)(const char*)>(dlsym(first, "tContProfileCreate"));
        ASSERT_NE(create, nullptr);
        EXPECT_EQ(create("gold"), 0U);
        EXPECT_EQ((module->entity.*module->tContProfileCreate)("gold"), onuQos::onuQosResExists);

        EXPECT_EQ(dlclose(second), 0);
        EXPECT_EQ(entitiesNamedOnuqos(), 1U);
        EXPECT_EQ(dlclose(first), 0);
        EXPECT_EQ(entitiesNamedOnuqos(), 0U);
        EXPECT_EQ(dlopen(ONUQOS_MODULE, RTLD_NOW | RTLD_NOLOAD), nullptr) << "something keeps it loaded";
    }
}

TEST(Load, exportsItsInterfacesAndNothingElse) {
    void* library = dlopen(ONUQOS_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    for (const std::string family : {"onuFlowProfile", "tContProfile"}) {
        for (const char* operation : {"Create", "Delete", "Rename", "Copy", "Get", "IsApplied", "FirstGet",
                                      "NextGet", "CreateAndSet"}) {
            EXPECT_NE(dlsym(library, (family + operation).c_str()), nullptr) << family << operation;
        }
    }
    for (const char* name :
         {"onuFlowProfileRuleSet", "onuFlowProfileActionSet", "onuFlowProfileActionDefaultGet",
          "tContProfileDefaultGet", "tContProfileIdSet", "tContProfileTypeSet", "tContProfileFixedRateSet",
          "tContProfileAssuredRateSet", "tContProfileMaximumRateSet", "tContProfileDefaultTypeGet",
          "tContProfileAllocTypeSet", "tContProfileSrdbaWeightSet", "tContProfileSrdbaPrioritySet",
          "tContProfileConsApplyStateGet", "onuQosCacOltGet", "onuQosPortRangesGet"}) {
        EXPECT_NE(dlsym(library, name), nullptr) << name;
    }
    // Names that clients and other modules of the process may have for themselves.
    for (const char* name : {"xdr_rpcTContProfileInfo", "rpc_tcontprofile_create_1_svc", "onuqos_xdr_vector",
                             "rpcProxyRegisterSvc", "checkInterrupt"}) {
        EXPECT_EQ(dlsym(library, name), nullptr) << name;
    }
    EXPECT_EQ(dlclose(library), 0);
}
