// A view of bytes with their length: the one form in which texts and their pieces are passed on.
//
//     "  10.0.0.1 - x"        text, length
//        ^^^^^^^^             Text{text + 2, 8}       no copy, no terminating NUL
//
// A Text borrows: it is valid as long as the bytes that it points into. It says nothing about them,
// and any byte may occur, NUL included. An absent piece has a null text and length 0.
//
//     const Text rule = trimBlanks({text, length});
//     const uint32_t dash = rule.find('-');
//     const Text low = rule.first(dash);
//
// Operations near the exported functions take pointer and length, as these do. Further inside, a
// text is passed on as a Text.
#pragma once

#include <algorithm>
#include <cstdint>

#include "syntax/ascii.h"

namespace rs {

struct Text {
    const char* text;
    uint32_t length;

    [[nodiscard]] constexpr bool isEmpty() const noexcept { return length == 0; }
    [[nodiscard]] constexpr const char* begin() const noexcept { return text; }
    [[nodiscard]] constexpr const char* end() const noexcept { return text + length; }

    // The first count bytes, and the bytes after them; count is length at most.
    [[nodiscard]] constexpr Text first(uint32_t count) const noexcept { return {text, count}; }
    [[nodiscard]] constexpr Text from(uint32_t count) const noexcept {
        return {text + count, length - count};
    }

    // The position of the first such byte; length when there is none.
    [[nodiscard]] constexpr uint32_t find(char byte) const noexcept {
        return static_cast<uint32_t>(std::find(begin(), end(), byte) - text);
    }

    [[nodiscard]] constexpr bool startsWith(Text start) const noexcept {
        return length >= start.length && std::equal(start.begin(), start.end(), text);
    }
    [[nodiscard]] constexpr bool endsWith(Text tail) const noexcept {
        return length >= tail.length && from(length - tail.length).startsWith(tail);
    }

    friend constexpr bool operator==(Text left, Text right) noexcept {
        return left.length == right.length && left.startsWith(right);
    }
};

// The bytes from first up to end.
[[nodiscard]] constexpr Text textBetween(const char* first, const char* end) noexcept {
    return {first, static_cast<uint32_t>(end - first)};
}

// The bytes of a string literal, without its NUL.
template <uint32_t size>
[[nodiscard]] constexpr Text literalText(const char (&literal)[size]) noexcept {
    return {literal, size - 1};
}

// Whether a text begins with, or is, a name of lower-case letters, in any letter case.
[[nodiscard]] constexpr bool startsLowered(Text text, Text name) noexcept {
    return text.length >= name.length &&
           std::equal(name.begin(), name.end(), text.begin(),
                      [](char left, char right) noexcept { return left == lowerAscii(right); });
}
[[nodiscard]] constexpr bool equalsLowered(Text text, Text name) noexcept {
    return text.length == name.length && startsLowered(text, name);
}

// Drops space, tab, CR and LF from both ends; what is left may be empty.
[[nodiscard]] constexpr Text trimBlanks(Text text) noexcept {
    const char* first = text.begin();
    const char* end = text.end();
    while (first != end && isBlank(*first)) {
        ++first;
    }
    while (first != end && isBlank(end[-1])) {
        --end;
    }
    return textBetween(first, end);
}

}  // namespace rs
