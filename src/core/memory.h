// The only calls of malloc, calloc and free in the library, and the owners of what they return.
//
// What the library keeps are plain structs. While a thing is being built it has an owner of this
// header. The owner lets go when the thing is linked where it belongs. So every failure is a plain
// return: the owner frees the thing.
//
//     Owned<HashTable, freeTable> table(...);     owns
//     if (!fill(*table)) return false;            frees
//     group.table = table.release();              lets go
//
// Invariants: memory from here is freed by freeMemory, here, and by nothing else. Records have no
//             destructor that does anything.
// Threads:    those of the C allocator: any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace rs {

// A zero-filled block for count values; null when memory is out or count is 0. Every record of the
// library may start zero-filled.
template <typename T>
[[nodiscard]] T* allocateArray(size_t count) noexcept {
    static_assert(std::is_trivially_destructible_v<T>);
    // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer, in arrays of chain heads
    return count == 0 ? nullptr : static_cast<T*>(std::calloc(count, sizeof(T)));
}

// One zero-filled record.
template <typename T>
[[nodiscard]] T* allocateRecord() noexcept {
    return allocateArray<T>(1);
}

// length bytes with any content, for a caller that writes all of them; null when memory is out.
[[nodiscard]] inline char* allocateBytes(size_t length) noexcept {
    return static_cast<char*>(std::malloc(length));
}

// Frees what the operations above returned; null is left alone.
template <typename T>
void freeMemory(T* memory) noexcept {
    std::free(memory);
}

struct MemoryFreeing {
    template <typename T>
    void operator()(T* memory) const noexcept {
        freeMemory(memory);
    }
};

// Owns a block that owns nothing else. OwnedMemory<T[]> owns an array.
template <typename T>
using OwnedMemory = std::unique_ptr<T, MemoryFreeing>;

template <auto freeRecord>
struct Freeing {
    template <typename T>
    void operator()(T* record) const noexcept {
        freeRecord(record);
    }
};

// Owns a record that an operation of its own frees: Owned<HashTable, freeTable>.
template <typename T, auto freeRecord>
using Owned = std::unique_ptr<T, Freeing<freeRecord>>;

}  // namespace rs
