#include "core/text_slab.h"

#include <algorithm>

#include "core/chain.h"
#include "core/memory.h"

namespace rs {

namespace {

constexpr size_t FIRST_CHUNK = 256;
constexpr size_t LARGEST_CHUNK = size_t{1} << 20U;

bool addChunk(TextSlab& slab, size_t length) noexcept {
    const size_t usual = std::clamp(2 * slab.chunkLength, FIRST_CHUNK, LARGEST_CHUNK);
    const size_t chunkLength = std::max(usual, length);
    char* memory = allocateBytes(sizeof(TextChunk) + chunkLength);
    if (memory == nullptr) {
        return false;
    }
    auto* chunk = reinterpret_cast<TextChunk*>(memory);
    pushToChain(slab.newest, chunk);
    slab.free = memory + sizeof(TextChunk);
    slab.freeLength = chunkLength;
    slab.chunkLength = chunkLength;
    return true;
}

}  // namespace

char* newText(TextSlab& slab, size_t length) noexcept {
    if (slab.freeLength < length || slab.newest == nullptr) {
        if (length > SIZE_MAX - sizeof(TextChunk) || !addChunk(slab, length)) {
            return nullptr;
        }
    }
    char* text = slab.free;
    slab.free += length;
    slab.freeLength -= length;
    return text;
}

void freeTextSlab(TextSlab& slab) noexcept {
    freeChain(slab.newest, freeMemory<TextChunk>);
    slab = {};
}

}  // namespace rs
