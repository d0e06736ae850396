#include "endpoint/endpoint_lookups.h"

#include <gtest/gtest.h>

#include "support/plain_entry.h"
#include "support/scoped_flat_use.h"

namespace rs::test {

namespace {

class EndpointLookupsTest : public ::testing::Test {
protected:
    void TearDown() override {
        freeEndpointLookups(lookups);
        freeEndpointRecords(records);
    }

    // A record of each kind that has a lookup.
    void addRecords() {
        newRecord(records.nodes4)->address = 7;
        newRecord(records.nodes6)->address = {{1, 2, 3, 4}};
        newRecord(records.spans)->spanHigh = 9;
        newRecord(records.buckets)->high = {{0, 0, 0, 5}};
    }

    EndpointRecords<PlainEntry> records{};
    EndpointLookups lookups{};
};

TEST_F(EndpointLookupsTest, AreThereForEachKindOfRecord) {
    const ScopedFlatUse always(FlatUse::ALWAYS);
    addRecords();
    buildEndpointLookups(records, lookups);
    EXPECT_NE(nullptr, lookups.exact4.hosts);
    EXPECT_NE(nullptr, lookups.exact6.hosts);
    EXPECT_NE(nullptr, lookups.blocks4.order);
    EXPECT_NE(nullptr, lookups.ranges6);
    freeEndpointLookups(lookups);
    EXPECT_EQ(nullptr, lookups.exact4.hosts);
    EXPECT_EQ(nullptr, lookups.blocks4.order);
}

TEST_F(EndpointLookupsTest, AreMissingWithoutRecords) {
    const ScopedFlatUse always(FlatUse::ALWAYS);
    buildEndpointLookups(records, lookups);
    EXPECT_EQ(nullptr, lookups.exact4.hosts);
    EXPECT_EQ(nullptr, lookups.exact6.hosts);
    EXPECT_EQ(nullptr, lookups.blocks4.order);
    EXPECT_EQ(nullptr, lookups.ranges6);
}

TEST_F(EndpointLookupsTest, AreMissingForAFewRecords) {
    const ScopedFlatUse bySize(FlatUse::BY_SIZE);
    addRecords();
    buildEndpointLookups(records, lookups);
    EXPECT_EQ(nullptr, lookups.exact4.hosts);
    EXPECT_EQ(nullptr, lookups.exact6.hosts);
    EXPECT_EQ(nullptr, lookups.blocks4.order);
    EXPECT_EQ(nullptr, lookups.ranges6);
}

}  // namespace

}  // namespace rs::test
