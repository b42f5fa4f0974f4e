#pragma once

#include <string>
#include <vector>

#include "oltmgrd/files/jsonText.h"
#include "standin/inventory.h"

namespace oltmgrd {

struct InventoryFile {
    standin::Inventory inventory;
    std::vector<std::string> warnings;  ///< one line each, with the JSON pointer of what it is about
};

/// Reads the OLT's interfaces, features and service profiles from a parsed inventory. Throws `JsonError`.
InventoryFile readInventory(const Json& document);

/// Reads an inventory file. Throws `StartError` that names file, JSON pointer and reason.
InventoryFile loadInventory(const std::string& path);

}  // namespace oltmgrd
