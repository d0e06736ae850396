#include "lookup/flat_hosts.h"

#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

template <typename Address>
Address addressOf(uint64_t number);

template <>
uint32_t addressOf<uint32_t>(uint64_t number) {
    return static_cast<uint32_t>(number);
}

// The number in all four words, so that each of them tells two addresses apart.
template <>
Address128 addressOf<Address128>(uint64_t number) {
    const auto low = static_cast<uint32_t>(number);
    return {{~low, low ^ 0x20010DB8U, low, 3 * low}};
}

template <typename Address>
using HostList = std::vector<std::pair<Address, uint32_t>>;

template <typename Address>
OwnedFlatHosts<Address> build(const HostList<Address>& list) {
    return OwnedFlatHosts<Address>(buildFlatHosts<Address>(list.size(), [&](const auto& add) {
        for (const auto& [address, number] : list) {
            add(address, number);
        }
    }));
}

template <typename Address>
void expectFinds(const HostList<Address>& list, const std::vector<Address>& others) {
    const OwnedFlatHosts<Address> hosts = build(list);
    ASSERT_TRUE(hosts);
    std::map<Address, uint32_t> first;
    std::set<Address> several;
    for (const auto& [address, number] : list) {
        if (!first.emplace(address, number).second) {
            several.insert(address);
        }
    }
    EXPECT_EQ(first.size(), hosts->count);
    std::set<uint32_t> ranks;
    for (const auto& [address, number] : first) {
        const HostPlace place = findHostPlace(*hosts, address);
        ASSERT_LT(place.rank, hosts->count);
        ranks.insert(place.rank);
        EXPECT_EQ(number, findFlatHost(*hosts, address));
        EXPECT_EQ(number, hosts->numbers[place.rank]);
        EXPECT_TRUE(place.hasMore || several.count(address) == 0);
        EXPECT_TRUE(!place.hasMore || !several.empty());
    }
    EXPECT_EQ(first.size(), ranks.size());
    for (const Address& address : others) {
        const auto found = first.find(address);
        EXPECT_EQ(found == first.end() ? NO_RECORD : found->second, findFlatHost(*hosts, address));
    }
}

template <typename Address>
class FlatHostsOf : public ::testing::Test {};

using Widths = ::testing::Types<uint32_t, Address128>;
TYPED_TEST_SUITE(FlatHostsOf, Widths);

TYPED_TEST(FlatHostsOf, FindEveryAddressAndNoOther) {
    std::mt19937_64 random(7);
    for (uint32_t count = 1; count < 3000; count += 1 + count / 3) {
        SCOPED_TRACE(count);
        HostList<TypeParam> list;
        std::vector<TypeParam> others;
        for (uint32_t i = 0; i < count; ++i) {
            list.emplace_back(addressOf<TypeParam>(random() % (uint64_t{3} * count)), i);
        }
        for (uint32_t i = 0; i < 4 * count; ++i) {
            others.push_back(addressOf<TypeParam>(i));
        }
        expectFinds(list, others);
    }
}

TYPED_TEST(FlatHostsOf, FindTheFirstAndTheLastAddress) {
    constexpr TypeParam FIRST{};
    const TypeParam last = previousAddress(FIRST);
    const TypeParam second = nextAddress(FIRST);
    const TypeParam nearlyLast = previousAddress(last);
    expectFinds<TypeParam>({{FIRST, 5}}, {last, second});
    expectFinds<TypeParam>({{last, 5}}, {FIRST, nearlyLast});
    expectFinds<TypeParam>({{last, 0}, {FIRST, 1}}, {second, nearlyLast});
}

TYPED_TEST(FlatHostsOf, ManyRecordsOfOneAddressAreOne) {
    HostList<TypeParam> list;
    for (uint32_t i = 0; i < 20000; ++i) {
        list.emplace_back(addressOf<TypeParam>(i % 2), 100 + i);
    }
    expectFinds(list, {addressOf<TypeParam>(2)});
}

