#include "endpoint/exact_table.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/plain_entry.h"
#include "support/scoped_flat_use.h"

namespace rs::test {

namespace {

constexpr Address128 address(uint32_t last) {
    return {{0x20010db8, 0, 0, last}};
}

class ExactTableTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(made, freeAll().size()); }

    std::vector<uint32_t> freeAll() {
        freeTable<uint32_t>(exact4, nodes4);
        freeTable<Address128>(exact6, nodes6);
        return freed;
    }

    template <typename Address>
    void freeTable(HashTable*& table, Slab<ExactAddressNode<PlainEntry, Address>>& nodes) {
        for (const uint32_t rule : freeEntriesOf([table](const auto& test) {
                 return scanAllExact<PlainEntry, Address>(table, test);
             })) {
            freed.push_back(rule);
        }
        EXPECT_EQ(table == nullptr ? 0 : table->elementCount, nodes.count);
        hashDestroy(&table);
        freeSlab(nodes);
    }

    bool insert(uint32_t key, const PlainMaker& maker) {
        return insertExact(exact4, nodes4, finder4, key, maker);
    }

    bool insert(const Address128& key, const PlainMaker& maker) {
        return insertExact(exact6, nodes6, finder6, key, maker);
    }

    template <typename Address>
    void add(const Address& key, uint32_t rule) {
        EXPECT_TRUE(insert(key, making(rule)));
        ++made;
    }

    HashTable* exact4 = nullptr;
    HashTable* exact6 = nullptr;
    Slab<ExactAddressNode<PlainEntry, uint32_t>> nodes4{};
    Slab<ExactAddressNode<PlainEntry, Address128>> nodes6{};
    PlaceFinder<ExactAddressNode<PlainEntry, uint32_t>> finder4;
    PlaceFinder<ExactAddressNode<PlainEntry, Address128>> finder6;
    size_t made = 0;
    std::vector<uint32_t> freed;
};

