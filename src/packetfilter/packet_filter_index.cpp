#include "packetfilter/packet_filter_index.h"

#include "core/memory.h"
#include "core/reference_count.h"

namespace rs {

void releasePacketFilterTable(PacketFilterTable** slot, const ReleaseInfo* info) noexcept {
    if (slot == nullptr || *slot == nullptr) {
        return;
    }
    PacketFilterTable* table = *slot;
    *slot = nullptr;
    if (!dropReference(table->refCount)) {
        return;
    }
    const auto freeEntry = [info](FilterEntry* entry) noexcept {
        freeRangeList(&entry->firstPorts);
        freeRangeList(&entry->secondPorts);
        callReleaseCallback(info->releaseCallback, info->releaseContext, entry->userData,
                            entry->entryFlags);
        freeMemory(entry);
    };
    freeExactTable<FilterEntry, uint32_t>(table->ipv4HostTable, freeEntry);
    freeBlockIndex(table->ipv4BlockIndex, freeEntry);
    freeEntryList(table->ipv4AnyList, freeEntry);
    freeExactTable<FilterEntry, Address128>(table->ipv6HostTable, freeEntry);
    freeRangeBuckets(table->ipv6RangeList, freeEntry);
    freeEntryList(table->ipv6AnyList, freeEntry);
    freeMemory(table);
}

}  // namespace rs
