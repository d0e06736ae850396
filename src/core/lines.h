// Arrays that begin at a cache line. A table that is laid out in lines of 64 bytes is read with one miss a line only
// when its first byte is the first of a line.
//
//     block   | padding | the block's address | line 0 | line 1 | ...
//                                             ^ the array, at a multiple of 64
//
// Invariants: the word before the array is the address of its block.
// Ownership:  freeLines frees what allocateLines returned, and nothing else does.
// Threads:    those of the C allocator: any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "core/huge_pages.h"
#include "core/memory.h"

namespace rs {

inline constexpr size_t CACHE_LINE = 64;

// A zero-filled array for count values, in huge pages when it is big; null when memory is out or count is 0.
template <typename T>
[[nodiscard]] T* allocateLines(size_t count) noexcept {
    static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= CACHE_LINE);
    constexpr size_t OVERHEAD = CACHE_LINE - 1 + sizeof(char*);
    if (count == 0 || count > (std::numeric_limits<size_t>::max() - OVERHEAD) / sizeof(T)) {
        return nullptr;
    }
    const size_t length = count * sizeof(T) + OVERHEAD;
    char* block = allocateArray<char>(length);
    if (block == nullptr) {
        return nullptr;
    }
    adviseHugePages(block, length);
    char* lines = block + sizeof(char*);
    lines += (CACHE_LINE - reinterpret_cast<uintptr_t>(lines) % CACHE_LINE) % CACHE_LINE;
    std::memcpy(lines - sizeof(char*), &block, sizeof(char*));
    return reinterpret_cast<T*>(lines);
}

// Frees an array of allocateLines; null is left alone.
template <typename T>
void freeLines(T* lines) noexcept {
    if (lines != nullptr) {
        char* block = nullptr;
        std::memcpy(&block, reinterpret_cast<const char*>(lines) - sizeof(char*), sizeof(char*));
        freeMemory(block);
    }
}

template <typename T>
using OwnedLines = Owned<T, freeLines<T>>;

}  // namespace rs
