// Sixteen bytes of text at once: which of them are in a class, and the same bytes in lower case.
//
//     bytes                 W e b . e x a m p l e / ...
//     equalTo('.')          0 0 0 1 0 0 ...                  bits() has bit 3 set
//     lowered()             w e b . e x a m p l e / ...
//
// ByteBlock is NativeBlock, by SSE2 or NEON, which every x86-64 and every AArch64 has, or PortableBlock on other
// processors. Code is written once, with the block as a template argument where tests compare both.
//
// A class of bytes is a block whose bytes are 0xFF or 0. The bounds of a class are ASCII; bytes from 0x80 on are in none.
//
// Threads:    any: values in, values out.
// Cost:       one to six instructions an operation, none of which is a branch.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace rs {

inline constexpr uint32_t BLOCK_BYTES = 16;

// Two words, the first bytes lowest, that are the bytes of a text of 1 to 16 bytes and zeros after them. Nothing after the
// text is read.
struct ShortText {
    static_assert(std::endian::native == std::endian::little);

    uint64_t first;
    uint64_t second;

    [[nodiscard]] static ShortText of(const char* text, uint32_t length) noexcept {
        if (length >= 8) {
            // The last 8 bytes overlap the first ones by 16 - length.
            const uint64_t last = load<uint64_t>(text + length - 8);
            const uint32_t overlap = 8 * (BLOCK_BYTES - length);
            return {load<uint64_t>(text), overlap == 64 ? 0 : last >> overlap};
        }
        if (length >= 4) {
            const uint64_t last = load<uint32_t>(text + length - 4);
            return {load<uint32_t>(text) | last << 8 * (length - 4), 0};
        }
        const uint64_t middle = static_cast<uint8_t>(text[length / 2]);
        const uint64_t last = static_cast<uint8_t>(text[length - 1]);
        return {
            static_cast<uint8_t>(text[0]) | middle << 8 * (length / 2) | last << 8 * (length - 1),
            0};
    }

private:
    template <typename Word>
    [[nodiscard]] static Word load(const char* text) noexcept {
        Word word = 0;
        std::memcpy(&word, text, sizeof word);
        return word;
    }
};

class PortableBlock {
public:
    [[nodiscard]] static PortableBlock load(const char* text) noexcept {
        PortableBlock block;
        std::memcpy(block.bytes_.data(), text, BLOCK_BYTES);
        return block;
    }
    [[nodiscard]] static PortableBlock of(ShortText text) noexcept {
        PortableBlock block;
        std::memcpy(block.bytes_.data(), &text, BLOCK_BYTES);
        return block;
    }
    void store(char* out) const noexcept { std::memcpy(out, bytes_.data(), BLOCK_BYTES); }

    [[nodiscard]] PortableBlock equalTo(char byte) const noexcept {
        return eachByte([byte](uint8_t own) noexcept { return own == static_cast<uint8_t>(byte); });
    }
    [[nodiscard]] PortableBlock between(char first, char last) const noexcept {
        return eachByte([first, last](uint8_t own) noexcept {
            return own >= static_cast<uint8_t>(first) && own <= static_cast<uint8_t>(last);
        });
    }
    [[nodiscard]] PortableBlock lowered() const noexcept {
        PortableBlock result = between('A', 'Z');
        for (uint32_t i = 0; i < BLOCK_BYTES; ++i) {
            result.bytes_[i] = static_cast<uint8_t>(bytes_[i] | (result.bytes_[i] & 0x20U));
        }
        return result;
    }
    [[nodiscard]] uint32_t bits() const noexcept {
        uint32_t result = 0;
        for (uint32_t i = 0; i < BLOCK_BYTES; ++i) {
            result |= uint32_t{bytes_[i]} >> 7U << i;
        }
        return result;
    }

    friend PortableBlock operator|(PortableBlock left, PortableBlock right) noexcept {
        for (uint32_t i = 0; i < BLOCK_BYTES; ++i) {
            left.bytes_[i] = static_cast<uint8_t>(left.bytes_[i] | right.bytes_[i]);
        }
        return left;
    }

private:
    template <typename IsIn>
    [[nodiscard]] PortableBlock eachByte(const IsIn& isIn) const noexcept {
        PortableBlock result;
        std::transform(
            bytes_.begin(), bytes_.end(), result.bytes_.begin(),
            [&isIn](uint8_t own) noexcept { return static_cast<uint8_t>(isIn(own) ? 0xFF : 0); });
        return result;
    }

    std::array<uint8_t, BLOCK_BYTES> bytes_{};
};

#if defined(__SSE2__)

