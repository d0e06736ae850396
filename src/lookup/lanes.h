// Many small values of one cache line compared with one value at once.
//
//     matchTags          16 bytes        | 7 | 0 | 9 | 7 | ...     which are 7?            bits 0, 3 ...
//     countNotAbove      32 words        | 2 | 5 | 5 | 8 | ...     how many are at most 5?    3 ...
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
inline constexpr uint32_t KEY_LANES = 32;

// As many keys as fill a line; they may have any order.
struct alignas(64) KeyLine {
    std::array<uint16_t, KEY_LANES> keys;
};

// Bit i is set when tags[i] is tag; tags are at any address.
[[nodiscard]] inline uint32_t matchTagsPortable(const uint8_t* tags, uint8_t tag) noexcept {
    uint32_t matches = 0;
    for (uint32_t i = 0; i < TAG_LANES; ++i) {
        matches |= (tags[i] == tag ? uint32_t{1} : 0) << i;
    }
    return matches;
}

// The number of keys that are not above key.
[[nodiscard]] inline uint32_t countNotAbovePortable(const KeyLine& line, uint16_t key) noexcept {
    uint32_t count = 0;
    for (const uint16_t lane : line.keys) {
        count += lane <= key ? 1 : 0;
    }
    return count;
}

#if defined(__SSE2__)

[[nodiscard]] inline uint32_t matchTags(const uint8_t* tags, uint8_t tag) noexcept {
    const __m128i lanes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tags));
    const __m128i equal = _mm_cmpeq_epi8(lanes, _mm_set1_epi8(static_cast<char>(tag)));
    return static_cast<uint32_t>(_mm_movemask_epi8(equal));
}

// SSE2 compares signed words only. A difference that saturates at 0 tells which unsigned ones are not above.
[[nodiscard]] inline uint32_t countNotAbove(const KeyLine& line, uint16_t key) noexcept {
    const auto* lanes = reinterpret_cast<const __m128i*>(line.keys.data());
    const __m128i wanted = _mm_set1_epi16(static_cast<int16_t>(key));
    const __m128i zero = _mm_setzero_si128();
    const auto notAbove = [&](uint32_t i) noexcept {
        return _mm_cmpeq_epi16(_mm_subs_epu16(_mm_load_si128(lanes + i), wanted), zero);
    };
    const __m128i counts =
        _mm_sub_epi16(zero, _mm_add_epi16(_mm_add_epi16(notAbove(0), notAbove(1)),
                                          _mm_add_epi16(notAbove(2), notAbove(3))));
    const __m128i halves = _mm_sad_epu8(counts, zero);
    const __m128i sum = _mm_add_epi32(halves, _mm_unpackhi_epi64(halves, halves));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(sum));
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

[[nodiscard]] inline uint32_t countNotAbove(const KeyLine& line, uint16_t key) noexcept {
    const uint16x8_t wanted = vdupq_n_u16(key);
    const auto notAbove = [&](uint32_t i) noexcept {
        return vcleq_u16(vld1q_u16(line.keys.data() + 8 * i), wanted);
    };
    const uint16x8_t counts =
        vaddq_u16(vaddq_u16(notAbove(0), notAbove(1)), vaddq_u16(notAbove(2), notAbove(3)));
    // Each lane that is not above counts as -1.
    return static_cast<uint16_t>(0U - vaddvq_u16(counts));
}

#else

[[nodiscard]] inline uint32_t matchTags(const uint8_t* tags, uint8_t tag) noexcept {
    return matchTagsPortable(tags, tag);
}

[[nodiscard]] inline uint32_t countNotAbove(const KeyLine& line, uint16_t key) noexcept {
    return countNotAbovePortable(line, key);
}

#endif

}  // namespace rs
