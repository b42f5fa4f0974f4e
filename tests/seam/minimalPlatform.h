#pragma once

#include <map>
#include <string>
#include <vector>

#include "BLEntity.h"

/// What a test sees of the minimal platform, and what it asks of it.
namespace minimal {

struct Minimal {
    std::vector<BLEntity*> entities;  ///< registered
    std::map<std::string, int> made;  ///< how many objects of each singleton class there have been
    std::vector<std::string> log;     ///< the pieces as they were written, a level as "level 1"
    const void* omApi = nullptr;      ///< the last `onuQosOMApi` made

    std::map<unsigned int, int> types;  ///< of the interfaces
    bool lockable = true;               ///< whether the exclusive lock is obtained
    int clearAnswer = 0;                ///< of `onuQosClearConfig`
};

[[gnu::visibility("default")]] Minimal& state();

/// Uses every singleton of the platform, as the platform's own code does.
[[gnu::visibility("default")]] void useAll();

}  // namespace minimal
