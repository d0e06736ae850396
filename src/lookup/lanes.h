// Sixteen bytes compared with one value at once.
//
//     matchTags    | 7 | 0 | 9 | 7 | ...     which are 7?     bits 0, 3 ...
//
// Every x86-64 has SSE2 and every AArch64 has NEON, so nothing is chosen at run time. Other processors use the portable
// twins. These are compiled everywhere, and tests compare both.
//
// Threads:    any: values in, values out.
// Cost:       5 to 10 instructions, none of which is a branch.
#pragma once

#include <array>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace rs {

inline constexpr uint32_t TAG_LANES = 16;

// Bit i is set when tags[i] is tag; tags are at any address.
[[nodiscard]] inline uint32_t matchTagsPortable(const uint8_t* tags, uint8_t tag) noexcept {
    uint32_t matches = 0;
    for (uint32_t i = 0; i < TAG_LANES; ++i) {
        matches |= (tags[i] == tag ? uint32_t{1} : 0) << i;
    }
    return matches;
}

#if defined(__SSE2__)

[[nodiscard]] inline uint32_t matchTags(const uint8_t* tags, uint8_t tag) noexcept {
    const __m128i lanes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tags));
    const __m128i equal = _mm_cmpeq_epi8(lanes, _mm_set1_epi8(static_cast<char>(tag)));
    return static_cast<uint32_t>(_mm_movemask_epi8(equal));
}

#elif defined(__aarch64__)

[[nodiscard]] inline uint32_t matchTags(const uint8_t* tags, uint8_t tag) noexcept {
    constexpr std::array<uint8_t, TAG_LANES> BITS{1, 2, 4, 8, 16, 32, 64, 128,
                                                  1, 2, 4, 8, 16, 32, 64, 128};
    const uint8x16_t equal = vceqq_u8(vld1q_u8(tags), vdupq_n_u8(tag));
    const uint8x16_t bits = vandq_u8(equal, vld1q_u8(BITS.data()));
    return static_cast<uint32_t>(vaddv_u8(vget_low_u8(bits))) |
           static_cast<uint32_t>(vaddv_u8(vget_high_u8(bits))) << 8U;
}

#else

[[nodiscard]] inline uint32_t matchTags(const uint8_t* tags, uint8_t tag) noexcept {
    return matchTagsPortable(tags, tag);
}

#endif

}  // namespace rs
