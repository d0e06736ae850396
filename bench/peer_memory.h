// The memory that the structures of all contenders hold: the C allocator's, that of DPDK, and files that are mapped.
#pragma once

#include <cstdint>

namespace bench {

// Bytes, with what the allocators have around each block.
uint64_t memoryInUse();

// A file that is mapped counts as memory.
void countMappedFile(uint64_t bytes);

}  // namespace bench
