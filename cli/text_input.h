// What all texts from outside have in common: blanks around them, and numbers in them.
#pragma once

#include <charconv>
#include <string_view>

namespace cli {

// The text without the blanks around it, by the library's idea of a blank.
std::string_view trimmed(std::string_view text);

// Reads a decimal number that fills the text and fits its type.
template <typename Number>
bool parseNumber(std::string_view text, Number& out) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, out);
    return result.ec == std::errc() && result.ptr == end;
}

}  // namespace cli
