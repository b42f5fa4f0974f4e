#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>

#include "onuqos/rules/bindingTypes.h"

/// How many bindings name each profile, so that asking whether a profile is bound costs no walk over the
/// bindings. Changed together with the binding table, under the exclusive platform lock.
class BoundProfiles {
public:
    void add(const onuQosServiceIntfInfo& binding) {
        ++onuFlow_[binding.onuFlowProfileName];
        ++tCont_[binding.tContProfileName];
    }

    void remove(const onuQosServiceIntfInfo& binding) {
        release(onuFlow_, binding.onuFlowProfileName);
        release(tCont_, binding.tContProfileName);
    }

    void clear() {
        onuFlow_.clear();
        tCont_.clear();
    }

    bool onuFlowProfileBound(const std::string& name) const { return onuFlow_.contains(name); }
    bool tContProfileBound(const std::string& name) const { return tCont_.contains(name); }

private:
    using Counts = std::unordered_map<std::string, std::size_t>;

    static void release(Counts& counts, const std::string& name) {
        const auto found = counts.find(name);
        if (found != counts.end() && --found->second == 0) {
            counts.erase(found);
        }
    }

    Counts onuFlow_;
    Counts tCont_;
};
