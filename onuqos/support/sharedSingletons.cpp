#include "onuqos/support/sharedSingletons.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "BLLManager.h"
#include "Features.h"
#include "Interfaces.h"
#include "Log.h"
#include "Ports.h"
#include "onuEquipment.h"
#include "onuqos/support/features.h"
#include "servprofile.h"
#include "zqbridge.h"

namespace {

/// The executable or shared library that holds an address; null for one outside of all, such as the heap.
const void* imageOf(const void* address) {
    Dl_info info{};
    return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

template <typename Function>
const void* addressOf(Function* function) {
    return reinterpret_cast<const void*>(function);
}

const void* ownImage() {
    return imageOf(addressOf(&platformSingletonsAreShared));
}

/// The function is looked at first: only when it is the module's own does the object have to be made.
template <typename T>
bool isOwn() {
    return imageOf(addressOf(&singleton<T>::instance)) == ownImage() &&
           imageOf(&singleton<T>::instance()) == ownImage();
}

struct Row {
    const char* name;
    bool (*own)();
};

constexpr std::array kSingletons{
    Row{"BLLManager", isOwn<BLLManager>},
    Row{"Log", isOwn<Log>},
    Row{"Interfaces", isOwn<Interfaces>},
    Row{"zqbridge", isOwn<zqbridge>},
    Row{"servprofile", isOwn<servprofile>},
    Row{"Ports", isOwn<Ports>},
    Row{"onuEquipment", [] { return isActive(kOnuEquipmentFeature) && isOwn<onuEquipment>(); }}};

}  // namespace

bool platformSingletonsAreShared() {
    if (imageOf(addressOf(&isActive)) == ownImage()) {
        return true;  // linked into one image with the platform
    }
    const auto* const row = std::ranges::find_if(kSingletons, [](const Row& each) { return each.own(); });
    if (row == kSingletons.end()) {
        return true;
    }
    std::fprintf(stderr,
                 "onuqos: cannot be loaded: the platform does not export its object of singleton<%s>, so the "
                 "module would have another; build the platform with default visibility\n",
                 row->name);
    return false;
}
