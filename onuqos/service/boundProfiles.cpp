#include "service/boundProfiles.h"

void BoundProfiles::add(const onuQosServiceIntfInfo& binding) {
    ++onuFlow_[binding.onuFlowProfileName];
    ++tCont_[binding.tContProfileName];
}

void BoundProfiles::remove(const onuQosServiceIntfInfo& binding) {
    release(onuFlow_, binding.onuFlowProfileName);
    release(tCont_, binding.tContProfileName);
}

void BoundProfiles::clear() {
    onuFlow_.clear();
    tCont_.clear();
}

void BoundProfiles::release(Counts& counts, const std::string& name) {
    const auto found = counts.find(name);
    if (found != counts.end() && --found->second == 0) {
        counts.erase(found);
    }
}
