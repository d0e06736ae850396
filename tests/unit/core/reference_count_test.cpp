#include "core/reference_count.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <numeric>

#include <gtest/gtest.h>

#include "support/threads.h"

namespace rs::test {

namespace {

constexpr uint32_t THREAD_COUNT = 8;
constexpr uint32_t ROUNDS = 5000;

TEST(ReferenceCount, CountsUpAndDown) {
    uint32_t count = 0;
    EXPECT_EQ(1, incrementCount(count));
    EXPECT_EQ(2, incrementCount(count));
    decrementCount(count);
    EXPECT_EQ(1, count);
}

TEST(ReferenceCount, NamesTheLastReference) {
    uint32_t refCount = 1;
    retainReference(refCount);
    EXPECT_FALSE(dropReference(refCount));
    EXPECT_TRUE(dropReference(refCount));
    EXPECT_EQ(0, refCount);
}

TEST(ReferenceCount, LosesNoCountBetweenThreads) {
    uint32_t count = 7;
    runInThreads(THREAD_COUNT, [&count](uint32_t /*thread*/) {
        for (uint32_t i = 0; i < ROUNDS; ++i) {
            incrementCount(count);
            incrementCount(count);
            decrementCount(count);
        }
    });
    EXPECT_EQ(7 + THREAD_COUNT * ROUNDS, count);
}

TEST(ReferenceCount, NamesOneLastReferenceAmongThreads) {
    for (uint32_t round = 0; round < 50; ++round) {
        uint32_t refCount = THREAD_COUNT;
        std::atomic<uint32_t> lastOnes{0};
        runInThreads(THREAD_COUNT, [&](uint32_t /*thread*/) {
            if (dropReference(refCount)) {
                ++lastOnes;
            }
        });
        ASSERT_EQ(1, lastOnes);
        ASSERT_EQ(0, refCount);
    }
}

// What a thread wrote and read before it dropped its reference is over for the thread that drops the
// last one: plain words on both sides, of which the thread sanitizer reports any that are not.
TEST(ReferenceCount, OrdersAllEarlierAccessesBeforeTheLastDrop) {
    for (uint32_t round = 0; round < 50; ++round) {
        uint32_t refCount = THREAD_COUNT;
        uint32_t shared = 1;
        std::array<uint32_t, THREAD_COUNT> written{};
        uint32_t sum = 0;
        runInThreads(THREAD_COUNT, [&](uint32_t thread) {
            written[thread] = thread + shared;
            if (dropReference(refCount)) {
                sum = std::accumulate(written.begin(), written.end(), 0U);
                shared = 0;
            }
        });
        ASSERT_EQ(THREAD_COUNT * (THREAD_COUNT + 1) / 2, sum);
        ASSERT_EQ(0, shared);
    }
}

}  // namespace

}  // namespace rs::test
