/* A C host: loads a rule, looks two addresses up, and says which rule covers the first. */
#include <ruleset.h>

#include <stdio.h>
#include <string.h>

int main(void) {
    const char* rule = "10.0.0.0/8";
    RuleSet* set = NULL;
    RuleGroup* group = NULL;
    MatchResult hit = {0, 0, 0, NULL};

    if (rs_newRuleSet(RULE_TYPE_IP, &set) != RULE_OK ||
        rs_addRuleToRuleSet(set, rule, (uint32_t)strlen(rule), 10, 7) != RULE_OK ||
        rs_buildRuleGroup(set, &group) != RULE_OK || rs_delRuleSet(&set) != RULE_OK) {
        return 1;
    }
    if (rs_matchIPRuleGroup(group, 0x0A010203, &hit) != 1 || hit.ruleId != 7 ||
        rs_matchIPRuleGroup(group, 0x0B010203, &hit) != 0) {
        return 1;
    }
    printf("10.1.2.3 is covered by rule %u\n", hit.ruleId);
    return rs_delRuleGroup(&group) == RULE_OK ? 0 : 1;
}
