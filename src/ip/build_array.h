// An array for the time of a build: in the object itself as long as it fits there, so that the build of a short list
// allocates little, else from the allocator, in huge pages when it is big.
//
// Ownership:  owns its values; they stay where they are until the next reserve.
// Cost:       INLINE_BYTES of the stack, as builds are on the stack.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/huge_pages.h"
#include "core/memory.h"

namespace rs {

template <typename Value>
class BuildArray {
    static_assert(std::is_trivially_copyable_v<Value>);

public:
    BuildArray() noexcept {}  // leaves the bytes as they are
    BuildArray(const BuildArray&) = delete;
    BuildArray& operator=(const BuildArray&) = delete;

    // Makes room for so many values, zero-filled, in the place of others. False when memory is out.
    [[nodiscard]] bool reserve(uint64_t count) noexcept {
        heap_.reset();
        values_ = nullptr;
        if (count <= INLINE_COUNT) {
            std::memset(inline_.data(), 0, count * sizeof(Value));
            values_ = reinterpret_cast<Value*>(inline_.data());
            return true;
        }
        heap_.reset(allocateArray<Value>(count));
        adviseHugePages(heap_.get(), count * sizeof(Value));
        values_ = heap_.get();
        return values_ != nullptr;
    }

    [[nodiscard]] Value* get() const noexcept { return values_; }
    [[nodiscard]] Value& operator[](uint64_t i) const noexcept { return values_[i]; }

    // Takes the values of an array of the allocator in the place of these, which go to that array; both are on the
    // heap.
    void swap(OwnedMemory<Value[]>& other) noexcept {
        heap_.swap(other);
        values_ = heap_.get();
    }

private:
    static constexpr size_t INLINE_BYTES = 256;
    static constexpr size_t INLINE_COUNT = INLINE_BYTES / sizeof(Value);

    alignas(Value) std::array<unsigned char, INLINE_BYTES> inline_;
    OwnedMemory<Value[]> heap_;
    Value* values_ = nullptr;
};

}  // namespace rs
