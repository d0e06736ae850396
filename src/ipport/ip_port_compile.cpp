// List of IP:Port rules -> IpPortIndex.
#include <ruleset.h>

#include <memory>
#include <utility>

#include "core/memory.h"
#include "core/release.h"
#include "core/structure.h"
#include "ipport/ip_port_index.h"
#include "ipport/ip_port_rule.h"

namespace rs {

namespace {

using Entry = CompiledIpPortRule;

// Freeing an index calls the host back, so its owner carries what that needs.
struct IpPortIndexReleasing {
    ReleaseInfo info;
    void operator()(IpPortIndex* index) const noexcept { destroyIpPortIndex(&index, &info); }
};
using OwnedIpPortIndex = std::unique_ptr<IpPortIndex, IpPortIndexReleasing>;

// What a build needs beside the index.
struct BuildState {
    IpPortIndex& index;
    RangeFinder<RangeBucket<CompiledIpPortRule>> rangeFinder;
    OwnedMemory<uint8_t> releaseClaimed;  // one byte per rule; null when no rule has userData
};

// A rule being entered in one pass.
struct RuleEntry {
    const IpPortRule& rule;
    uint32_t ruleIndex;
    BuildState& build;

    [[nodiscard]] bool isWide() const noexcept { return rule.fields.firstAddressWide != 0; }
    [[nodiscard]] bool hasAnyFirst() const noexcept {
        return (rule.fields.wildcardFlags & WILDCARD_FIRST_ADDRESS) != 0;
    }
    [[nodiscard]] bool hasAnySecond() const noexcept {
        return (rule.fields.wildcardFlags & WILDCARD_SECOND_ADDRESS) != 0;
    }
};

bool parsePorts(const IpPortRule& rule, uint32_t offset, uint32_t length,
                PortRange*& out) noexcept {
    return parsePortList(rule.text + offset, length, &out) == RULE_OK;
}

void freeUnfinishedEntry(Entry* entry) noexcept {
    freeRangeList(&entry->firstPorts);
    freeRangeList(&entry->secondAddresses);
    freeRangeList(&entry->secondPorts);
    freeMemory(entry);
}

// A new entry that carries what a rule says beside its first address; null when memory is out. It
// comes to own the rule's userData when it is the first one made for the rule.
Entry* makeCompiledEntry(const RuleEntry& ruleEntry, const AddressRange* secondList) noexcept {
    const IpPortRule& rule = ruleEntry.rule;
    Owned<Entry, freeUnfinishedEntry> entry(allocateRecord<Entry>());
    if (!entry ||
        !parsePorts(rule, rule.fields.firstPortsOffset, rule.fields.firstPortsLength,
                    entry->firstPorts) ||
        !copyRanges(secondList, entry->secondAddresses) ||
        !parsePorts(rule, rule.fields.secondPortsOffset, rule.fields.secondPortsLength,
                    entry->secondPorts)) {
        return nullptr;
    }
    entry->ruleMask = rule.fields.ruleMask;
    entry->ruleIndex = ruleEntry.ruleIndex;
    entry->ruleValue = rule.ruleValue;
    entry->ruleId = rule.ruleId;
    entry->userData = rule.userData;
    markRuleReleased(ruleEntry.build.releaseClaimed.get(), rule.userData, ruleEntry.ruleIndex - 1,
                     &entry->releaseOwner);
    return entry.release();
}

// The insertions, each of one entry with its list of second addresses.

bool appendEntry(EntryList<Entry>*& list, const RuleEntry& rule,
                 const AddressRange* second) noexcept {
    return insertIntoList(list, [&]() noexcept { return makeCompiledEntry(rule, second); });
}

template <typename Address>
bool insertExactEntry(HashTable*& table, const Address& address, const RuleEntry& rule,
                      const AddressRange* second) noexcept {
    return insertExact<Entry>(table, address,
                              [&]() noexcept { return makeCompiledEntry(rule, second); });
}

bool insertBlocks(uint32_t low, uint32_t high, const RuleEntry& rule,
                  const AddressRange* second) noexcept {
    return insertIntoBlocks(rule.build.index.blocks4, low, high,
                            [&]() noexcept { return makeCompiledEntry(rule, second); });
}

bool insertRange(const Address128& low, const Address128& high, const RuleEntry& rule,
                 const AddressRange* second) noexcept {
    return insertIntoRanges(rule.build.index.ranges6, rule.build.rangeFinder, low, high,
                            [&]() noexcept { return makeCompiledEntry(rule, second); });
}

bool isWholeIpv4Space(const AddressRange& node) noexcept {
    return node.low.words[0] == 0 && node.high.words[0] == UINT32_MAX;
}

bool isWholeSpace(const AddressRange& node) noexcept {
    return node.low == Address128{{0, 0, 0, 0}} &&
           node.high == Address128{{UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX}};
}

// Enters IPv4 addresses, one or a range.
bool enterIpv4Range(uint32_t low, uint32_t high, const RuleEntry& rule,
                    const AddressRange* second) noexcept {
    return low == high ? insertExactEntry(rule.build.index.exact4, low, rule, second)
                       : insertBlocks(low, high, rule, second);
}

// The IPv4 structures. second is the list of second addresses as the rule's form reads it, ipv4Second
// what of it has an IPv4 form.
bool enterFirst4(const AddressRange& first, const RuleEntry& rule, const AddressRange* second,
                 const AddressRange* ipv4Second) noexcept {
    EntryList<Entry>*& anyFirst = rule.build.index.anyFirst4;
    if (rule.hasAnyFirst()) {
        if (!rule.hasAnySecond() && !rule.isWide()) {
            return appendEntry(anyFirst, rule, second);
        }
        if (ipv4Second != nullptr && !appendEntry(anyFirst, rule, ipv4Second)) {
            return false;
        }
        // Deliberate: a rule with "*" twice is entered twice, which changes no answer.
        return !rule.hasAnySecond() || appendEntry(anyFirst, rule, second);
    }
    if (rule.isWide()) {
        if (!isIpv4Mapped(first.low) || !isIpv4Mapped(first.high) || ipv4Second == nullptr) {
            return true;
        }
        return enterIpv4Range(first.low.words[3], first.high.words[3], rule, ipv4Second);
    }
    if (isWholeIpv4Space(first)) {
        return appendEntry(anyFirst, rule, second);
    }
    return enterIpv4Range(first.low.words[0], first.high.words[0], rule, second);
}

// Enters 128-bit addresses, one or a range.
bool enterIpv6Range(const Address128& low, const Address128& high, const RuleEntry& rule,
                    const AddressRange* second) noexcept {
    return low == high ? insertExactEntry(rule.build.index.exact6, low, rule, second)
                       : insertRange(low, high, rule, second);
}

bool enterAnyFirst6(const AddressRange& first, const RuleEntry& rule,
                    AddressRange* second) noexcept {
    if (rule.hasAnySecond() || rule.isWide()) {
        if (!appendEntry(rule.build.index.anyFirst6, rule, second)) {
            return false;
        }
        if (!rule.hasAnySecond()) {
            return true;
        }
    }
    convertToMapped(second);
    return insertRange(mappedFromIpv4Form(first.low), mappedFromIpv4Form(first.high), rule, second);
}

// The 128-bit structures. second may be converted on the way: a rule with "*" as its first address
// has no further item.
bool enterFirst6(const AddressRange& first, const RuleEntry& rule, AddressRange* second) noexcept {
    if (rule.hasAnyFirst()) {
        return enterAnyFirst6(first, rule, second);
    }
    if (!rule.isWide()) {
        return enterIpv6Range(mappedFromIpv4Form(first.low), mappedFromIpv4Form(first.high), rule,
                              second);
    }
    if (isWholeSpace(first)) {
        return appendEntry(rule.build.index.anyFirst6, rule, second);
    }
    return enterIpv6Range(first.low, first.high, rule, second);
}

struct RuleAddresses {
    OwnedAddressList first;
    OwnedAddressList second;
};

bool parseAddresses(const RuleEntry& rule, RuleAddresses& out) noexcept {
    const IpPortRuleFields& fields = rule.rule.fields;
    const char* text = rule.rule.text;
    return parseAddressList(text + fields.firstAddressOffset, fields.firstAddressLength,
                            fields.firstAddressWide != 0, out.first) &&
           parseAddressList(text + fields.secondAddressOffset, fields.secondAddressLength,
                            fields.secondAddressWide != 0, out.second);
}

bool enterIpv4View(const RuleEntry& rule) noexcept {
    RuleAddresses addresses;
    OwnedAddressList ipv4Second;
    if (!parseAddresses(rule, addresses) ||
        !copyAsIpv4List(addresses.second.get(), rule.hasAnySecond(), ipv4Second)) {
        return false;
    }
    for (const auto* first = addresses.first.get(); first != nullptr; first = first->next) {
        if (!enterFirst4(*first, rule, addresses.second.get(), ipv4Second.get())) {
            return false;
        }
    }
    return true;
}

bool enterIpv6View(const RuleEntry& rule) noexcept {
    RuleAddresses addresses;
    if (!parseAddresses(rule, addresses)) {
        return false;
    }
    if (!rule.hasAnyFirst() && !rule.hasAnySecond() && !rule.isWide()) {
        convertToMapped(addresses.second.get());
    }
    for (const auto* first = addresses.first.get(); first != nullptr; first = first->next) {
        if (!enterFirst6(*first, rule, addresses.second.get())) {
            return false;
        }
    }
    return true;
}

bool enterRules(RuleSet& set, BuildState& build,
                bool (*enterView)(const RuleEntry&) noexcept) noexcept {
    const RuleList& list = set.ipPortRules;
    uint32_t position = 0;
    for (ListLink* link = list.head.next; link != &list.head; link = link->next) {
        const auto& rule = *reinterpret_cast<const IpPortRule*>(link);
        if (!enterView({rule, ++position, build})) {
            return false;
        }
    }
    return true;
}

}  // namespace

IpPortIndex* buildIpPortIndex(RuleSet* set, RuleGroup* group) noexcept {
    if (set == nullptr || group == nullptr) {
        return nullptr;
    }
    group->ipPortIndex = nullptr;
    OwnedMemory<uint8_t> claims;
    if (!allocateClaims(*set, set->ipPortRules, claims)) {
        return nullptr;
    }
    OwnedIpPortIndex index(allocateRecord<IpPortIndex>(), {releaseInfoOf(*set)});
    if (!index) {
        return nullptr;
    }
    index->refCount = 1;
    BuildState build{*index, {}, std::move(claims)};
    if (!enterRules(*set, build, enterIpv4View) || !enterRules(*set, build, enterIpv6View)) {
        return nullptr;  // the owner frees what was made and hands its userData back
    }
    group->ipPortIndex = index.release();
    return group->ipPortIndex;
}

}  // namespace rs
