/* Looks host names up in rules for single names, for all names below a domain, and for every name.
 *
 *     rule 3 is refused: w*.example.com
 *     WWW.Example.com.        rule 1, value 1, id 100
 *     mail.example.com        rule 2, value 2, id 200
 *     a.b.example.com         rule 2, value 2, id 200
 *     example.com             no rule
 *     xn--bcher-kva.example   rule 3, value 3, id 400
 *     B%C3%BCCHER.example     rule 3, value 3, id 400
 *     a..example.com          is no host name
 *
 * Build it with: cc match_host_names.c $(pkg-config --cflags --libs ruleset) */
#include <ruleset.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct Rule {
    const char* text;
    uint32_t value; /* means what the host wants it to mean */
    uint32_t id;    /* likewise, but never 0 */
} Rule;

static const Rule RULES[] = {
    {"www.example.com", 1, 100},
    {"*.example.com", 2, 200},         /* every name below, but not example.com itself */
    {"w*.example.com", 2, 300},        /* refused: a star stands alone or before a dot */
    {"B\303\274cher.example", 3, 400}, /* UTF-8; stored as xn--bcher-kva.example */
};

static const char* const NAMES[] = {
    "WWW.Example.com.",      /* two rules cover it, in every spelling; the one added first wins */
    "mail.example.com",      /* one rule does */
    "a.b.example.com",       /* the same one, at any depth */
    "example.com",           /* no rule */
    "xn--bcher-kva.example", /* a name as it stands in the DNS */
    "B%C3%BCCHER.example",   /* the same name, as it may stand in a URL */
    "a..example.com",        /* an empty label */
};

/* Compiles RULES; null when that fails. */
static RuleGroup* compileRules(void) {
    RuleSet* set = NULL;
    RuleGroup* group = NULL;
    if (rs_newRuleSet(RULE_TYPE_FQDN, &set) != RULE_OK) {
        return NULL;
    }
    for (size_t i = 0; i < sizeof RULES / sizeof RULES[0]; ++i) {
        const Rule* rule = &RULES[i];
        const int32_t status = rs_addRuleToRuleSet(set, rule->text, (uint32_t)strlen(rule->text),
                                                   rule->value, rule->id);
        if (status == RULE_ERR_BAD_RULE) {
            printf("rule %zu is refused: %s\n", i + 1, rule->text); /* the set is as it was */
        } else if (status != RULE_OK) {
            rs_delRuleSet(&set);
            return NULL;
        }
    }
    if (rs_buildRuleGroup(set, &group) != RULE_OK) {
        group = NULL; /* an output is written on success only */
    }
    rs_delRuleSet(&set);
    return group;
}

int main(void) {
    RuleGroup* group = compileRules();
    if (group == NULL) {
        return EXIT_FAILURE;
    }
    for (size_t i = 0; i < sizeof NAMES / sizeof NAMES[0]; ++i) {
        MatchResult hit;
        const char* name = NAMES[i];
        const int32_t status =
            rs_matchDomainNameWithRuleGroup(group, name, (uint32_t)strlen(name), &hit);
        if (status == 1) {
            printf("%-23s rule %u, value %u, id %u\n", name, hit.ruleIndex, hit.ruleValue,
                   hit.ruleId);
        } else {
            printf("%-23s %s\n", name, status == 0 ? "no rule" : "is no host name");
        }
    }
    rs_delRuleGroup(&group);
    return EXIT_SUCCESS;
}
