#include "syntax/items.h"

#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;

std::vector<std::string> itemsOf(std::string_view list) {
    const ExactText text(list);
    std::vector<std::string> items;
    EXPECT_EQ(RULE_OK, forEachItem({text.data(), text.size()}, [&](Text item) {
                  items.emplace_back(item.text, item.length);
                  return RULE_OK;
              }));
    return items;
}

TEST(Items, StandBetweenCommas) {
    EXPECT_THAT(itemsOf("a"), ElementsAre("a"));
    EXPECT_THAT(itemsOf("a,bc,d"), ElementsAre("a", "bc", "d"));
    EXPECT_THAT(itemsOf("a;b c,d"), ElementsAre("a;b c", "d"));
}

TEST(Items, MayBeEmpty) {
    EXPECT_THAT(itemsOf(""), ElementsAre(""));
    EXPECT_THAT(itemsOf(","), ElementsAre("", ""));
    EXPECT_THAT(itemsOf("a,,b,"), ElementsAre("a", "", "b", ""));
    EXPECT_THAT(itemsOf(",a"), ElementsAre("", "a"));
}

TEST(Items, EndAtTheFirstThatIsRefused) {
    std::vector<std::string> seen;
    const std::string_view list = "a,b,c";
    EXPECT_EQ(RULE_ERR_EXISTS, forEachItem({list.data(), size32(list)}, [&](Text item) {
                  seen.emplace_back(item.text, item.length);
                  return seen.size() == 2 ? RULE_ERR_EXISTS : RULE_OK;
              }));
    EXPECT_THAT(seen, ElementsAre("a", "b"));
}

TEST(Items, AnswerForTheLastOne) {
    EXPECT_EQ(RULE_ERR_FAILED, forEachItem({"a", 1}, [](Text) { return RULE_ERR_FAILED; }));
}

}  // namespace

}  // namespace rs::test
