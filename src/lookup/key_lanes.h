// The keys of one cache line compared with one key at once.
//
//     maskAbove   | -7 | 2 | 5 | 5 | 8 | ...    which are above 5?    bits 4 ...
//
// Where keys are sorted, the lowest bit is the place of the first key above. What is beyond the keys of a line may be
// anything, since only higher bits depend on it. Lanes are signed numbers because SSE2 compares no others: unsigned keys
// are stored with their highest bit turned over.
//
// Every x86-64 has SSE2 and every AArch64 has NEON, so nothing is chosen at run time. Other processors use the portable
// twin. It is compiled everywhere, and tests compare both.
//
// Threads:    any: values in, values out.
// Cost:       about 15 instructions, none of which is a branch.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace rs {

inline constexpr uint32_t LANE_BYTES = 64;

// Lanes of 16 bits.
inline constexpr uint32_t KEY_LANES = LANE_BYTES / sizeof(int16_t);

// Bit i is set when lane i is above key; the 64 bytes of the lanes begin at any multiple of 4.
[[nodiscard]] inline uint32_t maskAbovePortable(const uint32_t* line, int16_t key) noexcept {
    std::array<int16_t, KEY_LANES> lanes;
    std::memcpy(lanes.data(), line, LANE_BYTES);
    uint32_t above = 0;
    for (uint32_t i = 0; i < KEY_LANES; ++i) {
        above |= (lanes[i] > key ? uint32_t{1} : 0) << i;
    }
    return above;
}

#if defined(__SSE2__)

[[nodiscard]] inline uint32_t maskAbove(const uint32_t* line, int16_t key) noexcept {
    const __m128i wanted = _mm_set1_epi16(key);
    const auto above = [&](uint32_t i) noexcept {
        return _mm_cmpgt_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(line) + i), wanted);
    };
    const int low = _mm_movemask_epi8(_mm_packs_epi16(above(0), above(1)));
    const int high = _mm_movemask_epi8(_mm_packs_epi16(above(2), above(3)));
    return static_cast<uint32_t>(low) | static_cast<uint32_t>(high) << 16U;
}

#elif defined(__aarch64__)

[[nodiscard]] inline uint32_t maskAbove(const uint32_t* line, int16_t key) noexcept {
    constexpr std::array<uint16_t, 8> BITS{1, 2, 4, 8, 16, 32, 64, 128};
    const uint16x8_t bits = vld1q_u16(BITS.data());
    const auto above = [&](uint32_t i) noexcept {
        const int16x8_t lanes = vreinterpretq_s16_u32(vld1q_u32(line + 4 * i));
        const uint16x8_t matches = vandq_u16(vcgtq_s16(lanes, vdupq_n_s16(key)), bits);
        return static_cast<uint32_t>(vaddvq_u16(matches)) << (8 * i);
    };
    return above(0) | above(1) | above(2) | above(3);
}

#else

[[nodiscard]] inline uint32_t maskAbove(const uint32_t* line, int16_t key) noexcept {
    return maskAbovePortable(line, key);
}

#endif

}  // namespace rs
