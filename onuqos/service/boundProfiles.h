#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>

#include "rules/bindingTypes.h"

/// How many bindings name each profile, so that asking whether a profile is bound costs no walk over the
/// bindings. Changed together with the binding table, under the exclusive platform lock.
class BoundProfiles {
public:
    void add(const onuQosServiceIntfInfo& binding);
    void remove(const onuQosServiceIntfInfo& binding);
    void clear();

    bool onuFlowProfileBound(const std::string& name) const { return onuFlow_.contains(name); }
    bool tContProfileBound(const std::string& name) const { return tCont_.contains(name); }

private:
    using Counts = std::unordered_map<std::string, std::size_t>;

    static void release(Counts& counts, const std::string& name);

    Counts onuFlow_;
    Counts tCont_;
};
