#include "Features.h"

#include "call.h"
#include "featureMap.h"
#include "standin/features.h"
#include "state.h"

bool isActive(int feature) {
    using namespace standin;
    if (const auto fault = call(Operation::isActive, feature)) {
        return *fault != 0;
    }
    return state<FeatureMap>().with([feature](const FeatureMap& features) {
        const auto found = features.active.find(feature);
        return found != features.active.end() && found->second;
    });
}

namespace standin::features {

void set(int feature, bool active) {
    state<FeatureMap>().with([=](FeatureMap& features) { features.active[feature] = active; });
}

std::map<int, bool> list() {
    return state<FeatureMap>().with([](const FeatureMap& features) { return features.active; });
}

}  // namespace standin::features
