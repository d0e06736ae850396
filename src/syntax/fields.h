// Fields of rule texts between semicolons.
//
//     tcp;*;80    ->   "tcp"  "*"  "80"
//
// The fields borrow from the text. A field may be empty, and keeps the blanks around it.
#pragma once

#include <cstdint>

#include "syntax/ascii.h"
#include "syntax/text.h"

namespace rs {

// Cuts a text at every ';'. False unless that gives exactly count fields; some fields may be
// written all the same.
template <uint32_t count>
[[nodiscard]] bool splitFields(Text text, Text (&fields)[count]) noexcept {
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t length = text.find(';');
        fields[i] = text.first(length);
        if (length == text.length) {
            return i + 1 == count;
        }
        text = text.from(length + 1);
    }
    return false;
}

[[nodiscard]] constexpr bool isStar(Text field) noexcept {
    return field.length == 1 && *field.text == '*';
}

// Whether a field is not empty, and mayBeEnd is true for its first and its last byte.
[[nodiscard]] inline bool hasEnds(Text field, bool (*mayBeEnd)(char byte) noexcept) noexcept {
    return !field.isEmpty() && mayBeEnd(*field.text) && mayBeEnd(field.end()[-1]);
}

// Tests for the ends of an address field.
[[nodiscard]] inline bool isDigitByte(char byte) noexcept {
    return isDecimalDigit(byte);
}
[[nodiscard]] inline bool isNotBlankByte(char byte) noexcept {
    return !isBlank(byte);
}

}  // namespace rs
