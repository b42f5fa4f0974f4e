#pragma once

#include <string_view>
#include <vector>

#include "standin/inventory.h"

namespace standin {

/// The service profiles that `servprofile` shows. May be called from any thread.
namespace serviceProfiles {

#pragma GCC visibility push(default)

/// Adds a profile at the end. Throws `Error` when its name is empty or exists already, or when a text has
/// more than 64 bytes or contains a NUL.
void add(const ServiceProfile& profile);

/// Throws `Error` when there is no profile of that name.
void remove(std::string_view name);

/// All profiles, in the order in which they were added.
std::vector<ServiceProfile> list();

#pragma GCC visibility pop

}  // namespace serviceProfiles
}  // namespace standin
