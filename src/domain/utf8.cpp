#include "domain/utf8.h"

#include <ruleset.h>

#include "domain/unicode_lower.h"

namespace rs {

namespace {

// A lead byte: how many bytes its sequence has, 0 for a byte that leads none, and the value bits.
struct LeadByte {
    uint32_t sequenceLength;
    uint32_t bits;
};

LeadByte readLeadByte(uint8_t byte) noexcept {
    if (byte < 0x80) {
        return {1, byte};
    }
    if (byte < 0xC0 || byte >= 0xF8) {
        return {0, 0};
    }
    if (byte < 0xE0) {
        return {2, byte & 0x1FU};
    }
    if (byte < 0xF0) {
        return {3, byte & 0x0FU};
    }
    return {4, byte & 0x07U};
}

// Adds the continuation bytes of a sequence to its value. False when one of them is none.
bool readContinuations(const char* bytes, uint32_t count, uint32_t& value) noexcept {
    for (uint32_t i = 0; i < count; ++i) {
        const auto byte = static_cast<uint8_t>(bytes[i]);
        if ((byte & 0xC0U) != 0x80) {
            return false;
        }
        value = (value << 6U) | (byte & 0x3FU);
    }
    return true;
}

}  // namespace

int32_t utf8ToCodePoints(const char* bytes, uint32_t length, uint32_t* out, uint32_t* inOutCount,
                         bool lowerCase) noexcept {
    if (bytes == nullptr || out == nullptr || inOutCount == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const uint32_t capacity = *inOutCount;
    uint32_t count = 0;
    for (uint32_t i = 0; i < length;) {
        const LeadByte lead = readLeadByte(static_cast<uint8_t>(bytes[i]));
        // A sequence of four is only asked to have three bytes inside length.
        const uint32_t needed = lead.sequenceLength == 4 ? 3 : lead.sequenceLength;
        uint32_t value = lead.bits;
        if (needed == 0 || length - i < needed ||
            !readContinuations(bytes + i + 1, lead.sequenceLength - 1, value)) {
            return RULE_ERR_INVALID_ARG;
        }
        if (count == capacity) {
            return RULE_ERR_BUFFER_SMALL;
        }
        out[count++] = lowerCase ? lowerCodePoint(value) : value;
        i += lead.sequenceLength;
    }
    *inOutCount = count;
    return RULE_OK;
}

}  // namespace rs
