// What the lookups of <ruleset_static.h> refuse; what they find is tested with their rule types.
#include <ruleset_static.h>

#include <gtest/gtest.h>

#include "support/rule_builder.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

TEST(StaticCompoundLookup, RefusesNullArgumentsAndGroupsOfOtherTypes) {
    const RuleGroupHandle group =
        buildRuleGroup(*makeRuleSet(RULE_TYPE_COMPOUND, {{"*;*;*;*;0;0"}}));
    const RuleGroupHandle ipGroup = makeIpGroup({{"10.0.0.1"}});
    CompoundFlow flow{};
    MatchResult hit{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(nullptr, &flow, true, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(group.get(), nullptr, true, &hit));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(group.get(), &flow, true, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchCompound(ipGroup.get(), &flow, true, &hit));
}

}  // namespace

}  // namespace rs::test
