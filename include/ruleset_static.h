/*
 * ruleset, linked statically: what libruleset.a offers beside the functions of <ruleset.h>.
 *
 * The shared library exports the functions of <ruleset.h> and nothing else. A C++ host that links
 * the static archive reaches more: lookups in groups of IP:Port, packet filter and compound rules,
 * many lookups in one call, the library's option, its ident text, moving rules from set to set,
 * groups that share their compiled structures, and what a build left out.
 *
 * This header needs C++17 or later, and the library is built without exceptions.
 *
 * Statuses, ownership and threads are as in <ruleset.h>: lookups only read, allocate nothing and may
 * run in any number of threads. Unless an operation says otherwise, *result is left alone when it
 * does not return 1.
 */
#ifndef RULESET_STATIC_H
#define RULESET_STATIC_H

#include <ruleset.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace rs {

/* ------------------------------------------------------------------------------------------------
 * The library
 * --------------------------------------------------------------------------------------------- */

inline constexpr int32_t RULE_OPTION_IPV6 = 1;

/* Whether rule texts and hosts of URLs may name IPv6 addresses: RULE_OPTION_IPV6 with a value other
 * than 0 allows it, as at first, with 0 forbids it. RULE_ERR_INVALID_ARG, with nothing changed, for
 * another option. A plain word for the whole process: set it before rules are added, while no other
 * thread uses the library. Cost: constant. */
int32_t setLibraryOption(int32_t option, int32_t value) noexcept;

/* Name, version, build platform and build date, as one constant line:
 * "ruleset 5.200.1021 (linux-x86_64, built 2026-11-21)". The date is the day of SOURCE_DATE_EPOCH
 * when that was set for the build. Cost: constant. */
const char* getLibraryVersion() noexcept;

/* Puts the rules of one set, in their order, after those of another set of the same type; from is
 * then empty, and to owns the rules. So rules can be added to several sets in several threads, and
 * be compiled as one list. The callback that is registered on to is left as it is.
 *
 * Returns RULE_OK; RULE_ERR_INVALID_ARG for a null set, for one set twice and for sets of two types;
 * RULE_ERR_SET_FULL when to would hold more than 4294967295 rules. After an error nothing is changed.
 * One thread at a time may use either set. Cost: constant. */
int32_t moveRules(RuleSet* from, RuleSet* to) noexcept;

/* A new group record that shares every compiled structure of group. The caller frees it with
 * rs_delRuleGroup, in any order with the original and from any thread; the last one frees the
 * structures. Null for a null group or when memory is out. Cost: constant, one small allocation.
 *
 * Deliberate: the copy holds no release callback. Of the records that share a structure the one
 * dropped last decides through which callback, if any, userData goes back; only the trees of IP
 * groups keep the callback that they were built with. */
RuleGroup* retainRuleGroup(const RuleGroup* group) noexcept;

/* How many rules of a group were left out because memory ran out while it was built: 0 as a rule,
 * and for a null group. Such a build is RULE_OK all the same, and the group answers for all other
 * rules. An IP rule counts once for each of the two families whose lookups lack it. A filter that
 * must not have holes asks this after the build. */
uint32_t rulesLeftOut(const RuleGroup* group) noexcept;

/* ------------------------------------------------------------------------------------------------
 * Bulk lookups
 *
 * Many keys in one call. The lookups of neighbouring keys wait for memory at the same time, so a key
 * costs a fraction of what it costs alone, where a group is larger than the near caches.
 *
 * For key i, ruleIndexes[i] becomes the ruleIndex of the rule that wins a single lookup of the key,
 * and 0 when none covers it. results and statuses may be null. Otherwise results[i] becomes what a
 * single lookup reports when a rule covers the key, and only its ruleIndex is set, to 0, when none
 * does; statuses[i] becomes what the single lookup returns: 1, 0, or for a key that is none a
 * negative status. ruleIndexes[i] is 0 then, too.
 *
 * All return RULE_OK, whatever the keys are. They return RULE_ERR_INVALID_ARG, with nothing written,
 * for a null group, for a group of another type, and for null keys or ruleIndexes; with a count of 0
 * these two may be null. The arrays are the caller's, have room for count of each, and do not
 * overlap. Threads are as for single lookups. Cost: linear in count;
 * docs/performance.md has what a key costs alone and in bulk.
 * --------------------------------------------------------------------------------------------- */

/* A key of text: length bytes, which need no NUL after them. */
struct TextKey {
    const char* text;
    uint32_t length;
};

/* 16 bytes in network byte order. */
using AddressBytes = std::array<uint8_t, 16>;

/* IP rules, as rs_matchIPRuleGroup: addresses in host byte order. */
int32_t matchIpv4Bulk(const RuleGroup* group, const uint32_t* addresses, size_t count,
                      uint32_t* ruleIndexes, MatchResult* results) noexcept;

/* IP rules, as rs_matchIPRuleGroupEx with family 6. */
int32_t matchIpv6Bulk(const RuleGroup* group, const AddressBytes* addresses, size_t count,
                      uint32_t* ruleIndexes, MatchResult* results) noexcept;

