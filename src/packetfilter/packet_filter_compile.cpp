// List of packet filter rules -> PacketFilterTable.
#include <ruleset.h>

#include <memory>
#include <utility>

#include "core/memory.h"
#include "core/release.h"
#include "core/structure.h"
#include "packetfilter/packet_filter_index.h"
#include "packetfilter/packet_filter_rule.h"
#include "syntax/ip_range.h"

namespace rs {

namespace {

// Freeing a table calls the host back, so its owner carries what that needs.
struct PacketFilterTableReleasing {
    ReleaseInfo info;
    void operator()(PacketFilterTable* table) const noexcept {
        releasePacketFilterTable(&table, &info);
    }
};
using OwnedPacketFilterTable = std::unique_ptr<PacketFilterTable, PacketFilterTableReleasing>;

// What a build needs beside the table.
struct BuildState {
    PacketFilterTable& table;
    RangeFinder<RangeBucket<FilterEntry>> rangeFinder;
    OwnedMemory<uint8_t> userDataClaims;  // one byte per rule; null when no rule has userData
};

// A rule being entered in one pass. The second pass rewrites the rule's fields.
struct RuleEntry {
    PacketFilterRule& rule;
    uint32_t ruleIndex;
    BuildState& build;
};

enum class AddressKind : uint8_t { ANY, IPV4, IPV6 };

AddressKind kindOf(const PacketFilterRuleFields& fields, uint32_t wildcardFlag,
                   uint32_t addressFlags) noexcept {
    // Told by the flag and not by the ends, which an earlier build may have rewritten.
    if ((fields.wildcardFlags & wildcardFlag) != 0) {
        return AddressKind::ANY;
    }
    return (addressFlags & ADDRESS_FLAG_IPV6) != 0 ? AddressKind::IPV6 : AddressKind::IPV4;
}

AddressKind firstKind(const PacketFilterRuleFields& fields) noexcept {
    return kindOf(fields, FILTER_ANY_FIRST_ADDRESS, fields.firstAddressFlags);
}

AddressKind secondKind(const PacketFilterRuleFields& fields) noexcept {
    return kindOf(fields, FILTER_ANY_SECOND_ADDRESS, fields.secondAddressFlags);
}

bool isFirstMapped(const PacketFilterRuleFields& fields) noexcept {
    return isIpv4Mapped(fields.firstAddressStart) && isIpv4Mapped(fields.firstAddressEnd);
}

bool isSecondMapped(const PacketFilterRuleFields& fields) noexcept {
    return isIpv4Mapped(fields.secondAddressStart) && isIpv4Mapped(fields.secondAddressEnd);
}

bool isFirstSingle(const PacketFilterRuleFields& fields) noexcept {
    return fields.firstAddressStart == fields.firstAddressEnd;
}

bool parsePorts(const PacketFilterRule& rule, uint32_t offset, uint32_t length,
                PortRange*& out) noexcept {
    return parsePortList(rule.text + offset, length, &out) == RULE_OK;
}

void freeUnfinishedEntry(FilterEntry* entry) noexcept {
    freeRangeList(&entry->firstPorts);
    freeRangeList(&entry->secondPorts);
    freeMemory(entry);
}

// A new entry that carries what a rule says beside its first address; null when memory is out. It
// comes to own the rule's userData when it is the first one made for the rule.
FilterEntry* makeFilterEntry(const RuleEntry& ruleEntry) noexcept {
    const PacketFilterRule& rule = ruleEntry.rule;
    const PacketFilterRuleFields& fields = rule.fields;
    Owned<FilterEntry, freeUnfinishedEntry> entry(allocateRecord<FilterEntry>());
    if (!entry ||
        !parsePorts(rule, fields.firstPortsOffset, fields.firstPortsLength, entry->firstPorts) ||
        !parsePorts(rule, fields.secondPortsOffset, fields.secondPortsLength, entry->secondPorts)) {
        return nullptr;
    }
    entry->secondAddressStart = fields.secondAddressStart;
    entry->secondAddressEnd = fields.secondAddressEnd;
    entry->ruleIndex = ruleEntry.ruleIndex;
    entry->ruleValue = rule.ruleValue;
    entry->ruleId = rule.ruleId;
    entry->userData = rule.userData;
    entry->protocol = fields.protocol;
    markRuleReleased(ruleEntry.build.userDataClaims.get(), rule.userData, ruleEntry.ruleIndex - 1,
                     &entry->entryFlags);
    return entry.release();
}

// The insertions, each of one entry.

bool appendToList(EntryList<FilterEntry>*& list, const RuleEntry& rule) noexcept {
    return insertIntoList(list, [&]() noexcept { return makeFilterEntry(rule); });
}

bool insertHostV4(const RuleEntry& rule) noexcept {
    return insertExact<FilterEntry>(rule.build.table.ipv4HostTable,
                                    rule.rule.fields.firstAddressStart.words[3],
                                    [&]() noexcept { return makeFilterEntry(rule); });
}

bool insertHostV6(const RuleEntry& rule) noexcept {
    return insertExact<FilterEntry>(rule.build.table.ipv6HostTable,
                                    rule.rule.fields.firstAddressStart,
                                    [&]() noexcept { return makeFilterEntry(rule); });
}

bool insertBlocks(const RuleEntry& rule) noexcept {
    const PacketFilterRuleFields& fields = rule.rule.fields;
    return insertIntoBlocks(rule.build.table.ipv4BlockIndex, fields.firstAddressStart.words[3],
                            fields.firstAddressEnd.words[3],
                            [&]() noexcept { return makeFilterEntry(rule); });
}

bool insertRangeGroup(const RuleEntry& rule) noexcept {
    const PacketFilterRuleFields& fields = rule.rule.fields;
    return insertIntoRanges(rule.build.table.ipv6RangeList, rule.build.rangeFinder,
                            fields.firstAddressStart, fields.firstAddressEnd,
                            [&]() noexcept { return makeFilterEntry(rule); });
}

bool isWholeIpv4Space(const PacketFilterRuleFields& fields) noexcept {
    return fields.firstAddressStart.words[3] == 0 && fields.firstAddressEnd.words[3] == UINT32_MAX;
}

bool isWholeSpace(const PacketFilterRuleFields& fields) noexcept {
    return fields.firstAddressStart == Address128{{0, 0, 0, 0}} &&
           fields.firstAddressEnd == Address128{{UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX}};
}

bool enterIpv4View(const RuleEntry& rule) noexcept {
    const PacketFilterRuleFields& fields = rule.rule.fields;
    const bool secondHasIpv4View =
        secondKind(fields) != AddressKind::IPV6 || isSecondMapped(fields);
    switch (firstKind(fields)) {
        case AddressKind::ANY:
            return !secondHasIpv4View || appendToList(rule.build.table.ipv4AnyList, rule);
        case AddressKind::IPV6:
            if (!isFirstMapped(fields) || !secondHasIpv4View) {
                return true;
            }
            return isFirstSingle(fields) ? insertHostV4(rule) : insertBlocks(rule);
        default:
            break;
    }
    if (isWholeIpv4Space(fields)) {
        return appendToList(rule.build.table.ipv4AnyList, rule);
    }
    return isFirstSingle(fields) ? insertHostV4(rule) : insertBlocks(rule);
}

// Puts an address range into the mapped block; its last words stay.
void rewriteToMapped(Address128& start, Address128& end) noexcept {
    start = mappedAddress(start.words[3]);
    end = mappedAddress(end.words[3]);
}

bool enterAnyFirstIpv6(const RuleEntry& rule) noexcept {
    PacketFilterRuleFields& fields = rule.rule.fields;
    const AddressKind second = secondKind(fields);
    if (second != AddressKind::IPV4 && !appendToList(rule.build.table.ipv6AnyList, rule)) {
        return false;
    }
    if (second == AddressKind::IPV6) {
        return true;
    }
    rewriteToMapped(fields.firstAddressStart, fields.firstAddressEnd);
    return insertRangeGroup(rule);
}

// Deliberate: addresses are rewritten in the rule set's own records.
bool enterIpv6View(const RuleEntry& rule) noexcept {
    PacketFilterRuleFields& fields = rule.rule.fields;
    switch (firstKind(fields)) {
        case AddressKind::ANY:
            return enterAnyFirstIpv6(rule);
        case AddressKind::IPV6:
            if (isWholeSpace(fields)) {
                return appendToList(rule.build.table.ipv6AnyList, rule);
            }
            return isFirstSingle(fields) ? insertHostV6(rule) : insertRangeGroup(rule);
        default:
            break;
    }
    if (isFirstSingle(fields)) {
        return insertHostV6(rule);
    }
    if (!isWholeIpv4Space(fields)) {
        rewriteToMapped(fields.secondAddressStart, fields.secondAddressEnd);
    }
    return insertRangeGroup(rule);
}

bool enterRules(RuleSet& set, BuildState& build,
                bool (*enterView)(const RuleEntry&) noexcept) noexcept {
    const RuleList& list = set.packetFilterRules;
    uint32_t position = 0;
    for (ListLink* link = list.head.next; link != &list.head; link = link->next) {
        if (!enterView({*reinterpret_cast<PacketFilterRule*>(link), ++position, build})) {
            return false;
        }
    }
    return true;
}

}  // namespace

PacketFilterTable* buildPacketFilterTable(RuleSet* set, RuleGroup* group) noexcept {
    if (set == nullptr || group == nullptr) {
        return nullptr;
    }
    group->packetFilterTable = nullptr;
    OwnedMemory<uint8_t> claims;
    if (!allocateClaims(*set, set->packetFilterRules, claims)) {
        return nullptr;
    }
    OwnedPacketFilterTable table(allocateRecord<PacketFilterTable>(), {releaseInfoOf(*set)});
    if (!table) {
        return nullptr;
    }
    table->refCount = 1;
    BuildState build{*table, {}, std::move(claims)};
    if (!enterRules(*set, build, enterIpv4View) || !enterRules(*set, build, enterIpv6View)) {
        return nullptr;  // the owner frees what was made and hands its userData back
    }
    group->packetFilterTable = table.release();
    return group->packetFilterTable;
}

}  // namespace rs
