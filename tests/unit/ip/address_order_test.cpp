#include "ip/address_order.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/random_source.h"

namespace rs::test {

namespace {

constexpr uint32_t ONES = 0xFFFFFFFF;

template <typename Address>
void expectSorted(const std::vector<Address>& addresses) {
    using Tagged = TaggedAddress<Address>;
    const auto count = static_cast<uint32_t>(addresses.size());
    std::vector<Tagged> expected;
    for (const Address& address : addresses) {
        expected.push_back({address, static_cast<uint32_t>(expected.size())});
    }
    TaggedAddresses<Address> tagged;
    ASSERT_TRUE(tagged.reserve(count));
    std::copy(expected.begin(), expected.end(), tagged.get());
    ASSERT_TRUE(sortAddresses(tagged, count));
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), tagged.get())) << count;
}

TEST(AddressSort, LeavesFewAndEqualAddressesAlone) {
    for (const uint32_t count : {1U, 2U, 255U, 256U, 1000U}) {
        expectSorted(std::vector<uint32_t>(count, 7));
        expectSorted(std::vector<Address128>(count, {{1, 2, 3, ONES}}));
    }
}

TEST(AddressSort, SortsRandomAddresses) {
    RandomSource random(propertySeed());
    for (const uint32_t count : {2U, 100U, 255U, 256U, 257U, 5000U}) {
        for (const uint32_t mask : {0x3U, 0xFF00U, 0x00FF00FFU, ONES}) {
            std::vector<uint32_t> narrow;
            std::vector<Address128> wide;
            for (uint32_t i = 0; i < count; ++i) {
                narrow.push_back(random.bits32() & mask);
                wide.push_back({{random.bits32() & mask, random.bits32() & mask,
                                 random.bits32() & mask, random.bits32() & mask}});
            }
            expectSorted(narrow);
            expectSorted(wide);
        }
    }
}

// More bytes differ than are sorted by, and most of these are equal.
TEST(AddressSort, SortsAddressesThatDifferLate) {
    RandomSource random(propertySeed());
    std::vector<Address128> addresses;
    for (uint32_t i = 0; i < 4000; ++i) {
        const uint32_t start = random.oneIn(50) ? ONES : 0;
        addresses.push_back({{start, start, random.below32(3), random.bits32()}});
    }
    expectSorted(addresses);
}

// A table of sorted addresses, with how many there were of each.
template <typename Address>
std::vector<uint32_t> keep(AddressTable& table, const std::vector<Address>& addresses) {
    TaggedAddresses<Address>& tagged = table.unsorted<Address>();
    const auto count = static_cast<uint32_t>(addresses.size());
    EXPECT_TRUE(tagged.reserve(count));
    for (uint32_t i = 0; i < count; ++i) {
        tagged[i] = {addresses[i], i};
    }
    std::vector<uint32_t> counts;
    table.keepSorted<Address>(
        count, [&](uint32_t rank, const TaggedAddress<Address>* first, uint32_t number) {
            EXPECT_EQ(counts.size(), rank);
            EXPECT_EQ(addresses[first->tag], first->address);
            counts.push_back(number);
        });
    return counts;
}

TEST(AddressTable, ReadsAddressesOfBothWidths) {
    AddressTable narrow;
    EXPECT_EQ((std::vector<uint32_t>{2, 1}), keep<uint32_t>(narrow, {10, 10, ONES}));
    EXPECT_EQ(2, narrow.count());
    EXPECT_EQ(10, narrow.at<uint32_t>(0));
    EXPECT_EQ(mappedAddress(10), narrow.at<Address128>(0));
    EXPECT_EQ(9, narrow.before<uint32_t>(0));
    EXPECT_EQ(mappedAddress(ONES - 1), narrow.before<Address128>(1));
    EXPECT_EQ(ONES, narrow.before<uint32_t>(2));
    EXPECT_EQ(mappedAddress(ONES), narrow.before<Address128>(2));

    AddressTable wide;
    const std::vector<Address128> addresses = {mappedAddress(10), nextAddress(mappedAddress(ONES))};
    EXPECT_EQ((std::vector<uint32_t>{1, 1}), keep<Address128>(wide, addresses));
    EXPECT_EQ(10, wide.at<uint32_t>(0));
    EXPECT_EQ(mappedAddress(10), wide.at<Address128>(0));
    EXPECT_EQ(ONES, wide.before<uint32_t>(1));
    EXPECT_EQ(mappedAddress(ONES), wide.before<Address128>(1));
    EXPECT_EQ(LAST_ADDRESS, wide.before<Address128>(2));
}

}  // namespace

}  // namespace rs::test
