#include "packetfilter/packet_filter_index.h"

#include "core/entry.h"
#include "core/memory.h"
#include "core/structure.h"
#include "endpoint/exact_table.h"

namespace rs {

namespace {

// Frees an entry, whole or not; one that owns userData gives it back.
void freeEntry(FilterEntry* entry, const ReleaseInfo& info) noexcept {
    if (endListUse(*entry)) {
        freeRangeList(&entry->firstPorts);
        freeRangeList(&entry->secondPorts);
    }
    callReleaseCallback(info.releaseCallback, info.releaseContext, entry->userData,
                        entry->entryFlags);
    freeMemory(entry);
}

void freeUnfinishedEntry(FilterEntry* entry) noexcept {
    freeEntry(entry, {});
}

}  // namespace

FilterEntry* makeFilterEntry(const EntrySource<PacketFilterRule>& source) noexcept {
    Owned<FilterEntry, freeUnfinishedEntry> entry(allocateRecord<FilterEntry>());
    if (!entry || !readPorts(source.rule, *entry)) {
        return nullptr;
    }
    entry->secondAddressStart = source.rule.fields.secondAddressStart;
    entry->secondAddressEnd = source.rule.fields.secondAddressEnd;
    entry->protocol = source.rule.fields.protocol;
    fillEntry(source.rule, source.ruleIndex, *entry);
    claimUserData(source, entry->entryFlags);
    return entry.release();
}

void releasePacketFilterTable(PacketFilterTable** slot, const ReleaseInfo* info) noexcept {
    PacketFilterTable* table = dropFromSlot(slot);
    if (table == nullptr) {
        return;
    }
    const auto freeOne = [info](FilterEntry* entry) noexcept { freeEntry(entry, *info); };
    // Hosts see this order: it is the one in which userData goes back.
    freeExactTable<FilterEntry, uint32_t>(table->ipv4HostTable, freeOne);
    freeBlockIndex(table->ipv4BlockIndex, freeOne);
    freeEntryList(table->ipv4AnyList, freeOne);
    freeExactTable<FilterEntry, Address128>(table->ipv6HostTable, freeOne);
    freeRangeBuckets(table->ipv6RangeList, freeOne);
    freeEntryList(table->ipv6AnyList, freeOne);
    freeMemory(table);
}

}  // namespace rs
