#include "endpoint/endpoint_records.h"

#include <gtest/gtest.h>

#include "support/plain_entry.h"

namespace rs::test {

namespace {

TEST(EndpointRecords, HaveChunksForTheNumberOfRules) {
    EndpointRecords<PlainEntry> few{};
    sizeEndpointRecords(few, 1);
    EndpointRecords<PlainEntry> many{};
    sizeEndpointRecords(many, 100'000);
    EXPECT_EQ(5, few.entries.chunkShift) << "32 at once, however few rules there are";
    EXPECT_EQ(few.entries.chunkShift, few.spans.chunkShift);
    EXPECT_EQ(10, many.entries.chunkShift) << "a hundredth of the rules or so";
    EXPECT_EQ(10, many.ports.chunkShift);
    EXPECT_EQ(10, many.addresses.chunkShift);
    EXPECT_EQ(10, many.nodes4.chunkShift);
    EXPECT_EQ(10, many.nodes6.chunkShift);
    EXPECT_EQ(10, many.spans.chunkShift);
    EXPECT_EQ(10, many.buckets.chunkShift);
}

TEST(EndpointRecords, AreFreedTogether) {
    EndpointRecords<PlainEntry> records{};
    sizeEndpointRecords(records, 1);
    for (int i = 0; i < 40; ++i) {
        ASSERT_NE(nullptr, newRecord(records.entries));
        ASSERT_NE(nullptr, newRecord(records.nodes4));
        ASSERT_NE(nullptr, newRecord(records.nodes6));
        ASSERT_NE(nullptr, newRecord(records.spans));
        ASSERT_NE(nullptr, newRecord(records.buckets));
        ASSERT_NE(nullptr, newRecord(records.ports));
        ASSERT_NE(nullptr, newRecord(records.addresses));
    }
    freeEndpointRecords(records);
    EXPECT_EQ(0, records.entries.count);
    EXPECT_EQ(nullptr, records.buckets.chunks);
    freeEndpointRecords(records);
}

}  // namespace

}  // namespace rs::test
