/* The public header is C11: it stands alone, its records have the layout that the ABI fixes, and a
 * C program can use the library. Exits with the number of the check that failed, or 0. */
#include <ruleset.h>
/* Only now, so that the header is seen to include what it needs. */
#include <stddef.h>
#include <string.h>

#define ASSERT_FIELD(record, field, position, size)                            \
    _Static_assert(offsetof(record, field) == (position), #record "." #field); \
    _Static_assert(sizeof(((record*)0)->field) == (size), #record "." #field " size")

_Static_assert(sizeof(MatchResult) == 24, "MatchResult");
ASSERT_FIELD(MatchResult, ruleIndex, 0, 4);
ASSERT_FIELD(MatchResult, ruleValue, 4, 4);
ASSERT_FIELD(MatchResult, ruleId, 8, 4);
ASSERT_FIELD(MatchResult, userData, 16, 8);

_Static_assert(sizeof(NormalizedUrl) == 48, "NormalizedUrl");
ASSERT_FIELD(NormalizedUrl, scheme, 0, 8);
ASSERT_FIELD(NormalizedUrl, schemeLength, 8, 4);
ASSERT_FIELD(NormalizedUrl, host, 16, 8);
ASSERT_FIELD(NormalizedUrl, hostLength, 24, 4);
ASSERT_FIELD(NormalizedUrl, path, 32, 8);
ASSERT_FIELD(NormalizedUrl, pathLength, 40, 4);
ASSERT_FIELD(NormalizedUrl, port, 44, 2);
ASSERT_FIELD(NormalizedUrl, keepPathCase, 46, 1);
ASSERT_FIELD(NormalizedUrl, shortField, 47, 1);

_Static_assert(sizeof(ConvertedRange) == 36, "ConvertedRange");
ASSERT_FIELD(ConvertedRange, family, 0, 4);
ASSERT_FIELD(ConvertedRange, startAddress, 4, 16);
ASSERT_FIELD(ConvertedRange, endAddress, 20, 16);

static int releaseCount;

static void countRelease(void* userData, void* releaseContext) {
    if (userData == releaseContext) {
        ++releaseCount;
    }
}

static int checkRules(RuleSet* set) {
    static int tag;
    if (rs_registerRuleCallback(set, RULE_CALLBACK_RELEASE, countRelease, &tag) != RULE_OK) {
        return 2;
    }
    if (rs_addRuleToRuleSet(set, "10.0.0.0/8", 10, 7, 1) != RULE_OK) {
        return 3;
    }
    if (rs_addRuleToRuleSetEx(set, "192.0.2.1", 9, 8, 2, &tag) != RULE_OK) {
        return 4;
    }
    if (rs_addRuleToRuleSet(set, "10.0.0.0/0", 10, 7, 1) != RULE_ERR_BAD_RULE) {
        return 5;
    }
    return 0;
}

static int checkMatches(const RuleGroup* group) {
    static const unsigned char bytes[] = {192, 0, 2, 1};
    MatchResult hit;
    memset(&hit, 0, sizeof hit);
    if (rs_matchIPRuleGroup(group, 0x0A010203, &hit) != 1 || hit.ruleIndex != 1 ||
        hit.ruleValue != 7 || hit.ruleId != 1 || hit.userData != NULL) {
        return 6;
    }
    if (rs_matchIPRuleGroupEx(group, 4, bytes, &hit) != 1 || hit.ruleIndex != 2 ||
        hit.userData == NULL) {
        return 7;
    }
    return rs_matchIPRuleGroup(group, 0x0B000000, &hit) == 0 ? 0 : 8;
}

static int checkTexts(void) {
    ConvertedRange range;
    if (rs_validate_IPv4Range("10.0.0.1", 8) != RULE_OK ||
        rs_validate_IPv6Range("10.0.0.1", 8) != RULE_ERR_BAD_RANGE ||
        rs_validate_PortRange("80-90", 5) != RULE_OK || rs_validateRule_IP("::1", 3) != RULE_OK) {
        return 9;
    }
    return rs_convertRule_IP("::1", 3, &range) == RULE_OK && range.family == 6 ? 0 : 10;
}

int main(void) {
    RuleSet* set = NULL;
    RuleGroup* group = NULL;
    if (rs_newRuleSet(RULE_TYPE_IP, &set) != RULE_OK) {
        return 1;
    }
    int failed = checkRules(set);
    if (failed == 0 && rs_buildRuleGroup(set, &group) != RULE_OK) {
        failed = 11;
    }
    if (rs_delRuleSet(&set) != RULE_OK || set != NULL) {
        failed = 12;
    }
    if (failed == 0) {
        failed = checkMatches(group);
    }
    if (failed == 0) {
        failed = checkTexts();
    }
    if (rs_delRuleGroup(&group) != RULE_OK || group != NULL || releaseCount != 1) {
        return failed != 0 ? failed : 13;
    }
    return failed;
}
