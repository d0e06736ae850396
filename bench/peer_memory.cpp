#include "peer_memory.h"

#include <malloc.h>

#include "dpdk_tables.h"

namespace bench {
namespace {

uint64_t mappedFiles = 0;

}  // namespace

uint64_t memoryInUse() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd + dpdkBytes() + mappedFiles;
}

void countMappedFile(uint64_t bytes) {
    mappedFiles += bytes;
}

}  // namespace bench
