// Four keys of 32 bits compared with one key at once.
//
//     matchKeys    | 7 | 0 | 9 | 7 |     which are 7?     bits 0 and 3
//
// Every x86-64 has SSE2 and every AArch64 has NEON, so nothing is chosen at run time. Other processors use the portable
// twin. It is compiled everywhere, and tests compare both.
//
// Threads:    any: values in, values out.
// Cost:       5 instructions, none of which is a branch.
#pragma once

#include <array>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace rs {

inline constexpr uint32_t SLOT_KEYS = 4;

// Bit i is set when keys[i] is key; keys are at any address.
[[nodiscard]] inline uint32_t matchKeysPortable(const uint32_t* keys, uint32_t key) noexcept {
    uint32_t matches = 0;
    for (uint32_t i = 0; i < SLOT_KEYS; ++i) {
        matches |= (keys[i] == key ? uint32_t{1} : 0) << i;
    }
    return matches;
}

#if defined(__SSE2__)

[[nodiscard]] inline uint32_t matchKeys(const uint32_t* keys, uint32_t key) noexcept {
    const __m128i lanes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(keys));
    const __m128i equal = _mm_cmpeq_epi32(lanes, _mm_set1_epi32(static_cast<int>(key)));
    return static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(equal)));
}

#elif defined(__aarch64__)

[[nodiscard]] inline uint32_t matchKeys(const uint32_t* keys, uint32_t key) noexcept {
    constexpr std::array<uint32_t, SLOT_KEYS> BITS{1, 2, 4, 8};
    const uint32x4_t equal = vceqq_u32(vld1q_u32(keys), vdupq_n_u32(key));
    return vaddvq_u32(vandq_u32(equal, vld1q_u32(BITS.data())));
}

#else

[[nodiscard]] inline uint32_t matchKeys(const uint32_t* keys, uint32_t key) noexcept {
    return matchKeysPortable(keys, key);
}

#endif

}  // namespace rs
