#include "ipport/ip_port_index.h"

#include "core/entry.h"
#include "core/memory.h"
#include "core/structure.h"
#include "endpoint/exact_table.h"

namespace rs {

namespace {

using Entry = CompiledIpPortRule;

// Frees an entry, whole or not; one that owns userData gives it back.
void freeEntry(Entry* entry, const ReleaseInfo& info) noexcept {
    if (endListUse(*entry)) {
        freeRangeList(&entry->firstPorts);
        freeRangeList(&entry->secondAddresses);
        freeRangeList(&entry->secondPorts);
    }
    callReleaseCallback(info.releaseCallback, info.releaseContext, entry->userData,
                        entry->releaseOwner);
    freeMemory(entry);
}

void freeUnfinishedEntry(Entry* entry) noexcept {
    freeEntry(entry, {});
}

}  // namespace

Entry* makeIpPortEntry(const EntrySource<const IpPortRule>& source,
                       const AddressRange* secondAddresses) noexcept {
    Owned<Entry, freeUnfinishedEntry> entry(allocateRecord<Entry>());
    if (!entry || !readPorts(source.rule, *entry) ||
        !copyRanges(secondAddresses, entry->secondAddresses)) {
        return nullptr;
    }
    entry->ruleMask = source.rule.fields.ruleMask;
    fillEntry(source.rule, source.ruleIndex, *entry);
    claimUserData(source, entry->releaseOwner);
    return entry.release();
}

void releaseIpPortIndex(IpPortIndex** slot, const ReleaseInfo* info) noexcept {
    IpPortIndex* index = dropFromSlot(slot);
    if (index == nullptr) {
        return;
    }
    const auto freeOne = [info](Entry* entry) noexcept { freeEntry(entry, *info); };
    // Hosts see this order: it is the one in which userData goes back.
    freeEntryList(index->anyFirst4, freeOne);
    freeExactTable<Entry, uint32_t>(index->exact4, freeOne);
    freeBlockIndex(index->blocks4, freeOne);
    freeEntryList(index->anyFirst6, freeOne);
    freeExactTable<Entry, Address128>(index->exact6, freeOne);
    freeRangeBuckets(index->ranges6, freeOne);
    freeMemory(index);
}

}  // namespace rs
