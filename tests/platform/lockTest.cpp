#include "standin/lock.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "BLLManager.h"
#include "platformTest.h"
#include "standin/calls.h"
#include "standin/faults.h"

using namespace std::chrono_literals;
using standin::Operation;
using ExclusiveLock = BLLManager::exclusiveLock_t;
using SharedLock = BLLManager::sharedLock_t;

namespace {

template <typename Lock>
bool obtainable() {
    return Lock().obtained();
}

/// Whether another thread would obtain the lock without waiting.
template <typename Lock>
bool freeForOthers() {
    const auto deadline = standin::lock::deadline();
    standin::lock::setDeadline(0ms);
    const bool obtained = elsewhere(obtainable<Lock>);
    standin::lock::setDeadline(deadline);
    return obtained;
}

/// Takes the locks that `kinds` names, 'x' exclusive and 's' shared, each within the one before: '1' for each
/// that is obtained and '0' for each that is not.
std::string nest(const std::string& kinds) {
    if (kinds.empty()) {
        return "";
    }
    const auto within = [&kinds](const auto& lock) {
        return (lock.obtained() ? "1" : "0") + nest(kinds.substr(1));
    };
    return kinds[0] == 'x' ? within(ExclusiveLock()) : within(SharedLock());
}

class LockTest : public PlatformTest {
protected:
    /// Has `work` done by a thread that is to wait for the lock behind those that wait already.
    template <typename Work>
    std::future<bool> waiting(Work work) {
        const auto before = standin::lock::waiting();
        auto thread = std::async(std::launch::async, work);
        EXPECT_TRUE(await([before] { return standin::lock::waiting() == before + 1; }));
        return thread;
    }
};

TEST_F(LockTest, NestsButForAnUpgradeAndLeavesNothingBehind) {
    standin::lock::setDeadline(kLongEnough);
    const std::pair<const char*, const char*> rows[] = {{"xxx", "111"}, {"xss", "111"}, {"sss", "111"},
                                                        {"sx", "10"},   {"sxs", "101"}, {"xsx", "111"}};
    for (const auto& [kinds, obtained] : rows) {
        EXPECT_EQ(nest(kinds), obtained) << kinds;
        EXPECT_TRUE(freeForOthers<ExclusiveLock>()) << kinds;
    }
    standin::faults::set(Operation::exclusiveLock, {.times = 1, .after = 1});
    standin::faults::set(Operation::sharedLock, {.times = 2});
    EXPECT_EQ(nest("xxsss"), "10001") << "faults refuse nested acquisitions too";
    EXPECT_TRUE(freeForOthers<ExclusiveLock>());
}

TEST_F(LockTest, ExcludesWhatItMust) {
    {
        const ExclusiveLock lock;
        EXPECT_FALSE(freeForOthers<ExclusiveLock>());
        EXPECT_FALSE(freeForOthers<SharedLock>());
    }
    const SharedLock lock;
    EXPECT_FALSE(freeForOthers<ExclusiveLock>());
    EXPECT_TRUE(freeForOthers<SharedLock>());
}

TEST_F(LockTest, SharedLockMayOutliveTheExclusiveOneAroundIt) {
    auto exclusive = std::make_unique<ExclusiveLock>();
    auto shared = std::make_unique<SharedLock>();
    exclusive.reset();
    EXPECT_TRUE(freeForOthers<SharedLock>());
    EXPECT_FALSE(freeForOthers<ExclusiveLock>());
    shared.reset();
    EXPECT_TRUE(freeForOthers<ExclusiveLock>());
}

TEST_F(LockTest, ADowngradeLetsReadersInThatWaitedAndKeepsAWriterOut) {
    auto exclusive = std::make_unique<ExclusiveLock>();
    auto shared = std::make_unique<SharedLock>();
    auto reader = waiting(obtainable<SharedLock>);
    exclusive.reset();
    EXPECT_TRUE(reader.get());
    shared.reset();

    exclusive = std::make_unique<ExclusiveLock>();
    shared = std::make_unique<SharedLock>();
    auto writer = waiting(obtainable<ExclusiveLock>);
    exclusive.reset();
    EXPECT_EQ(standin::lock::waiting(), 1U);
    EXPECT_TRUE(obtainable<SharedLock>()) << "again, ahead of the writer";
    shared.reset();
    EXPECT_TRUE(writer.get());
}

TEST_F(LockTest, ReaderReentersWhileAWriterWaitsAndOthersQueueBehindIt) {
    auto reader = std::make_unique<SharedLock>();
    auto writer = waiting(obtainable<ExclusiveLock>);
    EXPECT_TRUE(obtainable<SharedLock>());
    EXPECT_FALSE(freeForOthers<SharedLock>());
    reader.reset();
    EXPECT_TRUE(writer.get());
}

TEST_F(LockTest, ServesInOrderOfArrivalAndNeighbouringReadersTogether) {
    std::mutex mutex;
    std::string order;
    std::atomic<int> readersInside{0};
    const auto note = [&](char who) {
        const std::lock_guard guard(mutex);
        order += who;
    };
    const auto write = [&](char who) {
        return [&note, who] {
            const ExclusiveLock lock;
            note(who);
            return lock.obtained();
        };
    };
    // Each of the readers stays until so many are inside.
    const auto read = [&](char who, int together) {
        return [&, who, together] {
            const SharedLock lock;
            ++readersInside;
            const bool came = await([&] { return readersInside == together; });
            note(who);
            return lock.obtained() && came;
        };
    };
    std::vector<std::future<bool>> threads;
    {
        const ExclusiveLock holder;
        threads.push_back(waiting(write('1')));
        threads.push_back(waiting(read('r', 2)));
        threads.push_back(waiting(read('r', 2)));
        threads.push_back(waiting(write('2')));
        threads.push_back(waiting(read('R', 3)));
    }
    for (auto& thread : threads) {
        EXPECT_TRUE(thread.get());
    }
    EXPECT_EQ(order, "1rr2R");
}

TEST_F(LockTest, GivesUpAtTheDeadlineAndLetsThoseBehindThrough) {
    EXPECT_EQ(standin::lock::deadline(), 30s);
    const SharedLock holder;
    standin::lock::setDeadline(100ms);
    const auto begin = std::chrono::steady_clock::now();
    auto writer = std::async(std::launch::async, obtainable<ExclusiveLock>);
    EXPECT_TRUE(await([&writer] {
        return standin::lock::waiting() == 1 || writer.wait_for(0s) == std::future_status::ready;
    }));
    standin::lock::setDeadline(kLongEnough);
    auto reader = std::async(std::launch::async, obtainable<SharedLock>);
    EXPECT_FALSE(writer.get());
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms);
    EXPECT_TRUE(reader.get());
    standin::lock::setDeadline(-1ms);
    EXPECT_EQ(standin::lock::deadline(), 0ms);
    standin::lock::setDeadline(std::chrono::milliseconds::max());
    EXPECT_EQ(standin::lock::deadline(), standin::lock::kLongestDeadline);
}

}  // namespace