TYPED_TEST(FlatHostsOf, KeepOneNumberOutOfTwentyThousand) {
    HostList<TypeParam> list;
    std::vector<TypeParam> others;
    for (uint32_t i = 0; i < 20000; ++i) {
        list.emplace_back(addressOf<TypeParam>(uint64_t{i} * 256), i);
        others.push_back(addressOf<TypeParam>(uint64_t{i} * 256 + 1));
    }
    expectFinds(list, others);
}

TYPED_TEST(FlatHostsOf, FindNothingWhenEmpty) {
    expectFinds<TypeParam>({}, {TypeParam{}, addressOf<TypeParam>(1)});
}

TYPED_TEST(FlatHostsOf, AreNullWithTooManyAddresses) {
    const auto addNothing = [](const auto&) {};
    EXPECT_EQ(nullptr, buildFlatHosts<TypeParam>(uint64_t{1} << 30U, addNothing));
    EXPECT_EQ(nullptr, buildFlatHosts<TypeParam>(UINT64_MAX, addNothing));
    freeFlatHosts<TypeParam>(nullptr);
}

TYPED_TEST(FlatHostsOf, HaveTheirRanksWithoutKeysAndNumbers) {
    HostList<TypeParam> list;
    for (uint32_t i = 0; i < 1000; ++i) {
        list.emplace_back(addressOf<TypeParam>(i), i);
    }
    const OwnedFlatHosts<TypeParam> hosts = build(list);
    ASSERT_TRUE(hosts);
    const std::vector<TypeParam> records(hosts->keys, hosts->keys + hosts->count);
    dropHostKeys(*hosts);
    dropHostNumbers(*hosts);
    EXPECT_EQ(nullptr, hosts->keys);
    EXPECT_EQ(nullptr, hosts->numbers);
    for (uint32_t i = 0; i < 2000; ++i) {
        const auto address = addressOf<TypeParam>(i);
        const HostProbe probe = prepareFlatHost(*hosts, address);
        prefetchHostBucket(probe);
        const HostPlace place =
            searchFlatHost(probe, [&](size_t rank) { return records[rank] == address; });
        EXPECT_EQ(i < 1000, place.rank != NO_RECORD);
    }
}

// As many addresses whose hash leads to the first bucket, as long as there are not more than 4,096 buckets.
template <typename Address>
std::vector<Address> meetingAddresses(const HashSeed& seed, uint32_t count) {
    std::vector<Address> addresses;
    for (uint64_t i = 0; addresses.size() < count; ++i) {
        const auto address = addressOf<Address>(i);
        if (hashHost(seed, address) >> 52U == 0) {
            addresses.push_back(address);
        }
    }
    return addresses;
}

TYPED_TEST(FlatHostsOf, OverflowIntoTheNextBucketsUpToABound) {
    constexpr HashSeed SEED{0x9E3779B97F4A7C15, 0x243F6A8885A308D3};
    constexpr uint32_t PLACES = 12;
    for (const uint32_t count : {PLACES, PLACES + 1, PLACES * (MAX_HOST_STEPS + 1),
                                 PLACES * (MAX_HOST_STEPS + 1) + 1, 300U}) {
        SCOPED_TRACE(count);
        const std::vector<TypeParam> addresses = meetingAddresses<TypeParam>(SEED, count);
        FlatHostsBuild<TypeParam> attempt;
        ASSERT_TRUE(attempt.start(count, 0, SEED));
        for (const TypeParam& address : addresses) {
            attempt.countOne(address);
        }
        attempt.endCounting();
        for (uint32_t i = 0; i < count; ++i) {
            attempt.add(addresses[i], i);
        }
        const OwnedFlatHosts<TypeParam> hosts(attempt.finish());
        ASSERT_EQ(count <= PLACES * (MAX_HOST_STEPS + 1), hosts != nullptr);
        for (uint32_t i = 0; hosts && i < count; ++i) {
            EXPECT_EQ(i, findFlatHost(*hosts, addresses[i]));
        }
    }
}

}  // namespace

}  // namespace rs::test
