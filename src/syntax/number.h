// Reading a number, in each of the ways in which rule texts are read.
//
//     constexpr NumberForm PORT{.maxLength = 5, .minValue = 1, .maxValue = 65535};
//
//     readNumber<PORT>("00080")   ->  80        leading zeros are allowed unless the form says so
//     readNumber<PORT>("000080")  ->  refused   six bytes
//     readNumber<PORT>("65536")   ->  refused   too large
//
// The number is the whole text: no sign, no blanks. Existing rules depend on where the forms
// differ, so each difference is an option with a name. A form is a template argument, so an option
// that it does not use costs nothing.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "syntax/ascii.h"
#include "syntax/text.h"

namespace rs {

// REFUSED takes "0" and refuses "00" and "01".
enum class LeadingZeros : uint8_t { ALLOWED, REFUSED };

// UNCHECKED counts every byte as its unsigned code minus 48: ':' is ten, '/' is minus one.
enum class Digits : uint8_t { CHECKED, UNCHECKED };

// What happens to a value that does not fit.
//   REFUSED             it is no number
//   WRAPS               its low bits count
//   SEEN_WHEN_SMALLER   its low bits count, unless a digit makes the value smaller than before:
//                       5000000000 is 705032704, but 4294967296 is no number
enum class Overflow : uint8_t { REFUSED, WRAPS, SEEN_WHEN_SMALLER };

struct NumberForm {
    uint32_t base = 10;  // or 16, with letters of either case
    uint32_t maxLength = UINT32_MAX;
    uint32_t minValue = 0;
    uint32_t maxValue = UINT32_MAX;
    LeadingZeros leadingZeros = LeadingZeros::ALLOWED;
    Digits digits = Digits::CHECKED;
    Overflow overflow = Overflow::REFUSED;
    uint32_t letterValue = 10;  // of 'a'; the letters after it follow
};

// The value of a digit; false for a byte that is none.
template <NumberForm form>
[[nodiscard]] constexpr bool readDigit(char byte, uint32_t& out) noexcept {
    if constexpr (form.digits == Digits::UNCHECKED) {
        out = static_cast<uint8_t>(byte) - uint32_t{'0'};
        return true;
    } else if constexpr (form.base == 16) {
        const uint32_t value = hexDigitValue(byte);
        out = value < 10 ? value : value - 10 + form.letterValue;
        return value != NOT_A_HEX_DIGIT;
    } else {
        out = static_cast<uint32_t>(byte - '0');
        return isDecimalDigit(byte);
    }
}

// Adds a digit. False when the value that results is refused.
template <NumberForm form, typename Number>
[[nodiscard]] constexpr bool addDigit(Number& value, uint32_t digit) noexcept {
    if constexpr (form.overflow == Overflow::REFUSED) {
        constexpr uint64_t LARGEST =
            std::min<uint64_t>(form.maxValue, std::numeric_limits<Number>::max());
        const uint64_t next = uint64_t{value} * form.base + digit;
        value = static_cast<Number>(next);
        return next <= LARGEST;
    } else {
        const auto next = static_cast<Number>(value * form.base + digit);
        const bool isSmaller = next < value;
        value = next;
        return form.overflow == Overflow::WRAPS || !isSmaller;
    }
}

// Reads a text as a number of a form. False, with out left alone, for any other text.
template <NumberForm form, typename Number>
[[nodiscard]] constexpr bool readNumber(Text text, Number& out) noexcept {
    static_assert(form.base == 10 || form.base == 16);
    if (text.isEmpty() || text.length > form.maxLength) {
        return false;
    }
    if (form.leadingZeros == LeadingZeros::REFUSED && text.length > 1 && *text.text == '0') {
        return false;
    }
    Number value = 0;
    for (const char byte : text) {
        uint32_t digit = 0;
        if (!readDigit<form>(byte, digit) || !addDigit<form>(value, digit)) {
            return false;
        }
    }
    if (value < form.minValue || value > form.maxValue) {
        return false;
    }
    out = value;
    return true;
}

}  // namespace rs
