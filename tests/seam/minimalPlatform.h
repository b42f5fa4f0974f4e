#pragma once

#include <vector>

#include "BLEntity.h"

/// The entities that are registered with the minimal platform.
[[gnu::visibility("default")]] std::vector<BLEntity*>& registeredEntities();
