#include "packetfilter/packet_filter_index.h"

#include "core/entry.h"
#include "core/memory.h"
#include "core/structure.h"
#include "endpoint/entry_walk.h"
#include "endpoint/exact_table.h"

namespace rs {

namespace {

using Entry = FilterEntry;

// Hosts see this order: it is the one in which userData goes back.
void giveUserDataBack(const PacketFilterTable& table, const ReleaseInfo& info) noexcept {
    const auto giveBack = [&info](const Entry& entry) noexcept {
        callReleaseCallback(info.releaseCallback, info.releaseContext, entry.userData,
                            entry.entryFlags);
        return 0;
    };
    static_cast<void>(firstStatus(
        [&]() noexcept { return scanAllExact<Entry, uint32_t>(table.ipv4HostTable, giveBack); },
        [&]() noexcept { return scanAllBlocks(table.ipv4BlockIndex, giveBack); },
        [&]() noexcept { return scanList(table.ipv4AnyList, giveBack).status; },
        [&]() noexcept { return scanAllExact<Entry, Address128>(table.ipv6HostTable, giveBack); },
        [&]() noexcept { return scanAllRanges(table.ipv6RangeList, giveBack); },
        [&]() noexcept { return scanList(table.ipv6AnyList, giveBack).status; }));
}

}  // namespace

FilterEntry* makeFilterEntry(EndpointRecords<FilterEntry>& records,
                             const EntrySource<PacketFilterRule>& source) noexcept {
    FilterEntry* entry = newRecord(records.entries);
    if (entry == nullptr || !readPorts(source.rule, records.ports, *entry)) {
        return nullptr;
    }
    entry->secondAddressStart = source.rule.fields.secondAddressStart;
    entry->secondAddressEnd = source.rule.fields.secondAddressEnd;
    entry->protocol = source.rule.fields.protocol;
    fillEntry(source.rule, source.ruleIndex, *entry);
    claimUserData(source, entry->entryFlags);
    return entry;
}

void releasePacketFilterTable(PacketFilterTable** slot, const ReleaseInfo* info) noexcept {
    PacketFilterTable* table = dropFromSlot(slot);
    if (table == nullptr) {
        return;
    }
    if (info->releaseCallback != nullptr) {
        giveUserDataBack(*table, *info);
    }
    hashDestroy(&table->ipv4HostTable);
    freeBlockIndex(table->ipv4BlockIndex);
    freeMemory(table->ipv4AnyList);
    hashDestroy(&table->ipv6HostTable);
    freeMemory(table->ipv6RangeList);
    freeMemory(table->ipv6AnyList);
    freeEndpointLookups(table->lookups);
    freeEndpointRecords(table->records);
    freeMemory(table);
}

}  // namespace rs
