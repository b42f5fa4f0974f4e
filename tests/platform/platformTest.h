#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "Interfaces.h"
#include "standin/inventory.h"
#include "standin/reset.h"

/// Starts and ends with the stand-in as in a fresh process.
class PlatformTest : public testing::Test {
protected:
    PlatformTest() { standin::reset(); }

    ~PlatformTest() override { standin::reset(); }

    /// PON ports 1 (GPON) and 2 (10G), two ONUs of the first, one of the second.
    static standin::Inventory smallOlt() {
        standin::Inventory inventory;
        inventory.ports = {{.interface = 1, .slot = 3, .port = 7},
                           {.interface = 2, .technology = Interfaces::ponTech10G}};
        inventory.onus = {{.interface = 101, .parent = 1, .port = 1},
                          {.interface = 102, .parent = 1, .port = 2},
                          {.interface = 201, .parent = 2, .port = 1}};
        return inventory;
    }
};

inline constexpr std::chrono::seconds kLongEnough{20};

/// Waits until `condition` holds; false if it does not come about.
template <typename Condition>
bool await(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + kLongEnough;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

/// What `work` returns on a thread of its own.
template <typename Work>
auto elsewhere(Work work) {
    return std::async(std::launch::async, work).get();
}
