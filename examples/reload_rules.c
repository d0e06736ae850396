/* Replaces the rules while another thread goes on looking addresses up.
 *
 *     10.1.2.3 has value 1
 *     10.1.2.3 has value 2
 *     10.1.2.3 has value 3
 *     bad list refused, 10.1.2.3 still has value 3
 *     no lookup failed
 *
 * The new group is built aside, which may take long, while lookups run in the old one; then the
 * pointer is swapped; then the old group is freed. The library takes no lock, so the host sees to
 * it that nobody is still inside the old group when it goes: here with a lock that lookups share
 * and that the swap holds for the time of one assignment. Who gets the write lock after the readers
 * of the old pointer have left knows that no lookup can see that pointer again. (Where lookups never
 * pause, as in a busy host, take a lock that prefers writers, or the swap may wait for long.)
 *
 * Build it with: cc -pthread reload_rules.c $(pkg-config --cflags --libs ruleset) */
#define _POSIX_C_SOURCE 200809L /* for the lock */
#include <ruleset.h>

#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const uint32_t KEY = 0x0A010203; /* 10.1.2.3 */

static pthread_rwlock_t currentLock = PTHREAD_RWLOCK_INITIALIZER;
static RuleGroup* current; /* guarded by currentLock; null until the first list is loaded */

static atomic_bool stopping;
static atomic_uint failedLookups;

/* 1 with *value filled when a rule covers the address. The result is copied out under the lock: a
 * userData in it would belong to the group, and the group may go as soon as the lock is free. */
static int32_t lookUp(uint32_t address, uint32_t* value) {
    MatchResult hit;
    pthread_rwlock_rdlock(&currentLock);
    const int32_t status = rs_matchIPRuleGroup(current, address, &hit);
    pthread_rwlock_unlock(&currentLock);
    if (status == 1) {
        *value = hit.ruleValue;
    }
    return status;
}

/* Compiles a list of rules; null when a rule is bad or memory is out. */
static RuleGroup* compileRules(const char* const* texts, size_t count, uint32_t value) {
    RuleSet* set = NULL;
    RuleGroup* group = NULL;
    int32_t status = rs_newRuleSet(RULE_TYPE_IP, &set);
    for (size_t i = 0; status == RULE_OK && i < count; ++i) {
        status =
            rs_addRuleToRuleSet(set, texts[i], (uint32_t)strlen(texts[i]), value, (uint32_t)i + 1);
    }
    if (status == RULE_OK) {
        status = rs_buildRuleGroup(set, &group);
    }
    rs_delRuleSet(&set);
    return status == RULE_OK ? group : NULL;
}

/* Puts a new list in force. 0, with the old list still in force, when it cannot be compiled. */
static int reload(const char* const* texts, size_t count, uint32_t value) {
    RuleGroup* fresh = compileRules(texts, count, value);
    if (fresh == NULL) {
        return 0;
    }
    pthread_rwlock_wrlock(&currentLock);
    RuleGroup* old = current;
    current = fresh;
    pthread_rwlock_unlock(&currentLock);
    rs_delRuleGroup(&old); /* outside the lock: freeing a large group takes its time */
    return 1;
}

/* Stands for the threads that do the host's work. */
static void* lookUpUntilStopped(void* unused) {
    while (!atomic_load(&stopping)) {
        uint32_t value = 0;
        if (lookUp(KEY, &value) != 1 || value < 1 || value > 3) {
            atomic_fetch_add(&failedLookups, 1);
        }
    }
    return unused;
}

static void report(const char* prefix) {
    uint32_t value = 0;
    lookUp(KEY, &value);
    printf("%s value %u\n", prefix, value);
}

int main(void) {
    static const char* const GOOD_LIST[] = {"10.0.0.0/8", "2001:db8::/32"};
    static const char* const BAD_LIST[] = {"10.0.0.0/8", "10.0.0.0/33"};
    pthread_t worker;
    if (!reload(GOOD_LIST, 2, 1) || pthread_create(&worker, NULL, lookUpUntilStopped, NULL) != 0) {
        return EXIT_FAILURE;
    }
    report("10.1.2.3 has");
    for (uint32_t value = 2; value <= 3; ++value) {
        if (reload(GOOD_LIST, 2, value)) {
            report("10.1.2.3 has");
        }
    }
    if (!reload(BAD_LIST, 2, 4)) {
        report("bad list refused, 10.1.2.3 still has");
    }
    atomic_store(&stopping, 1);
    pthread_join(worker, NULL);
    if (atomic_load(&failedLookups) == 0) {
        printf("no lookup failed\n");
    }
    rs_delRuleGroup(&current); /* no thread is left that could be matching */
    return EXIT_SUCCESS;
}
