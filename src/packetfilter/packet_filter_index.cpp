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

EntryHulls hullsOf(const Entry& entry, bool isOf32Bits) noexcept {
    if (entry.firstPorts == nullptr || entry.secondPorts == nullptr) {
        return {};
    }
    const Hull<Address128> second{entry.secondAddressStart, entry.secondAddressEnd};
    // Only the last words of the bounds count in the IPv4 view.
    const Hull<uint32_t> secondWords =
        isOf32Bits ? Hull<uint32_t>{second.low.words[3], second.high.words[3]} : firstWords(second);
    const bool isExact = entry.firstPorts->next == nullptr && entry.secondPorts->next == nullptr &&
                         (isOf32Bits || hasWholeWords(second, false));
    return {true,
            isExact,
            {hullOf(*entry.firstPorts), hullOf(*entry.secondPorts), secondWords, ANY_FILTER_MASK}};
}

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
