// The one door to the C allocator: no other file calls malloc, calloc or free.
//
// At rest the library holds plain structs. While something is being built it has an owner from this
// header, which lets go at the moment the thing is linked where it belongs; so every failure is a
// plain return.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace rs {

// A zero-filled block for count values; null when memory is out or count is 0. Zero-filled is a
// valid start for every record of the library.
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

// length bytes that are not filled, for a caller that writes all of them.
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

// Owns a block that holds nothing else that must be freed. OwnedMemory<T[]> owns an array.
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
