// An allocator that fails when told to and knows which blocks are in use.
//
// A program has it when it is linked with --wrap for malloc, calloc, realloc and free: then every
// call in the program and in the static libraries of it comes by here. Operators new and delete do
// not, for they live in a shared library; so what is counted is what the tested library does.
//
// A block is overwritten before it is freed, with or without a watch: what is read too late is wrong.
//
// Threads: none. One watch at a time, on one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

// While a watch exists, allocations are counted and, if asked for, one of them fails.
class AllocationWatch {
public:
    // Lets the allocation with that number fail, counted from 1; none with NO_FAILURE.
    static constexpr uint64_t NO_FAILURE = 0;
    explicit AllocationWatch(uint64_t failingAllocation = NO_FAILURE);
    ~AllocationWatch();
    AllocationWatch(const AllocationWatch&) = delete;
    AllocationWatch& operator=(const AllocationWatch&) = delete;

    // How many allocations were asked for, the failed one included.
    uint64_t allocationCount() const;
    // How many bytes were asked for in all, those freed since included.
    uint64_t allocatedBytes() const;

    bool hasFailed() const;

    // Blocks that were allocated under this watch and are not freed yet.
    size_t liveBlockCount() const;

    // The blocks that were freed under this watch, the first one first. They may be in use again.
    const std::vector<const void*>& freedBlocks() const;
};

// Calls attempt(number) with 1, 2, 3 ... until it makes fewer allocations. The attempt lets the
// allocation with that number fail, under a watch of its own, and returns whether it did. Returns how
// many failures there were; a failing check ends it, too.
template <typename Attempt>
uint64_t failEachAllocation(const Attempt& attempt) {
    for (uint64_t number = 1;; ++number) {
        SCOPED_TRACE(::testing::Message() << "allocation " << number << " fails");
        if (!attempt(number) || ::testing::Test::HasFailure()) {
            return number - 1;
        }
    }
}

}  // namespace rs::test
