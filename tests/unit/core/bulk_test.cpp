#include "core/bulk.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/match_result.h"

namespace rs::test {

namespace {

struct Step {
    uint32_t number;
    size_t key;

    friend bool operator==(const Step&, const Step&) = default;
};

std::vector<Step> stepsTaken(size_t count) {
    std::vector<Step> taken;
    takeSteps<size_t>(
        count,
        [&](size_t key, size_t& /*state*/) {
            taken.push_back({1, key});
        },
        [&](size_t key, size_t& /*state*/) {
            taken.push_back({2, key});
        });
    return taken;
}

TEST(BulkSteps, OfNoKeysAreNone) {
    EXPECT_EQ(std::vector<Step>(), stepsTaken(0));
}

TEST(BulkSteps, AreTakenByAllKeysOfABlockBeforeTheNextStep) {
    EXPECT_EQ((std::vector<Step>{{1, 0}, {1, 1}, {1, 2}, {2, 0}, {2, 1}, {2, 2}}), stepsTaken(3));
}

TEST(BulkSteps, AreTakenBlockByBlock) {
    for (const size_t count : {BULK_BLOCK - 1, BULK_BLOCK, BULK_BLOCK + 1, 3 * BULK_BLOCK + 5}) {
        std::vector<Step> expected;
        for (size_t first = 0; first < count; first += BULK_BLOCK) {
            for (const uint32_t number : {1U, 2U}) {
                for (size_t key = first; key < count && key < first + BULK_BLOCK; ++key) {
                    expected.push_back({number, key});
                }
            }
        }
        EXPECT_EQ(expected, stepsTaken(count)) << count;
    }
}

TEST(BulkSteps, KeepTheStateOfEachKey) {
    constexpr size_t COUNT = 2 * BULK_BLOCK + 1;
    std::vector<size_t> last(COUNT);
    takeSteps<size_t>(
        COUNT, [](size_t key, size_t& state) { state = 10 * key; },
        [](size_t /*key*/, size_t& state) { ++state; },
        [&](size_t key, size_t& state) { last[key] = state; });
    for (size_t key = 0; key < COUNT; ++key) {
        EXPECT_EQ(10 * key + 1, last[key]);
    }
}

constexpr MatchResult HIT{4, 5, 6, nullptr};

int32_t hit(MatchResult& result) {
    result = HIT;
    return 1;
}

TEST(BulkAnswers, OfAHitAreTheResultAndItsIndex) {
    uint32_t index = 9;
    int32_t status = 9;
    MatchResult result = UNTOUCHED;
    BulkAnswers{&index, &status, &result}.answer(0, hit);
    EXPECT_EQ(4U, index);
    EXPECT_EQ(1, status);
    EXPECT_EQ(HIT, result);
}

TEST(BulkAnswers, OfAMissLeaveAllButTheIndexAlone) {
    for (const int32_t answered : {0, RULE_ERR_INVALID_ARG}) {
        uint32_t index = 9;
        int32_t status = 9;
        MatchResult result = UNTOUCHED;
        BulkAnswers{&index, &status, &result}.answer(
            0, [answered](MatchResult& /*result*/) { return answered; });
        EXPECT_EQ(0U, index);
        EXPECT_EQ(answered, status);
        EXPECT_EQ(0U, result.ruleIndex);
        result.ruleIndex = UNTOUCHED.ruleIndex;
        EXPECT_EQ(UNTOUCHED, result);
    }
}

TEST(BulkAnswers, NeedNoStatusesAndNoResults) {
    uint32_t indexes[] = {9, 9};
    const BulkAnswers answers{indexes, nullptr, nullptr};
    answers.answer(0, hit);
    answers.answer(1, [](MatchResult& /*result*/) { return 0; });
    EXPECT_EQ(4U, indexes[0]);
    EXPECT_EQ(0U, indexes[1]);
}

TEST(BulkAnswers, GoOnFromAKey) {
    uint32_t indexes[] = {9, 9, 9};
    int32_t statuses[] = {9, 9, 9};
    MatchResult results[] = {UNTOUCHED, UNTOUCHED, UNTOUCHED};
    BulkAnswers{indexes, statuses, results}.from(1).answer(1, hit);
    BulkAnswers{indexes, nullptr, nullptr}.from(1).answer(0, hit);
    EXPECT_EQ(9U, indexes[0]);
    EXPECT_EQ(4U, indexes[1]);
    EXPECT_EQ(4U, indexes[2]);
    EXPECT_EQ(9, statuses[1]);
    EXPECT_EQ(1, statuses[2]);
    EXPECT_EQ(UNTOUCHED, results[1]);
    EXPECT_EQ(HIT, results[2]);
}

}  // namespace

}  // namespace rs::test
