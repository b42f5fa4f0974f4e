#include "BLLManager.h"
#include "Interfaces.h"
#include "Ports.h"
#include "servprofile.h"
#include "zqbridge.h"

namespace {

template <typename... Entities>
bool registerEntities() {
    (singleton<BLLManager>::instance().registerEntity(singleton<Entities>::instance()), ...);
    return true;
}

// Runs when the library is loaded: the platform's own entities are there before any module's.
[[maybe_unused]] const bool registered = registerEntities<Interfaces, zqbridge, servprofile, Ports>();

}  // namespace
