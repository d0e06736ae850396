// Memory of its own for what is allocated in a scope: pages that can be made read-only.
//
//     | header | block | header | block | ......... free ......... |
//     ^ makeReadOnly() to the end of the last page
//
// While an arena is in use, the allocator of failing_allocator.h takes its blocks from there. A block is aligned as those
// of malloc, has zeros in it, and is never used again after it was freed.
//
//     PageArena arena;
//     { const UsedArena used(arena); group = build(); }
//     arena.makeReadOnly();                  now a write to the group ends the program
//     arena.makeWritable();                  before the group is freed
//
// Ownership:  an arena owns its pages, and outlives its blocks.
// Threads:    none. One arena at a time, on one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <sys/mman.h>

namespace rs::test {

class PageArena {
public:
    PageArena() {
        void* pages = mmap(nullptr, CAPACITY, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (pages == MAP_FAILED) {
            throw std::runtime_error("mmap failed");
        }
        first_ = static_cast<char*>(pages);
        only = this;
    }
    ~PageArena() {
        only = nullptr;
        munmap(first_, CAPACITY);
    }
    PageArena(const PageArena&) = delete;
    PageArena& operator=(const PageArena&) = delete;

    // Whether a block lies in the arena.
    bool holds(const void* block) const {
        const auto place = reinterpret_cast<uintptr_t>(block);
        const auto first = reinterpret_cast<uintptr_t>(first_);
        return place >= first && place < first + used_;
    }

    size_t usedBytes() const { return used_; }
    char* lastByte() const { return first_ + used_ - 1; }

    void makeReadOnly() const { protect(PROT_READ); }
    void makeWritable() const { protect(PROT_READ | PROT_WRITE); }

    // What the allocator asks.

    // The arena that blocks come from now; null for the C library.
    static PageArena* inUse() { return isUsed ? only : nullptr; }

    // The arena that a block lies in; null for a block of the C library.
    static PageArena* ownerOf(const void* block) {
        return only != nullptr && only->holds(block) ? only : nullptr;
    }

    // Null when the arena is full.
    void* allocate(size_t size) {
        const size_t whole = (size + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
        if (whole < size || whole > CAPACITY - used_ - ALIGNMENT) {
            return nullptr;
        }
        char* header = first_ + used_;
        std::memcpy(header, &size, sizeof size);
        used_ += ALIGNMENT + whole;
        return header + ALIGNMENT;
    }

    static size_t sizeOf(const void* block) {
        size_t size = 0;
        std::memcpy(&size, static_cast<const char*>(block) - ALIGNMENT, sizeof size);
        return size;
    }

private:
    friend class UsedArena;

    static constexpr size_t ALIGNMENT = alignof(std::max_align_t);
    static constexpr size_t CAPACITY =
        size_t{1} << 30U;  // of addresses: pages that nobody touches take no memory

    void protect(int access) const {
        if (mprotect(first_, CAPACITY, access) != 0) {
            throw std::runtime_error("mprotect failed");
        }
    }

    inline static PageArena* only = nullptr;
    inline static bool isUsed = false;

    char* first_ = nullptr;
    size_t used_ = 0;
};

// While it exists, blocks come from the arena.
class UsedArena {
public:
    explicit UsedArena(const PageArena& /*arena*/) { PageArena::isUsed = true; }
    ~UsedArena() { PageArena::isUsed = false; }
    UsedArena(const UsedArena&) = delete;
    UsedArena& operator=(const UsedArena&) = delete;
};

}  // namespace rs::test
