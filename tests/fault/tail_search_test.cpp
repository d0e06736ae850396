// How often a URL lookup searches a path, and for how much, with the ordered structures and with the flat lookup. The linker sends each call of memmem in
// this program to the one below, which counts.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "support/rule_builder.h"
#include "support/scoped_flat_use.h"
#include "support/text.h"
#include "url/url_index.h"

namespace {

// The lengths of text and pattern.
using Search = std::pair<size_t, size_t>;
std::vector<Search>* searches = nullptr;  // null while nothing is counted

}  // namespace

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier): the linker chooses these names
void* __real_memmem(const void* text, size_t textLength, const void* pattern, size_t patternLength);

void* __wrap_memmem(const void* text, size_t textLength, const void* pattern,
                    size_t patternLength) {
    if (searches != nullptr) {
        searches->emplace_back(textLength, patternLength);
    }
    return __real_memmem(text, textLength, pattern, patternLength);
}
// NOLINTEND(bugprone-reserved-identifier)
}

namespace rs::test {

namespace {

std::vector<Search> searchesOf(const RuleGroup& group, const std::string& url, int32_t answer) {
    std::vector<Search> found;
    searches = &found;
    MatchResult result{};
    const int32_t status = rs_matchUrlWithRuleGroup(&group, url.data(), size32(url), &result);
    searches = nullptr;
    EXPECT_EQ(answer, status) << url.substr(0, 40);
    return found;
}

const std::string TAIL(3000, 'a');

RuleGroupHandle groupOfTails(FlatUse use) {
    const ScopedFlatUse scope(use);
    return buildRuleGroup(*makeRuleSet(
        RULE_TYPE_URL,
        {{"h.test/*" + TAIL}, {"h.test/x*" + TAIL + 'b'}, {"h.test:8080/*" + TAIL}, {"h.test/y"}}));
}

// What both lookups have in common: no path has two tails to search.
void expectSearchesOfOneTail(const RuleGroup& group) {
    EXPECT_EQ((std::vector<Search>{{2999, 3000}}),
              searchesOf(group, "h.test/" + std::string(2999, 'a'), 0));
    EXPECT_EQ((std::vector<Search>{{3000, 3000}}), searchesOf(group, "h.test/" + TAIL, 1));
    // The last rule has no tail, but the first covers every path up to its tail.
    EXPECT_EQ((std::vector<Search>{{1, 3000}}), searchesOf(group, "h.test/y", 1));
    EXPECT_EQ((std::vector<Search>{{1, 3000}}), searchesOf(group, "h.test:8080/z", 0));
    EXPECT_EQ(std::vector<Search>(), searchesOf(group, "other.test/" + TAIL, 0));
}

TEST(TailSearch, IsOneCallForEachTailWhoseRuleFitsOtherwise) {
    const RuleGroupHandle group = groupOfTails(FlatUse::NEVER);
    expectSearchesOfOneTail(*group);
    // The newest rule comes first.
    EXPECT_EQ((std::vector<Search>{{3002, 3001}, {3003, 3000}}),
              searchesOf(*group, "h.test/x" + TAIL + "ab", 1));
    EXPECT_EQ((std::vector<Search>{{3003, 3001}, {3004, 3000}}),
              searchesOf(*group, "h.test/xa" + TAIL + "bc", 1));
    EXPECT_EQ((std::vector<Search>{{2999, 3001}, {3000, 3000}}),
              searchesOf(*group, "h.test/x" + TAIL.substr(1), 0));
}

TEST(TailSearch, OfAFlatLookupEndsAtTheEarliestRuleThatCovers) {
    const RuleGroupHandle group = groupOfTails(FlatUse::ALWAYS);
    ASSERT_NE(nullptr, group->urlIndex->pathIndex);
    expectSearchesOfOneTail(*group);
    // The oldest rule comes first, and later ones are not asked when it covers the path.
    EXPECT_EQ((std::vector<Search>{{3003, 3000}}), searchesOf(*group, "h.test/x" + TAIL + "ab", 1));
    EXPECT_EQ((std::vector<Search>{{3004, 3000}}),
              searchesOf(*group, "h.test/xa" + TAIL + "bc", 1));
    EXPECT_EQ((std::vector<Search>{{3000, 3000}, {2999, 3001}}),
              searchesOf(*group, "h.test/x" + TAIL.substr(1), 0));
}

}  // namespace

}  // namespace rs::test
