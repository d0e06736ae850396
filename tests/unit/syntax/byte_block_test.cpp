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

TEST(ByteBlock, FindInClassFindsTheFirstByteAtEveryPlace) {
    const auto classOf = [](ByteBlock block) noexcept { return block.equalTo('/'); };
    for (uint32_t length = 1; length <= 3 * BLOCK_BYTES + 1; ++length) {
        const ExactText none(std::string(length, 'x'));
        EXPECT_EQ(none.data() + length, findInClass(none.data(), none.data() + length, classOf));
        for (uint32_t at = 0; at < length; ++at) {
            std::string bytes(length, 'x');
            bytes[at] = '/';
            bytes.back() = '/';
            const ExactText text(bytes);
            ASSERT_EQ(text.data() + at, findInClass(text.data(), text.data() + length, classOf));
        }
    }
    EXPECT_EQ(nullptr, findInClass(nullptr, nullptr, classOf));
}

}  // namespace

}  // namespace rs::test
