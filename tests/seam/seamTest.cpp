#include <dlfcn.h>
#include <gtest/gtest.h>
#include <rpc/rpc.h>

#include <memory>
#include <string>

#include "entity/onuQosClassInterface.h"
#include "minimalPlatform.h"
#include "rpc/api.h"

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

    template <typename Function>
    Function* find(const char* name) const {
        void* const symbol = dlsym(library_, name);
        EXPECT_NE(symbol, nullptr) << name;
        return reinterpret_cast<Function*>(symbol);
    }

    const onuQosClassInterface& classInterface() const {
        return *find<decltype(onuQosClassInterfaceGet)>(ONUQOS_CLASS_INTERFACE_GET)();
    }

private:
    void* library_;
};

/// Starts an entity; then stops it and takes its program out of the RPC library, whose table of programs
/// would otherwise outlive the code that it points to.
class Started {
public:
    explicit Started(BLEntity& entity) : entity_(entity) { EXPECT_TRUE(entity_.start()); }

    ~Started() {
        EXPECT_TRUE(entity_.stop());
        svc_unregister(RPC_ONUQOS_PROG, RPC_ONUQOS_VERS);
    }

    Started(const Started&) = delete;
    Started& operator=(const Started&) = delete;

private:
    BLEntity& entity_;
};

TEST(Seam, LoadingRegistersTheOneEntityAndUnloadingForgetsIt) {
    for (const char* time : {"first time", "second time"}) {
        SCOPED_TRACE(time);
        ASSERT_TRUE(registeredEntities().empty());
        {
            const LoadedModule module;
            const LoadedModule again;
            ASSERT_EQ(registeredEntities().size(), 1);
            EXPECT_EQ(registeredEntities().front()->entityName(), "onuqos");
            EXPECT_EQ(&module.classInterface().entity, registeredEntities().front());
            EXPECT_EQ(&again.classInterface().entity, registeredEntities().front());
        }
        EXPECT_TRUE(registeredEntities().empty());
        EXPECT_EQ(dlopen(SEAM_MODULE, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still in the process";
    }
}

TEST(Seam, DependsOnThisPlatformsEntities) {
    const LoadedModule module;
    std::list<std::string> names = {"stale"};
    registeredEntities().at(0)->getDependencies(names);
    EXPECT_EQ(names, (std::list<std::string>{"minimal interfaces", "minimal bridge", "minimal profiles",
                                             "minimal ports"}));
}

TEST(Seam, ServesItsFunctionsFromStartToStopEachTimeItIsLoaded) {
    for (const char* time : {"first time", "second time"}) {
        SCOPED_TRACE(time);
        const LoadedModule module;
        auto* const create = module.find<decltype(tContProfileCreate)>("tContProfileCreate");
        auto* const get = module.find<decltype(tContProfileGet)>("tContProfileGet");
        ASSERT_TRUE(create != nullptr && get != nullptr);
        const Started started(*registeredEntities().at(0));
        auto info = std::make_unique<rpcTContProfileInfo>();
        EXPECT_NE(get("gold", info.get()), 0);
        EXPECT_EQ(create("gold"), 0);
        EXPECT_NE(create("gold"), 0);
        EXPECT_EQ(get("gold", info.get()), 0);
        EXPECT_STREQ(info->name, "gold");
        EXPECT_EQ(info->tContType, rpcTContProfileType5);
    }
}

}  // namespace
