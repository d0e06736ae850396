#include "core/slab.h"

#include <cstdint>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

struct Record {
    uint64_t value;
    uint32_t other;
};

class SlabTest : public ::testing::Test {
protected:
    ~SlabTest() override { freeSlab(slab); }
    Slab<Record> slab{};
};

TEST_F(SlabTest, FindsEveryRecordByItsNumber) {
    for (const uint64_t expected : {0U, 1U, 7U, 8U, 100U, 1024U, 1500U, 5000U}) {
        SCOPED_TRACE(expected);
        sizeSlab(slab, expected);
        std::set<const Record*> made;
        for (uint32_t i = 0; i < 2000; ++i) {
            const uint32_t number = slab.count;
            EXPECT_EQ(i, number);
            Record* record = newRecord(slab);
            ASSERT_NE(nullptr, record);
            EXPECT_EQ(0, record->value);
            record->value = i;
            EXPECT_TRUE(made.insert(record).second);
            EXPECT_EQ(record, &recordAt(slab, number));
        }
        for (uint32_t i = 0; i < 2000; ++i) {
            EXPECT_EQ(i, recordAt(slab, i).value);
        }
        freeSlab(slab);
        EXPECT_EQ(0, slab.count);
    }
}

TEST_F(SlabTest, MakesOneChunkForAboutAnEighthOfTheRecords) {
    sizeSlab(slab, 1000);
    for (uint32_t i = 0; i < 1000; ++i) {
        ASSERT_NE(nullptr, newRecord(slab));
    }
    EXPECT_EQ(8, slab.chunkCount);
}

TEST_F(SlabTest, LeavesFewRecordsFreeWhereAsManyAreMadeAsExpected) {
    for (const uint32_t expected : {1024U, 1025U, 2047U, 5000U, 100'000U}) {
        SCOPED_TRACE(expected);
        sizeSlab(slab, expected);
        for (uint32_t i = 0; i < expected; ++i) {
            ASSERT_NE(nullptr, newRecord(slab));
        }
        const uint32_t room = (slab.chunkCount << slab.chunkShift) - expected;
        EXPECT_LE(room, expected / 64);
        freeSlab(slab);
    }
}

TEST_F(SlabTest, MakesLargeBlocksForTheExpectedRecordsAndSmallOnesForMore) {
    sizeSlab(slab, 1024 + 512 + 16);  // 97 chunks of 16 records
    std::vector<uint32_t> blocks;
    for (uint32_t chunk = 0; chunk < 100; chunk += blocks.back()) {
        blocks.push_back(chunksInBlock(slab, chunk));
    }
    EXPECT_EQ((std::vector<uint32_t>{16, 16, 16, 16, 16, 16, 1, 1, 1, 1}), blocks);
    const Record* first = newRecord(slab);
    ASSERT_NE(nullptr, first);
    for (uint32_t i = 1; i < 256; ++i) {
        EXPECT_EQ(first + i, newRecord(slab));
    }
    EXPECT_EQ(16, slab.chunkCount);
}

TEST_F(SlabTest, PutsARunIntoSeveralChunksOfABlock) {
    sizeSlab(slab, 1024, 16);
    const Record* first = newRecords(slab, 10);
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(first + 10, newRecords(slab, 16));
    EXPECT_EQ(first + 25, &recordAt(slab, 25));
    EXPECT_EQ(nullptr, newRecords(slab, 17));
}

TEST_F(SlabTest, PutsRecordsOfARunSideBySide) {
    sizeSlab(slab, 10, 64);
    const Record* first = newRecords(slab, 40);
    ASSERT_NE(nullptr, first);
    const Record* second = newRecords(slab, 40);  // the chunk has no room for these
    ASSERT_NE(nullptr, second);
    EXPECT_EQ(second, &recordAt(slab, slab.count - 40));
    EXPECT_EQ(second + 39, &recordAt(slab, slab.count - 1));
    EXPECT_EQ(first + 39, &recordAt(slab, 39));
    EXPECT_EQ(nullptr, newRecords(slab, 65));
    EXPECT_EQ(nullptr, newRecords(slab, 0));
}

TEST_F(SlabTest, TakesTheLastRecordBack) {
    sizeSlab(slab, 3);
    for (uint32_t i = 0; i < 5; ++i) {
        Record* record = newRecord(slab);
        ASSERT_NE(nullptr, record);
        record->value = 7;
        takeBackRecord(slab);
        EXPECT_EQ(0, slab.count);
        EXPECT_EQ(record, newRecord(slab));
        EXPECT_EQ(0, record->value);
        takeBackRecord(slab);
    }
}

TEST_F(SlabTest, IsEmptyWhenZeroFilled) {
    freeSlab(slab);
    EXPECT_NE(nullptr, newRecord(slab));
}

}  // namespace

}  // namespace rs::test
