#include "syntax/percent.h"

#include "syntax/ascii.h"

namespace rs {

char hexPairValue(const char* text, uint32_t rawFlag, int32_t* errorOut) noexcept {
    const uint32_t high = hexDigitValue(text[0]);
    // The text may end after the first byte of a bad escape.
    const uint32_t low = high == NOT_A_HEX_DIGIT ? NOT_A_HEX_DIGIT : hexDigitValue(text[1]);
    if (low == NOT_A_HEX_DIGIT) {
        *errorOut = -1;
        return 0;
    }
    *errorOut = 0;
    const char byte = static_cast<char>((high << 4U) | low);
    return (rawFlag & PERCENT_KEEP_CASE) != 0 ? byte : lowerAscii(byte);
}

PercentByte readPercentByte(const char* text, uint32_t length, uint32_t rawFlag) noexcept {
    if (text[0] == '%' && length >= 3) {
        int32_t error = 0;
        const char byte = hexPairValue(text + 1, rawFlag, &error);
        if (error == 0) {
            return {byte, 3};
        }
    }
    return {(rawFlag & PERCENT_KEEP_CASE) != 0 ? text[0] : lowerAscii(text[0]), 1};
}

}  // namespace rs
