// The shared structures when memory runs out.
#include <ruleset.h>

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

#include "core/port_list.h"
#include "ip/search_tree.h"
#include "lookup/hash_table.h"
#include "support/failing_allocator.h"
#include "support/text.h"
#include "support/tree_insertion.h"

namespace rs::test {

namespace {

TEST(HashTableFault, FailedCreationLosesNothing) {
    for (int32_t kind = HASH_KIND_PLAIN; kind <= HASH_KIND_LAST; ++kind) {
        SCOPED_TRACE(kind);
        const uint64_t failures = failEachAllocation([&](uint64_t number) {
            const AllocationWatch watch(number);
            HashTable* table = hashCreate(11, kind);
            EXPECT_EQ(watch.hasFailed(), table == nullptr);
            hashDestroy(&table);
            EXPECT_EQ(0U, watch.liveBlockCount());
            return watch.hasFailed();
        });
        // The table, its buckets, and the side array of a kind that has one.
        EXPECT_EQ(kind == HASH_KIND_PLAIN ? 2U : 3U, failures);
    }
}

TEST(PortListFault, FailedParseLosesNothingAndLeavesTheOutputAlone) {
    constexpr struct {
        std::string_view text;
        uint64_t failures;
    } ROWS[] = {
        {"80", 1},
        {"80-90", 1},
        {"*", 1},
        {"80,443", 2},
        {"1-2,3,4-5,65535", 4},
        // A bad text, which may have items already.
        {"80,0", 1},
        {"80,1-2,,", 2},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        const uint64_t failures = failEachAllocation([&](uint64_t number) {
            PortRange untouched{};
            PortRange* list = &untouched;
            const AllocationWatch watch(number);
            const int32_t status = parsePortList(row.text.data(), size32(row.text), &list);
            if (watch.hasFailed()) {
                EXPECT_EQ(RULE_ERR_NO_MEMORY, status);
            }
            if (status == RULE_OK) {
                freeRangeList(&list);
            } else {
                EXPECT_EQ(&untouched, list);
            }
            EXPECT_EQ(0U, watch.liveBlockCount());
            return watch.hasFailed();
        });
        EXPECT_EQ(row.failures, failures);
    }
}

TEST(PortListFault, FailedItemLeavesTheListAlone) {
    PortRange first{80, 80, nullptr};
    failEachAllocation([&](uint64_t number) {
        PortRange* head = &first;
        const AllocationWatch watch(number);
        PortRange* item = parsePortListItem("1-2", 3, &head);
        EXPECT_EQ(watch.hasFailed(), item == nullptr);
        EXPECT_EQ(item == nullptr ? &first : item, head);
        if (item != nullptr) {
            EXPECT_EQ(&first, item->next);
            item->next = nullptr;
            freeRangeList(&item);
        }
        EXPECT_EQ(0U, watch.liveBlockCount());
        return watch.hasFailed();
    });
}

int32_t compareAnything(const void*, const TreeNode*) noexcept {
    return KEY_BELOW;
}

void releaseNothing(const ReleaseInfo*, void*, void*) noexcept {}

TEST(SearchTreeFault, FailedCreationLosesNothing) {
    const uint64_t failures = failEachAllocation([](uint64_t number) {
        const AllocationWatch watch(number);
        OwnedSearchTree tree(createSearchTree({}, compareAnything, releaseNothing));
        if (tree != nullptr) {
            TreeNode node{};
            insertTreeNode(*tree, findTreePlace(*tree, nullptr), node);
            EXPECT_FALSE(watch.hasFailed());
            EXPECT_EQ(&node, tree->root);
            tree.reset();
        } else {
            EXPECT_TRUE(watch.hasFailed());
        }
        EXPECT_EQ(0U, watch.liveBlockCount());
        return watch.hasFailed();
    });
    EXPECT_EQ(2U, failures);
}

}  // namespace

}  // namespace rs::test
