// Classes of bytes that the readers of rule texts share. Nothing here depends on the locale: a byte
// from 0x80 on is in no class, and no operation changes it.
#pragma once

#include <cstdint>

namespace rs {

// The four bytes that are trimmed off rule texts.
[[nodiscard]] constexpr bool isBlank(char byte) noexcept {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

[[nodiscard]] constexpr bool isDecimalDigit(char byte) noexcept {
    return byte >= '0' && byte <= '9';
}

// 'A' to 'Z' become 'a' to 'z'; every other byte stays, also those from 0x80 on.
constexpr char lowerAscii(char byte) noexcept {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

[[nodiscard]] constexpr bool isAscii(char byte) noexcept {
    return static_cast<uint8_t>(byte) < 0x80;
}

constexpr uint32_t NOT_A_HEX_DIGIT = 16;

// 0 to 15 for 0-9, a-f and A-F; NOT_A_HEX_DIGIT for every other byte.
constexpr uint32_t hexDigitValue(char byte) noexcept {
    if (isDecimalDigit(byte)) {
        return static_cast<uint32_t>(byte - '0');
    }
    if (byte >= 'a' && byte <= 'f') {
        return static_cast<uint32_t>(byte - 'a') + 10;
    }
    if (byte >= 'A' && byte <= 'F') {
        return static_cast<uint32_t>(byte - 'A') + 10;
    }
    return NOT_A_HEX_DIGIT;
}

}  // namespace rs
