/* Gives every rule a piece of memory of its own and gets each piece back exactly once.
 *
 *     refused: office/0 stays ours
 *     building
 *       back: office again
 *     10.1.2.3 is covered by office
 *     deleting the group
 *       back: office
 *       back: laboratory
 *     3 labels came back
 *
 * The order in which a group hands its labels back is not promised.
 *
 * Build it with: cc release_user_data.c $(pkg-config --cflags --libs ruleset) */
#include <ruleset.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static char* copyText(const char* text) {
    const size_t size = strlen(text) + 1;
    char* copy = malloc(size);
    if (copy == NULL) {
        exit(EXIT_FAILURE);
    }
    return memcpy(copy, text, size);
}

/* Gets a label back. It runs inside rs_buildRuleGroup or rs_delRuleGroup and must not call the
 * library with the same set or group. */
static void releaseLabel(void* userData, void* releaseContext) {
    unsigned* released = releaseContext;
    printf("  back: %s\n", (char*)userData);
    free(userData);
    ++*released;
}

/* Adds a rule with a label of its own. The set borrows the label; a rule that was refused never
 * had it, so it is still ours to free. */
static void addLabelled(RuleSet* set, const char* text, uint32_t ruleId, const char* label) {
    char* userData = copyText(label);
    if (rs_addRuleToRuleSetEx(set, text, (uint32_t)strlen(text), 1, ruleId, userData) != RULE_OK) {
        printf("refused: %s stays ours\n", label);
        free(userData);
    }
}

int main(void) {
    RuleSet* set = NULL;
    RuleGroup* group = NULL;
    MatchResult hit;
    unsigned released = 0;
    if (rs_newRuleSet(RULE_TYPE_IP, &set) != RULE_OK) {
        return EXIT_FAILURE;
    }
    /* A group takes the callback over from its set when it is built, so this comes first. */
    rs_registerRuleCallback(set, RULE_CALLBACK_RELEASE, releaseLabel, &released);

    addLabelled(set, "10.0.0.0/8", 1, "office");
    addLabelled(set, "10.0.0.0/0", 2, "office/0");
    addLabelled(set, "2001:db8::/32", 3, "laboratory");
    /* The same addresses with the same value as rule 1: it can never win, and the build drops it. */
    addLabelled(set, "10.0.0.0-10.255.255.255", 4, "office again");

    printf("building\n");
    if (rs_buildRuleGroup(set, &group) != RULE_OK) {
        rs_delRuleSet(&set);
        return EXIT_FAILURE;
    }
    /* Deleting the set touches no label. A set that was built once is best not built again: the
     * second group would hand the same labels back a second time. */
    rs_delRuleSet(&set);

    if (rs_matchIPRuleGroup(group, 0x0A010203, &hit) == 1) {
        printf("10.1.2.3 is covered by %s\n", (const char*)hit.userData); /* still the group's */
    }

    printf("deleting the group\n");
    rs_delRuleGroup(&group);
    printf("%u labels came back\n", released);
    return EXIT_SUCCESS;
}
