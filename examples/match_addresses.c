/* Looks addresses of both families up in a handful of rules.
 *
 *     rule 3 is refused: 10.0.0.0/0
 *     10.1.2.3            rule 1, value 1, id 100
 *     10.9.9.9            rule 2, value 2, id 200
 *     ::ffff:10.9.9.9     rule 2, value 2, id 200
 *     2001:db8::80        rule 3, value 3, id 400
 *     192.0.2.1           no rule
 *
 * Build it with: cc match_addresses.c $(pkg-config --cflags --libs ruleset) */
#include <ruleset.h>

#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct Rule {
    const char* text;
    uint32_t value; /* means what the host wants it to mean */
    uint32_t id;    /* likewise, but never 0 */
} Rule;

static const Rule RULES[] = {
    {"10.1.2.3", 1, 100},
    {"10.0.0.0/8", 2, 200},
    {"10.0.0.0/0", 2, 300}, /* refused: a prefix has a length of 1 at least */
    {"2001:db8::-2001:db8::ff", 3, 400},
};

static const char* const KEYS[] = {
    "10.1.2.3",        /* two rules cover it; the one added first wins */
    "10.9.9.9",        /* one rule does */
    "::ffff:10.9.9.9", /* the same address, as a socket for both families reports it */
    "2001:db8::80",    /* the third rule of the set: the refused one has no number */
    "192.0.2.1",       /* no rule */
};

/* Compiles RULES; null when that fails. The set is needed no longer than that. */
static RuleGroup* compileRules(void) {
    RuleSet* set = NULL;
    RuleGroup* group = NULL;
    if (rs_newRuleSet(RULE_TYPE_IP, &set) != RULE_OK) {
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

/* 1 for a match, 0 for none, negative for a text that is no address. */
static int32_t lookUp(const RuleGroup* group, const char* text, MatchResult* result) {
    unsigned char bytes[16]; /* network byte order, as sockets have it */
    if (inet_pton(AF_INET, text, bytes) == 1) {
        return rs_matchIPRuleGroupEx(group, 4, bytes, result);
    }
    if (inet_pton(AF_INET6, text, bytes) == 1) {
        return rs_matchIPRuleGroupEx(group, 6, bytes, result);
    }
    return RULE_ERR_FAILED;
}

int main(void) {
    RuleGroup* group = compileRules();
    if (group == NULL) {
        return EXIT_FAILURE;
    }
    for (size_t i = 0; i < sizeof KEYS / sizeof KEYS[0]; ++i) {
        MatchResult hit;
        if (lookUp(group, KEYS[i], &hit) == 1) {
            printf("%-19s rule %u, value %u, id %u\n", KEYS[i], hit.ruleIndex, hit.ruleValue,
                   hit.ruleId);
        } else {
            printf("%-19s no rule\n", KEYS[i]); /* hit was not written */
        }
    }
    rs_delRuleGroup(&group);
    return EXIT_SUCCESS;
}
