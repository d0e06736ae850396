#include "core/range_node.h"

#include <cstdint>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "syntax/address128.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using Ranges = Chain<RangeNode<uint32_t>>;

OwnedRanges<uint32_t> makeRanges(const std::vector<std::pair<uint32_t, uint32_t>>& ranges) {
    Ranges chain{};
    for (const auto& [low, high] : ranges) {
        chain.append(makeRange(low, high));
    }
    return OwnedRanges<uint32_t>(chain.first);
}

std::vector<std::pair<uint32_t, uint32_t>> boundsOf(const RangeNode<uint32_t>* first) {
    std::vector<std::pair<uint32_t, uint32_t>> bounds;
    for (; first != nullptr; first = first->next) {
        bounds.emplace_back(first->low, first->high);
    }
    return bounds;
}

TEST(RangeNode, HoldsItsBoundsAndWhatIsBetween) {
    const auto ranges = makeRanges({{10, 20}, {5, 5}, {0xFFFFFFF0, 0xFFFFFFFF}});
    for (const uint32_t value : {10U, 15U, 20U, 5U, 0xFFFFFFF0U, 0xFFFFFFFFU}) {
        EXPECT_TRUE(holds(ranges.get(), value)) << value;
    }
    for (const uint32_t value : {0U, 4U, 6U, 9U, 21U, 0xFFFFFFEFU}) {
        EXPECT_FALSE(holds(ranges.get(), value)) << value;
    }
    EXPECT_FALSE(holds<uint32_t>(nullptr, 0)) << "no range holds nothing";
}

TEST(RangeNode, ComparesAddressesAsNumbers) {
    const OwnedRanges<Address128> ranges(makeRange<Address128>({{0, 0, 1, 0}}, {{0, 0, 2, 0}}));
    EXPECT_TRUE(holds(ranges.get(), Address128{{0, 0, 1, 0xFFFFFFFF}}));
    EXPECT_FALSE(holds(ranges.get(), Address128{{0, 0, 0, 0xFFFFFFFF}}));
    EXPECT_FALSE(holds(ranges.get(), Address128{{0, 0, 2, 1}}));
    EXPECT_FALSE(holds(ranges.get(), Address128{{0, 1, 1, 0}}));
}

TEST(RangeNode, CopiesInOrder) {
    const auto ranges = makeRanges({{3, 4}, {1, 2}});
    RangeNode<uint32_t>* copies = nullptr;
    ASSERT_TRUE(copyRanges(ranges.get(), copies));
    const OwnedRanges<uint32_t> owner(copies);
    EXPECT_THAT(boundsOf(copies), ElementsAre(Pair(3, 4), Pair(1, 2)));
    EXPECT_NE(ranges.get(), copies);
    RangeNode<uint32_t>* none = nullptr;
    EXPECT_TRUE(copyRanges<uint32_t>(nullptr, none));
    EXPECT_EQ(nullptr, none);
}

TEST(RangeNode, CopiesIntoASlab) {
    const auto ranges = makeRanges({{3, 4}, {1, 2}});
    Slab<RangeNode<uint32_t>> nodes{};
    RangeNode<uint32_t>* copies = nullptr;
    ASSERT_TRUE(copyRanges(ranges.get(), nodes, copies));
    EXPECT_THAT(boundsOf(copies), ElementsAre(Pair(3, 4), Pair(1, 2)));
    EXPECT_EQ(&recordAt(nodes, 0), copies);
    EXPECT_EQ(2, nodes.count);
    RangeNode<uint32_t>* none = nullptr;
    EXPECT_TRUE(copyRanges<uint32_t>(nullptr, nodes, none));
    EXPECT_EQ(nullptr, none);
    EXPECT_EQ(2, nodes.count);
    freeSlab(nodes);
}

TEST(RangeNode, CopiesWhatIsTakenAsItIsConverted) {
    const auto ranges = makeRanges({{1, 2}, {30, 40}, {5, 6}});
    RangeNode<uint32_t>* copies = nullptr;
    ASSERT_TRUE(copyRanges(ranges.get(), copies, [](RangeNode<uint32_t>& range) {
        ++range.high;
        return range.low < 10;
    }));
    const OwnedRanges<uint32_t> owner(copies);
    EXPECT_THAT(boundsOf(copies), ElementsAre(Pair(1, 3), Pair(5, 7)));
    EXPECT_THAT(boundsOf(ranges.get()), ElementsAre(Pair(1, 2), Pair(30, 40), Pair(5, 6)));
}

TEST(RangeNode, FreesAListAndClearsItsHead) {
    RangeNode<uint32_t>* head = makeRanges({{1, 2}, {3, 4}}).release();
    freeRangeList(&head);
    EXPECT_EQ(nullptr, head);
    freeRangeList(&head);
    freeRangeList<uint32_t>(nullptr);
    EXPECT_THAT(boundsOf(head), IsEmpty());
}

}  // namespace

}  // namespace rs::test
