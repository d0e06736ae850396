// Many records of one type in few allocations, with a number for each.
//
//     chunks   [0]   [1]   [2]   [3]   [4]   [5]   [6]   [7]           a chunk has 2^chunkShift records
//               |     |     |     |     |     |     |     |
//     blocks   |________ one _________|__ one ____|  one | ... free    an allocation each
//
// A compiled structure has a slab for each of its kinds of record. Records that are made one after the other are
// neighbours, and all are freed together. A record stays where it is, so that others may point to it, and has a number
// of 32 bits, so that a flat lookup may name it in half the room of a pointer.
//
// Chunks are small, so that few records stay free. Blocks are large, as long as records are expected to fill them: a
// block has 2^n chunks, and no more than are expected from its first one on.
//
// Invariants: zero-filled is an empty slab. Free records are zero-filled. Chunks of one block are side by side.
// Ownership:  the slab owns its chunks. What records own is freed by their user before the slab is.
// Threads:    one thread makes records; then any number of threads may read them.
// Cost:       making a record is one step, and an allocation for each block: at most a quarter of the expected records
//             are in one. Where as many records are made as were expected, at most one in 64 stays free, in slabs of
//             1,024 records or more. Finding a record by its number reads one word beside the record.
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
    Record** chunks;  // the first one of each block is owned
    uint32_t chunkShift;
    uint32_t chunkCount;
    uint32_t chunkCapacity;   // of chunks
    uint32_t expectedChunks;  // for the size of blocks
    uint32_t count;           // the number of the next record
};

// A block has as many records as fill this much at most, unless a run is longer.
inline constexpr size_t LARGEST_SLAB_BLOCK = size_t{1} << 24U;

// From how many expected records on a block has several chunks.
inline constexpr uint64_t MANY_RECORDS = 1024;
inline constexpr uint32_t MOST_BLOCK_CHUNKS = 16;

// Chooses the sizes of an empty slab for about as many records, in runs of at most longestRun. A slab whose sizes nobody
// has chosen makes every record by itself.
template <typename Record>
void sizeSlab(Slab<Record>& slab, uint64_t expectedCount, uint32_t longestRun = 1) noexcept {
    constexpr uint64_t LARGEST_COUNT = std::bit_floor(LARGEST_SLAB_BLOCK / sizeof(Record));
    const bool isMany = expectedCount >= MANY_RECORDS;
    const uint64_t wanted = isMany ? std::min(std::bit_floor(expectedCount / 64), LARGEST_COUNT)
                                   : std::bit_ceil(expectedCount / 8 + 1);
    const uint64_t chunkSize = std::max(wanted, std::bit_ceil(uint64_t{longestRun}));
    slab.chunkShift = static_cast<uint32_t>(std::countr_zero(chunkSize));
    slab.expectedChunks =
        isMany ? static_cast<uint32_t>((expectedCount + chunkSize - 1) / chunkSize) : 0;
}

// How many chunks the block of a chunk has, the first one in its block.
template <typename Record>
[[nodiscard]] uint32_t chunksInBlock(const Slab<Record>& slab, uint32_t firstChunk) noexcept {
    constexpr size_t LARGEST_COUNT = LARGEST_SLAB_BLOCK / sizeof(Record);
    if (firstChunk >= slab.expectedChunks) {
        return 1;
    }
    const auto most = static_cast<uint32_t>(
        std::clamp(LARGEST_COUNT >> slab.chunkShift, size_t{1}, size_t{MOST_BLOCK_CHUNKS}));
    return std::bit_floor(std::min(most, slab.expectedChunks - firstChunk));
}

template <typename Record>
[[nodiscard]] bool growSlabChunks(Slab<Record>& slab) noexcept {
    const uint32_t newCapacity = slab.chunkCapacity == 0
                                     ? std::max(slab.expectedChunks, uint32_t{8})
                                     : 2 * slab.chunkCapacity;
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
[[nodiscard]] bool addSlabBlock(Slab<Record>& slab) noexcept {
    const uint32_t chunkCount = chunksInBlock(slab, slab.chunkCount);
    const uint64_t newCount = uint64_t{slab.chunkCount} + chunkCount;
    if (newCount << slab.chunkShift > NO_RECORD ||
        (newCount > slab.chunkCapacity && !growSlabChunks(slab))) {
        return false;
    }
    const size_t blockSize = size_t{chunkCount} << slab.chunkShift;
    Record* block = allocateArray<Record>(blockSize);
    if (block == nullptr) {
        return false;
    }
    adviseHugePages(block, blockSize * sizeof(Record));
    for (uint32_t i = 0; i < chunkCount; ++i) {
        slab.chunks[slab.chunkCount++] = block + (size_t{i} << slab.chunkShift);
    }
    return true;
}

template <typename Record>
[[nodiscard]] Record& recordAt(const Slab<Record>& slab, uint32_t number) noexcept {
    const uint32_t mask = (uint32_t{1} << slab.chunkShift) - 1;
    return slab.chunks[number >> slab.chunkShift][number & mask];
}

// The first of length zero-filled records side by side, which have successive numbers; null when memory is out, when
// a chunk is shorter, and when numbers are. Records at the end of a block that do not suffice stay free for good.
template <typename Record>
[[nodiscard]] Record* newRecords(Slab<Record>& slab, uint32_t length) noexcept {
    const uint64_t chunkSize = uint64_t{1} << slab.chunkShift;
    const uint64_t room = slab.chunkCount * chunkSize - slab.count;
    if (length == 0 || length > chunkSize) {
        return nullptr;
    }
    if (length > room) {
        const uint32_t firstChunk = slab.chunkCount;
        if (!addSlabBlock(slab)) {
            return nullptr;
        }
        slab.count = firstChunk << slab.chunkShift;
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
    for (uint32_t i = 0; i < slab.chunkCount; i += chunksInBlock(slab, i)) {
        freeMemory(slab.chunks[i]);
    }
    freeMemory(slab.chunks);
    slab = {};
}

}  // namespace rs
