// Many records of one type in few allocations, with a number for each.
//
//     Slab   chunks [0] -> record 0, record 1, ... record 15
//                   [1] -> record 16, ...                        a chunk has 2^chunkShift records
//                   [2] -> record 32, ... free ...
//
// A compiled structure has a slab for each of its kinds of record. Records that are made one after the other are
// neighbours, and all are freed together. A record stays where it is, so that others may point to it, and has a number
// of 32 bits, so that a flat lookup may name it in half the room of a pointer.
//
// Invariants: zero-filled is an empty slab. Free records are zero-filled.
// Ownership:  the slab owns its chunks. What records own is freed by their user before the slab is.
// Threads:    one thread makes records; then any number of threads may read them.
// Cost:       making a record is one step, and an allocation for each chunk: at most a quarter of the expected records
//             are in one. Finding a record by its number reads one word beside the record.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/huge_pages.h"
#include "core/memory.h"

namespace rs {

// No record has this number.
inline constexpr uint32_t NO_RECORD = UINT32_MAX;

template <typename Record>
struct Slab {
    static_assert(std::is_trivially_copyable_v<Record>);
    Record** chunks;  // owned
    uint32_t chunkShift;
    uint32_t chunkCount;
    uint32_t chunkCapacity;  // of chunks
    uint32_t count;          // the number of the next record
};

// A chunk has as many records as fill this much at most, unless a run is longer.
inline constexpr size_t LARGEST_SLAB_CHUNK = size_t{1} << 24U;

// Chooses the size of the chunks of an empty slab for about as many records, in runs of at most longestRun. A slab
// whose chunks nobody has chosen makes every record by itself.
template <typename Record>
void sizeSlab(Slab<Record>& slab, uint64_t expectedCount, uint32_t longestRun = 1) noexcept {
    constexpr uint64_t LARGEST_COUNT = std::bit_floor(LARGEST_SLAB_CHUNK / sizeof(Record));
    const uint64_t wanted = std::min(std::bit_ceil(expectedCount / 8 + 1), LARGEST_COUNT);
    slab.chunkShift = static_cast<uint32_t>(
        std::countr_zero(std::max(wanted, std::bit_ceil(uint64_t{longestRun}))));
}

template <typename Record>
[[nodiscard]] bool growSlabChunks(Slab<Record>& slab) noexcept {
    const uint32_t newCapacity = slab.chunkCapacity == 0 ? 8 : 2 * slab.chunkCapacity;
    OwnedMemory<Record*[]> newChunks(allocateArray<Record*>(newCapacity));
    if (!newChunks) {
        return false;
    }
    std::copy_n(slab.chunks, slab.chunkCount, newChunks.get());
    freeMemory(slab.chunks);
    slab.chunks = newChunks.release();
    slab.chunkCapacity = newCapacity;
    return true;
}

template <typename Record>
[[nodiscard]] bool addSlabChunk(Slab<Record>& slab) noexcept {
    const uint64_t chunkSize = uint64_t{1} << slab.chunkShift;
    if ((uint64_t{slab.chunkCount} + 1) * chunkSize > NO_RECORD ||
        (slab.chunkCount == slab.chunkCapacity && !growSlabChunks(slab))) {
        return false;
    }
    Record* chunk = allocateArray<Record>(chunkSize);
    if (chunk == nullptr) {
        return false;
    }
    adviseHugePages(chunk, chunkSize * sizeof(Record));
    slab.chunks[slab.chunkCount++] = chunk;
    return true;
}

template <typename Record>
[[nodiscard]] Record& recordAt(const Slab<Record>& slab, uint32_t number) noexcept {
    const uint32_t mask = (uint32_t{1} << slab.chunkShift) - 1;
    return slab.chunks[number >> slab.chunkShift][number & mask];
}

// The first of length zero-filled records side by side, which have successive numbers; null when memory is out, when
// a chunk is shorter, and when numbers are. Records at the end of a chunk that do not suffice stay free for good.
template <typename Record>
[[nodiscard]] Record* newRecords(Slab<Record>& slab, uint32_t length) noexcept {
    const uint64_t chunkSize = uint64_t{1} << slab.chunkShift;
    const uint64_t room = slab.chunkCount * chunkSize - slab.count;
    if (length == 0 || length > chunkSize) {
        return nullptr;
    }
    if (length > room) {
        if (!addSlabChunk(slab)) {
            return nullptr;
        }
        slab.count = static_cast<uint32_t>((slab.chunkCount - 1) * chunkSize);
    }
    Record* first = &recordAt(slab, slab.count);
    slab.count += length;
    return first;
}

// A zero-filled record, whose number is what slab.count was; null as newRecords.
template <typename Record>
[[nodiscard]] Record* newRecord(Slab<Record>& slab) noexcept {
    return newRecords(slab, 1);
}

// Takes the record that was made last back into the slab, for a caller that cannot use it.
template <typename Record>
void takeBackRecord(Slab<Record>& slab) noexcept {
    Record* last = &recordAt(slab, --slab.count);
    std::memset(static_cast<void*>(last), 0, sizeof(Record));
}

// Frees all records at once and leaves an empty slab, whose chunks have no size yet.
template <typename Record>
void freeSlab(Slab<Record>& slab) noexcept {
    for (uint32_t i = 0; i < slab.chunkCount; ++i) {
        freeMemory(slab.chunks[i]);
    }
    freeMemory(slab.chunks);
    slab = {};
}

}  // namespace rs
