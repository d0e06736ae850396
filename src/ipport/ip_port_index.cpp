#include "ipport/ip_port_index.h"

#include "core/entry.h"
#include "core/memory.h"
#include "core/structure.h"
#include "endpoint/entry_walk.h"
#include "endpoint/exact_table.h"

namespace rs {

namespace {

using Entry = CompiledIpPortRule;

// Hosts see this order: it is the one in which userData goes back.
void giveUserDataBack(const IpPortIndex& index, const ReleaseInfo& info) noexcept {
    const auto giveBack = [&info](const Entry& entry) noexcept {
        callReleaseCallback(info.releaseCallback, info.releaseContext, entry.userData,
                            entry.releaseOwner);
        return 0;
    };
    static_cast<void>(firstStatus(
        [&]() noexcept { return scanList(index.anyFirst4, giveBack).status; },
        [&]() noexcept { return scanAllExact<Entry, uint32_t>(index.exact4, giveBack); },
        [&]() noexcept { return scanAllBlocks(index.blocks4, giveBack); },
        [&]() noexcept { return scanList(index.anyFirst6, giveBack).status; },
        [&]() noexcept { return scanAllExact<Entry, Address128>(index.exact6, giveBack); },
        [&]() noexcept { return scanAllRanges(index.ranges6, giveBack); }));
}

}  // namespace

EntryHulls hullsOf(const Entry& entry, bool isOf32Bits) noexcept {
    if (entry.firstPorts == nullptr || entry.secondAddresses == nullptr ||
        entry.secondPorts == nullptr) {
        return {};
    }
    const Hull<Address128> second = hullOf(*entry.secondAddresses);
    const bool isExact = entry.firstPorts->next == nullptr && entry.secondPorts->next == nullptr &&
                         entry.secondAddresses->next == nullptr &&
                         hasWholeWords(second, isOf32Bits);
    return {true,
            isExact,
            {hullOf(*entry.firstPorts), hullOf(*entry.secondPorts), firstWords(second),
             entry.ruleMask}};
}

Entry* makeIpPortEntry(EndpointRecords<Entry>& records, const EntrySource<const IpPortRule>& source,
                       const AddressRange* secondAddresses) noexcept {
    Entry* entry = newRecord(records.entries);
    if (entry == nullptr || !readPorts(source.rule, records.ports, *entry) ||
        !copyRanges(secondAddresses, records.addresses, entry->secondAddresses)) {
        return nullptr;
    }
    entry->ruleMask = source.rule.fields.ruleMask;
    fillEntry(source.rule, source.ruleIndex, *entry);
    claimUserData(source, entry->releaseOwner);
    return entry;
}

void releaseIpPortIndex(IpPortIndex** slot, const ReleaseInfo* info) noexcept {
    IpPortIndex* index = dropFromSlot(slot);
    if (index == nullptr) {
        return;
    }
    if (info->releaseCallback != nullptr) {
        giveUserDataBack(*index, *info);
    }
    freeMemory(index->anyFirst4);
    hashDestroy(&index->exact4);
    freeBlockIndex(index->blocks4);
    freeMemory(index->anyFirst6);
    hashDestroy(&index->exact6);
    freeMemory(index->ranges6);
    freeEndpointLookups(index->lookups);
    freeEndpointRecords(index->records);
    freeMemory(index);
}

}  // namespace rs