/* Domain rules, as rs_matchDomainNameWithRuleGroup. */
int32_t matchDomainNamesBulk(const RuleGroup* group, const TextKey* names, size_t count,
                             uint32_t* ruleIndexes, int32_t* statuses,
                             MatchResult* results) noexcept;

/* URL rules, as rs_matchUrlWithRuleGroup. */
int32_t matchUrlsBulk(const RuleGroup* group, const TextKey* urls, size_t count,
                      uint32_t* ruleIndexes, int32_t* statuses, MatchResult* results) noexcept;

/* ------------------------------------------------------------------------------------------------
 * Endpoint lookups
 *
 * IPv4 addresses are numbers in host byte order; 128-bit addresses are four words in host byte
 * order, the most significant first, where an IPv4 address is in IPv4-mapped form
 * (0, 0, 0xFFFF, address). Of a port only the low 16 bits count.
 *
 * All return 1 when a rule covers the endpoints, with the winning rule in *result; 0 when none does;
 * RULE_ERR_INVALID_ARG for a null group or result and for a group of another type. After a negative
 * status *result is unspecified.
 *
 * The rule added earliest wins, with one exception. Deliberate: rules whose first address is a range
 * of 128-bit addresses are asked range by range, in the order in which the ranges were first named;
 * the first range that answers wins over a later range that holds an earlier rule.
 * --------------------------------------------------------------------------------------------- */

using AddressWords = std::array<uint32_t, 4>;

/* IP:Port rules (RULE_TYPE_IP_PORT). A rule covers the pair only if its mask and the given one have
 * a bit in common. Cost: a walk over the rules for every first address; a hash probe and a walk over
 * the rules for this one; and of the rules for ranges a walk over those that hold it, found in a
 * logarithm of steps, be there ten ranges or a million. A walk ends at the first rule that covers. */
int32_t matchIpPortPair4(const RuleGroup* group, uint32_t firstAddress, uint32_t firstPort,
                         uint32_t secondAddress, uint32_t secondPort, uint32_t mask,
                         MatchResult* result) noexcept;
int32_t matchIpPortPair6(const RuleGroup* group, const AddressWords& firstAddress,
                         uint32_t firstPort, const AddressWords& secondAddress, uint32_t secondPort,
                         uint32_t mask, MatchResult* result) noexcept;

/* Whether an address and port are covered by the second endpoint of any IP:Port rule, whatever its
 * first ports and its mask. matchSecondEndpoint4 knows a rule only if one of its first addresses is
 * "*" or all IPv4, be it in mapped form: it does not see "2001:db8::1;*;10.0.0.1;80;1". Cost: a walk
 * over all rules, up to the first that covers. */
int32_t matchSecondEndpoint4(const RuleGroup* group, uint32_t address, uint32_t port) noexcept;
int32_t matchSecondEndpoint6(const RuleGroup* group, const AddressWords& address,
                             uint32_t port) noexcept;

/* Packet filter rules (RULE_TYPE_PACKET_FILTER). The protocol is not asked for: every rule is for
 * TCP. Cost as for IP:Port. */
int32_t matchPacketFilter4(const RuleGroup* group, uint32_t firstAddress, uint32_t firstPort,
                           uint32_t secondAddress, uint32_t secondPort,
                           MatchResult* result) noexcept;
int32_t matchPacketFilter6(const RuleGroup* group, const AddressWords& firstAddress,
                           uint32_t firstPort, const AddressWords& secondAddress,
                           uint32_t secondPort, MatchResult* result) noexcept;

/* ------------------------------------------------------------------------------------------------
 * Compound lookups
 * --------------------------------------------------------------------------------------------- */

/* What a compound rule (RULE_TYPE_COMPOUND) is tested against. The host decides what the numbers
 * mean. A rule's fields are numbered as in its text. */
struct CompoundFlow {
    uint16_t firstValue16; /* field 4 covers the first or the second of these */
    uint16_t secondValue16;
    uint32_t value32;           /* field 1 covers it */
    int32_t family;             /* 4 or 6; with any other number no rule covers the flow */
    AddressWords firstAddress;  /* field 3 covers the first or the second; words in network byte */
    AddressWords secondAddress; /* order, of which family 4 uses the first */
    uint16_t listValue16;       /* field 2 covers this or the next, when bit 1 of field 5 is set */
    uint16_t listValue12;       /* 0 to 4095; 4096 means "none" and is never covered */
    uint32_t outNumber;         /* out: field 6 of the rule */
    uint32_t outListValue;      /* in and out, see matchCompound */
    uint32_t outMark;           /* out: 1 when bit 2 of field 5 is set, else left alone */
};

/* Looks a flow up. Returns 1 with the first rule that covers the flow in *result and the flow's
 * outputs written; 0 when none does; RULE_ERR_INVALID_ARG for a null argument or a group of another
 * type. With bit 0 of the rule's field 5 set and wantsListValue, outListValue becomes 4095 when
 * listValue12 is 4096; otherwise it becomes listValue12 when the rule covered listValue16 and
 * outListValue held the value of listValue16. Cost: a walk over all rules up to the first that
 * covers, and in each over its ranges. */
int32_t matchCompound(const RuleGroup* group, CompoundFlow* flow, bool wantsListValue,
                      MatchResult* result) noexcept;

}  // namespace rs

#endif
