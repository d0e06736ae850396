// Many short texts in few allocations.
//
//     TextSlab   chunk -> | link | 3www7example3com0 | 2ab3org0 | free ... |
//                  |
//                  v
//                chunk -> | link | full |
//
// Invariants: zero-filled is an empty slab.
// Ownership:  the slab owns its texts and frees all of them at once.
// Threads:    one thread makes texts; then any number of threads may read them.
// Cost:       making a text is one step, and an allocation for each chunk. Chunks double from 256 bytes to 1 MiB; a
//             longer text has a chunk to itself.
#pragma once

#include <cstddef>
#include <cstdint>

namespace rs {

struct TextChunk {
    TextChunk* next;  // owned; the chunk that was filled before
    // texts follow
};

struct TextSlab {
    TextChunk* newest;  // owned
    char* free;         // borrowed from the newest chunk; the texts to come
    size_t freeLength;
    size_t chunkLength;  // of the newest chunk, without its link
};

// length bytes with any content, for a caller that writes all of them; null when memory is out.
[[nodiscard]] char* newText(TextSlab& slab, size_t length) noexcept;

// Frees all texts at once and leaves an empty slab.
void freeTextSlab(TextSlab& slab) noexcept;

}  // namespace rs
