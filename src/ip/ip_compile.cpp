#include "ip/ip_compile.h"

#include <ruleset.h>

#include "core/memory.h"
#include "core/release.h"
#include "core/structure.h"
#include "ip/ip_insert.h"
#include "ip/ip_rule.h"

namespace rs {

namespace {

constexpr uint32_t MAX_HOST_BUCKETS = 4095;

bool createHostTable(HashTable*& hostTable, uint32_t ruleCount) noexcept {
    if (hostTable == nullptr) {
        const uint32_t buckets = ruleCount < MAX_HOST_BUCKETS ? ruleCount + 1 : MAX_HOST_BUCKETS;
        hostTable = hashCreate(static_cast<int32_t>(buckets), HASH_KIND_PLAIN);
    }
    return hostTable != nullptr;
}

bool createTree(SearchTree*& tree, const RuleSet& set, TreeCompare compare,
                TreeReleaseEntries releaseEntries) noexcept {
    if (tree == nullptr) {
        tree = createSearchTree(releaseInfoOf(set), compare, releaseEntries);
    }
    return tree != nullptr;
}

bool isSingle(const IpRule& rule) noexcept {
    return (rule.addresses.addressFlags & ADDRESS_FLAG_SINGLE) != 0;
}

bool hasIpv4View(const IpRule& rule) noexcept {
    if ((rule.addresses.addressFlags & ADDRESS_FLAG_IPV6) == 0) {
        return true;
    }
    return isIpv4Mapped(rule.addresses.startAddress) &&
           (isSingle(rule) || isIpv4Mapped(rule.addresses.endAddress));
}

// Chooses the chunks of the slabs as if every rule had one record of each kind that it may have.
void sizeSlabs(RuleSet& set, IpRuleTable& table) noexcept {
    uint64_t hosts[2] = {};  // with 32-bit entries, and all
    uint64_t ranges[2] = {};
    static_cast<void>(forEachRule<IpRule>(set.ipRules, [&](const IpRule& rule, uint32_t) noexcept {
        uint64_t* counts = isSingle(rule) ? hosts : ranges;
        counts[0] += hasIpv4View(rule) ? 1 : 0;
        ++counts[1];
        return true;
    }));
    sizeSlab(table.hostEntries, hosts[0]);
    sizeSlab(table.ipv4RangeEntries, ranges[0]);
    sizeSlab(table.addressEntries, hosts[1]);
    sizeSlab(table.ipv6RangeEntries, ranges[1]);
    sizeSlab(table.ipv4RangeNodes, ranges[0]);
    sizeSlab(table.ipv6HostNodes, hosts[1]);
    sizeSlab(table.ipv6RangeNodes, ranges[1]);
}

// A table while it is built, with what its trees need meanwhile.
struct TableBuild {
    const RuleSet& set;
    IpRuleTable& table;
    IntervalBuild<uint32_t> ipv4Ranges;
    AddressBuild ipv6Hosts;
    IntervalBuild<Address128> ipv6Ranges;
};

// Enters a rule into the 32-bit structures; a rule of IPv6 addresses has no place there.
int32_t enterIpv4View(TableBuild& build, const IpRule& rule, const EntryRule& entryRule) noexcept {
    if (!hasIpv4View(rule)) {
        return RULE_OK;
    }
    IpRuleTable& table = build.table;
    const uint32_t low = rule.addresses.startAddress.words[3];
    if (isSingle(rule)) {
        if (!createHostTable(table.hostTable, build.set.ipRules.ruleCount)) {
            return RULE_ERR_NO_MEMORY;
        }
        return insertHost(table.hostTable, table.hostEntries, low, entryRule);
    }
    if (!createTree(table.ipv4RangeTree, build.set, classifyInterval32, releaseRangeEntries32)) {
        return RULE_ERR_NO_MEMORY;
    }
    return insertInterval32(table.ipv4RangeTree, build.ipv4Ranges, low,
                            rule.addresses.endAddress.words[3], entryRule);
}

// Enters a rule into the 128-bit structures, IPv4 rules in their mapped form.
int32_t enterIpv6View(TableBuild& build, const IpRule& rule, const EntryRule& entryRule) noexcept {
    IpRuleTable& table = build.table;
    if (isSingle(rule)) {
        if (!createTree(table.ipv6HostTree, build.set, compareAddressKey, releaseAddressEntries)) {
            return RULE_ERR_NO_MEMORY;
        }
        return insertAddress128(table.ipv6HostTree, build.ipv6Hosts, rule.addresses.startAddress,
                                entryRule);
    }
    if (!createTree(table.ipv6RangeTree, build.set, classifyInterval128, releaseRangeEntries128)) {
        return RULE_ERR_NO_MEMORY;
    }
    return insertInterval128(table.ipv6RangeTree, build.ipv6Ranges, rule.addresses.startAddress,
                             rule.addresses.endAddress, entryRule);
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

using EnterView = int32_t (*)(TableBuild& build, const IpRule& rule,
                              const EntryRule& entryRule) noexcept;

bool enterRules(RuleSet& set, TableBuild& build, uint8_t* claims, EnterView enterView) noexcept {
    return forEachRule<IpRule>(set.ipRules, [&](IpRule& rule, uint32_t ruleIndex) noexcept {
        const EntryRule entryRule{ruleIndex, rule.ruleValue, rule.ruleId, rule.userData, claims};
        const int32_t status = enterView(build, rule, entryRule);
        if (status == RULE_ERR_DUPLICATE) {
            giveUserDataBack(set, rule, entryRule);
        }
        return status == RULE_OK || status == RULE_ERR_DUPLICATE;
    });
}

bool enterBothViews(RuleSet& set, IpRuleTable& table, uint8_t* claims) noexcept {
    sizeSlabs(set, table);
    TableBuild build{set,
                     table,
                     {table.ipv4RangeNodes, table.ipv4RangeEntries},
                     {table.ipv6HostNodes, table.addressEntries},
                     {table.ipv6RangeNodes, table.ipv6RangeEntries}};
    if (!enterRules(set, build, claims, enterIpv4View) ||
        !enterRules(set, build, claims, enterIpv6View)) {
        return false;
    }
    table.leftOut = build.ipv4Ranges.leftOut + build.ipv6Ranges.leftOut;
    return true;
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
    if (!table || !enterBothViews(*set, *table, claims.get())) {
        return nullptr;  // the owner frees what was made and gives its userData back
    }
    return group->ipTable = table.release();
}

}  // namespace rs
