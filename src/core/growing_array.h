// An array of trivial values that grows while something is built. Values are named by their place: growing
// moves them.
//
// Ownership:  owns its values.
// Cost:       appending is one step on average; up to half of the memory is room to grow.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "core/memory.h"

namespace rs {

template <typename Value>
class GrowingArray {
    static_assert(std::is_trivially_copyable_v<Value>);

public:
    [[nodiscard]] uint32_t count() const noexcept { return count_; }
    [[nodiscard]] Value& operator[](uint32_t i) noexcept { return values_[i]; }
    [[nodiscard]] const Value& operator[](uint32_t i) const noexcept { return values_[i]; }

    // Makes room for one more value. False, with nothing changed, when memory is out or the array holds
    // 2^31 values.
    [[nodiscard]] bool reserveOne() noexcept { return count_ < capacity_ || grow(); }

    // Appends a value, into the room that reserveOne has made.
    void append(const Value& value) noexcept { values_[count_++] = value; }

    // Drops all values but the first count ones.
    void shorten(uint32_t count) noexcept { count_ = count; }

private:
    static constexpr uint32_t FIRST_CAPACITY = 32;
    static constexpr uint32_t LARGEST_CAPACITY = uint32_t{1} << 31U;

    bool grow() noexcept {
        if (capacity_ == LARGEST_CAPACITY) {
            return false;
        }
        const uint32_t newCapacity = capacity_ == 0 ? FIRST_CAPACITY : 2 * capacity_;
        OwnedMemory<Value[]> newValues(allocateArray<Value>(newCapacity));
        if (!newValues) {
            return false;
        }
        std::copy_n(values_.get(), count_, newValues.get());
        values_ = std::move(newValues);
        capacity_ = newCapacity;
        return true;
    }

    OwnedMemory<Value[]> values_;
    uint32_t count_ = 0;
    uint32_t capacity_ = 0;
};

}  // namespace rs
