/* Looks URLs up, and shows the canonical form in which rules and URLs meet.
 *
 *     rule 3 is refused: ftp://example.com
 *     http://user@EXAMPLE.com/Login?next=%2F
 *         http, example.com, port 0, /login?next=/
 *         rule 1, value 1
 *     https://www.example.com:8443/a/report.pdf
 *         https, www.example.com, port 8443, /a/report.pdf
 *         rule 2, value 2
 *     https://www.example.com/a/report.pdf
 *         https, www.example.com, port 0, /a/report.pdf
 *         no rule
 *     http://[2001:DB8::1]/
 *         http, [2001:db8:0:0:0:0:0:1], port 0, /
 *         rule 3, value 3
 *     http://example.com:http/
 *         no canonical form
 *         no rule
 *
 * Build it with: cc match_urls.c $(pkg-config --cflags --libs ruleset) */
#include <ruleset.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char* const RULES[] = {
    "example.com/login",               /* under http at port 80, and what stands below the path */
    "https://*.example.com:8443/*pdf", /* one scheme, one port, and a path with something between */
    "ftp://example.com",               /* refused: rules are about http and https */
    "[2001:db8::1]:*",                 /* every port */
};

static const char* const URLS[] = {
    "http://user@EXAMPLE.com/Login?next=%2F",
    "https://www.example.com:8443/a/report.pdf",
    "https://www.example.com/a/report.pdf", /* port 443 */
    "http://[2001:DB8::1]/",
    "http://example.com:http/",
};

/* Compiles RULES, each with the number that it has in the set as its value; null when that fails. */
static RuleGroup* compileRules(void) {
    RuleSet* set = NULL;
    RuleGroup* group = NULL;
    uint32_t count = 0;
    if (rs_newRuleSet(RULE_TYPE_URL, &set) != RULE_OK) {
        return NULL;
    }
    for (size_t i = 0; i < sizeof RULES / sizeof RULES[0]; ++i) {
        const int32_t status = rs_addRuleToRuleSet(set, RULES[i], (uint32_t)strlen(RULES[i]),
                                                   count + 1, (uint32_t)i + 1);
        if (status == RULE_OK) {
            ++count;
        } else if (status == RULE_ERR_BAD_RULE || status == RULE_ERR_BAD_SCHEME) {
            printf("rule %zu is refused: %s\n", i + 1, RULES[i]); /* the set is as it was */
        } else {
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

static void printCanonicalForm(const char* url) {
    char scheme[64];
    char host[256];
    char path[256];
    /* Lengths are the capacities of the buffers before the call, and what is used of them after. */
    NormalizedUrl parts = {.scheme = scheme,
                           .schemeLength = sizeof scheme,
                           .host = host,
                           .hostLength = sizeof host,
                           .path = path,
                           .pathLength = sizeof path};
    if (rs_normalize_URL(url, (uint32_t)strlen(url), &parts) != RULE_OK) {
        printf("    no canonical form\n");
        return;
    }
    /* No part is followed by a NUL. */
    printf("    %.*s, %.*s, port %u, %.*s\n", (int)parts.schemeLength, scheme,
           (int)parts.hostLength, host, (unsigned)parts.port, (int)parts.pathLength, path);
}

int main(void) {
    int32_t status = 0;
    RuleGroup* group = compileRules();
    if (group == NULL) {
        return EXIT_FAILURE;
    }
    for (size_t i = 0; status >= 0 && i < sizeof URLS / sizeof URLS[0]; ++i) {
        MatchResult hit;
        printf("%s\n", URLS[i]);
        printCanonicalForm(URLS[i]);
        status = rs_matchUrlWithRuleGroup(group, URLS[i], (uint32_t)strlen(URLS[i]), &hit);
        if (status == 1) {
            printf("    rule %u, value %u\n", hit.ruleIndex, hit.ruleValue);
        } else if (status == 0) {
            printf("    no rule\n"); /* of hit only ruleIndex was written: 0 */
        }
    }
    rs_delRuleGroup(&group);
    return status >= 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
