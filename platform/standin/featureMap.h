#pragma once

#include <map>

namespace standin {

struct FeatureMap {
    std::map<int, bool> active;
};

}  // namespace standin
