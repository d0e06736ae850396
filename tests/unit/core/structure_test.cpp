#include "core/structure.h"

#include <cstdint>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace rs::test {

namespace {

void handBack(void* /*userData*/, void* /*context*/) {}

TEST(StructureReleaseInfo, IsThatOfTheSet) {
    int context = 0;
    RuleSet set{};
    set.releaseCallback = handBack;
    set.releaseContext = &context;
    const ReleaseInfo info = releaseInfoOf(set);
    EXPECT_EQ(&handBack, info.releaseCallback);
    EXPECT_EQ(&context, info.releaseContext);
    EXPECT_EQ(0, info.flags);
    EXPECT_EQ(nullptr, releaseInfoOf(RuleSet{}).releaseCallback);
}

TEST(StructureClaims, HaveOneByteForEachRule) {
    constexpr uint32_t COUNT = 1000;
    RuleSet set{};
    set.hasUserData = 1;
    set.urlRules.ruleCount = COUNT;
    OwnedMemory<uint8_t> claims;
    ASSERT_TRUE(allocateClaims(set, set.urlRules, claims));
    ASSERT_NE(nullptr, claims);
    for (uint32_t i = 0; i < COUNT; ++i) {
        EXPECT_EQ(0, claims.get()[i]) << i;
        claims.get()[i] = 1;
    }
}

TEST(StructureClaims, AreNotNeededWithoutUserDataOrRules) {
    RuleSet set{};
    set.ipPortRules.ruleCount = 5;
    OwnedMemory<uint8_t> claims;
    EXPECT_TRUE(allocateClaims(set, set.ipPortRules, claims));
    EXPECT_EQ(nullptr, claims);
    set.hasUserData = 1;
    EXPECT_TRUE(allocateClaims(set, set.domainRules, claims)) << "the count is that of the list";
    EXPECT_EQ(nullptr, claims);
}

struct Structure {
    uint32_t refCount;
};

uint32_t freedStructures = 0;
void* contextOfRelease = nullptr;

void releaseStructure(Structure** slot, const ReleaseInfo* info) noexcept {
    if (Structure* structure = dropFromSlot(slot)) {
        ++freedStructures;
        contextOfRelease = info->releaseContext;
        freeMemory(structure);
    }
}

class StructureTest : public ::testing::Test {
protected:
    void SetUp() override {
        freedStructures = 0;
        contextOfRelease = nullptr;
        set.releaseContext = &context;
    }

    Structure* makeStructure() { return newStructure<Structure, releaseStructure>(set).release(); }

    int context = 0;
    RuleSet set{};
};

TEST_F(StructureTest, HasOneReferenceAtFirst) {
    Structure* slot = makeStructure();
    ASSERT_NE(nullptr, slot);
    EXPECT_EQ(1, slot->refCount);
    const ReleaseInfo info = releaseInfoOf(set);
    releaseStructure(&slot, &info);
    EXPECT_EQ(1, freedStructures);
    EXPECT_EQ(nullptr, slot);
}

TEST_F(StructureTest, IsFreedThroughTheSetWhenItsBuildFails) {
    { const auto structure = newStructure<Structure, releaseStructure>(set); }
    EXPECT_EQ(1, freedStructures);
    EXPECT_EQ(&context, contextOfRelease);
}

TEST_F(StructureTest, IsFreedByTheLastSlotOnly) {
    Structure* first = makeStructure();
    Structure* second = nullptr;
    shareStructure(first, second);
    EXPECT_EQ(first, second);
    Structure* third = nullptr;
    shareStructure<Structure>(nullptr, third);
    EXPECT_EQ(nullptr, third);
    const ReleaseInfo info = releaseInfoOf(set);
    releaseStructure(&first, &info);
    EXPECT_EQ(nullptr, first);
    EXPECT_EQ(0, freedStructures);
    releaseStructure(&second, &info);
    EXPECT_EQ(1, freedStructures);
}

TEST_F(StructureTest, ClearsItsSlotWithTheLastReferenceWhereThatIsAsked) {
    Structure* first = makeStructure();
    Structure* second = nullptr;
    shareStructure(first, second);
    EXPECT_EQ(nullptr, dropLastFromSlot(&first));
    EXPECT_NE(nullptr, first);
    const OwnedMemory<Structure> last(dropLastFromSlot(&second));
    EXPECT_NE(nullptr, last);
    EXPECT_EQ(nullptr, second);
}

TEST_F(StructureTest, HasNoReferenceInAnEmptySlot) {
    Structure* empty = nullptr;
    EXPECT_EQ(nullptr, dropFromSlot(&empty));
    EXPECT_EQ(nullptr, dropFromSlot<Structure>(nullptr));
    EXPECT_EQ(nullptr, dropLastFromSlot(&empty));
    EXPECT_EQ(nullptr, dropLastFromSlot<Structure>(nullptr));
}

struct Rule {
    ListLink links;
    int number;
};

TEST(StructureRules, AreVisitedInOrderUpToTheFirstFalse) {
    RuleList list{};
    resetList(list.head);
    Rule rules[] = {{{}, 10}, {{}, 20}, {{}, 30}};
    for (Rule& rule : rules) {
        appendToList(list.head, rule.links);
    }
    std::vector<std::pair<int, uint32_t>> visited;
    const auto visitAll = [&visited](const Rule& rule, uint32_t ruleIndex) {
        visited.emplace_back(rule.number, ruleIndex);
        return true;
    };
    EXPECT_TRUE(forEachRule<Rule>(list, visitAll));
    EXPECT_THAT(visited, ::testing::ElementsAre(::testing::Pair(10, 1), ::testing::Pair(20, 2),
                                                ::testing::Pair(30, 3)));
    visited.clear();
    EXPECT_FALSE(forEachRule<Rule>(list, [&visitAll](const Rule& rule, uint32_t ruleIndex) {
        return visitAll(rule, ruleIndex) && ruleIndex < 2;
    }));
    EXPECT_EQ(2U, visited.size());
}

}  // namespace

}  // namespace rs::test
