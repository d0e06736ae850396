#include "endpoint/entry_list.h"

#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plain_entry.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;

class EntryListTest : public ::testing::Test {
protected:
    void TearDown() override { freeAll(); }

    // The rules of the entries in the order in which they are walked.
    std::vector<uint32_t> freeAll() {
        const auto rules =
            freeEntriesOf([this](const auto& test) { return scanList(list, test).status; });
        freeMemory(std::exchange(list, nullptr));
        return rules;
    }

    EntryList<PlainEntry>* list = nullptr;
};

TEST_F(EntryListTest, AppendsAndCounts) {
    for (const uint32_t rule : {1U, 2U, 3U}) {
        EXPECT_TRUE(insertIntoList(list, making(rule)));
    }
    EXPECT_EQ(3, list->count);
    EXPECT_EQ(1, scanList(list, takeAny).entry->ruleIndex);
    EXPECT_EQ(2, scanList(list, taking(2)).entry->ruleIndex);
    EXPECT_EQ(0, scanList(list, taking(4)).status);
    EXPECT_THAT(freeAll(), ElementsAre(1, 2, 3));
}

TEST_F(EntryListTest, CountsAnInsertionThatNeedsNoFurtherEntry) {
    for (const uint32_t rule : {1U, 1U, 1U, 2U}) {
        EXPECT_TRUE(insertIntoList(list, making(rule)));
    }
    EXPECT_EQ(4, list->count);
    EXPECT_THAT(freeAll(), ElementsAre(1, 2));
}

TEST_F(EntryListTest, HasNoAnswerWhileItIsMissing) {
    EXPECT_EQ(0, scanList(list, takeAny).status);
}

// What is there stays when no entry can be made.
TEST_F(EntryListTest, EntersNothingWithoutAnEntry) {
    EXPECT_TRUE(insertIntoList(list, making(1)));
    EXPECT_FALSE(insertIntoList(list, MAKES_NOTHING));
    EXPECT_EQ(1, list->count);
    EXPECT_THAT(freeAll(), ElementsAre(1));
}

}  // namespace

}  // namespace rs::test
