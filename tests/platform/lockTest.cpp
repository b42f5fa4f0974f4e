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

/// Takes the locks that `kinds` names, 'x' exclusive and 's' shared, each within the one before; appends '1'
/// for each that is obtained and '0' for each that is not.
void nest(const char* kinds, std::string& obtained) {
    if (*kinds == 'x') {
        const ExclusiveLock lock;
        obtained += lock.obtained() ? '1' : '0';
        nest(kinds + 1, obtained);
    } else if (*kinds == 's') {
        const SharedLock lock;
        obtained += lock.obtained() ? '1' : '0';
        nest(kinds + 1, obtained);
    }
}

struct NestingCase {
    const char* name;
    const char* kinds;
    const char* obtained;
};

constexpr NestingCase kNestingCases[] = {
    {"ExclusiveWithinExclusive", "xxx", "111"},   {"SharedWithinExclusive", "xss", "111"},
    {"SharedWithinShared", "sss", "111"},         {"ExclusiveWithinSharedIsRefused", "sx", "10"},
    {"RefusalLeavesTheSharedLock", "sxs", "101"}, {"ExclusiveAgainWithinShared", "xsx", "111"},
};

class LockTest : public PlatformTest {};

class LockNesting : public LockTest, public testing::WithParamInterface<NestingCase> {};

TEST_P(LockNesting, AnswersAndLeavesNothingBehind) {
    standin::lock::setDeadline(kLongEnough);
    std::string obtained;
    nest(GetParam().kinds, obtained);
    EXPECT_EQ(obtained, GetParam().obtained);
    EXPECT_TRUE(freeForOthers<ExclusiveLock>());
    const std::string kinds = GetParam().kinds;
    EXPECT_EQ(standin::calls::count(Operation::sharedLock), std::ranges::count(kinds, 's'));
}

INSTANTIATE_TEST_SUITE_P(Lock, LockNesting, testing::ValuesIn(kNestingCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

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

TEST_F(LockTest, ReaderReentersWhileAWriterWaitsAndOthersQueueBehindIt) {
    auto reader = std::make_unique<SharedLock>();
    auto writer = std::async(std::launch::async, obtainable<ExclusiveLock>);
    ASSERT_TRUE(await([] { return standin::lock::waiting() == 1; }));
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
        const ExclusiveLock lock;
        note(who);
        return lock.obtained();
    };
    // Each of the two readers stays until the other is inside, too.
    const auto readTogether = [&] {
        const SharedLock lock;
        ++readersInside;
        const bool together = await([&] { return readersInside == 2; });
        note('r');
        return lock.obtained() && together;
    };
    const auto readAlone = [&] {
        const SharedLock lock;
        note('R');
        return lock.obtained();
    };

    std::vector<std::future<bool>> threads;
    const auto queue = [&](auto work) {
        threads.push_back(std::async(std::launch::async, work));
        ASSERT_TRUE(await([&] { return standin::lock::waiting() == threads.size(); }));
    };
    {
        const ExclusiveLock holder;
        queue([&] { return write('1'); });
        queue(readTogether);
        queue(readTogether);
        queue([&] { return write('2'); });
        queue(readAlone);
    }
    for (auto& thread : threads) {
        EXPECT_TRUE(thread.get());
    }
    EXPECT_EQ(order, "1rr2R");
}

TEST_F(LockTest, GivesUpAtTheDeadlineAndLetsThoseBehindThrough) {
    const SharedLock holder;
    standin::lock::setDeadline(100ms);
    const auto begin = std::chrono::steady_clock::now();
    auto writer = std::async(std::launch::async, obtainable<ExclusiveLock>);
    ASSERT_TRUE(await([] { return standin::lock::waiting() == 1; }));
    standin::lock::setDeadline(kLongEnough);
    auto reader = std::async(std::launch::async, obtainable<SharedLock>);
    EXPECT_FALSE(writer.get());
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms);
    EXPECT_TRUE(reader.get());
}

TEST_F(LockTest, FaultsRefuseChosenAcquisitionsNestedOnesToo) {
    standin::faults::set(Operation::exclusiveLock, {.times = 1, .after = 1});
    standin::faults::set(Operation::sharedLock, {.times = 2});
    std::string obtained;
    nest("xxsss", obtained);
    EXPECT_EQ(obtained, "10001");
    EXPECT_EQ(standin::calls::count(Operation::exclusiveLock), 2);
    EXPECT_TRUE(freeForOthers<ExclusiveLock>());
}

TEST_F(LockTest, ProtectsDataFromManyThreads) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    int first = 0;
    int second = 0;
    std::vector<std::future<bool>> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.push_back(std::async(std::launch::async, [&] {
            bool consistent = true;
            for (int round = 0; round < kRounds; ++round) {
                {
                    const ExclusiveLock lock;
                    ++first;
                    const SharedLock again;
                    ++second;
                }
                const SharedLock lock;
                consistent = consistent && first == second;
            }
            return consistent;
        }));
    }
    for (auto& thread : threads) {
        EXPECT_TRUE(thread.get());
    }
    EXPECT_EQ(first, kThreads * kRounds);
}

TEST_F(LockTest, DeadlineIsKeptWithinItsRange) {
    EXPECT_EQ(standin::lock::deadline(), 30s);
    standin::lock::setDeadline(-1ms);
    EXPECT_EQ(standin::lock::deadline(), 0ms);
    standin::lock::setDeadline(std::chrono::milliseconds::max());
    EXPECT_EQ(standin::lock::deadline(), standin::lock::kLongestDeadline);
}

}  // namespace