TEST_F(ExactTableTest, SharesTheNodeOfAnAddress) {
    add(0x0A000001U, 1);
    add(0x0A000001U, 2);
    add(0x0A000002U, 3);
    add(address(1), 4);
    add(address(1), 5);
    EXPECT_EQ(4095, exact4->bucketCount);
    EXPECT_EQ(4095, exact6->bucketCount);
    EXPECT_EQ(2, exact4->elementCount);
    EXPECT_EQ(1, exact6->elementCount);
    EXPECT_EQ(1, scanExact<PlainEntry>(exact4, 0x0A000001U, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanExact<PlainEntry>(exact4, 0x0A000001U, taking(2)).entry->ruleIndex);
    EXPECT_EQ(0, scanExact<PlainEntry>(exact4, 0x0A000001U, taking(3)).status);
    EXPECT_EQ(3, scanExact<PlainEntry>(exact4, 0x0A000002U, takeAny).entry->ruleIndex);
    EXPECT_EQ(0, scanExact<PlainEntry>(exact4, 0x0A000003U, takeAny).status);
    EXPECT_EQ(4, scanExact<PlainEntry>(exact6, address(1), takeAny).entry->ruleIndex);
    EXPECT_EQ(0, scanExact<PlainEntry>(exact6, address(2), takeAny).status);
}

TEST_F(ExactTableTest, HasOneEntryOfAMakerForAnAddress) {
    add(5U, 1);
    add(6U, 1);
    EXPECT_TRUE(insert(5U, making(1)));
    add(5U, 2);
    add(address(1), 1);
    EXPECT_TRUE(insert(address(1), making(1)));
    EXPECT_EQ(2, exact4->elementCount);
    EXPECT_EQ(1, exact6->elementCount);
}

// Two addresses in one bucket are told apart by the whole key.
TEST_F(ExactTableTest, TellsNeighboursInABucketApart) {
    constexpr uint32_t FIRST = 0x0A000001;
    uint32_t second = FIRST + 1;
    while (hashIPv4(second) % 4095 != hashIPv4(FIRST) % 4095) {
        ++second;
    }
    add(FIRST, 1);
    add(second, 2);
    EXPECT_EQ(2, exact4->elementCount);
    EXPECT_EQ(1, scanExact<PlainEntry>(exact4, FIRST, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanExact<PlainEntry>(exact4, second, takeAny).entry->ruleIndex);
}

TEST_F(ExactTableTest, FreesNodesAndEntries) {
    for (uint32_t rule = 1; rule <= 20; ++rule) {
        add(rule % 7, rule);
    }
    EXPECT_EQ(7, exact4->elementCount);
    EXPECT_EQ(20, freeAll().size());
    EXPECT_EQ(nullptr, exact4);
}

TEST_F(ExactTableTest, IsWalkedUpToTheFirstStatusButZero) {
    add(1U, 1);
    add(2U, 2);
    add(1U, 3);
    add(address(1), 1);
    EXPECT_EQ(1, (scanAllExact<PlainEntry, uint32_t>(exact4, taking(2))));
    EXPECT_EQ(1, (scanAllExact<PlainEntry, uint32_t>(exact4, taking(3))));
    EXPECT_EQ(0, (scanAllExact<PlainEntry, uint32_t>(exact4, taking(4))));
    EXPECT_EQ(RULE_ERR_FAILED, (scanAllExact<PlainEntry, uint32_t>(exact4, failingAt(1))));
    EXPECT_EQ(1, (scanAllExact<PlainEntry, Address128>(exact6, takeAny)));
}

TEST_F(ExactTableTest, HasNoAnswerWhileItIsMissing) {
    EXPECT_EQ(0, scanExact<PlainEntry>(exact4, 1U, takeAny).status);
    EXPECT_EQ(0, scanExact<PlainEntry>(exact6, address(1), takeAny).status);
    EXPECT_EQ(0, (scanAllExact<PlainEntry, uint32_t>(exact4, takeAny)));
}

// Addresses of one bucket, and of one sum of words, with an entry of each of two rules.
TEST_F(ExactTableTest, HasAFlatLookupThatFindsTheSame) {
    EXPECT_EQ(nullptr, buildFlatExact(nodes4).hosts) << "without an address";
    uint32_t rule = 0;
    for (uint32_t key = 0; nodes4.count < 300; ++key) {
        if (hashIPv4(key) % 4095 == 1000) {
            add(key, ++rule);
            add(key, ++rule);
            add(Address128{{1, key, 0U - key, 0}}, rule);
        }
    }
    const ScopedFlatUse always(FlatUse::ALWAYS);
    auto flat4 = buildFlatExact(nodes4);
    auto flat6 = buildFlatExact(nodes6);
    ASSERT_TRUE(flat4.hosts != nullptr && flat6.hosts != nullptr);
    const auto find4 = [&](uint32_t key, const auto& test) {
        return findInExact(exact4, nodes4, flat4, key, test);
    };
    for (uint32_t i = 0; i < nodes4.count; ++i) {
        const uint32_t key = recordAt(nodes4, i).address;
        EXPECT_EQ(2 * i + 1, find4(key, takeAny).entry->ruleIndex);
        EXPECT_EQ(2 * i + 2, find4(key, taking(2 * i + 2)).entry->ruleIndex);
        EXPECT_EQ(RULE_ERR_FAILED, find4(key, failingAt(2 * i + 1)).status);
        EXPECT_EQ(0, find4(key + 1, takeAny).status);
        const Address128& wide = recordAt(nodes6, i).address;
        EXPECT_EQ(2 * i + 2, findInExact(exact6, nodes6, flat6, wide, takeAny).entry->ruleIndex);
    }
    EXPECT_EQ(0, findInExact(exact6, nodes6, flat6, address(1), takeAny).status);
    freeExactLookup(flat4);
    freeExactLookup(flat6);
    EXPECT_EQ(nullptr, flat4.hosts);
    EXPECT_EQ(nullptr, flat4.summaries);
}

// A test that is to be asked of entries only where their summary does not decide.
struct PortTest {
    uint16_t port;
    bool mayAsk;

    [[nodiscard]] EndpointQuestion question() const { return {port, 0, 0, 1}; }
    int32_t operator()(const PlainEntry& entry) const {
        EXPECT_TRUE(mayAsk);
        return port <= entry.ruleIndex ? 1 : 0;
    }
};

TEST_F(ExactTableTest, AsksTheSummaryOfAnAddressFirst) {
    add(1U, 5);
    add(2U, 5);
    add(2U, 9);
    const ScopedFlatUse always(FlatUse::ALWAYS);
    auto flat = buildFlatExact(nodes4);
    ASSERT_NE(nullptr, flat.hosts);
    const struct {
        uint32_t address;
        PortTest test;
        uint32_t rule;  // 0 for none
    } rows[] = {{1, {5, false}, 5}, {1, {6, false}, 0}, {2, {5, false}, 5},
                {2, {6, true}, 9},  {2, {10, true}, 0}, {3, {0, false}, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.address);
        SCOPED_TRACE(row.test.port);
        const auto answer = findAskedInExact(exact4, nodes4, flat, row.address, row.test);
        EXPECT_EQ(row.rule, answer.status == 1 ? answer.entry->ruleIndex : 0);
        MatchResult result{};
        const int32_t status =
            askOnlyExact(flat, row.address, row.test.question(), result, [&]() noexcept {
                EXPECT_TRUE(row.test.mayAsk);
                return 7;
            });
        EXPECT_EQ(row.test.mayAsk ? 7 : answer.status, status);
        EXPECT_EQ(row.test.mayAsk ? 0 : row.rule, result.ruleIndex);
    }
    freeExactLookup(flat);
}

TEST_F(ExactTableTest, HasNoFlatLookupWhileItIsSmall) {
    const ScopedFlatUse bySize(FlatUse::BY_SIZE);
    for (uint32_t key = 1; key < FLAT_EXACT_ADDRESSES; ++key) {
        add(key, key);
    }
    EXPECT_EQ(nullptr, buildFlatExact(nodes4).hosts);
    EXPECT_EQ(7, findInExact(exact4, nodes4, {}, 7U, takeAny).entry->ruleIndex);
    add(0U, 1);
    auto flat = buildFlatExact(nodes4);
    EXPECT_NE(nullptr, flat.hosts);
    freeExactLookup(flat);
}

// What is there stays when no entry can be made.
TEST_F(ExactTableTest, EntersNothingWithoutAnEntry) {
    add(5U, 2);
    EXPECT_FALSE(insert(5U, MAKES_NOTHING));
    EXPECT_FALSE(insert(6U, MAKES_NOTHING));
    EXPECT_FALSE(insert(address(1), MAKES_NOTHING));
    EXPECT_EQ(1, exact4->elementCount);
    EXPECT_EQ(0, exact6->elementCount);
    EXPECT_EQ(2, scanExact<PlainEntry>(exact4, 5U, takeAny).entry->ruleIndex);
}

}  // namespace

}  // namespace rs::test