class NativeBlock {
public:
    [[nodiscard]] static NativeBlock load(const char* text) noexcept {
        return NativeBlock(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text)));
    }
    [[nodiscard]] static NativeBlock of(ShortText text) noexcept {
        return NativeBlock(
            _mm_set_epi64x(static_cast<int64_t>(text.second), static_cast<int64_t>(text.first)));
    }
    void store(char* out) const noexcept {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes_);
    }

    [[nodiscard]] NativeBlock equalTo(char byte) const noexcept {
        return NativeBlock(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(byte)));
    }
    // Bytes from 0x80 on are negative.
    [[nodiscard]] NativeBlock between(char first, char last) const noexcept {
        const __m128i below = _mm_set1_epi8(static_cast<char>(first - 1));
        const __m128i above = _mm_set1_epi8(static_cast<char>(last + 1));
        return NativeBlock(
            _mm_and_si128(_mm_cmpgt_epi8(bytes_, below), _mm_cmpgt_epi8(above, bytes_)));
    }
    [[nodiscard]] NativeBlock lowered() const noexcept {
        const __m128i bit = _mm_and_si128(between('A', 'Z').bytes_, _mm_set1_epi8(0x20));
        return NativeBlock(_mm_or_si128(bytes_, bit));
    }
    [[nodiscard]] uint32_t bits() const noexcept {
        return static_cast<uint32_t>(_mm_movemask_epi8(bytes_));
    }

    friend NativeBlock operator|(NativeBlock left, NativeBlock right) noexcept {
        return NativeBlock(_mm_or_si128(left.bytes_, right.bytes_));
    }

private:
    explicit NativeBlock(__m128i bytes) noexcept : bytes_(bytes) {}

    __m128i bytes_;
};

using ByteBlock = NativeBlock;

#elif defined(__aarch64__)

class NativeBlock {
public:
    [[nodiscard]] static NativeBlock load(const char* text) noexcept {
        return NativeBlock(vld1q_u8(reinterpret_cast<const uint8_t*>(text)));
    }
    [[nodiscard]] static NativeBlock of(ShortText text) noexcept {
        return NativeBlock(
            vreinterpretq_u8_u64(vcombine_u64(vcreate_u64(text.first), vcreate_u64(text.second))));
    }
    void store(char* out) const noexcept { vst1q_u8(reinterpret_cast<uint8_t*>(out), bytes_); }

    [[nodiscard]] NativeBlock equalTo(char byte) const noexcept {
        return NativeBlock(vceqq_u8(bytes_, vdupq_n_u8(static_cast<uint8_t>(byte))));
    }
    [[nodiscard]] NativeBlock between(char first, char last) const noexcept {
        return NativeBlock(vandq_u8(vcgeq_u8(bytes_, vdupq_n_u8(static_cast<uint8_t>(first))),
                                    vcleq_u8(bytes_, vdupq_n_u8(static_cast<uint8_t>(last)))));
    }
    [[nodiscard]] NativeBlock lowered() const noexcept {
        const uint8x16_t bit = vandq_u8(between('A', 'Z').bytes_, vdupq_n_u8(0x20));
        return NativeBlock(vorrq_u8(bytes_, bit));
    }
    [[nodiscard]] uint32_t bits() const noexcept {
        constexpr std::array<uint8_t, BLOCK_BYTES> BITS{1, 2, 4, 8, 16, 32, 64, 128,
                                                        1, 2, 4, 8, 16, 32, 64, 128};
        const uint8x16_t bits = vandq_u8(bytes_, vld1q_u8(BITS.data()));
        return static_cast<uint32_t>(vaddv_u8(vget_low_u8(bits))) |
               static_cast<uint32_t>(vaddv_u8(vget_high_u8(bits))) << 8U;
    }

    friend NativeBlock operator|(NativeBlock left, NativeBlock right) noexcept {
        return NativeBlock(vorrq_u8(left.bytes_, right.bytes_));
    }

private:
    explicit NativeBlock(uint8x16_t bytes) noexcept : bytes_(bytes) {}

    uint8x16_t bytes_;
};

using ByteBlock = NativeBlock;

#else

using ByteBlock = PortableBlock;

#endif

// The block at the beginning of a text of at least one byte, with zeros after the end of one of fewer than 16.
template <typename Block = ByteBlock>
[[nodiscard]] inline Block firstBlock(const char* text, uint64_t length) noexcept {
    return length >= BLOCK_BYTES ? Block::load(text)
                                 : Block::of(ShortText::of(text, static_cast<uint32_t>(length)));
}

// The first byte from at on that is in a class, or end. classOf(block) is the class of a block's bytes, in which zero is
// not.
template <typename Block = ByteBlock, typename ClassOf>
[[nodiscard]] inline const char* findInClass(const char* at, const char* end,
                                             const ClassOf& classOf) noexcept {
    while (at != end) {
        const auto left = static_cast<uint64_t>(end - at);
        const uint32_t bits = classOf(firstBlock<Block>(at, left)).bits();
        if (bits != 0) {
            return at + std::countr_zero(bits);
        }
        at += std::min<uint64_t>(left, BLOCK_BYTES);
    }
    return end;
}

// Bits 0 to count - 1; count is BLOCK_BYTES at most.
[[nodiscard]] constexpr uint32_t firstBits(uint32_t count) noexcept {
    return (uint32_t{1} << count) - 1;
}

}  // namespace rs
