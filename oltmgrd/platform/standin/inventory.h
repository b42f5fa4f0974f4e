#pragma once

#include "oltmgrd/platform/inventory.h"
#include "standin/inventory.h"

namespace oltmgrd {

/// The stand-in platform that an inventory describes.
standin::Inventory standinOf(const Inventory& inventory);

}  // namespace oltmgrd
