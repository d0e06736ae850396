#include "core/byte_order.h"

#include <array>
#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

constexpr std::array<uint8_t, 9> BYTES = {0x00, 0x81, 0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8};
// Nothing needs alignment, so the tests start at an odd address.
constexpr const uint8_t* UNALIGNED = BYTES.data() + 1;

TEST(ByteOrder, ReadsBigEndianNumbers) {
    EXPECT_EQ(0x8192, readBigEndian16(UNALIGNED));
    EXPECT_EQ(0x8192A3B4, readBigEndian32(UNALIGNED));
    EXPECT_EQ(0x8192A3B4C5D6E7F8, readBigEndian64(UNALIGNED));
}

TEST(ByteOrder, ReadsNumbersOfTheHost) {
    uint16_t number16 = 0;
    uint32_t number32 = 0;
    uint64_t number64 = 0;
    std::memcpy(&number16, UNALIGNED, sizeof number16);
    std::memcpy(&number32, UNALIGNED, sizeof number32);
    std::memcpy(&number64, UNALIGNED, sizeof number64);
    EXPECT_EQ(number16, readHostOrder16(UNALIGNED));
    EXPECT_EQ(number32, readHostOrder32(UNALIGNED));
    EXPECT_EQ(number64, readHostOrder64(UNALIGNED));
}

// What write leaves between guards of 0xEE.
template <typename Write>
std::array<uint8_t, 10> writtenBytes(const Write& write) {
    std::array<uint8_t, 10> bytes{};
    bytes.fill(0xEE);
    write(bytes.data() + 1);
    return bytes;
}

TEST(ByteOrder, WritesBigEndianNumbers) {
    EXPECT_EQ((std::array<uint8_t, 10>{0xEE, 0x81, 0x92, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}),
              writtenBytes([](uint8_t* bytes) { writeBigEndian16(bytes, 0x8192); }));
    EXPECT_EQ((std::array<uint8_t, 10>{0xEE, 0x81, 0x92, 0xA3, 0xB4, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}),
              writtenBytes([](uint8_t* bytes) { writeBigEndian32(bytes, 0x8192A3B4); }));
    EXPECT_EQ((std::array<uint8_t, 10>{0xEE, 0x81, 0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8, 0xEE}),
              writtenBytes([](uint8_t* bytes) { writeBigEndian64(bytes, 0x8192A3B4C5D6E7F8); }));
}

TEST(ByteOrder, WritesLittleEndianNumbers) {
    EXPECT_EQ((std::array<uint8_t, 10>{0xEE, 0x92, 0x81, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}),
              writtenBytes([](uint8_t* bytes) { writeLittleEndian16(bytes, 0x8192); }));
    EXPECT_EQ((std::array<uint8_t, 10>{0xEE, 0xB4, 0xA3, 0x92, 0x81, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}),
              writtenBytes([](uint8_t* bytes) { writeLittleEndian32(bytes, 0x8192A3B4); }));
}

}  // namespace

}  // namespace rs::test
