#include <cstdlib>

#include "standin/inventory.h"

int featureOfProcess() {
    const char* feature = std::getenv("ONUQOS_TEST_FEATURE");
    return feature == nullptr ? 0 : std::atoi(feature);
}

namespace {

// The module fixes its constants when it is loaded, so the platform's features have to be there before any
// other static object of the program is made.
struct ClassOfProcess {
    ClassOfProcess() {
        standin::Inventory inventory;
        inventory.features = {{5, true}, {featureOfProcess(), featureOfProcess() != 0}};
        standin::configure(inventory);
    }
};

[[maybe_unused]] [[gnu::init_priority(101)]] const ClassOfProcess classOfProcess;

}  // namespace
