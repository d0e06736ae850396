#include "core/memory.h"

#include <cstddef>
#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

struct Record {
    uint64_t number;
    void* pointer;
};

int freedRecords = 0;

void freeRecord(Record* record) noexcept {
    ++freedRecords;
    freeMemory(record);
}

TEST(Memory, ZeroFillsArraysAndRecords) {
    const OwnedMemory<Record[]> records(allocateArray<Record>(100));
    ASSERT_NE(nullptr, records);
    for (size_t i = 0; i < 100; ++i) {
        EXPECT_EQ(0, records[i].number);
        EXPECT_EQ(nullptr, records[i].pointer);
    }
    const OwnedMemory<Record> record(allocateRecord<Record>());
    ASSERT_NE(nullptr, record);
    EXPECT_EQ(0, record->number);
    EXPECT_EQ(nullptr, record->pointer);
}

TEST(Memory, HasNoEmptyArray) {
    EXPECT_EQ(nullptr, allocateArray<Record>(0));
}

TEST(Memory, RefusesSizesThatOverflow) {
    // The compiler must not see the size: it warns of one that no block can have.
    volatile size_t count = SIZE_MAX / sizeof(Record) + 1;
    EXPECT_EQ(nullptr, allocateArray<Record>(count));
}

TEST(Memory, FreesNull) {
    freeMemory(static_cast<Record*>(nullptr));
}

TEST(Memory, OwnerFreesARecordOnceUnlessItLetsGo) {
    using OwnedRecord = Owned<Record, freeRecord>;
    freedRecords = 0;
    { const OwnedRecord record(allocateRecord<Record>()); }
    EXPECT_EQ(1, freedRecords);

    OwnedRecord record(allocateRecord<Record>());
    const OwnedMemory<Record> plain(record.release());
    record.reset();
    EXPECT_EQ(1, freedRecords);
}

}  // namespace

}  // namespace rs::test
