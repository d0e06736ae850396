#include "ip/ip_insert.h"

#include <ruleset.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "lookup/address_hash.h"
#include "support/search_tree_check.h"
#include "support/tree_text.h"

namespace rs::test {

namespace {

using Lines = std::vector<std::string>;
using Intervals = std::vector<std::pair<uint32_t, uint32_t>>;

constexpr uint32_t ONES = 0xFFFFFFFF;

// Both widths get the same small numbers; of the 128-bit ones 99 and 100 lie on both sides of a
// border between all four words.
template <typename Address>
struct Width;

template <>
struct Width<uint32_t> {
    static constexpr TreeCompare CLASSIFY = classifyInterval32;
    static constexpr TreeReleaseEntries RELEASE = releaseRangeEntries32;
    static constexpr uint32_t FIRST = 0;
    static constexpr uint32_t LAST = ONES;
    static uint32_t address(uint32_t number) { return number; }
    static uint32_t number(uint32_t address) { return address; }
    static Address128 words(uint32_t address) { return mappedAddress(address); }
    static constexpr uint32_t FLAGS = 0;
};

template <>
struct Width<Address128> {
    static constexpr TreeCompare CLASSIFY = classifyInterval128;
    static constexpr TreeReleaseEntries RELEASE = releaseRangeEntries128;
    static constexpr Address128 FIRST{};
    static constexpr Address128 LAST{{ONES, ONES, ONES, ONES}};
    static Address128 address(uint32_t number) {
        return number < 100 ? Address128{{7, ONES, ONES, ONES - 99 + number}}
                            : Address128{{8, 0, 0, number - 100}};
    }
    static uint32_t number(const Address128& address) { return address.words[3] + 100; }
    static Address128 words(const Address128& address) { return address; }
    static constexpr uint32_t FLAGS = ADDRESS_FLAG_IPV6;
};

// The records of a list of rules.
class Rules {
public:
    Rules() { resetList(list_.head); }

    void add(const Address128& low, const Address128& high, uint32_t flags, const EntryRule& rule) {
        IpRule& record = records_.emplace_back();
        record.addresses.startAddress = low;
        record.addresses.endAddress = high;
        record.addresses.addressFlags = flags;
        record.ruleValue = rule.ruleValue;
        appendToList(list_.head, record.links);
        ++list_.ruleCount;
        rules_.push_back(rule);
    }

    RuleList& list() { return list_; }
    const std::vector<EntryRule>& rules() const { return rules_; }
    void clear() { *this = Rules(); }

private:
    Rules& operator=(Rules&& other) {
        records_ = std::move(other.records_);
        rules_ = std::move(other.rules_);
        list_.ruleCount = 0;
        resetList(list_.head);
        return *this;
    }

    std::deque<IpRule> records_;
    RuleList list_{};
    std::vector<EntryRule> rules_;
};

// A rule is entered with all rules before it: the places of rules depend on the whole list.
template <typename Address>
class IntervalInsertion : public ::testing::Test {
protected:
    using Of = Width<Address>;

    ~IntervalInsertion() override { clear(); }

    int32_t insert(uint32_t low, uint32_t high, uint32_t ruleIndex, uint32_t ruleValue,
                   void* userData = nullptr) {
        return insertAddresses(Of::address(low), Of::address(high), ruleIndex, ruleValue, userData);
    }

    int32_t insertAddresses(const Address& low, const Address& high, uint32_t ruleIndex,
                            uint32_t ruleValue, void* userData = nullptr) {
        add(low, high, ruleIndex, ruleValue, userData);
        return build();
    }

    void add(const Address& low, const Address& high, uint32_t ruleIndex, uint32_t ruleValue,
             void* userData = nullptr) {
        rules.add(Of::words(low), Of::words(high), Of::FLAGS,
                  {ruleIndex, ruleValue, 1000 + ruleIndex, userData, claims});
    }

