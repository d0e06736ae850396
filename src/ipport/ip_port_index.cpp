#include "ipport/ip_port_index.h"

#include "core/memory.h"
#include "core/reference_count.h"

namespace rs {

void destroyIpPortIndex(IpPortIndex** slot, const ReleaseInfo* info) noexcept {
    if (slot == nullptr || *slot == nullptr) {
        return;
    }
    IpPortIndex* index = *slot;
    *slot = nullptr;
    if (!dropReference(index->refCount)) {
        return;
    }
    const auto freeEntry = [info](CompiledIpPortRule* entry) noexcept {
        freeRangeList(&entry->firstPorts);
        freeRangeList(&entry->secondAddresses);
        freeRangeList(&entry->secondPorts);
        callReleaseCallback(info->releaseCallback, info->releaseContext, entry->userData,
                            entry->releaseOwner);
        freeMemory(entry);
    };
    freeEntryList(index->anyFirst4, freeEntry);
    freeExactTable<CompiledIpPortRule, uint32_t>(index->exact4, freeEntry);
    freeBlockIndex(index->blocks4, freeEntry);
    freeEntryList(index->anyFirst6, freeEntry);
    freeExactTable<CompiledIpPortRule, Address128>(index->exact6, freeEntry);
    freeRangeBuckets(index->ranges6, freeEntry);
    freeMemory(index);
}

}  // namespace rs
