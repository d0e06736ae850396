#include "url/path_index.h"

#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "lookup/flat_policy.h"
#include "support/host_names.h"
#include "support/rule_builder.h"
#include "support/text.h"
#include "support/winner.h"
#include "url/url_index.h"

namespace rs::test {

namespace {

// Groups get flat lookups, however small they are.
class UrlPathIndex : public ::testing::Test {
protected:
    UrlPathIndex() { flatUse = FlatUse::ALWAYS; }
    UrlPathIndex(const UrlPathIndex&) = delete;
    UrlPathIndex& operator=(const UrlPathIndex&) = delete;
    ~UrlPathIndex() override { flatUse = before_; }

private:
    FlatUse before_ = flatUse;
};

uint32_t winnerOf(const RuleGroup& group, std::string_view url) {
    EXPECT_NE(nullptr, group.urlIndex->pathIndex);
    return winnerOfText(rs_matchUrlWithRuleGroup, group, url);
}

TEST_F(UrlPathIndex, IsMissingWithoutRulesAndWhenNotWanted) {
    EXPECT_EQ(nullptr, makeUrlGroup({})->urlIndex->pathIndex);
    flatUse = FlatUse::NEVER;
    EXPECT_EQ(nullptr, makeUrlGroup({{"a.com"}})->urlIndex->pathIndex);
    freePathIndex(nullptr);
}

TEST_F(UrlPathIndex, HasNamesForWildcardHostsOnly) {
    EXPECT_EQ(nullptr, makeUrlGroup({{"a.com"}, {"*/x"}})->urlIndex->hostNames);
    EXPECT_NE(nullptr, makeUrlGroup({{"*.com"}})->urlIndex->hostNames);
}

TEST_F(UrlPathIndex, GoesOnToThePlacesAbove) {
    const RuleGroupHandle group = makeUrlGroup(
        {{"*/d"}, {"a.b.com/a"}, {"*.b.com/b"}, {"https://*.com/c"}, {"*.com/c"}, {"a.b.com/c/d"}});
    EXPECT_EQ(2, winnerOf(*group, "a.b.com/a"));
    EXPECT_EQ(3, winnerOf(*group, "a.b.com/b"));
    EXPECT_EQ(3, winnerOf(*group, "x.b.com/b"));
    EXPECT_EQ(0, winnerOf(*group, "b.com/b"));
    EXPECT_EQ(5, winnerOf(*group, "b.com/c"));
    EXPECT_EQ(5, winnerOf(*group, "a.b.com/c/d"));
    EXPECT_EQ(4, winnerOf(*group, "https://x.y.b.com/c"));
    EXPECT_EQ(1, winnerOf(*group, "a.b.com/d"));
    EXPECT_EQ(1, winnerOf(*group, "com/d"));
    EXPECT_EQ(0, winnerOf(*group, "com/c"));
}

TEST_F(UrlPathIndex, TakesTheEarliestRuleOfAllPlaces) {
    const RuleGroupHandle group =
        makeUrlGroup({{"*.com/x"}, {"a.com/x"}, {"*/y"}, {"*.com/y"}, {"a.com/z"}, {"*/z"}});
    EXPECT_EQ(1, winnerOf(*group, "a.com/x"));
    EXPECT_EQ(3, winnerOf(*group, "a.com/y"));
    EXPECT_EQ(5, winnerOf(*group, "a.com/z"));
    EXPECT_EQ(6, winnerOf(*group, "b.com/z"));
}

TEST_F(UrlPathIndex, KeepsBothSchemesOfAHostInOnePlace) {
    const RuleGroupHandle group = makeUrlGroup({{"a.com/x"},
                                                {"https://a.com/x"},
                                                {"https://a.com/longer/than/8"},
                                                {"a.com/longer/than/9"}});
    EXPECT_EQ(1, winnerOf(*group, "a.com/x"));
    EXPECT_EQ(2, winnerOf(*group, "https://a.com/x"));
    EXPECT_EQ(3, winnerOf(*group, "https://a.com/longer/than/8"));
    EXPECT_EQ(4, winnerOf(*group, "a.com/longer/than/9"));
    EXPECT_EQ(0, winnerOf(*group, "a.com/longer/than/8"));
    EXPECT_EQ(0, winnerOf(*group, "ldaps://a.com/x"));
}

// Heads up to 8 rules, a table from 9 on; the rest of a prefix is in the place up to 56 bytes.
TEST_F(UrlPathIndex, AgreesWithTheListOnBothSidesOfItsLimits) {
    for (const uint32_t count : {1U, 2U, 8U, 9U, 10U, 15U}) {
        for (const size_t length : {1U, 7U, 8U, 9U, 63U, 64U, 65U, 200U}) {
            SCOPED_TRACE(std::to_string(count) + " paths of " + std::to_string(length));
            RuleSetHandle set = newRuleSet(RULE_TYPE_URL);
            for (uint32_t i = 0; i < count; ++i) {
                const std::string path =
                    '/' + std::string(length - 1, 'a') + static_cast<char>('a' + i);
                ASSERT_EQ(RULE_OK, addRule(*set, "a.com" + path));
            }
            const RuleGroupHandle group = buildRuleGroup(*set);
            for (uint32_t i = 0; i < count; ++i) {
                const std::string path =
                    '/' + std::string(length - 1, 'a') + static_cast<char>('a' + i);
                EXPECT_EQ(i + 1, winnerOf(*group, "a.com" + path));
                EXPECT_EQ(i + 1, winnerOf(*group, "a.com" + path + "/b"));
                EXPECT_EQ(0, winnerOf(*group, "a.com" + path + "b"));
            }
            EXPECT_EQ(0, winnerOf(*group, "a.com/" + std::string(length, 'z')));
        }
    }
}

// The name and the prefix are in the front up to its text, and the rest is elsewhere.
TEST_F(UrlPathIndex, AgreesOnBothSidesOfTheTextOfAFront) {
    for (const uint32_t hostLength :
         {5U, 8U, FRONT_TEXT - 1, FRONT_TEXT, FRONT_TEXT + 1, 2 * FRONT_TEXT}) {
        for (const uint32_t length : {1U, 2U, FRONT_TEXT - hostLength % FRONT_TEXT, FRONT_TEXT,
                                      FRONT_TEXT + 1, 3 * FRONT_TEXT}) {
            SCOPED_TRACE(std::to_string(hostLength) + " and " + std::to_string(length));
            const std::string host = nameOfLength(hostLength);
            const std::string path = '/' + std::string(length - 1, 'a');
            const RuleGroupHandle group = makeUrlGroup({{host + path + '*'}});
            EXPECT_EQ(1, winnerOf(*group, host + path));
            EXPECT_EQ(1, winnerOf(*group, host + path + "b"));
            EXPECT_EQ(0, winnerOf(*group, "https://" + host + path));
            EXPECT_EQ(0, winnerOf(*group, host + ":81" + path));
            EXPECT_EQ(length == 1 ? 1 : 0,
                      winnerOf(*group, host + path.substr(0, length - 1) + "/b"));
            EXPECT_EQ(0, winnerOf(*group, host.substr(0, hostLength - 1) + 'x' + path));
        }
    }
}

TEST_F(UrlPathIndex, AsksTheEntryForPortsAndTails) {
    const RuleGroupHandle group = makeUrlGroup({{"a.com:8080/x"},
                                                {"a.com/x*tail"},
                                                {"a.com:*/y"},
                                                {"a.com:443/x"},
                                                {"a.com:81/longer/path"}});
    EXPECT_EQ(1, winnerOf(*group, "a.com:8080/x"));
    EXPECT_EQ(2, winnerOf(*group, "a.com/x/a/tail"));
    EXPECT_EQ(3, winnerOf(*group, "a.com:9/y"));
    EXPECT_EQ(3, winnerOf(*group, "a.com:443/y"));
    EXPECT_EQ(4, winnerOf(*group, "a.com:443/x"));
    EXPECT_EQ(5, winnerOf(*group, "a.com:81/longer/path"));
    EXPECT_EQ(0, winnerOf(*group, "a.com:82/longer/path"));
    EXPECT_EQ(0, winnerOf(*group, "a.com:81/longer/pats"));
}

}  // namespace

}  // namespace rs::test
