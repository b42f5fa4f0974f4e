// Compiled into a test program once per bandwidth class: the module fixes its constants when it is loaded, so
// the platform's features have to be there before any other static object of the program is made.

#include "standin/inventory.h"

/// Constant, and so there before any object of the program that asks for it.
extern const bool kTenG;
constinit const bool kTenG = ONUQOS_TEST_FEATURE != 0;

namespace {

struct ClassOfProcess {
    ClassOfProcess() {
        standin::Inventory inventory;
        inventory.features = {{5, true}};
        if (kTenG) {
            inventory.features[ONUQOS_TEST_FEATURE] = true;
        }
        standin::configure(inventory);
    }
};

[[maybe_unused]] [[gnu::init_priority(101)]] const ClassOfProcess classOfProcess;

}  // namespace