    // The status of the last rule.
    int32_t build() {
        clear();
        tree.reset(createSearchTree({}, Of::CLASSIFY, Of::RELEASE));
        std::copy(std::begin(claimsBefore), std::end(claimsBefore), claims);
        RulePlaces places{};
        EXPECT_TRUE(placeRules(rules.list(), places));
        sizeSlab(nodes, places.ranges.count);
        sizeSlab(entries, uint64_t{places.ranges.count} * places.ranges.count);
        rs::IntervalInsertion<Address> insertion(nodes, entries, places.ranges);
        EXPECT_TRUE(insertion.reserve());
        int32_t status = RULE_OK;
        for (uint32_t i = 0; i < places.ranges.count; ++i) {
            status = insertion.insert(i, rules.rules()[i]);
        }
        EXPECT_EQ(0, insertion.leftOut());
        insertion.link(*tree);
        steps = insertion.steps();
        EXPECT_TRUE(checkSearchTree(*tree));
        return status;
    }

    void clear() {
        tree.reset();
        freeSlab(nodes);
        freeSlab(entries);
    }

    Lines lines() const {
        return describeIntervals<Address>(
            tree.get(), [](const Address& address) { return std::to_string(Of::number(address)); });
    }

    Rules rules;
    Slab<IntervalNode<Address>> nodes{};
    Slab<RangeEntry<Address>> entries{};
    OwnedSearchTree tree;
    uint64_t steps = 0;
    uint8_t claimsBefore[20] = {};
    uint8_t claims[20] = {};
    int token = 0;
};

using Widths = ::testing::Types<uint32_t, Address128>;

TYPED_TEST_SUITE(IntervalInsertion, Widths);

TYPED_TEST(IntervalInsertion, MakesANodeWhereNothingOverlaps) {
    EXPECT_EQ(RULE_OK, this->insert(95, 105, 1, 5));
    EXPECT_EQ(RULE_OK, this->insert(106, 110, 2, 5));
    EXPECT_EQ(RULE_OK, this->insert(90, 94, 3, 5));
    EXPECT_EQ((Lines{"90-94: 3 90-94", "95-105: 1 95-105", "106-110: 2 106-110"}), this->lines());
}

TYPED_TEST(IntervalInsertion, CopiesTheRuleIntoItsEntries) {
    int userData = 0;
    ASSERT_EQ(RULE_OK, this->insert(10, 20, 3, 0xFFFFFFFE, &userData));
    const auto& entry = *static_cast<const RangeEntry<TypeParam>*>(this->tree->root->entries);
    EXPECT_EQ(3, entry.ruleIndex);
    EXPECT_EQ(0xFFFFFFFE, entry.ruleValue);
    EXPECT_EQ(1003, entry.ruleId);
    EXPECT_EQ(&userData, entry.userData);
    EXPECT_EQ(ENTRY_RELEASES_USER_DATA, entry.entryFlags);
    EXPECT_EQ(nullptr, entry.next);
    EXPECT_EQ(1, this->claims[2]);
    const auto& key = *static_cast<const IntervalKey<TypeParam>*>(this->tree->root->key);
    EXPECT_EQ(nullptr, key.next);
}

// Each row enters a second interval beside the node 95-105 of rule 1.
TYPED_TEST(IntervalInsertion, NeitherSplitsNorWidensANode) {
    const struct {
        uint32_t low;
        uint32_t high;
        Lines lines;
    } rows[] = {
        {90, 100, {"90-94: 2 90-94", "95-105: 1 95-105, 2 95-100"}},
        {90, 105, {"90-94: 2 90-94", "95-105: 1 95-105, 2 95-105"}},
        {90, 95, {"90-94: 2 90-94", "95-105: 1 95-105, 2 95-95"}},
        {100, 110, {"95-105: 1 95-105, 2 100-105", "106-110: 2 106-110"}},
        {95, 110, {"95-105: 1 95-105, 2 95-105", "106-110: 2 106-110"}},
        {105, 110, {"95-105: 1 95-105, 2 105-105", "106-110: 2 106-110"}},
        {94, 106, {"94-94: 2 94-94", "95-105: 1 95-105, 2 95-105", "106-106: 2 106-106"}},
        {95, 105, {"95-105: 1 95-105, 2 95-105"}},
        {97, 103, {"95-105: 1 95-105, 2 97-103"}},
        {99, 100, {"95-105: 1 95-105, 2 99-100"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.low << '-' << row.high);
        this->rules.clear();
        ASSERT_EQ(RULE_OK, this->insert(95, 105, 1, 5));
        EXPECT_EQ(RULE_OK, this->insert(row.low, row.high, 2, 6));
        EXPECT_EQ(row.lines, this->lines());
    }
}

TYPED_TEST(IntervalInsertion, RefusesWhatTheSameRuleValueCovers) {
    ASSERT_EQ(RULE_OK, this->insert(95, 105, 1, 5));
    for (const auto& [low, high] : Intervals{{95, 105}, {95, 95}, {105, 105}, {99, 100}}) {
        EXPECT_EQ(RULE_ERR_DUPLICATE, this->insert(low, high, 2, 5)) << low;
    }
    EXPECT_EQ((Lines{"95-105: 1 95-105"}), this->lines());
}

TYPED_TEST(IntervalInsertion, RefusesWhatSeveralNodesOfTheSameRuleValueCover) {
    ASSERT_EQ(RULE_OK, this->insert(90, 99, 1, 5));
    ASSERT_EQ(RULE_OK, this->insert(100, 109, 2, 5));
    EXPECT_EQ(RULE_ERR_DUPLICATE, this->insert(95, 105, 3, 5));
    EXPECT_EQ(RULE_OK, this->insert(95, 105, 4, 6));
    EXPECT_EQ((Lines{"90-99: 1 90-99, 4 95-99", "100-109: 2 100-109, 4 100-105"}), this->lines());
    EXPECT_EQ(RULE_ERR_DUPLICATE, this->insert(97, 103, 5, 6));
    // It takes one entry that covers a part whole: two that do so together do not count.
    EXPECT_EQ(RULE_OK, this->insert(90, 96, 6, 6));
    EXPECT_EQ(RULE_OK, this->insert(90, 99, 7, 6));
    EXPECT_EQ((Lines{"90-99: 1 90-99, 4 95-99, 6 90-96, 7 90-99", "100-109: 2 100-109, 4 100-105"}),
              this->lines());
}

TYPED_TEST(IntervalInsertion, EntersOnlyThePartsThatAreNotCovered) {
    ASSERT_EQ(RULE_OK, this->insert(95, 105, 1, 5));
    EXPECT_EQ(RULE_OK, this->insert(90, 110, 2, 5));
    EXPECT_EQ((Lines{"90-94: 2 90-94", "95-105: 1 95-105", "106-110: 2 106-110"}), this->lines());
    EXPECT_EQ(RULE_ERR_DUPLICATE, this->insert(90, 110, 3, 5));
    EXPECT_EQ(RULE_OK, this->insert(93, 111, 4, 5));
    EXPECT_EQ(
        (Lines{"90-94: 2 90-94", "95-105: 1 95-105", "106-110: 2 106-110", "111-111: 4 111-111"}),
        this->lines());
}

TYPED_TEST(IntervalInsertion, FillsTheGapsBetweenManyNodes) {
    for (uint32_t i = 0; i < 5; ++i) {
        ASSERT_EQ(RULE_OK, this->insert(82 + 10 * i, 87 + 10 * i, 1 + i, 5));
    }
    EXPECT_EQ(RULE_OK, this->insert(85, 124, 6, 6, &this->token));
    EXPECT_EQ((Lines{"82-87: 1 82-87, 6 85-87", "88-91: 6 88-91", "92-97: 2 92-97, 6* 92-97",
                     "98-101: 6 98-101", "102-107: 3 102-107, 6 102-107", "108-111: 6 108-111",
                     "112-117: 4 112-117, 6 112-117", "118-121: 6 118-121",
                     "122-127: 5 122-127, 6 122-124"}),
              this->lines());
}

TYPED_TEST(IntervalInsertion, ReachesBothEndsOfTheAddresses) {
    using Ends = Width<TypeParam>;
    ASSERT_EQ(RULE_OK, this->insertAddresses(Ends::FIRST, Ends::FIRST, 1, 5));
    ASSERT_EQ(RULE_OK, this->insertAddresses(Ends::LAST, Ends::LAST, 2, 5));
    ASSERT_EQ(RULE_OK, this->insertAddresses(Ends::FIRST, Ends::LAST, 3, 6));
    const std::vector<const TreeNode*> inOrder = nodesInOrder(this->tree.get());
    ASSERT_EQ(3, inOrder.size());
    const auto& middle = *static_cast<const IntervalKey<TypeParam>*>(inOrder[1]->key);
    EXPECT_EQ(nextAddress(Ends::FIRST), middle.low);
    EXPECT_EQ(previousAddress(Ends::LAST), middle.high);
    EXPECT_EQ(RULE_ERR_DUPLICATE, this->insertAddresses(Ends::FIRST, Ends::LAST, 4, 6));
    EXPECT_EQ(3, this->tree->nodeCount);
}

TYPED_TEST(IntervalInsertion, CoversEverythingWithOneNode) {
    using Ends = Width<TypeParam>;
    ASSERT_EQ(RULE_OK, this->insertAddresses(Ends::FIRST, Ends::LAST, 1, 5));
    EXPECT_EQ(RULE_ERR_DUPLICATE, this->insertAddresses(Ends::FIRST, Ends::LAST, 2, 5));
    EXPECT_EQ(RULE_ERR_DUPLICATE, this->insertAddresses(Ends::LAST, Ends::LAST, 3, 5));
    EXPECT_EQ(RULE_OK, this->insertAddresses(Ends::FIRST, Ends::FIRST, 4, 6));
    EXPECT_EQ(1, this->tree->nodeCount);
}

TYPED_TEST(IntervalInsertion, LetsTheEntryMadeFirstOwnTheUserData) {
    ASSERT_EQ(RULE_OK, this->insert(95, 105, 1, 5));
    // The part in the node comes before both remainders ...
    ASSERT_EQ(RULE_OK, this->insert(90, 110, 2, 6, &this->token));
    EXPECT_EQ((Lines{"90-94: 2 90-94", "95-105: 1 95-105, 2* 95-105", "106-110: 2 106-110"}),
              this->lines());
    EXPECT_EQ(1, this->claims[1]);
    // ... and where it is covered already the lower remainder comes first.
    ASSERT_EQ(RULE_OK, this->insert(80, 120, 3, 6, &this->token));
    EXPECT_EQ((Lines{"80-89: 3* 80-89", "90-94: 2 90-94", "95-105: 1 95-105, 2* 95-105",
                     "106-110: 2 106-110", "111-120: 3 111-120"}),
              this->lines());
}

TYPED_TEST(IntervalInsertion, OwnsNoUserDataThatIsClaimedAlready) {
    this->claimsBefore[0] = 1;
    ASSERT_EQ(RULE_OK, this->insert(95, 105, 1, 5, &this->token));
    EXPECT_EQ((Lines{"95-105: 1 95-105"}), this->lines());
    const auto& entry = *static_cast<const RangeEntry<TypeParam>*>(this->tree->root->entries);
    EXPECT_EQ(&this->token, entry.userData);
}

TYPED_TEST(IntervalInsertion, ClaimsNothingWhenNothingIsEntered) {
    ASSERT_EQ(RULE_OK, this->insert(95, 105, 1, 5));
    ASSERT_EQ(RULE_ERR_DUPLICATE, this->insert(96, 104, 2, 5, &this->token));
    EXPECT_EQ(0, this->claims[1]);
}

// Lists that were made to be slow.
struct SlowRule {
    uint32_t low;
    uint32_t high;
    uint32_t ruleValue;
};

struct SlowList {
    const char* name;
    SlowRule (*ruleAt)(uint32_t i, uint32_t count);
};

constexpr uint32_t MIDDLE = 1'000'000;

// The first half of a list: narrow ranges with gaps between them.
SlowRule narrowRule(uint32_t i, uint32_t ruleValue) {
    return {4 * i, 4 * i + 1, ruleValue};
}

constexpr SlowList SLOW_LISTS[] = {
    {"nested, a value each",
     [](uint32_t i, uint32_t /*count*/) {
         return SlowRule{MIDDLE - i, MIDDLE + 1 + i, i};
     }},
    {"nested, one value",
     [](uint32_t i, uint32_t /*count*/) {
         return SlowRule{MIDDLE - i, MIDDLE + 1 + i, 1};
     }},
    {"narrow, then wide, a value each",
     [](uint32_t i, uint32_t count) {
         return i < count / 2 ? narrowRule(i, i) : SlowRule{0, 4 * count + i, i};
     }},
    {"narrow, then wide, one value",
     [](uint32_t i, uint32_t count) {
         return i < count / 2 ? narrowRule(i, 1) : SlowRule{0, 4 * count + i, 1};
     }},
    {"narrow, then the same wide one",
     [](uint32_t i, uint32_t count) {
         return i < count / 2 ? narrowRule(i, 1) : SlowRule{0, 4 * count, 1};
     }},
    {"wide, then narrow ones of another value",
     [](uint32_t i, uint32_t /*count*/) {
         return i == 0 ? SlowRule{0, UINT32_MAX, 1} : narrowRule(i, 2);
     }},
    {"the same, a value each",
     [](uint32_t i, uint32_t /*count*/) {
         return SlowRule{MIDDLE, MIDDLE + 1, i};
     }},
};

using Ipv4IntervalInsertion = IntervalInsertion<uint32_t>;

// The steps of a build stay in proportion to its rules and to the entries that they must make; a walk
// over the entries of a node for each entry would not.
TEST_F(Ipv4IntervalInsertion, TakesStepsInProportionToRulesAndEntries) {
    for (const SlowList& list : SLOW_LISTS) {
        for (const uint32_t count : {100U, 400U, 1600U}) {
            SCOPED_TRACE(std::string(list.name) + ", " + std::to_string(count));
            rules.clear();
            for (uint32_t i = 0; i < count; ++i) {
                const SlowRule rule = list.ruleAt(i, count);
                add(rule.low, rule.high, i + 1, rule.ruleValue);
            }
            build();
            EXPECT_LE(steps, 12 * uint64_t{count} + 2 * uint64_t{entries.count} + 5000);
        }
    }
}

// Rules of one value that hold one another take a few steps each, however many nodes they meet.
TEST_F(Ipv4IntervalInsertion, PassesOverNodesThatOneRuleCovers) {
    constexpr uint32_t COUNT = 2000;
    for (uint32_t i = 0; i < COUNT; ++i) {
        add(MIDDLE - i, MIDDLE + 1 + i, i + 1, 1);
    }
    build();
    EXPECT_EQ(2 * COUNT - 1, tree->nodeCount);
    EXPECT_EQ(2 * COUNT - 1, entries.count);
    EXPECT_LE(steps, 10 * COUNT);
}

// The mirror has the same nodes, entries and shape. Its entries own nothing.
TEST_F(Ipv4IntervalInsertion, MirrorsItsTreeIn128Bits) {
    add(95, 105, 1, 5);
    add(90, 110, 2, 6);
    add(80, 120, 3, 6, &token);
    add(100, 101, 4, 6);
    add(ONES - 1, ONES, 5, 1);
    RulePlaces places{};
    ASSERT_TRUE(placeRules(rules.list(), places));
    Slab<IntervalNode<Address128>> mirrorNodes{};
    Slab<RangeEntry<Address128>> mirrorEntries{};
    rs::IntervalInsertion<uint32_t> insertion(nodes, entries, places.ranges);
    insertion.mirrorInto(mirrorNodes, mirrorEntries);
    ASSERT_TRUE(insertion.reserve());
    for (uint32_t i = 0; i < places.ranges.count; ++i) {
        EXPECT_EQ(i == 3 ? RULE_ERR_DUPLICATE : RULE_OK, insertion.insert(i, rules.rules()[i]));
    }
    ASSERT_TRUE(insertion.hasMirror());
    tree.reset(createSearchTree({}, classifyInterval32, releaseRangeEntries32));
    OwnedSearchTree mirror(createSearchTree({}, classifyInterval128, releaseRangeEntries128));
    insertion.link(*tree);
    insertion.linkMirror(*mirror);
    EXPECT_TRUE(checkSearchTree(*mirror));
    const Lines mirrored = describeIntervals<Address128>(mirror.get(), [](const Address128& at) {
        EXPECT_TRUE(isIpv4Mapped(at));
        return std::to_string(at.words[3]);
    });
    Lines expected = lines();
    EXPECT_EQ("80-89: 3* 80-89", expected.front());
    expected.front().erase(expected.front().find('*'), 1);
    EXPECT_EQ(expected, mirrored);
    ASSERT_EQ(tree->nodeCount, mirrorNodes.count);
    for (uint32_t i = 0; i < tree->nodeCount; ++i) {
        EXPECT_EQ(recordAt(nodes, i).node.colour, recordAt(mirrorNodes, i).node.colour);
        EXPECT_EQ(recordAt(nodes, i).node.entryNumber, recordAt(mirrorNodes, i).node.entryNumber);
    }
    mirror.reset();
    freeSlab(mirrorNodes);
    freeSlab(mirrorEntries);
}

class HostInsertion : public ::testing::Test {
protected:
    int32_t insert(uint32_t address, uint32_t ruleIndex, uint32_t ruleValue,
                   void* userData = nullptr) {
        return insertHost(*table->hostTable, table->hostEntries, address,
                          {ruleIndex, ruleValue, 1000 + ruleIndex, userData, claims});
    }

    struct Freeing {
        void operator()(IpRuleTable* owned) const {
            const ReleaseInfo info{};
            releaseIpRuleTable(&owned, &info);
        }
    };

    void SetUp() override {
        table.reset(allocateRecord<IpRuleTable>());
        table->refCount = 1;
        table->hostTable = hashCreate(4, HASH_KIND_PLAIN);
    }

    std::unique_ptr<IpRuleTable, Freeing> table;
    uint8_t claims[10] = {};
    int token = 0;
};

TEST_F(HostInsertion, AppendsToTheBucketOfTheHash) {
    // 0 and 4 share one of four buckets: their hashes differ by 4 times 13.
    ASSERT_EQ(RULE_OK, insert(0, 1, 5));
    ASSERT_EQ(RULE_OK, insert(4, 2, 5));
    ASSERT_EQ(RULE_OK, insert(0, 3, 6));
    ASSERT_EQ(RULE_OK, insert(1, 4, 5));
    EXPECT_EQ((Lines{"0.0.0.0: 1", "0.0.0.4: 2", "0.0.0.0: 3", "0.0.0.1: 4"}),
              describeHosts(table->hostTable));
    EXPECT_EQ(4, table->hostTable->elementCount);
}

TEST_F(HostInsertion, CopiesTheRuleAndClaimsItsUserData) {
    ASSERT_EQ(RULE_OK, insert(7, 3, 5, &token));
    ASSERT_EQ(RULE_OK, insert(8, 3, 5, &token));
    EXPECT_EQ((Lines{"0.0.0.8: 3", "0.0.0.7: 3*"}), describeHosts(table->hostTable));
    EXPECT_EQ(1, claims[2]);
    const HostEntry& entry = *hostEntryOf(table->hostTable->buckets[hashIPv4(7) % 4].list.next);
    EXPECT_EQ(7, entry.address);
    EXPECT_EQ(3, entry.ruleIndex);
    EXPECT_EQ(5, entry.ruleValue);
    EXPECT_EQ(1003, entry.ruleId);
    EXPECT_EQ(&token, entry.userData);
}

class AddressInsertionTest : public ::testing::Test {
protected:
    ~AddressInsertionTest() override {
        tree.reset();
        freeSlab(table.ipv6HostNodes);
        freeSlab(table.addressEntries);
    }

    void add(const Address128& address, uint32_t ruleIndex, uint32_t ruleValue,
             void* userData = nullptr) {
        rules.add(address, address, ADDRESS_FLAG_IPV6 | ADDRESS_FLAG_SINGLE,
                  {ruleIndex, ruleValue, 1000 + ruleIndex, userData, claims});
    }

    void build() {
        RulePlaces places{};
        ASSERT_TRUE(placeRules(rules.list(), places));
        AddressInsertion insertion(table, places.hosts);
        ASSERT_TRUE(insertion.reserve());
        for (uint32_t i = 0; i < places.hosts.count; ++i) {
            if (places.hosts.ranks[i] != DUPLICATE_HOST) {
                ASSERT_EQ(RULE_OK, insertion.insert(i, rules.rules()[i]));
            }
        }
        insertion.link(*tree);
        EXPECT_TRUE(checkSearchTree(*tree));
    }

    // The rules of each node, in key order.
    Lines lines() const {
        Lines lines;
        for (const TreeNode* node : nodesInOrder(tree.get())) {
            std::string line;
            for (auto* entry = static_cast<const AddressEntry*>(node->entries); entry != nullptr;
                 entry = entry->next) {
                line += (line.empty() ? "" : ", ") + describeRuleOf(*entry);
            }
            lines.push_back(line);
        }
        return lines;
    }

    Rules rules;
    IpRuleTable table{};
    OwnedSearchTree tree{createSearchTree({}, compareAddressKey, releaseAddressEntries)};
    uint8_t claims[10] = {};
    int token = 0;
};

TEST_F(AddressInsertionTest, KeepsOneEntryPerRuleValueInRuleOrder) {
    const Address128 address{{1, 2, 3, 4}};
    add(address, 1, 5);
    add({{1, 2, 3, 5}}, 2, 5);
    add({{0, ONES, ONES, ONES}}, 3, 5);
    add(address, 4, 6);
    add(address, 5, 5);
    add(address, 6, 6);
    add(address, 7, 4);
    build();
    EXPECT_EQ((Lines{"3", "1, 4, 7", "2"}), lines());
}

TEST_F(AddressInsertionTest, CopiesTheRuleAndClaimsItsUserData) {
    add({{1, 2, 3, 4}}, 3, 5, &token);
    add({{1, 2, 3, 5}}, 3, 5, &token);
    add({{1, 2, 3, 4}}, 4, 6, &token);
    build();
    EXPECT_EQ((Lines{"3*, 4*", "3"}), lines());
    EXPECT_EQ(1, claims[2]);
    EXPECT_EQ(1, claims[3]);
    EXPECT_EQ(0, claims[4]);
    const TreeNode& node = *nodesInOrder(tree.get())[0];
    EXPECT_EQ((Address128{{1, 2, 3, 4}}), *static_cast<const Address128*>(node.key));
    const auto& entry = *static_cast<const AddressEntry*>(node.entries);
    EXPECT_EQ(3, entry.ruleIndex);
    EXPECT_EQ(5, entry.ruleValue);
    EXPECT_EQ(1003, entry.ruleId);
    EXPECT_EQ(&token, entry.userData);
    EXPECT_EQ(&entry, &recordAt(table.addressEntries, node.entryNumber));
}

}  // namespace

}  // namespace rs::test
