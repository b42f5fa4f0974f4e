#pragma once

#include <map>

namespace standin {

/// What `isActive` answers. May be called from any thread.
namespace features {

#pragma GCC visibility push(default)

void set(int feature, bool active);

/// The features that were ever set; the platform has no others.
std::map<int, bool> list();

#pragma GCC visibility pop

}  // namespace features
}  // namespace standin
