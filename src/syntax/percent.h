// Percent-escapes of host names and URLs (RFC 3986 section 2.1).
//
//     %41bc    ->  a b c      an escape is one byte, and ASCII letters become lower case
//     %4zbc    ->  % 4 z b c  no escape: '%' is a byte like any other
#pragma once

#include <cstdint>

namespace rs {

inline constexpr uint32_t PERCENT_KEEP_CASE = 1;  // rawFlag of hexPairValue

// The byte that two hexadecimal digits at text give, with *errorOut 0. The digits are of either
// case. An ASCII capital becomes lower case unless bit 0 of rawFlag is set. When one of the two
// bytes is no digit, returns 0 with *errorOut -1. The second byte is read only when the first is a
// digit.
char hexPairValue(const char* text, uint32_t rawFlag, int32_t* errorOut) noexcept;

// What a text has at one position: an escape, or a plain byte.
struct PercentByte {
    char byte;        // decoded, and lower-cased unless rawFlag keeps the case
    uint32_t length;  // 3 for an escape, else 1
};

// Reads the byte at text, which has length bytes left (1 at least). A '%' without two hexadecimal
// digits after it is a plain byte.
PercentByte readPercentByte(const char* text, uint32_t length, uint32_t rawFlag) noexcept;

}  // namespace rs
