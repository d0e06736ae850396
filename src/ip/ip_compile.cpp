#include "ip/ip_compile.h"

#include <ruleset.h>

#include "core/memory.h"
#include "core/release.h"
#include "core/structure.h"
#include "ip/ip_flat_hosts.h"
#include "ip/ip_flat_ranges.h"
#include "ip/ip_insert.h"
#include "ip/ip_rule.h"
#include "ip/rule_places.h"

namespace rs {

namespace {

constexpr uint32_t MAX_HOST_BUCKETS = 4095;

bool createHostTable(HashTable*& hostTable, uint32_t ruleCount) noexcept {
    const uint32_t buckets = ruleCount < MAX_HOST_BUCKETS ? ruleCount + 1 : MAX_HOST_BUCKETS;
    hostTable = hashCreate(static_cast<int32_t>(buckets), HASH_KIND_PLAIN);
    return hostTable != nullptr;
}

bool createTree(SearchTree*& tree, const RuleSet& set, TreeCompare compare,
                TreeReleaseEntries releaseEntries) noexcept {
    tree = createSearchTree(releaseInfoOf(set), compare, releaseEntries);
    return tree != nullptr;
}

void sizeIpv6RangeSlabs(const RulePlaces& places, IpRuleTable& table) noexcept {
    sizeSlab(table.ipv6RangeEntries, places.ranges.count);
    sizeSlab(table.ipv6RangeNodes, places.ranges.count);
}

// Chooses the chunks of the slabs as if no rule were a duplicate, and each range in one piece.
void sizeSlabs(const RulePlaces& places, IpRuleTable& table) noexcept {
    sizeSlab(table.hostEntries, places.hosts.ipv4Count);
    sizeSlab(table.addressEntries, places.hosts.count);
    sizeSlab(table.ipv6HostNodes, places.hosts.addresses.count());
    sizeSlab(table.ipv4RangeEntries, places.ranges.ipv4Count);
    sizeSlab(table.ipv4RangeNodes, places.ranges.ipv4Count);
    sizeIpv6RangeSlabs(places, table);
}

// Gives back the userData of a rule that added nothing to a view. A rule that has entered the other
// view keeps it: the claim is its entry's. Otherwise the claim is taken here, so that no entry of
// the second pass owns what the first pass gave back.
void giveUserDataBack(const RuleSet& set, IpRule& rule, const EntryRule& entryRule) noexcept {
    uint32_t flags = 0;
    markRuleReleased(entryRule.userDataClaims, rule.userData, entryRule.ruleIndex - 1, &flags);
    if (flags == 0 || rule.released != 0 || set.releaseCallback == nullptr) {
        return;
    }
    rule.released = 1;
    callReleaseCallback(set.releaseCallback, set.releaseContext, rule.userData, flags);
}

// Enters the rules of a view: enterHost(position, entryRule, rule) and enterRange, which is the same for ranges, return
// a status each. isInView(rule) says which rules they get.
template <typename IsInView, typename EnterHost, typename EnterRange>
bool enterRules(RuleSet& set, uint8_t* claims, const IsInView& isInView, const EnterHost& enterHost,
                const EnterRange& enterRange) noexcept {
    uint32_t hostPosition = 0;
    uint32_t rangePosition = 0;
    return forEachRule<IpRule>(set.ipRules, [&](IpRule& rule, uint32_t ruleIndex) noexcept {
        const bool isHost = isSingle(rule);
        const uint32_t position = isHost ? hostPosition++ : rangePosition++;
        if (!isInView(rule)) {
            return true;
        }
        const EntryRule entryRule{ruleIndex, rule.ruleValue, rule.ruleId, rule.userData, claims};
        const int32_t status =
            isHost ? enterHost(position, entryRule, rule) : enterRange(position, entryRule, rule);
        if (status == RULE_ERR_DUPLICATE) {
            giveUserDataBack(set, rule, entryRule);
        }
        return status == RULE_OK || status == RULE_ERR_DUPLICATE;
    });
}

// Makes the tree of the mirror, or empties its slabs when it lacks a range. False when memory is out for the tree.
bool finishMirror(const RuleSet& set, const RulePlaces& places, IpRuleTable& table,
                  IntervalInsertion<uint32_t>& ranges) noexcept {
    if (!ranges.hasMirror()) {
        freeSlab(table.ipv6RangeNodes);
        freeSlab(table.ipv6RangeEntries);
        sizeIpv6RangeSlabs(places, table);
        return true;
    }
    if (!createTree(table.ipv6RangeTree, set, classifyInterval128, releaseRangeEntries128)) {
        return false;
    }
    ranges.linkMirror(*table.ipv6RangeTree);
    table.isMirrored = true;
    return true;
}

// Enters the rules into the 32-bit structures; a rule of IPv6 addresses has no place there. When all ranges are IPv4
// ones, makes ipv6RangeTree, too, or fills failure.
bool buildIpv4View(RuleSet& set, const RulePlaces& places, IpRuleTable& table, uint8_t* claims,
                   MirrorFailure& failure) noexcept {
    IntervalInsertion<uint32_t> ranges(table.ipv4RangeNodes, table.ipv4RangeEntries, places.ranges);
    const bool hasHosts = places.hosts.ipv4Count != 0;
    const bool hasRanges = places.ranges.ipv4Count != 0;
    if ((hasHosts && !createHostTable(table.hostTable, set.ipRules.ruleCount)) ||
        (hasRanges &&
         (!createTree(table.ipv4RangeTree, set, classifyInterval32, releaseRangeEntries32) ||
          !ranges.reserve()))) {
        return false;
    }
    const bool isMirrored = hasRanges && places.ranges.ipv4Count == places.ranges.count;
    if (isMirrored) {
        ranges.mirrorInto(table.ipv6RangeNodes, table.ipv6RangeEntries);
    }
    const bool isEntered = enterRules(
        set, claims, hasIpv4View,
        [&](uint32_t position, const EntryRule& entryRule, const IpRule& rule) noexcept {
            return places.hosts.ranks[position] == DUPLICATE_HOST
                       ? RULE_ERR_DUPLICATE
                       : insertHost(*table.hostTable, table.hostEntries,
                                    rule.addresses.startAddress.words[3], entryRule);
        },
        [&](uint32_t position, const EntryRule& entryRule, const IpRule&) noexcept {
            return ranges.insert(position, entryRule);
        });
    if (hasRanges) {
        ranges.link(*table.ipv4RangeTree);
    }
    table.leftOut += ranges.leftOut();
    failure = ranges.mirrorFailure();
    return isEntered && (!isMirrored || finishMirror(set, places, table, ranges));
}

// Enters all rules into the 128-bit structures, IPv4 rules in their mapped form, apart from ranges that are there
// already. The range of a failure fails again.
bool buildIpv6View(RuleSet& set, const RulePlaces& places, IpRuleTable& table, uint8_t* claims,
                   const MirrorFailure& failure) noexcept {
    AddressInsertion hosts(table, places.hosts);
    IntervalInsertion<Address128> ranges(table.ipv6RangeNodes, table.ipv6RangeEntries,
                                         places.ranges);
    const bool hasHosts = places.hosts.count != 0;
    const bool hasRanges = places.ranges.count != 0 && table.ipv6RangeTree == nullptr;
    if ((hasHosts &&
         (!createTree(table.ipv6HostTree, set, compareAddressKey, releaseAddressEntries) ||
          !hosts.reserve())) ||
        (hasRanges &&
         (!createTree(table.ipv6RangeTree, set, classifyInterval128, releaseRangeEntries128) ||
          !ranges.reserve()))) {
        return false;
    }
    const bool isEntered = enterRules(
        set, claims,
        [hasRanges](const IpRule& rule) noexcept { return hasRanges || isSingle(rule); },
        [&](uint32_t position, const EntryRule& entryRule, const IpRule&) noexcept {
            return places.hosts.ranks[position] == DUPLICATE_HOST
                       ? RULE_ERR_DUPLICATE
                       : hosts.insert(position, entryRule);
        },
        [&](uint32_t position, const EntryRule& entryRule, const IpRule&) noexcept {
            return position == failure.position ? failure.status
                                                : ranges.insert(position, entryRule);
        });
    if (hasHosts) {
        hosts.link(*table.ipv6HostTree);
    }
    if (hasRanges) {
        ranges.link(*table.ipv6RangeTree);
    }
    table.leftOut += ranges.leftOut() + (failure.status == RULE_ERR_DUPLICATE ? 1 : 0);
    return isEntered;
}

// What the views need beside the table is gone when this returns.
bool buildBothViews(RuleSet& set, IpRuleTable& table, uint8_t* claims) noexcept {
    RulePlaces places{};
    if (!placeRules(set.ipRules, places)) {
        return false;
    }
    sizeSlabs(places, table);
    MirrorFailure failure;
    return buildIpv4View(set, places, table, claims, failure) &&
           buildIpv6View(set, places, table, claims, failure);
}

}  // namespace

IpRuleTable* buildIpRuleTable(RuleSet* set, RuleGroup* group) noexcept {
    if (set == nullptr || group == nullptr) {
        return nullptr;
    }
    group->ipTable = nullptr;
    OwnedMemory<uint8_t> claims;
    if (!allocateClaims(*set, set->ipRules, claims)) {
        return nullptr;
    }
    auto table = newStructure<IpRuleTable, releaseIpRuleTable>(*set);
    if (!table || !buildBothViews(*set, *table, claims.get())) {
        return nullptr;  // the owner frees what was made and gives its userData back
    }
    buildFlatIpHosts(*table);
    buildFlatIpRanges(*table);
    return group->ipTable = table.release();
}

}  // namespace rs
