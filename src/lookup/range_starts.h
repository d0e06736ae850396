// Disjoint intervals of addresses as the starts of pieces with one answer, from which flat lookups of ranges are built.
//
//     10.0.0.0 - 10.0.0.255  -> record 7        starts    0.0.0.0 -> none, 10.0.0.0 -> 7, 10.0.1.0 -> none, ...
//
// Invariants: starts are in order, the first is address 0, and two neighbours differ in their words.
// Ownership:  owns its starts; records are borrowed as numbers.
// Threads:    one.
// Cost:       a step for each interval, and room for two starts.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "core/slab.h"
#include "syntax/address128.h"

namespace rs {

// A flat lookup has 31 bits for a record, and one value of them for none.
inline constexpr uint32_t MOST_FLAT_RECORDS = (uint32_t{1} << 31U) - 1;

// The flat lookup of ranges: lookup/flat_ranges.h for 32 bits, lookup/flat_range_tree.h for 128 bits.
template <typename Address>
struct FlatRanges;

// Intervals are added in order; what is between them has no record.
template <typename Address>
class FlatRangeStarts {
public:
    struct Start {
        Address first;
        uint32_t word;  // the record, or NO_RECORD
    };

    // Makes room for so many intervals. False when memory is out.
    [[nodiscard]] bool reserve(uint64_t intervalCount) noexcept {
        starts_.reset(allocateArray<Start>(2 * intervalCount + 1));
        return starts_ != nullptr;
    }

    // Adds an interval above all before it, into the room that reserve has made. Its record is not NO_RECORD. One
    // that has the record of its neighbour below makes one interval with it.
    void add(const Address& low, const Address& high, uint32_t record) noexcept {
        if (!isFull_ && low != next_) {
            append(next_, NO_RECORD);
        }
        isTooBig_ = isTooBig_ || record >= MOST_FLAT_RECORDS;
        append(low, record);
        next_ = nextAddress(high);
        isFull_ = next_ == Address{};
    }

    // Adds the gap after the last interval.
    void finish() noexcept {
        if (!isFull_) {
            append(next_, NO_RECORD);
        }
        isFull_ = true;
    }

    // The first start is address 0 once finish was called.
    [[nodiscard]] const Start* starts() const noexcept { return starts_.get(); }
    [[nodiscard]] uint32_t count() const noexcept { return count_; }
    [[nodiscard]] bool hasTooBigRecord() const noexcept { return isTooBig_; }

private:
    void append(const Address& first, uint32_t word) noexcept {
        if (count_ == 0 || starts_[count_ - 1].word != word) {
            starts_[count_++] = {first, word};
        }
    }

    OwnedMemory<Start[]> starts_;
    uint32_t count_ = 0;
    Address next_{};       // where the next interval may begin
    bool isFull_ = false;  // the last interval ends with the last address
    bool isTooBig_ = false;
};

}  // namespace rs
