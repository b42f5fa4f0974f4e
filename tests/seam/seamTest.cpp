#include <dlfcn.h>
#include <gtest/gtest.h>
#include <rpc/rpc.h>

#include <memory>
#include <string>

#include "minimalPlatform.h"
#include "onuqos/entity/onuQosClassInterface.h"
#include "onuqos/rpc/api.h"

// libtirpc loses 16 bytes whenever it registers a program and no portmapper answers.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the leak sanitizer's own name
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions() {
    return "leak:__rpc_uaddr2taddr_af";
}

namespace {

/// The module, loaded as a management process loads it.
class LoadedModule {
public:
    LoadedModule() : library_(dlopen(SEAM_MODULE, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(library_, nullptr) << dlerror();
    }

    ~LoadedModule() { EXPECT_EQ(dlclose(library_), 0); }

    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;

    bool exports(const std::string& name) const { return dlsym(library_, name.c_str()) != nullptr; }

    template <typename Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(dlsym(library_, name));
    }

    const onuQosClassInterface& classInterface() const {
        return *find<decltype(onuQosClassInterfaceGet)>(ONUQOS_CLASS_INTERFACE_GET)();
    }

private:
    void* library_;
};

TEST(Seam, TheModuleComesServesAndGoesEachTimeItIsLoaded) {
    for (const char* time : {"first time", "second time"}) {
        SCOPED_TRACE(time);
        ASSERT_TRUE(minimal::state().entities.empty());
        {
            const LoadedModule module;
            const LoadedModule again;
            ASSERT_EQ(minimal::state().entities.size(), 1);
            BLEntity& entity = *minimal::state().entities.front();
            EXPECT_EQ(entity.entityName(), "onuqos");
            const onuQosClassInterface& classInterface = module.classInterface();
            EXPECT_EQ(&classInterface, &again.classInterface());
            EXPECT_EQ(static_cast<BLEntity*>(&classInterface.entity), &entity);
            std::list<std::string> names = {"stale"};
            entity.getDependencies(names);
            EXPECT_EQ(names, (std::list<std::string>{"minimal interfaces", "minimal bridge",
                                                     "minimal profiles", "minimal ports"}));

            // The API functions work on the object of the class interface, which starts empty each time.
            auto* const create = module.find<decltype(tContProfileCreate)>("tContProfileCreate");
            auto* const get = module.find<decltype(tContProfileGet)>("tContProfileGet");
            ASSERT_TRUE(create != nullptr && get != nullptr);
            EXPECT_TRUE(entity.start());
            auto info = std::make_unique<rpcTContProfileInfo>();
            EXPECT_NE(get("gold", info.get()), 0);
            EXPECT_EQ(create("gold"), 0);
            EXPECT_EQ((classInterface.entity.*classInterface.tContProfileCreate)("gold"),
                      onuQos::onuQosResExists);
            EXPECT_EQ(get("gold", info.get()), 0);
            EXPECT_STREQ(info->name, "gold");
            EXPECT_EQ(info->tContType, rpcTContProfileType5);
            EXPECT_TRUE(entity.stop());
            // The RPC library's table of programs would otherwise outlive the code that it points to.
            svc_unregister(RPC_ONUQOS_PROG, RPC_ONUQOS_VERS);
        }
        EXPECT_TRUE(minimal::state().entities.empty());
        EXPECT_EQ(dlopen(SEAM_MODULE, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still in the process";
    }
}

TEST(Seam, EverySingletonIsMadeOnce) {
    minimal::useAll();
    const LoadedModule module;
    BLEntity& entity = *minimal::state().entities.at(0);
    EXPECT_TRUE(entity.start());
    std::list<std::string> names;
    entity.getDependencies(names);
    EXPECT_EQ((module.classInterface().entity.*module.classInterface().tContProfileCreate)(""),
              onuQos::onuQosResError);
    EXPECT_TRUE(entity.stop());
    svc_unregister(RPC_ONUQOS_PROG, RPC_ONUQOS_VERS);
    for (const auto& [name, count] : minimal::state().made) {
        EXPECT_EQ(count, 1) << name;
    }
    EXPECT_EQ(minimal::state().made.size(), 6);
}

TEST(Seam, LoadingAndUnloadingLosesNothing) {
    for (int time = 0; time < 100; ++time) {
        { const LoadedModule module; }
        ASSERT_TRUE(minimal::state().entities.empty());
    }
}

TEST(Seam, TheModuleExportsItsInterfacesAndNothingElse) {
    const LoadedModule module;
    // The first and the last of the in-process interface, and what hands out the entity itself.
    for (const char* name : {"onuFlowProfileCreate", "onuQosPortRangesGet", ONUQOS_CLASS_INTERFACE_GET}) {
        EXPECT_TRUE(module.exports(name)) << name;
    }
    // Names that clients and other modules of the process may have for themselves.
    for (const char* name : {"xdr_rpcTContProfileInfo", "rpc_tcontprofile_create_1_svc", "onuqos_xdr_vector",
                             "rpcProxyRegisterSvc", "checkInterrupt"}) {
        EXPECT_FALSE(module.exports(name)) << name;
    }
}

}  // namespace
