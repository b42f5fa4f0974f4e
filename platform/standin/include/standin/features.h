#pragma once

#include <map>

#include "standin/api.h"

namespace standin {

/// What `isActive` answers. May be called from any thread.
namespace STANDIN_API features {

void set(int feature, bool active);

/// The features that were ever set; the platform has no others.
std::map<int, bool> list();

}  // namespace features
}  // namespace standin
