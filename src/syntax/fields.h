// Fields of rule texts between semicolons.
#pragma once

#include <algorithm>
#include <cstdint>

#include "syntax/ascii.h"

namespace rs {

struct Field {
    const char* text;
    uint32_t length;

    [[nodiscard]] bool isStar() const noexcept { return length == 1 && text[0] == '*'; }

    // Whether the field is not empty, and its first and last byte are what mayBeEnd takes.
    [[nodiscard]] bool hasEnds(bool (*mayBeEnd)(char byte) noexcept) const noexcept {
        return length != 0 && mayBeEnd(text[0]) && mayBeEnd(text[length - 1]);
    }

    [[nodiscard]] uint32_t offsetFrom(const char* start) const noexcept {
        return static_cast<uint32_t>(text - start);
    }
};

// Tests for the ends of an address field.
inline bool isDigitByte(char byte) noexcept {
    return isDecimalDigit(byte);
}
inline bool isNotBlankByte(char byte) noexcept {
    return !isBlank(byte);
}

// Cuts a text at every ';'. False unless that gives exactly count fields.
template <uint32_t count>
bool splitFields(const char* text, uint32_t length, Field (&fields)[count]) noexcept {
    const char* const end = text + length;
    const char* start = text;
    for (uint32_t i = 0; i < count; ++i) {
        const char* const fieldEnd = std::find(start, end, ';');
        fields[i] = {start, static_cast<uint32_t>(fieldEnd - start)};
        if (fieldEnd == end) {
            return i + 1 == count;
        }
        start = fieldEnd + 1;
    }
    return false;
}

}  // namespace rs
