// Running a normalizer into a buffer that grows until its output fits.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <utility>

#include "core/memory.h"

namespace rs {

// The first buffer exceeds the input by one step; each next buffer exceeds the one before by one.
inline constexpr uint32_t TEXT_BUFFER_STEP = 16;
inline constexpr uint32_t MAX_TEXT_BUFFER = 8191;

// The largest capacity that a normalizer of an input gets: steps on from the first, as long as the
// size stays below 8192. A normalizer that takes part in this answers alike at every capacity that
// is enough, so that one call with the largest does for all of them.
constexpr uint64_t largestTextBuffer(uint32_t inputLength) noexcept {
    const uint64_t first = uint64_t{inputLength} + TEXT_BUFFER_STEP;
    return first >= MAX_TEXT_BUFFER
               ? first
               : first + (MAX_TEXT_BUFFER - first) / TEXT_BUFFER_STEP * TEXT_BUFFER_STEP;
}

// Calls parse(buffer, &inOutLength), capacity in and length out, with buffers of inputLength + 16
// bytes and more while it answers RULE_ERR_BUFFER_SMALL and the next size is at most 8191; the
// first call is made whatever its size. On RULE_OK the buffer of the last call is in *out. Returns
// the last status of parse, RULE_ERR_BUFFER_SMALL when the sizes run out, or RULE_ERR_NO_MEMORY
// when a buffer cannot be had.
template <typename Parse>
[[nodiscard]] int32_t parseIntoGrowingText(uint32_t inputLength, const Parse& parse,
                                           OwnedMemory<char[]>& out) noexcept {
    uint64_t size = uint64_t{inputLength} + TEXT_BUFFER_STEP;
    if (size > UINT32_MAX) {
        return RULE_ERR_NO_MEMORY;
    }
    for (;;) {
        OwnedMemory<char[]> buffer(allocateBytes(size));
        if (!buffer) {
            return RULE_ERR_NO_MEMORY;
        }
        auto length = static_cast<uint32_t>(size);
        const int32_t status = parse(buffer.get(), &length);
        if (status == RULE_OK) {
            out = std::move(buffer);
        }
        size += TEXT_BUFFER_STEP;
        if (status != RULE_ERR_BUFFER_SMALL || size > MAX_TEXT_BUFFER) {
            return status;
        }
    }
}

// The same for a rule's text, where running out of sizes is RULE_ERR_NO_MEMORY.
template <typename Parse>
[[nodiscard]] int32_t parseRuleIntoGrowingText(uint32_t inputLength, const Parse& parse,
                                               OwnedMemory<char[]>& out) noexcept {
    const int32_t status = parseIntoGrowingText(inputLength, parse, out);
    return status == RULE_ERR_BUFFER_SMALL ? RULE_ERR_NO_MEMORY : status;
}

}  // namespace rs
