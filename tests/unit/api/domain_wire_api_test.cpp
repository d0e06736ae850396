#include "api/domain_wire_api.h"

#include <ruleset.h>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "support/match_result.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

TEST(DomainWireApi, RefusesNullAndEmptyArguments) {
    const RuleGroupHandle group = makeDomainGroup({{"*"}});
    const RuleGroup otherType{};
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchDomainWireWithRuleGroup(nullptr, "\1a", 2, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchDomainWireWithRuleGroup(&otherType, "\1a", 2, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchDomainWireWithRuleGroup(group.get(), nullptr, 2, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchDomainWireWithRuleGroup(group.get(), "\1a", 0, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchDomainWireWithRuleGroup(group.get(), "\1a", 2, nullptr));
    EXPECT_EQ(UNTOUCHED, result);
    EXPECT_EQ(1, matchDomainWireWithRuleGroup(group.get(), "\1a", 2, &result));
}

}  // namespace

}  // namespace rs::test
