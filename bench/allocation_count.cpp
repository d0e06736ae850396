#include "allocation_count.h"

#include <algorithm>
#include <cstddef>
#include <malloc.h>

namespace bench {
namespace {

AllocationCount ownCount;

constexpr size_t BLOCK_HEADER = 8;  // of glibc, before each block

void* countBlock(void* block) {
    if (block != nullptr) {
        ++allocationCount->allocations;
        allocationCount->liveBytes += malloc_usable_size(block) + BLOCK_HEADER;
        allocationCount->peakBytes =
            std::max(allocationCount->peakBytes, allocationCount->liveBytes);
    }
    return block;
}

void discountBlock(void* block) {
    if (block != nullptr) {
        allocationCount->liveBytes -= malloc_usable_size(block) + BLOCK_HEADER;
    }
}

}  // namespace

AllocationCount* allocationCount = &ownCount;

}  // namespace bench

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's option --wrap asks for these names.
extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);

void* __wrap_malloc(size_t size) {
    return bench::countBlock(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size) {
    return bench::countBlock(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, size_t size) {
    bench::discountBlock(block);
    return bench::countBlock(__real_realloc(block, size));
}

void __wrap_free(void* block) {
    bench::discountBlock(block);
    __real_free(block);
}
}
// NOLINTEND(bugprone-reserved-identifier)
