// What the library allocates: the linker sends its calls of the C allocator here (--wrap), and no one else's, as the C++
// library is linked dynamically.
//
// A block counts with what malloc_usable_size tells, and the 8 bytes that glibc has before each.
// Threads: one, in which all allocations are made.
#pragma once

#include <cstdint>

namespace bench {

struct AllocationCount {
    uint64_t allocations;
    uint64_t liveBytes;
    uint64_t peakBytes;  // the most that liveBytes has been; set it to liveBytes to begin anew
};

// Where allocations are counted; memory that processes share, if need be.
extern AllocationCount* allocationCount;

}  // namespace bench
