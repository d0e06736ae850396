#include "syntax/text_scan.h"

#include <ruleset.h>

#include "syntax/ascii.h"

namespace rs {

int32_t trimWhitespace(const char* text, uint32_t length, const char** outStart,
                       uint32_t* outLength) noexcept {
    if (text == nullptr || outStart == nullptr || outLength == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    uint32_t first = 0;
    while (first < length && isBlank(text[first])) {
        ++first;
    }
    uint32_t end = length;
    while (end > first && isBlank(text[end - 1])) {
        --end;
    }
    *outStart = text + first;
    *outLength = end - first;
    return RULE_OK;
}

int32_t parseDecimalField(const char* text, uint32_t length, uint32_t* out) noexcept {
    if (text == nullptr || length == 0 || length > 3) {
        return RULE_ERR_BAD_RANGE;
    }
    if (length > 1 && text[0] == '0') {
        return RULE_ERR_BAD_RANGE;
    }
    uint32_t value = 0;
    for (uint32_t i = 0; i < length; ++i) {
        value = value * 10 + (static_cast<uint8_t>(text[i]) - 48U);
    }
    *out = value;
    return RULE_OK;
}

int32_t parseHexGroup(const char* text, uint32_t length, uint16_t* out) noexcept {
    uint32_t value = 0;
    for (uint32_t i = 0; i < length; ++i) {
        const uint32_t digit = hexDigitValue(text[i]);
        if (digit == NOT_A_HEX_DIGIT) {
            return RULE_ERR_FAILED;
        }
        value = ((value << 4U) | digit) & 0xFFFFU;
    }
    *out = static_cast<uint16_t>(value);
    return RULE_OK;
}

}  // namespace rs
