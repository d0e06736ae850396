#include "support/failing_allocator.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <unordered_set>
#include <vector>

#include "support/page_arena.h"

namespace rs::test {

namespace {

struct WatchState {
    uint64_t allocationCount = 0;
    uint64_t allocatedBytes = 0;
    uint64_t failingAllocation = AllocationWatch::NO_FAILURE;
    std::unordered_set<const void*> liveBlocks;
    std::vector<const void*> freedBlocks;
};

// What the only watch sees; null while there is none.
WatchState* currentState = nullptr;

uint64_t failureCount = 0;  // of all watches that are gone

// Counts one allocation. False when it must fail.
bool countAllocation(size_t size) {
    if (currentState == nullptr) {
        return true;
    }
    currentState->allocatedBytes += size;
    return ++currentState->allocationCount != currentState->failingAllocation;
}

void* remember(void* block) {
    if (currentState != nullptr && block != nullptr) {
        currentState->liveBlocks.insert(block);
    }
    return block;
}

void forget(const void* block) {
    if (currentState != nullptr) {
        currentState->liveBlocks.erase(block);
    }
}

void rememberFreed(const void* block) {
    if (currentState != nullptr && block != nullptr) {
        currentState->freedBlocks.push_back(block);
    }
}

size_t sizeOf(void* block) {
    return PageArena::ownerOf(block) != nullptr ? PageArena::sizeOf(block)
                                                : malloc_usable_size(block);
}

// Fills a block that is about to be freed, so that whoever reads it later reads what nobody wrote:
// a pointer to nothing, a large count, a byte that is no NUL.
void wipe(void* block) {
    constexpr int WIPED = 0xDB;
    if (block != nullptr) {
        std::memset(block, WIPED, sizeOf(block));
    }
}

class FailureReport : public ::testing::Environment {
public:
    void TearDown() override {
        std::printf("[ FAULTS   ] %6llu allocations failed in all\n",
                    static_cast<unsigned long long>(failureCount));
    }
};

// GoogleTest owns it.
[[maybe_unused]] const ::testing::Environment* const REPORT =
    ::testing::AddGlobalTestEnvironment(new FailureReport);

}  // namespace

AllocationWatch::AllocationWatch(uint64_t failingAllocation) {
    EXPECT_EQ(nullptr, currentState) << "one watch at a time";
    auto* state = new WatchState;
    state->failingAllocation = failingAllocation;
    currentState = state;
}

AllocationWatch::~AllocationWatch() {
    // Freeing the state may come by the wrapped operations.
    failureCount += hasFailed() ? 1 : 0;
    WatchState* state = currentState;
    currentState = nullptr;
    delete state;
}

uint64_t AllocationWatch::allocationCount() const {
    return currentState->allocationCount;
}

uint64_t AllocationWatch::allocatedBytes() const {
    return currentState->allocatedBytes;
}

bool AllocationWatch::hasFailed() const {
    return currentState->failingAllocation != NO_FAILURE &&
           currentState->allocationCount >= currentState->failingAllocation;
}

size_t AllocationWatch::liveBlockCount() const {
    return currentState->liveBlocks.size();
}

const std::vector<const void*>& AllocationWatch::freedBlocks() const {
    return currentState->freedBlocks;
}

}  // namespace rs::test

// The linker sends each call of malloc to __wrap_malloc, and each of __real_malloc to the allocator;
// likewise the others.
extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);

void* __wrap_malloc(size_t size) {
    if (!rs::test::countAllocation(size)) {
        return nullptr;
    }
    rs::test::PageArena* arena = rs::test::PageArena::inUse();
    return rs::test::remember(arena != nullptr ? arena->allocate(size) : __real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size) {
    if (!rs::test::countAllocation(count * size)) {
        return nullptr;
    }
    rs::test::PageArena* arena = rs::test::PageArena::inUse();
    return rs::test::remember(arena != nullptr ? arena->allocate(count * size)
                                               : __real_calloc(count, size));
}

void* __wrap_realloc(void* block, size_t size) {
    if (!rs::test::countAllocation(size)) {
        return nullptr;  // block stays as it is
    }
    rs::test::forget(block);
    return rs::test::remember(__real_realloc(block, size));
}

void __wrap_free(void* block) {
    rs::test::forget(block);
    rs::test::rememberFreed(block);
    rs::test::wipe(block);
    if (rs::test::PageArena::ownerOf(block) == nullptr) {
        __real_free(block);
    }
}
}
