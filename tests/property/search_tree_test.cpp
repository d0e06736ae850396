// Search trees under random use, and the trees of compiled groups.
#include "ip/search_tree.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "ip/ip_index.h"
#include "support/random_rules.h"
#include "support/random_source.h"
#include "support/rule_handles.h"
#include "support/search_tree_check.h"
#include "support/tree_insertion.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

// A tree of numbers. Its release operation appends each number to the std::vector<uint32_t> that is
// the context.
int32_t compareNumbers(const void* key, const TreeNode* node) noexcept {
    return compareU32(*static_cast<const uint32_t*>(key), *static_cast<const uint32_t*>(node->key));
}

void releaseNumber(const ReleaseInfo* info, void* key, void*) noexcept {
    const auto* number = static_cast<const uint32_t*>(key);
    static_cast<std::vector<uint32_t>*>(info->releaseContext)->push_back(*number);
}

struct NumberNode {
    TreeNode node;
    uint32_t number;
};

// The records of a tree, which stay where they are until the tree is gone.
using NumberNodes = std::deque<NumberNode>;

void insertNumber(SearchTree& tree, NumberNodes& nodes, const TreePlace& place, uint32_t number) {
    NumberNode& made = nodes.emplace_back(NumberNode{{}, number});
    made.node.key = &made.number;
    insertTreeNode(tree, place, made.node);
}

void appendNumber(void* context, const TreeNode& node) noexcept {
    static_cast<std::vector<uint32_t>*>(context)->push_back(*static_cast<uint32_t*>(node.key));
}

void expectContent(SearchTree& tree, const std::set<uint32_t>& numbers) {
    ASSERT_TRUE(checkSearchTree(tree));
    std::vector<uint32_t> visited;
    visitTreeInOrder(tree, &visited, appendNumber);
    EXPECT_EQ(std::vector<uint32_t>(numbers.begin(), numbers.end()), visited);
    // The walk has changed links on its way.
    ASSERT_TRUE(checkSearchTree(tree));
}

// Grows the tree to about `size` numbers, keeps it there for a while and empties it.
void useTree(RandomSource& random, uint32_t size, uint32_t stepsBetweenChecks) {
    std::vector<uint32_t> released;
    NumberNodes nodes;
    const OwnedSearchTree tree(
        createSearchTree({nullptr, &released, 0}, compareNumbers, releaseNumber));
    std::set<uint32_t> numbers;
    // Ascending and descending numbers make the longest rows of rotations.
    const uint64_t order = random.below(3);
    uint32_t next = order == 1 ? 0 : UINT32_MAX;
    for (uint32_t step = 0; !(step > 3 * size && numbers.empty()); ++step) {
        const bool grows = step < size || (step < 3 * size && random.oneIn(2));
        if (grows || numbers.empty()) {
            const uint32_t number =
                order == 0 ? random.below32(2 * size + 1) : (order == 1 ? next++ : next--);
            const TreePlace place = findTreePlace(*tree, &number);
            ASSERT_EQ(numbers.insert(number).second, place.node == nullptr);
            if (place.node == nullptr) {
                insertNumber(*tree, nodes, place, number);
            }
        } else {
            auto victim = numbers.lower_bound(random.below32(2 * size + 1));
            victim = victim == numbers.end() ? numbers.begin() : victim;
            const TreePlace place = findTreePlace(*tree, &*victim);
            ASSERT_NE(nullptr, place.node);
            released.clear();
            removeTreeNode(*tree, place.node);
            ASSERT_EQ(std::vector<uint32_t>{*victim}, released);
            numbers.erase(victim);
        }
        if (step % stepsBetweenChecks == 0) {
            ASSERT_NO_FATAL_FAILURE(expectContent(*tree, numbers));
        }
    }
    expectContent(*tree, numbers);
}

TEST(SearchTreeProperty, SmallOnesStayBalanced) {
    forEachCase(3000, [](RandomSource& random) { useTree(random, random.below32(24), 1); });
}

TEST(SearchTreeProperty, LargeOnesStayBalanced) {
    forEachCase(20, [](RandomSource& random) { useTree(random, 2000, 211); });
}

TEST(SearchTreeProperty, FreeingHandsEveryKeyBack) {
    forEachCase(300, [](RandomSource& random) {
        std::vector<uint32_t> released;
        NumberNodes nodes;
        OwnedSearchTree tree(
            createSearchTree({nullptr, &released, 0}, compareNumbers, releaseNumber));
        std::set<uint32_t> numbers;
        for (uint64_t i = random.below(100); i > 0; --i) {
            const uint32_t number = random.bits32();
            insertNumber(*tree, nodes, findTreePlace(*tree, &number), number);
            numbers.insert(number);
        }
        tree.reset();
        EXPECT_EQ(numbers.size(), released.size());
        EXPECT_EQ(numbers, std::set<uint32_t>(released.begin(), released.end()));
    });
}

// The first entry of a node covers the key and belongs to the earliest rule; the others follow in
// rule order and stay within the key.
template <typename Address>
void expectIntervalEntries(const SearchTree* tree) {
    for (const TreeNode* node : nodesInOrder(tree)) {
        const auto& key = *static_cast<const IntervalKey<Address>*>(node->key);
        const auto* entry = static_cast<const RangeEntry<Address>*>(node->entries);
        ASSERT_NE(nullptr, entry);
        EXPECT_EQ(nullptr, key.next);
        EXPECT_TRUE(entry->low == key.low && entry->high == key.high);
        for (; entry->next != nullptr; entry = entry->next) {
            EXPECT_LT(entry->ruleIndex, entry->next->ruleIndex);
            EXPECT_TRUE(key.low <= entry->next->low && entry->next->low <= entry->next->high &&
                        entry->next->high <= key.high);
        }
    }
}

TEST(SearchTreeProperty, GroupsHoldGoodOnes) {
    forEachCase(300, [](RandomSource& random) {
        const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
        RandomIpRules rules(random);
        for (uint64_t i = random.between(1, 300); i > 0; --i) {
            ASSERT_EQ(RULE_OK, addRule(*set, rules.nextText(), random.below32(3), 1));
        }
        const RuleGroupHandle group = buildRuleGroup(*set);
        ASSERT_NE(nullptr, group);
        const IpRuleTable& table = *group->ipTable;
        for (const SearchTree* tree :
             {table.ipv4RangeTree, table.ipv6HostTree, table.ipv6RangeTree}) {
            EXPECT_TRUE(tree == nullptr || checkSearchTree(*tree));
        }
        expectIntervalEntries<uint32_t>(table.ipv4RangeTree);
        expectIntervalEntries<Address128>(table.ipv6RangeTree);
    });
}

}  // namespace

}  // namespace rs::test
