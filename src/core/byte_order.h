// Numbers in bytes, which need no alignment.
//
//     0x01020304    big endian     01 02 03 04     the order of the network
//                   little endian  04 03 02 01
//                   host order     either of them, as the machine has it
//
// Ownership:  the caller owns the bytes, and has as many of them as the name of the operation says.
// Threads:    none of its own: values in, values out.
#pragma once

#include <cstdint>
#include <cstring>

namespace rs {

[[nodiscard]] inline uint16_t readBigEndian16(const uint8_t* bytes) noexcept {
    return static_cast<uint16_t>((bytes[0] << 8) | bytes[1]);
}

[[nodiscard]] inline uint32_t readBigEndian32(const uint8_t* bytes) noexcept {
    return (uint32_t{readBigEndian16(bytes)} << 16U) | readBigEndian16(bytes + 2);
}

[[nodiscard]] inline uint64_t readBigEndian64(const uint8_t* bytes) noexcept {
    return (uint64_t{readBigEndian32(bytes)} << 32U) | readBigEndian32(bytes + 4);
}

inline void writeBigEndian16(uint8_t* bytes, uint16_t value) noexcept {
    bytes[0] = static_cast<uint8_t>(value >> 8U);
    bytes[1] = static_cast<uint8_t>(value & 0xFFU);
}

inline void writeBigEndian32(uint8_t* bytes, uint32_t value) noexcept {
    writeBigEndian16(bytes, static_cast<uint16_t>(value >> 16U));
    writeBigEndian16(bytes + 2, static_cast<uint16_t>(value & 0xFFFFU));
}

inline void writeBigEndian64(uint8_t* bytes, uint64_t value) noexcept {
    writeBigEndian32(bytes, static_cast<uint32_t>(value >> 32U));
    writeBigEndian32(bytes + 4, static_cast<uint32_t>(value & 0xFFFFFFFFU));
}

inline void writeLittleEndian16(uint8_t* bytes, uint16_t value) noexcept {
    bytes[0] = static_cast<uint8_t>(value & 0xFFU);
    bytes[1] = static_cast<uint8_t>(value >> 8U);
}

inline void writeLittleEndian32(uint8_t* bytes, uint32_t value) noexcept {
    writeLittleEndian16(bytes, static_cast<uint16_t>(value & 0xFFFFU));
    writeLittleEndian16(bytes + 2, static_cast<uint16_t>(value >> 16U));
}

[[nodiscard]] inline uint16_t readHostOrder16(const uint8_t* bytes) noexcept {
    uint16_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

[[nodiscard]] inline uint32_t readHostOrder32(const uint8_t* bytes) noexcept {
    uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

[[nodiscard]] inline uint64_t readHostOrder64(const uint8_t* bytes) noexcept {
    uint64_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

}  // namespace rs
