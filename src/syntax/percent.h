// Percent-escapes of host names and URLs (RFC 3986 section 2.1).
#pragma once

#include <cstdint>

namespace rs {

inline constexpr uint32_t PERCENT_KEEP_CASE = 1;  // rawFlag of hexPairValue

// The value of the two hexadecimal digits at text, of either case, lower-cased as ASCII unless bit 0
// of rawFlag is set; *errorOut is then 0. When one of them is no digit, 0, and *errorOut is -1.
char hexPairValue(const char* text, uint32_t rawFlag, int32_t* errorOut) noexcept;

// What stands at one position of a text: an escape, or a byte for itself.
struct PercentByte {
    char byte;        // decoded, and lower-cased unless rawFlag keeps the case
    uint32_t length;  // 3 for an escape, else 1
};

// Reads the byte at text, which has length bytes left (1 at least). A '%' without two hexadecimal
// digits behind it stands for itself.
PercentByte readPercentByte(const char* text, uint32_t length, uint32_t rawFlag) noexcept;

}  // namespace rs
