#include "syntax/byte_block.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

constexpr int ROUNDS = 20000;

using Bytes = std::array<char, BLOCK_BYTES>;

// Bytes near the ends of the classes that are asked for, and any.
char randomByte(std::mt19937& random) {
    constexpr std::array<uint8_t, 14> EDGES{'@', 'A', 'Z',  '[',  '`',  'a',  'z',
                                            '{', '.', 0x00, 0x7F, 0x80, 0xFF, 0xC1};
    return static_cast<char>(random() % 2 == 0 ? EDGES[random() % EDGES.size()] : random() % 256);
}

template <typename Block>
Bytes bytesOf(Block block) {
    Bytes bytes{};
    block.store(bytes.data());
    return bytes;
}

TEST(ByteBlock, FindsBytesAndClasses) {
    const ByteBlock block = ByteBlock::load("Web.Example[com]");
    EXPECT_EQ(0x0008U, block.equalTo('.').bits());
    EXPECT_EQ(0x0011U, block.between('A', 'Z').bits());
    EXPECT_EQ(0x8808U, (block.equalTo('.') | block.equalTo('[') | block.equalTo(']')).bits());
    const Bytes lowered = bytesOf(block.lowered());
    EXPECT_EQ("web.example[com]", std::string(lowered.data(), lowered.size()));
}

TEST(ByteBlock, HasNoByteFrom0x80OnInAClass) {
    Bytes bytes{};
    bytes.fill(static_cast<char>(0xC1));  // 'A' with the highest bit
    const ByteBlock block = ByteBlock::load(bytes.data());
    EXPECT_EQ(0U, block.between('A', 'Z').bits());
    EXPECT_EQ(0U, block.between(' ', '~').bits());
    EXPECT_EQ(bytes, bytesOf(block.lowered()));
}

TEST(ByteBlock, IsItsPortableTwin) {
    std::mt19937 random(1);
    for (int round = 0; round < ROUNDS; ++round) {
        Bytes bytes{};
        for (char& byte : bytes) {
            byte = randomByte(random);
        }
        const auto native = ByteBlock::load(bytes.data());
        const auto portable = PortableBlock::load(bytes.data());
        const char wanted = bytes[random() % bytes.size()];
        ASSERT_EQ(portable.equalTo(wanted).bits(), native.equalTo(wanted).bits());
        ASSERT_EQ(portable.between('A', 'Z').bits(), native.between('A', 'Z').bits());
        ASSERT_EQ(portable.between('-', '.').bits(), native.between('-', '.').bits());
        ASSERT_EQ(portable.bits(), native.bits());
        ASSERT_EQ(bytesOf(portable.lowered()), bytesOf(native.lowered()));
    }
}

// What each byte alone is in, at each place of a block whose other bytes are in no class.
template <typename Block>
void expectEachByteInItsClasses() {
    for (uint32_t value = 0; value < 256; ++value) {
        for (uint32_t at = 0; at < BLOCK_BYTES; ++at) {
            const char byte = static_cast<char>(value);
            Bytes bytes{};
            bytes.fill('~');
            bytes[at] = byte;
            const Block block = Block::load(bytes.data());
            const uint32_t bit = uint32_t{1} << at;
            const bool isCapital = value >= 'A' && value <= 'Z';
            const bool isDigit = value >= '0' && value <= '9';
            ASSERT_EQ(value == '~' ? 0xFFFFU : bit, block.equalTo(byte).bits()) << value;
            ASSERT_EQ(isCapital ? bit : 0, block.between('A', 'Z').bits()) << value;
            ASSERT_EQ(isDigit ? bit : 0, block.between('0', '9').bits()) << value;
            // The whole of ASCII, of which one bound is the highest byte.
            ASSERT_EQ(
                value < 0x80 ? 0xFFFFU : 0xFFFFU & ~bit,
                (block.between('\1', '~') | block.equalTo('\0') | block.equalTo('\x7F')).bits())
                << value;
            bytes[at] = isCapital ? static_cast<char>(value + 0x20) : byte;
            ASSERT_EQ(bytes, bytesOf(block.lowered())) << value;
        }
    }
}

TEST(ByteBlock, HasEachByteInItsClassesAtEveryPlace) {
    expectEachByteInItsClasses<ByteBlock>();
    expectEachByteInItsClasses<PortableBlock>();
}

TEST(ByteBlock, OfALongTextIsItsBeginning) {
    const ExactText text("abcdefghijklmnopq");
    for (const uint32_t length : {16U, 17U}) {
        const Bytes bytes = bytesOf(firstBlock(text.data(), length));
        EXPECT_EQ("abcdefghijklmnop", std::string(bytes.data(), bytes.size()));
    }
    EXPECT_EQ(0U, firstBits(0));
    EXPECT_EQ(1U, firstBits(1));
    EXPECT_EQ(0x7FFFU, firstBits(15));
    EXPECT_EQ(0xFFFFU, firstBits(16));
}

// The text is alone in its memory: a byte read after it is an error that sanitizers find.
TEST(ByteBlock, OfAShortTextHasZerosAfterIt) {
    const std::string bytes = "abcdefghijklmnop";
    for (uint32_t length = 1; length <= BLOCK_BYTES; ++length) {
        const ExactText text(bytes.substr(0, length));
        Bytes expected{};
        std::memcpy(expected.data(), bytes.data(), length);
        const ShortText shortText = ShortText::of(text.data(), length);
        EXPECT_EQ(expected, bytesOf(ByteBlock::of(shortText))) << length;
        EXPECT_EQ(expected, bytesOf(PortableBlock::of(shortText))) << length;
        EXPECT_EQ(expected, bytesOf(firstBlock(text.data(), length))) << length;
    }
}

template <typename Block>
void expectFirstByteIsFound() {
    const auto classOf = [](Block block) noexcept { return block.equalTo('/'); };
    const auto find = [&](const ExactText& text) {
        return findInClass<Block>(text.data(), text.data() + text.size(), classOf);
    };
    for (uint32_t length = 1; length <= 4 * BLOCK_BYTES + 1; ++length) {
        const ExactText none(std::string(length, 'x'));
        EXPECT_EQ(none.data() + length, find(none));
        for (uint32_t at = 0; at < length; ++at) {
            std::string bytes(length, 'x');
            bytes[at] = '/';
            bytes.back() = '/';
            const ExactText text(bytes);
            ASSERT_EQ(text.data() + at, find(text));
        }
    }
    EXPECT_EQ(nullptr, findInClass<Block>(nullptr, nullptr, classOf));
}

TEST(ByteBlock, FindInClassFindsTheFirstByteAtEveryPlace) {
    expectFirstByteIsFound<ByteBlock>();
    expectFirstByteIsFound<PortableBlock>();
}

}  // namespace

}  // namespace rs::test
